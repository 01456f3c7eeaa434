pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// The menu that adds a source to a graph.
AddMenu {
    id: root

    required property GraphEditor editor

    objectName: "addSource"
    help: "Add a source"
    entries: menus.sources
    onChosen: (kind, identifier, label) => {
        if (kind === "app")
            root.editor.addAppSource(identifier, label);
        else if (kind === "mic")
            root.editor.addMicSource(identifier, label);
        else
            root.editor.addSystemSource();
    }

    NodeMenuModels {
        id: menus

        appState: root.editor.appState
    }
}
