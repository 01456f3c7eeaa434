pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Theme

/// What a title bar would have: minimises, maximises and closes the window. The keyboard passes them by, as it does in
/// a title bar: the desktop has keys of its own for them.
Row {
    id: root

    required property Window window
    readonly property bool isMaximized: window.visibility === Window.Maximized || window.visibility === Window.FullScreen

    function toggleMaximized() {
        if (isMaximized)
            window.showNormal();
        else
            window.showMaximized();
    }

    component Control: IconButton {
        implicitWidth: 30
        implicitHeight: 30
        focusPolicy: Qt.NoFocus
    }

    spacing: 2

    Control {
        objectName: "window.minimize"
        symbol: "minus"
        help: "Minimize"
        onClicked: root.window.showMinimized()
    }

    Control {
        objectName: "window.maximize"
        symbol: root.isMaximized ? "square.on.square" : "square"
        help: root.isMaximized ? "Restore" : "Maximize"
        onClicked: root.toggleMaximized()
    }

    Control {
        objectName: "window.close"
        symbol: "xmark"
        help: "Close"
        onClicked: root.window.close()
    }
}
