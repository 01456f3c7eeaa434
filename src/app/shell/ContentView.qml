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
    }

    Rectangle {
        id: divider

        anchors.left: sidebar.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 1
        color: Theme.border
    }

    DetailArea {
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        appState: root.appState
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
