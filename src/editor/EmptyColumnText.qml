pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Stands in a column without cards.
Text {
    leftPadding: 2
    topPadding: 2
    color: Theme.textSecondary
    font.pixelSize: Theme.bodySize
}
