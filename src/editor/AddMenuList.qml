pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Controller
import Brindlemux.Editor

/// The entries of an add menu in their sections. Rows without a kind are there to be read only. The arrow keys and the
/// letters that a label begins with lead to an entry, and so does the pointer, when it moves.
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

    function typed(text: string) {
        const found = typeAhead.type(currentIndex, text);
        if (found >= 0)
            currentIndex = found;
    }

    onOpenChanged: {
        typeAhead.forget();
        pointer.place = undefined;
        if (open)
            currentIndex = neighbour(-1, 1);
    }

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

    T.ScrollBar.vertical: CanvasScrollBar {}

    delegate: AddMenuEntry {
        width: ListView.view.width
        onChosen: root.chosen(kind, identifier, label)
    }

    Keys.onUpPressed: move(currentIndex, -1)
    Keys.onDownPressed: move(currentIndex, 1)
    Keys.onReturnPressed: (currentItem as AddMenuEntry)?.choose()
    Keys.onEnterPressed: (currentItem as AddMenuEntry)?.choose()
    Keys.onSpacePressed: typeAhead.isTyping() ? typed(" ") : (currentItem as AddMenuEntry)?.choose()
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home)
            move(-1, 1);
        else if (event.key === Qt.Key_End)
            move(count, -1);
        else if (typeAhead.isTyped(event.text) && !(event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)))
            typed(event.text);
        else
            return;
        event.accepted = true;
    }

    TypeAhead {
        id: typeAhead

        objectName: root.objectName + ".typeAhead"
        entries: root.entries
    }

    HoverHandler {
        id: pointer

        // Where it was. Rows that pass below a pointer at rest, as the keys lead through them, are not pointed at.
        property var place: undefined

        onPointChanged: {
            const now = point.scenePosition;
            const hasMoved = place !== undefined && (now.x !== place.x || now.y !== place.y);
            place = now;
            const at = root.contentItem.mapFromItem(null, now);
            const row = root.indexAt(at.x, at.y);
            if (hasMoved && row >= 0 && root.isChoosable(row))
                root.currentIndex = row;
        }
    }
}
