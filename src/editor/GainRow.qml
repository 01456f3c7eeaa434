pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// A gain and the slider that edits it.
Item {
    id: root

    required property string icon
    required property real gain
    /// Says whose gain this is.
    required property string name
    /// What the slider shows.
    readonly property alias value: slider.value

    signal edited(gain: real)

    width: parent?.width ?? 0
    implicitHeight: 28

    Icon {
        id: symbol

        anchors.verticalCenter: parent.verticalCenter
        name: root.icon
        size: 14
        color: Theme.textSecondary
    }

    GainSlider {
        id: slider

        objectName: root.objectName + ".slider"
        anchors.left: symbol.right
        anchors.right: percent.left
        anchors.leftMargin: 8
        anchors.rightMargin: 4
        anchors.verticalCenter: parent.verticalCenter
        gain: root.gain
        Accessible.name: root.name
        Accessible.description: percent.text
        onEdited: gain => root.edited(gain)
    }

    Text {
        id: percent

        objectName: root.objectName + ".text"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: 44
        horizontalAlignment: Text.AlignRight
        text: CardFigures.gainText(root.gain)
        color: root.gain > CardFigures.unityGain ? Theme.accent : Theme.textSecondary
        font.pixelSize: Theme.captionSize
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 8
        elide: Text.ElideRight
    }
}
