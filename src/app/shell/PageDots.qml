pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Which page of how many this is.
Row {
    id: root

    required property int count
    required property int page

    objectName: "onboarding.dots"
    spacing: 8
    Accessible.role: Accessible.Indicator
    Accessible.name: "Page %1 of %2".arg(page + 1).arg(count)

    Repeater {
        model: root.count

        delegate: Rectangle {
            required property int index

            width: 7
            height: 7
            radius: 3.5
            color: index === root.page ? Theme.accent : Theme.border
        }
    }
}
