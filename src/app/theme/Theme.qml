pragma Singleton
pragma ComponentBehavior: Bound

import QtQuick

/// The palette and the text sizes of every view. Colours are sRGB components.
QtObject {
    readonly property color accent: Qt.rgba(0.471, 0.733, 0.961, 1)
    readonly property color activity: Qt.rgba(0.8, 0.922, 1.0, 1)
    readonly property color base: Qt.rgba(0.11, 0.12, 0.14, 1)
    readonly property color baseDeep: Qt.rgba(0.085, 0.093, 0.11, 1)
    readonly property color panel: Qt.rgba(0.135, 0.146, 0.168, 1)
    readonly property color surface: Qt.rgba(0.165, 0.178, 0.205, 1)
    readonly property color headerBand: Qt.rgba(0.205, 0.22, 0.255, 1)
    readonly property color border: Qt.rgba(0.27, 0.29, 0.335, 1)
    readonly property color textPrimary: Qt.rgba(1, 1, 1, 1)
    readonly property color textSecondary: Qt.rgba(0.64, 0.665, 0.715, 1)
    readonly property color meterTrack: Qt.rgba(1, 1, 1, 0.08)
    /// Desktops have no standard orange of their own; this one stands out on every surface above.
    readonly property color selection: Qt.rgba(1.0, 0.624, 0.039, 1)

    /// What warns: a meter near full scale, a button that destroys.
    readonly property color hot: Qt.rgba(1.0, 0.271, 0.227, 1)
    readonly property color destructive: Qt.rgba(1.0, 0.42, 0.38, 1)

    /// Over a control under the pointer, over one that is pressed, and over all that has to wait for a sheet's answer.
    readonly property color hoverVeil: Qt.rgba(1, 1, 1, 0.06)
    readonly property color pressVeil: Qt.rgba(1, 1, 1, 0.12)
    readonly property color sheetVeil: Qt.rgba(0, 0, 0, 0.5)

    // Pixels.
    readonly property int captionSize: 11
    readonly property int calloutSize: 12
    readonly property int bodySize: 13
    readonly property int title3Size: 15
    readonly property int titleSize: 20
    readonly property int largeTitleSize: 26

    readonly property string monospaceFamily: "monospace"
}
