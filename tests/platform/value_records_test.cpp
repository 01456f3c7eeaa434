#include <gtest/gtest.h>
#include <unordered_set>

#include "platform/audio_device_info.h"
#include "platform/audio_process_info.h"

namespace brindlemux {
namespace {

TEST(AudioDeviceInfo, equalityAndHashCoverEveryField) {
  const AudioDeviceInfo device = {3, "uid", "name", 1, 2};
  std::unordered_set<AudioDeviceInfo> set = {device, device};
  EXPECT_EQ(set.size(), 1U);
  set.insert({4, "uid", "name", 1, 2});
  set.insert({3, "other", "name", 1, 2});
  set.insert({3, "uid", "other", 1, 2});
  set.insert({3, "uid", "name", 2, 2});
  set.insert({3, "uid", "name", 1, 1});
  EXPECT_EQ(set.size(), 6U);
}

TEST(AudioProcessInfo, equalityAndHashCoverEveryField) {
  const AudioProcessInfo process = {3, 100, "name", "com.example.App", true};
  std::unordered_set<AudioProcessInfo> set = {process, process};
  EXPECT_EQ(set.size(), 1U);
  set.insert({4, 100, "name", "com.example.App", true});
  set.insert({3, 101, "name", "com.example.App", true});
  set.insert({3, 100, "other", "com.example.App", true});
  set.insert({3, 100, "name", std::nullopt, true});
  set.insert({3, 100, "name", "com.example.App", false});
  EXPECT_EQ(set.size(), 6U);
}

}  // namespace
}  // namespace brindlemux
