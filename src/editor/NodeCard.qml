pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The frame of every card: the header above the content, on a panel with a soft edge and a shadow.
Item {
    id: root

    property alias header: headerSlot.data
    default property alias content: contentColumn.data

    implicitHeight: contentColumn.y + contentColumn.implicitHeight + 14

    // Offset by 3 downward; the picture reaches 14 beyond the card.
    BorderImage {
        x: -14
        y: -11
        width: root.width + 28
        height: root.height + 28
        source: "images/card_shadow.svg"
        border.left: 26
        border.right: 26
        border.top: 26
        border.bottom: 26
    }

    CardFrame {
        anchors.fill: parent
    }

    Item {
        id: headerSlot

        x: 14
        y: 14
        width: root.width - 28
        height: childrenRect.height
    }

    Column {
        id: contentColumn

        x: 14
        y: headerSlot.y + headerSlot.height + 10
        width: root.width - 28
    }
}
