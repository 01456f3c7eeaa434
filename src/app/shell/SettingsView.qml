pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Shell
import Brindlemux.Theme

/// The settings of one device.
Sheet {
    id: root

    required property AppState appState
    required property string deviceUID

    objectName: "settings"
    title: settings.deviceName + ", Settings"
    // By what the settings have taken in, not by what they are about to.
    visible: settings.deviceUID !== ""
    onOpened: rows.itemAt(settings.selectedMode).forceActiveFocus(Qt.PopupFocusReason)

    DeviceSettings {
        id: settings

        appState: root.appState
        deviceUID: root.deviceUID
    }

    Column {
        width: 420
        spacing: 12

        SettingsHeader {
            width: parent.width
            deviceName: settings.deviceName
            onClose: root.close()
        }

        Text {
            text: "AUDIO LATENCY"
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
            font.weight: Font.DemiBold
            font.letterSpacing: 0.8
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Column {
            width: parent.width
            spacing: 6

            Repeater {
                id: rows

                model: settings.modes

                delegate: LatencyRow {
                    width: parent.width
                    selected: index === settings.selectedMode
                    onClicked: settings.choose(index)
                    onMoved: step => {
                        const next = rows.itemAt(index + step);
                        if (next)
                            next.forceActiveFocus(Qt.TabFocusReason);
                    }
                }
            }
        }

        NoteLine {
            objectName: "settings.granted"
            width: parent.width
            visible: settings.differingFrames > 0
            icon: "exclamationmark.triangle.fill"
            iconColor: Theme.selection
            text: "In effect: %1 frames. The audio server grants another block size than the one chosen.".arg(settings.differingFrames)
        }

        NoteLine {
            objectName: "settings.note"
            width: parent.width
            icon: "info.circle"
            text: "Applies to this device only. Lower = faster audio, but weaker Macs may glitch. Changing this briefly restarts this device's audio engine."
        }
    }
}
