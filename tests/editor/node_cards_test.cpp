#include <QEasingCurve>
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "editor/cards_window.h"

namespace brindlemux {
namespace {

using test::Cards;
using test::device;
using test::eventually;
using test::monitorA;
using test::player;
using test::sourceA;
using test::sourceB;
using testing::IsEmpty;
using testing::SizeIs;

TEST(NodeCards, sourceShowsWhatItIsAndDoes) {
  Cards open;
  EXPECT_EQ(open.text(sourceA + ".name"), "Player");
  EXPECT_EQ(open.text(sourceA + ".subtitle"), "Capturing audio");
  EXPECT_EQ(open.text(sourceA + ".channel.0.label"), "1 (L)");
  EXPECT_EQ(open.text(sourceA + ".channel.1.label"), "2 (R)");
  EXPECT_EQ(open.item(sourceA + ".channel.0.label")->width(), 36);
  EXPECT_TRUE(open.property(sourceA + ".channel.0.port", "isConnected").toBool());
  EXPECT_FALSE(open.property(sourceB + ".channel.0.port", "isConnected").toBool());
  EXPECT_FALSE(open.shows(sourceA + ".gain"));
}

TEST(NodeCards, outputAndPassThruHaveARowForEveryChannel) {
  Cards open;
  EXPECT_EQ(open.text("passThru.name"), "Pass-Thru");
  EXPECT_EQ(open.text("output.name"), "Channels");
  EXPECT_TRUE(open.property("passThru.channel.1.port", "isConnected").toBool());
  EXPECT_FALSE(open.property("passThru.channel.1.port", "interactive").toBool());
  EXPECT_TRUE(open.property("output.channel.0.in", "isConnected").toBool());
  EXPECT_TRUE(open.property("output.channel.0.out", "isConnected").toBool());
  EXPECT_FALSE(open.property("output.channel.1.out", "isConnected").toBool());
}

TEST(NodeCards, portIs13AcrossAndSaysHowItIsUsed) {
  Cards open;
  const QQuickItem* port = open.item(sourceA + ".channel.0.port");
  EXPECT_EQ(QSizeF(port->width(), port->height()), QSizeF(13, 13));
  EXPECT_EQ(port->property("help"), "Drag to connect");
  EXPECT_EQ(open.property("passThru.channel.0.port", "help"), "");
}

TEST(NodeCards, switchTurnsASourceOffAndOn) {
  Cards open;
  EXPECT_EQ(open.property(sourceA + ".enabled", "help"), "Disable source");
  open.click(sourceA + ".enabled");
  EXPECT_FALSE(open.graph().sources[0].enabled);
  EXPECT_TRUE(open.graph().sources[1].enabled);
  EXPECT_EQ(open.text(sourceA + ".subtitle"), "Disabled");
  EXPECT_EQ(open.property(sourceA + ".enabled", "help"), "Enable source");
  open.focus(sourceA + ".enabled");
  open.key(Qt::Key_Space);
  EXPECT_TRUE(open.graph().sources[0].enabled);
  EXPECT_TRUE(open.property(sourceA + ".enabled", "checked").toBool());
}

TEST(NodeCards, removeTakesTheSourceAndItsWires) {
  Cards open;
  EXPECT_EQ(open.property(sourceA + ".remove", "help"), "Remove source");
  open.click(sourceA + ".remove");
  EXPECT_THAT(open.graph().sources, SizeIs(1));
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_TRUE(eventually([&] { return open.seek(sourceA) == nullptr; }));
  EXPECT_NE(open.seek(sourceB), nullptr);
}

TEST(NodeCards, monitorIsSwitchedTurnedAndRemoved) {
  Cards open;
  EXPECT_EQ(open.text(monitorA + ".name"), "Studio Speakers");
  EXPECT_EQ(open.text(monitorA + ".channel.1.label"), "2 (R)");
  EXPECT_TRUE(open.property(monitorA + ".channel.0.port", "isConnected").toBool());
  EXPECT_FALSE(open.property(monitorA + ".channel.1.port", "isConnected").toBool());
  EXPECT_EQ(open.property(monitorA + ".enabled", "help"), "Disable monitor");
  open.click(monitorA + ".enabled");
  EXPECT_FALSE(open.graph().monitors[0].enabled);
  EXPECT_EQ(open.property(monitorA + ".enabled", "help"), "Enable monitor");
  open.openGain(monitorA);
  open.focus(monitorA + ".gain.slider");
  open.key(Qt::Key_End);
  EXPECT_EQ(open.graph().monitors[0].gain, 4.0F);
  EXPECT_EQ(open.property(monitorA + ".remove", "help"), "Remove monitor");
  open.click(monitorA + ".remove");
  EXPECT_THAT(open.graph().monitors, IsEmpty());
  EXPECT_THAT(open.graph().monitorWires, IsEmpty());
}

TEST(NodeCards, meterFillsByLinearPeakAndWarnsNearFullScale) {
  Cards open;
  const std::string meter = sourceA + ".channel.0.meter";
  const auto play = [&](float level) {
    MeterSnapshot meters;
    meters.sourcePeaks[player(1).id] = {level, 0};
    AppStateProbe::setMeters(*open.state, device("A").uid, meters);
  };
  const auto filled = [&] { return open.item(meter + ".fill")->width() / open.item(meter)->width(); };
  play(0.5F);
  EXPECT_TRUE(eventually([&] { return filled() == 0.5; }));
  EXPECT_FALSE(open.property(meter, "hot").toBool());
  play(0.98F);
  EXPECT_FALSE(open.property(meter, "hot").toBool());
  play(0.981F);
  EXPECT_TRUE(open.property(meter, "hot").toBool());
  play(1.5F);
  EXPECT_TRUE(eventually([&] { return filled() == 1; }));
  EXPECT_EQ(open.item(sourceA + ".channel.1.meter.fill")->width(), 0);
}

TEST(NodeCards, meterTickKeepsEveryCard) {
  Cards open;
  const QQuickItem* card = open.item(sourceA);
  const QQuickItem* port = open.item(sourceA + ".channel.0.port");
  open.hardware.advance(4800);
  open.advance(AppState::meterInterval);
  EXPECT_EQ(open.seek(sourceA), card);
  EXPECT_EQ(open.seek(sourceA + ".channel.0.port"), port);
}

TEST(NodeCards, channelPairsComeAndGoWithinTheirBounds) {
  Cards open;
  const auto pairs = [&] { return open.state->virtualDevices()[0].channels; };
  EXPECT_EQ(open.property("output.addPair", "help"), "Add channel pair");
  EXPECT_EQ(open.property("output.removePair", "help"), "Remove channel pair");
  EXPECT_FALSE(open.property("output.removePair", "enabled").toBool());
  const QQuickItem* first = open.item("output.channel.0.in");
  for (int channels = 4; channels <= 16; channels += 2) {
    open.click("output.addPair");
    EXPECT_EQ(pairs(), channels);
  }
  EXPECT_FALSE(open.property("output.addPair", "enabled").toBool());
  EXPECT_EQ(open.text("output.channel.15.label"), "16");
  EXPECT_EQ(open.seek("output.channel.0.in"), first);
  open.click("output.removePair");
  EXPECT_EQ(pairs(), 14);
}

TEST(NodeCards, namesOfAnyKindStayInTheirPlace) {
  Cards open;
  const std::string names[] = {std::string(300, 'W'),
                               "",
                               "مشغل الصوت الطويل جدا لاختبار الاتجاه من اليمين",
                               "🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤",
                               "two\nlines",
                               "<b>bold</b>"};
  for (const std::string& name : names) {
    open.edit([&](DeviceGraph& graph) {
      graph.sources[0].kind = AppSource{"com.example.Player", name};
      graph.monitors[0].name = name;
    });
    for (const std::string& card : {sourceA, monitorA}) {
      const QQuickItem* text = open.item(card + ".name");
      EXPECT_EQ(open.text(card + ".name"), name);
      const double right = text->mapToScene({text->width(), 0}).x();
      EXPECT_LE(right, open.item(card + ".gainToggle")->mapToScene({0, 0}).x()) << name;
      EXPECT_LE(text->property("contentWidth").toDouble(), text->width()) << name;
      EXPECT_LE(text->property("lineCount").toInt(), 1) << name;
    }
  }
}

TEST(NodeCards, everyControlSaysWhatItIs) {
  Cards open;
  open.openGain(sourceA);
  open.openGain("output");
  int controls = 0;
  const std::function<void(QQuickItem*)> walk = [&](QQuickItem* item) {
    if (item->isVisible() && item->activeFocusOnTab()) {
      ++controls;
      QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
      ASSERT_NE(accessible, nullptr) << item->objectName().toStdString();
      EXPECT_NE(accessible->text(QAccessible::Name), "") << item->objectName().toStdString();
      EXPECT_NE(accessible->role(), QAccessible::NoRole) << item->objectName().toStdString();
      EXPECT_NE(item->objectName(), "") << accessible->text(QAccessible::Name).toStdString();
    }
    for (QQuickItem* child : item->childItems()) walk(child);
  };
  walk(open.window()->contentItem());
  EXPECT_GT(controls, 20);
  QAccessibleValueInterface* slider = open.accessible(sourceA + ".gain.slider")->valueInterface();
  ASSERT_NE(slider, nullptr);
  EXPECT_EQ(slider->currentValue().toDouble(), 1.0);
  EXPECT_EQ(slider->maximumValue().toDouble(), 4.0);
  EXPECT_EQ(open.accessible(sourceA + ".gain.slider")->text(QAccessible::Name), "Volume of Player");
  EXPECT_TRUE(open.accessible(sourceA + ".enabled")->state().checked);
}

TEST(NodeCards, controlsSayTheirRoleAndState) {
  Cards open;
  const auto role = [&](const std::string& name) { return open.accessible(name)->role(); };
  const auto description = [&](const std::string& name) {
    return open.accessible(name)->text(QAccessible::Description);
  };
  const std::string port = sourceA + ".channel.0.port";
  EXPECT_EQ(role(port), QAccessible::Button);
  EXPECT_EQ(open.accessible(port)->text(QAccessible::Name), "Player channel 1 (L)");
  EXPECT_EQ(description(port), "Connected");
  EXPECT_EQ(description(sourceB + ".channel.0.port"), "Not connected");
  EXPECT_TRUE(open.accessible(port)->state().focusable);
  EXPECT_FALSE(open.accessible("passThru.channel.0.port")->state().focusable);
  EXPECT_EQ(open.accessible("output.channel.1.in")->text(QAccessible::Name), "Output channel 2 (R) input");
  EXPECT_EQ(open.accessible("output.channel.1.out")->text(QAccessible::Name), "Output channel 2 (R) output");

  EXPECT_EQ(role(sourceA + ".gainToggle"), QAccessible::Button);
  EXPECT_EQ(open.accessible(sourceA + ".gainToggle")->text(QAccessible::Name), "Volume");
  EXPECT_FALSE(open.accessible(sourceA + ".gainToggle")->state().checked);
  open.openGain(sourceA);
  EXPECT_TRUE(open.accessible(sourceA + ".gainToggle")->state().checked);
  EXPECT_EQ(role(sourceA + ".gain.slider"), QAccessible::Slider);
  EXPECT_EQ(description(sourceA + ".gain.slider"), "100%");
  EXPECT_EQ(role(sourceA + ".enabled"), QAccessible::CheckBox);
  EXPECT_EQ(open.accessible(sourceA + ".enabled")->text(QAccessible::Name), "Disable source");
  EXPECT_EQ(open.accessible(monitorA + ".remove")->text(QAccessible::Name), "Remove monitor");
  EXPECT_EQ(open.accessible(sourceA)->text(QAccessible::Name), "Player");
  EXPECT_EQ(description(sourceA), "Capturing audio");
  EXPECT_EQ(role(sourceA + ".channel.0.meter"), QAccessible::ProgressBar);
  EXPECT_EQ(open.accessible(sourceA + ".channel.0.meter")->text(QAccessible::Name), "Level of channel 1 (L)");
  EXPECT_EQ(description(sourceA + ".channel.0.meter"), "0%");
  MeterSnapshot meters;
  meters.sourcePeaks[player(1).id] = {0.25F, 1.5F};
  AppStateProbe::setMeters(*open.state, device("A").uid, meters);
  EXPECT_TRUE(eventually([&] {
    return description(sourceA + ".channel.0.meter") == "25%" && description(sourceA + ".channel.1.meter") == "100%";
  }));

  const std::string row = "device." + device("A").uid;
  EXPECT_EQ(role("sidebar.devices"), QAccessible::List);
  EXPECT_EQ(role(row), QAccessible::ListItem);
  EXPECT_TRUE(open.accessible(row)->state().selected);
  EXPECT_EQ(description(row), "2 ch · 2 sources");
}

TEST(NodeCards, meterMovesEvenlyForATenthOfASecond) {
  const Cards open;
  const auto animations = open.item(sourceA + ".channel.0.meter")->findChildren<QObject*>();
  const auto found =
      std::ranges::find_if(animations, [](const QObject* object) { return object->inherits("QQuickNumberAnimation"); });
  ASSERT_NE(found, animations.end());
  EXPECT_EQ((*found)->property("duration"), 100);
  EXPECT_EQ((*found)->property("easing").value<QEasingCurve>(), QEasingCurve(QEasingCurve::Linear));
}

TEST(NodeCards, pointerSaysWhatCanBeDone) {
  Cards open;
  open.openGain(sourceA);
  const auto shapeOver = [&](const std::string& name, Qt::CursorShape shape) {
    open.hover(name);
    return eventually([&] { return open.window()->cursor().shape() == shape; }, std::chrono::seconds(5));
  };
  EXPECT_TRUE(shapeOver(sourceA + ".channel.0.port", Qt::CrossCursor));
  EXPECT_TRUE(shapeOver(sourceA + ".name", Qt::ArrowCursor));
  EXPECT_TRUE(shapeOver(sourceA + ".gain.slider", Qt::PointingHandCursor));
  EXPECT_TRUE(shapeOver("passThru.channel.0.port", Qt::ArrowCursor));
  EXPECT_TRUE(shapeOver(sourceA + ".enabled", Qt::PointingHandCursor));
  EXPECT_TRUE(shapeOver("detail.disconnect", Qt::ArrowCursor));
  EXPECT_TRUE(shapeOver("detail.settings", Qt::PointingHandCursor));
  EXPECT_TRUE(shapeOver("device." + device("B").uid, Qt::PointingHandCursor));
  open.click("detail.rename");
  EXPECT_TRUE(shapeOver("detail.nameField", Qt::IBeamCursor));
}

TEST(NodeCards, assistiveTechnologySwitchesAndTurnsToo) {
  QAccessible::setActive(true);
  Cards open;
  open.edit([](DeviceGraph& graph) { graph.sources[1].gain = 6; });
  open.openGain(sourceA);
  open.openGain(sourceB);
  QAccessibleInterface* slider = open.accessible(sourceA + ".gain.slider");
  slider->valueInterface()->setCurrentValue(2.5);
  EXPECT_EQ(open.gain(0), 2.5F);
  slider->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
  EXPECT_NEAR(open.gain(0), 2.51, 1e-6);
  slider->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
  EXPECT_NEAR(open.gain(0), 2.5, 1e-6);
  // A gain beyond the slider's range is shown at its end and left alone.
  EXPECT_EQ(open.gain(1), 6.0F);
  for (const QString& action :
       {QAccessibleActionInterface::toggleAction(), QAccessibleActionInterface::pressAction()}) {
    const bool was = open.graph().sources[0].enabled;
    open.accessible(sourceA + ".enabled")->actionInterface()->doAction(action);
    EXPECT_EQ(open.graph().sources[0].enabled, !was);
    EXPECT_EQ(open.accessible(sourceA + ".enabled")->state().checked, !was);
  }
  open.accessible(sourceA + ".remove")->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_THAT(open.graph().sources, SizeIs(1));
}

TEST(NodeCards, helpAppearsUnderAPointerThatRests) {
  Cards open;
  open.hover(sourceA + ".gainToggle");
  EXPECT_TRUE(eventually([&] {
    QQuickItem* tip = open.item(sourceA + ".gainToggle")->findChild<QQuickItem*>("helpTip");
    QObject* popup = open.item(sourceA + ".gainToggle")->findChild<QObject*>("helpTip");
    return (tip != nullptr && tip->isVisible()) || (popup != nullptr && popup->property("opened").toBool());
  }));
}

}  // namespace
}  // namespace brindlemux
