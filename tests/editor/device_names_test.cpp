#include <gtest/gtest.h>
#include <string>

#include "editor/editor_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::EditorWindow;
using test::eventually;

const std::string uidA = device("A").uid;
const std::string rowA = "device." + uidA;

/// One line, cut where there is no room, that ends before what stands beside it.
void expectInPlace(const EditorWindow& open, const std::string& text, const std::string& beside) {
  open.settle();
  const QQuickItem* item = open.item(text);
  EXPECT_LE(item->property("contentWidth").toDouble(), item->width() + 0.5) << text;
  EXPECT_LE(item->property("lineCount").toInt(), 1) << text;
  EXPECT_LE(item->mapToScene({item->width(), 0}).x(), open.item(beside)->mapToScene({0, 0}).x()) << text;
}

void expectInTheWindow(const EditorWindow& open, const std::string& name) {
  const QQuickItem* item = open.item(name);
  const QRectF place = item->mapRectToScene(item->boundingRect());
  EXPECT_TRUE(QRectF({0, 0}, open.window()->size()).contains(place)) << name;
}

/// The help text that is shown at an item.
QString helpOf(const EditorWindow& open, const std::string& name) {
  const QObject* tip = open.item(name)->findChild<QObject*>("helpTip");
  return tip != nullptr && tip->property("visible").toBool() ? tip->property("text").toString() : QString();
}

class DeviceNames : public testing::TestWithParam<const char*> {};

TEST_P(DeviceNames, stayInTheirPlace) {
  EditorWindow open;
  open.window()->resize(1220, 600);
  VirtualDeviceConfig named = device("A");
  named.name = GetParam();
  open.publish({named, device("B", 4)});
  open.state->reload();
  EXPECT_EQ(open.text("detail.name"), named.name);
  expectInPlace(open, rowA + ".name", rowA + ".enabled");
  // What can be done with a name is said of one that is cut, too.
  open.hover("detail.name");
  EXPECT_TRUE(eventually([&] { return helpOf(open, "detail.name").endsWith("Double-click to rename"); }))
      << helpOf(open, "detail.name").toStdString();
  EXPECT_EQ(helpOf(open, "detail.name").startsWith(QString::fromUtf8(GetParam()) + u'\n'),
            open.property("detail.name", "truncated").toBool());
  expectInPlace(open, "detail.name", "detail.rename");
  EXPECT_LT(open.item("detail.rename")->mapToScene({26, 0}).x(),
            open.item("detail.disconnect")->mapToScene({0, 0}).x());

  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.message"));
  expectInTheWindow(open, "confirmation.message");
  expectInTheWindow(open, "confirmation.confirm");
  open.key(Qt::Key_Escape);
  ASSERT_TRUE(eventually([&] { return !open.shows("confirmation.message"); }));

  open.click("detail.settings");
  ASSERT_TRUE(open.comesToShow("settings.deviceName"));
  expectInPlace(open, "settings.deviceName", "settings.close");
  expectInTheWindow(open, "settings.note");
}

/// Those of the audio server's devices, which have what names they like.
class MenuNames : public DeviceNames {};

TEST_P(MenuNames, stayInTheirPlace) {
  EditorWindow open;
  open.hardware.addDevice(test::output("Other", GetParam()));
  open.state->refreshEnvironment();
  open.click("addMonitor");
  ASSERT_TRUE(open.comesToShow("entry.monitor Other"));
  const QQuickItem* entry = open.item("entry.monitor Other");
  const QQuickItem* label = open.item("entry.monitor Other.label");
  EXPECT_EQ(open.text("entry.monitor Other.label"), GetParam());
  EXPECT_EQ(entry->height(), 28);
  EXPECT_LE(label->property("contentWidth").toDouble(), label->width() + 0.5);
  EXPECT_LE(label->x() + label->width(), entry->width());
}

const auto namesOfAnyKind = testing::Values(
    "A name that is far too long for every place that it has in this window, whatever that place is "
    "and however wide the window may be made by hand",
    "WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW",
    "مشغل الصوت الطويل جدا لاختبار الاتجاه من اليمين إلى اليسار في كل مكان هنا",
    "🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤",
    "two\nlines", "<b>bold</b> & <i>plain</i>");

std::string nameNumber(const testing::TestParamInfo<const char*>& test) { return "name" + std::to_string(test.index); }

INSTANTIATE_TEST_SUITE_P(OfAnyKind, DeviceNames, namesOfAnyKind, nameNumber);
INSTANTIATE_TEST_SUITE_P(OfAnyKind, MenuNames, namesOfAnyKind, nameNumber);
INSTANTIATE_TEST_SUITE_P(Empty, MenuNames, testing::Values(""), nameNumber);

}  // namespace
}  // namespace brindlemux
