pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A panel over the middle of the window that has to be answered first. The keyboard stays within it, Escape closes it,
/// and closing gives the focus back to whatever had it. The title is what a screen reader says when the sheet opens.
T.Dialog {
    id: root

    /// What has the keyboard at first.
    property Item initialFocus: null
    property Item formerFocus: null

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    implicitWidth: contentWidth + leftPadding + rightPadding
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: 24
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape

    onAboutToShow: formerFocus = parent.Window.activeFocusItem
    onOpened: {
        if (initialFocus)
            initialFocus.forceActiveFocus(Qt.PopupFocusReason);
    }
    onClosed: {
        if (formerFocus && formerFocus.visible)
            formerFocus.forceActiveFocus(Qt.PopupFocusReason);
        formerFocus = null;
    }

    T.Overlay.modal: Veil {}

    background: Rectangle {
        radius: 12
        color: Theme.panel
        border.width: 1
        border.color: Theme.border
    }
}
