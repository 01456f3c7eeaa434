pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Editor
import Brindlemux.Shell
import Brindlemux.Theme

/// What the window holds: the devices beside what there is to say about the selected one, and the sheets above both.
Item {
    id: root

    required property AppState appState
    required property UserDefaults defaults
    property bool showOnboarding: false
    property bool isComplete: false
    /// How much of the top's right end belongs to the window's own controls.
    property real controlsWidth: 0
    /// How far the top reaches down, by which the window is moved.
    readonly property real topHeight: 72

    signal topDoubleClicked

    Component.onCompleted: {
        showOnboarding = !defaults.onboardingSeen;
        isComplete = true;
    }
    // However the pages were closed, they have been seen.
    onShowOnboardingChanged: {
        if (!showOnboarding)
            defaults.onboardingSeen = true;
    }

    SidebarPanel {
        id: sidebar

        appState: root.appState
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 248

        WindowDragArea {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            height: sidebar.headerHeight
            onDoubleClicked: root.topDoubleClicked()
        }
    }

    Rectangle {
        id: divider

        anchors.left: sidebar.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 1
        color: Theme.border
    }

    WindowDragArea {
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
        height: root.topHeight
        onDoubleClicked: root.topDoubleClicked()
    }

    DetailArea {
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        appState: root.appState
        controlsWidth: root.controlsWidth
    }

    SettingsView {
        appState: root.appState
        deviceUID: root.appState.settingsSheetUID
        onClosed: root.appState.settingsSheetUID = ""
    }

    OnboardingView {
        visible: root.showOnboarding
        onFinish: root.showOnboarding = false
        onClosed: root.showOnboarding = false
    }

    ErrorAlert {
        // Not before the other sheets, so that the keyboard is where the alert is: above them.
        message: root.isComplete ? root.appState.errorMessage : ""
        onClosed: root.appState.dismissError()
    }
}
