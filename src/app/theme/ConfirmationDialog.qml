pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// Asks before something is destroyed. Escape and "Cancel", which has the focus at first, leave everything as it is.
T.Dialog {
    id: root

    required property string message
    required property string destructiveText

    signal confirmed

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) / 2) : 0
    width: 380
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: 22
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape

    T.Overlay.modal: Veil {}

    background: Rectangle {
        radius: 12
        color: Theme.surface
        border.width: 1
        border.color: Theme.border
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.title
        Accessible.description: root.message
    }

    contentItem: ConfirmationContent {
        title: root.title
        message: root.message
        destructiveText: root.destructiveText
        onCancelled: root.reject()
        onConfirmed: {
            // Before it closes, while what it asks about is still known.
            root.confirmed();
            root.accept();
        }
    }
}
