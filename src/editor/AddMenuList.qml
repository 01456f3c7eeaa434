pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// The entries of an add menu in their sections. Rows without a kind are there to be read only.
ListView {
    id: root

    required property KeyedListModel entries
    required property bool open

    signal chosen(kind: string, identifier: string, label: string)

    function isChoosable(row: int): bool {
        return itemAtIndex(row)?.choosable ?? false;
    }

    /// The next row in that direction which can be chosen; -1 where there is none.
    function neighbour(row: int, step: int): int {
        for (let next = row + step; next >= 0 && next < count; next += step) {
            if (isChoosable(next))
                return next;
        }
        return -1;
    }

    function move(row: int, step: int) {
        const next = neighbour(row, step);
        if (next >= 0)
            currentIndex = next;
    }

    onOpenChanged: if (open) currentIndex = neighbour(-1, 1)

    implicitHeight: contentHeight
    focus: true
    clip: contentHeight > height
    model: entries
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    highlightMoveDuration: 0
    // Every row exists, so that the keys can pass over those that are only to be read.
    cacheBuffer: 100000

    Accessible.role: Accessible.PopupMenu
    Accessible.name: "Add"

    section.property: "section"

    delegate: AddMenuEntry {
        width: ListView.view.width
        onPointed: root.currentIndex = index
        onChosen: root.chosen(kind, identifier, label)
    }

    Keys.onUpPressed: move(currentIndex, -1)
    Keys.onDownPressed: move(currentIndex, 1)
    Keys.onReturnPressed: (currentItem as AddMenuEntry)?.choose()
    Keys.onEnterPressed: (currentItem as AddMenuEntry)?.choose()
    Keys.onSpacePressed: (currentItem as AddMenuEntry)?.choose()
    Keys.onPressed: event => {
        if (event.key !== Qt.Key_Home && event.key !== Qt.Key_End)
            return;
        event.accepted = true;
        event.key === Qt.Key_Home ? move(-1, 1) : move(count, -1);
    }
}
