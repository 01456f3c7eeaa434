pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window

/// A place that the window is moved by, as by a title bar; a double click there is asked for what it does in one. It
/// lies beneath what is to be pressed.
Item {
    id: root

    /// The desktop has been asked to move the window. It keeps the button's release to itself, so that the next movement
    /// still looks like one with the button held; only another press may ask again.
    property bool isAsked: false

    signal doubleClicked

    PointHandler {
        acceptedButtons: Qt.LeftButton
        onActiveChanged: if (active) root.isAsked = false
        onPointChanged: {
            const way = Qt.vector2d(point.position.x - point.pressPosition.x, point.position.y - point.pressPosition.y);
            if (!active || root.isAsked || way.length() < Qt.styleHints.startDragDistance)
                return;
            root.isAsked = true;
            root.Window.window.startSystemMove();
        }
    }

    TapHandler {
        onDoubleTapped: root.doubleClicked()
    }
}
