pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Shell
import Brindlemux.Theme

/// The pages of the first start, one at a time.
Sheet {
    id: root

    readonly property int lastPage: steps.list.length - 1
    property int page: 0

    signal finish

    objectName: "onboarding"
    title: steps.list[page].title
    initialFocus: nextButton
    onAboutToShow: page = 0

    function back() {
        if (page > 0)
            --page;
    }

    function next() {
        if (page < lastPage)
            ++page;
        else
            finish();
    }

    OnboardingSteps {
        id: steps
    }

    Item {
        implicitWidth: 460
        implicitHeight: 320
        anchors.fill: parent

        Keys.onLeftPressed: root.back()
        Keys.onRightPressed: {
            if (root.page < root.lastPage)
                root.next();
        }

        Item {
            id: pages

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.bottom: buttons.top
            clip: true

            Row {
                height: parent.height
                x: -root.page * pages.width

                Behavior on x {
                    NumberAnimation {
                        duration: 200
                        easing.type: Easing.InOutQuad
                    }
                }

                Repeater {
                    model: steps.list

                    delegate: OnboardingPage {
                        width: pages.width
                        height: pages.height
                        current: index === root.page
                    }
                }
            }
        }

        Item {
            id: buttons

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: nextButton.implicitHeight

            PushButton {
                objectName: "onboarding.skip"
                text: "Skip"
                onClicked: root.finish()
            }

            PageDots {
                anchors.centerIn: parent
                count: steps.list.length
                page: root.page
            }

            PushButton {
                objectName: "onboarding.back"
                anchors.right: nextButton.left
                anchors.rightMargin: 10
                visible: root.page > 0
                text: "Back"
                onClicked: root.back()
            }

            PushButton {
                id: nextButton

                objectName: "onboarding.next"
                anchors.right: parent.right
                prominent: true
                text: root.page < root.lastPage ? "Next" : "Get Started"
                onClicked: root.next()
            }
        }
    }
}
