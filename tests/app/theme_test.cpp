#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>

namespace brindlemux {
namespace {

struct Entry {
  const char* name;
  double red;
  double green;
  double blue;
  double opacity = 1;

  friend void PrintTo(const Entry& entry, std::ostream* stream) { *stream << entry.name; }
};

class Palette : public testing::TestWithParam<Entry> {};

TEST_P(Palette, hasTheColour) {
  QQmlEngine engine;
  QQmlComponent component(&engine);
  component.setData(QByteArray("import QtQuick; import Brindlemux.Theme; QtObject { property color shown: Theme.") +
                        GetParam().name + " }",
                    QUrl());
  const std::unique_ptr<QObject> object(component.create());
  ASSERT_NE(object, nullptr) << component.errorString().toStdString();
  const QColor shown = object->property("shown").value<QColor>();
  // As near as a colour of 16 bits a component comes.
  constexpr double step = 1.0 / 65535;
  EXPECT_NEAR(shown.redF(), GetParam().red, step);
  EXPECT_NEAR(shown.greenF(), GetParam().green, step);
  EXPECT_NEAR(shown.blueF(), GetParam().blue, step);
  EXPECT_NEAR(shown.alphaF(), GetParam().opacity, step);
}

INSTANTIATE_TEST_SUITE_P(Theme, Palette,
                         testing::Values(Entry{"accent", 0.471, 0.733, 0.961}, Entry{"activity", 0.8, 0.922, 1.0},
                                         Entry{"base", 0.11, 0.12, 0.14}, Entry{"baseDeep", 0.085, 0.093, 0.11},
                                         Entry{"panel", 0.135, 0.146, 0.168}, Entry{"surface", 0.165, 0.178, 0.205},
                                         Entry{"headerBand", 0.205, 0.22, 0.255}, Entry{"border", 0.27, 0.29, 0.335},
                                         Entry{"textSecondary", 0.64, 0.665, 0.715}, Entry{"meterTrack", 1, 1, 1, 0.08},
                                         Entry{"selection", 1.0, 0.624, 0.039}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace brindlemux
