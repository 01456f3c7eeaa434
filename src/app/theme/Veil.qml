pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import Brindlemux.Theme

/// Darkens the window behind a sheet. The window is moved by it, since what it is moved by else is out of reach.
Rectangle {
    id: root

    /// As in WindowDragArea, whose handler learns nothing of a press here.
    property bool isAsked: false

    color: Theme.sheetVeil
    T.Overlay.onPressed: isAsked = false

    DragHandler {
        target: null
        onActiveChanged: {
            if (!active || root.isAsked)
                return;
            root.isAsked = true;
            root.Window.window.startSystemMove();
        }
    }
}
