#include <gtest/gtest.h>

#include "platform/simulated/counting_uuid_source.h"
#include "platform/simulated/table_running_applications.h"
#include "platform/simulated/virtual_clock.h"

namespace brindlemux {
namespace {

TEST(VirtualClock, standsStillButForSleepAndAdvance) {
  VirtualClock clock(1000);
  EXPECT_EQ(clock.secondsSince1970(), 1000);
  clock.sleep(std::chrono::milliseconds(20));
  clock.sleep(std::chrono::milliseconds(480));
  clock.advance(std::chrono::seconds(1));
  // 1000 + 0.02 + 0.48 + 1
  EXPECT_DOUBLE_EQ(clock.secondsSince1970(), 1001.5);
  EXPECT_EQ(clock.sleeps(), 2);
  EXPECT_EQ(clock.slept(), std::chrono::milliseconds(500));
}

TEST(CountingUUIDSource, countsUp) {
  CountingUUIDSource source;
  EXPECT_EQ(source.next().string(), "00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(source.next(), CountingUUIDSource::identifier(2));
  EXPECT_EQ(CountingUUIDSource::identifier(0x1234).string(), "00000000-0000-0000-0000-000000001234");
}

TEST(TableRunningApplications, knowsNamelessApplications) {
  TableRunningApplications applications;
  applications.set(1, "Player");
  applications.set(2, std::nullopt);
  EXPECT_EQ(applications.withProcessID(1)->localizedName, "Player");
  EXPECT_EQ(applications.withProcessID(2)->localizedName, std::nullopt);
  EXPECT_FALSE(applications.withProcessID(3).has_value());
  applications.remove(1);
  EXPECT_FALSE(applications.withProcessID(1).has_value());
}

}  // namespace
}  // namespace brindlemux
