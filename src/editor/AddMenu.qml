pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Controller
import Brindlemux.Editor
import Brindlemux.Theme

/// A button that opens a menu of what can be added. The arrow keys, Home, End, Enter and the first letters of an entry
/// work in it; Escape closes it.
IconButton {
    id: root

    required property KeyedListModel entries

    signal chosen(kind: string, identifier: string, label: string)

    symbol: "plus.circle.fill"
    symbolSize: 17
    symbolColor: Theme.accent
    hoverColor: Theme.activity

    Accessible.role: Accessible.ButtonMenu

    helpHidden: popup.visible
    onClicked: popup.open()

    T.Popup {
        id: popup

        objectName: root.objectName + ".menu"
        x: root.width - width
        y: root.height + 5
        // As wide as the side columns that it opens over.
        width: 256
        height: Math.min(implicitContentHeight + topPadding + bottomPadding, 440)
        margins: 10
        padding: 6
        focus: true
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside

        onClosed: if (root.visible) root.forceActiveFocus()

        background: Rectangle {
            radius: 9
            color: Theme.surface
            border.width: 1
            border.color: Theme.border
        }

        contentItem: AddMenuList {
            open: popup.visible
            objectName: root.objectName + ".list"
            entries: root.entries
            onChosen: (kind, identifier, label) => {
                popup.close();
                root.chosen(kind, identifier, label);
            }
        }
    }
}
