pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// The menu that adds a monitor to a graph.
AddMenu {
    id: root

    required property GraphEditor editor

    objectName: "addMonitor"
    help: "Add a monitor"
    entries: menus.monitors
    onChosen: (kind, identifier, label) => root.editor.addMonitor(identifier, label)

    NodeMenuModels {
        id: menus

        appState: root.editor.appState
    }
}
