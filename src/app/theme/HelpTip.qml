pragma ComponentBehavior: Bound

import QtQuick

/// The help text of the control that it lies in, shown while the pointer rests on it. Takes no pointer events, and
/// makes its popup only when it is first needed, since a canvas has hundreds of controls.
Item {
    id: root

    required property string text
    required property bool hovered

    anchors.fill: parent

    onHoveredChanged: {
        if (hovered && loader.status === Loader.Null)
            loader.setSource("HelpTipPopup.qml", {
                help: root
            });
    }

    Loader {
        id: loader
    }
}
