pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Shell
import Brindlemux.Theme

/// One page of the first start. The model fills the first two properties.
Item {
    id: root

    required property int index
    required property onboardingStep modelData
    required property bool current

    objectName: "onboarding.page." + index
    Accessible.role: Accessible.StaticText
    Accessible.name: modelData.title
    Accessible.description: modelData.body
    Accessible.ignored: !current

    Column {
        // From the top, so that the symbol stays in its place from page to page however long the text is; and narrow, so
        // that no text ends with a line of a single word.
        anchors.horizontalCenter: parent.horizontalCenter
        y: 52
        width: 352
        spacing: 16

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            objectName: root.objectName + ".icon"
            name: root.modelData.icon
            size: 64
            color: Theme.accent
        }

        Text {
            objectName: root.objectName + ".title"
            width: parent.width
            text: root.modelData.title
            color: Theme.textPrimary
            font.pixelSize: Theme.titleSize
            font.weight: Font.Bold
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }

        Text {
            objectName: root.objectName + ".body"
            width: parent.width
            text: root.modelData.body
            color: Theme.textSecondary
            font.pixelSize: Theme.bodySize
            lineHeight: 1.25
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
    }
}
