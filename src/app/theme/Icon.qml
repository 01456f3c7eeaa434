pragma ComponentBehavior: Bound

import QtQuick

/// A picture of the `icons` folder, drawn sharp at `size` pixels.
Image {
    id: root

    required property string name
    required property int size

    width: size
    height: size
    // Resolved here, since a plain text would be looked for beside the file that uses the picture.
    source: Qt.resolvedUrl("icons/" + name + ".svg")
    sourceSize.width: size
    sourceSize.height: size
    fillMode: Image.PreserveAspectFit
}
