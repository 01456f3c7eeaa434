pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Theme

/// The frame of a window that has no other: a line around it, and edges and corners that it is resized by.
Rectangle {
    id: root

    /// How far an edge reaches into the window, and a corner along both of its edges.
    readonly property int depth: 4
    readonly property int cornerLength: 10

    component Edge: MouseArea {
        required property int sides

        onPressed: Window.window.startSystemResize(sides)
    }

    component Corner: Edge {
        width: root.cornerLength
        height: root.cornerLength
    }

    color: "transparent"
    border.width: 1
    border.color: Theme.border

    Edge {
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: root.depth
        sides: Qt.LeftEdge
        cursorShape: Qt.SizeHorCursor
    }

    Edge {
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: root.depth
        sides: Qt.RightEdge
        cursorShape: Qt.SizeHorCursor
    }

    Edge {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: root.depth
        sides: Qt.TopEdge
        cursorShape: Qt.SizeVerCursor
    }

    Edge {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: root.depth
        sides: Qt.BottomEdge
        cursorShape: Qt.SizeVerCursor
    }

    Corner {
        anchors.left: parent.left
        anchors.top: parent.top
        sides: Qt.LeftEdge | Qt.TopEdge
        cursorShape: Qt.SizeFDiagCursor
    }

    Corner {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        sides: Qt.RightEdge | Qt.BottomEdge
        cursorShape: Qt.SizeFDiagCursor
    }

    Corner {
        anchors.right: parent.right
        anchors.top: parent.top
        sides: Qt.RightEdge | Qt.TopEdge
        cursorShape: Qt.SizeBDiagCursor
    }

    Corner {
        anchors.left: parent.left
        anchors.bottom: parent.bottom
        sides: Qt.LeftEdge | Qt.BottomEdge
        cursorShape: Qt.SizeBDiagCursor
    }
}
