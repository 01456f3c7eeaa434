#include "model/virtual_device_config.h"

#include <gtest/gtest.h>

namespace brindlemux {
namespace {

const VirtualDeviceConfig device = {.uid = "uid", .name = "name", .channels = 4};

TEST(VirtualDeviceConfig, equalityIsOverAllFields) {
  VirtualDeviceConfig other = device;
  EXPECT_EQ(device, other);
  other.uid = "other";
  EXPECT_NE(device, other);
  other = device;
  other.name = "other";
  EXPECT_NE(device, other);
  other = device;
  other.channels = 6;
  EXPECT_NE(device, other);
}

TEST(VirtualDeviceConfig, hashIsOverAllFields) {
  const std::hash<VirtualDeviceConfig> hash;
  VirtualDeviceConfig other = device;
  EXPECT_EQ(hash(device), hash(other));
  other.uid = "other";
  EXPECT_NE(hash(device), hash(other));
  other = device;
  other.name = "other";
  EXPECT_NE(hash(device), hash(other));
  other = device;
  other.channels = 6;
  EXPECT_NE(hash(device), hash(other));
  other = {.uid = device.name, .name = device.uid, .channels = device.channels};
  EXPECT_NE(hash(device), hash(other));
}

}  // namespace
}  // namespace brindlemux
