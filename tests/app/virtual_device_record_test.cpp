#include "app/controller/virtual_device_record.h"

#include <gtest/gtest.h>

#include "app/simulated_program.h"

namespace brindlemux {
namespace {

using test::device;

TEST(VirtualDeviceRecord, followsItsDevice) {
  test::SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B", 4)});
  AppState& state = program.start();
  VirtualDeviceRecord record;
  record.setAppState(&state);
  record.setUID(QString::fromStdString(device("B").uid));
  EXPECT_TRUE(record.exists());
  EXPECT_EQ(record.name(), "B");
  EXPECT_EQ(record.channels(), 4);

  int changes = 0;
  QObject::connect(&record, &VirtualDeviceRecord::changed, [&changes] { ++changes; });
  VirtualDeviceConfig renamed = device("B", 8);
  renamed.name = "Bee";
  program.publish({device("A"), renamed});
  state.reload();
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(record.name(), "Bee");
  EXPECT_EQ(record.channels(), 8);

  program.publish({device("A")});
  state.reload();
  EXPECT_FALSE(record.exists());
  EXPECT_EQ(record.name(), "");
  EXPECT_EQ(record.channels(), 0);
}

TEST(VirtualDeviceRecord, outlivesTheController) {
  test::SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  VirtualDeviceRecord record;
  record.setAppState(&program.start());
  record.setUID(QString::fromStdString(device("A").uid));
  EXPECT_TRUE(record.exists());
  program.state.reset();
  EXPECT_FALSE(record.exists());
}

}  // namespace
}  // namespace brindlemux
