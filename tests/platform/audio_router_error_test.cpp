#include "platform/audio_router_error.h"

#include <gtest/gtest.h>

namespace brindlemux {
namespace {

std::string messageOf(OSStatus status, std::string_view what) {
  try {
    check(status, what);
  } catch (const AudioRouterError& error) {
    return error.message();
  }
  return "nothing thrown";
}

TEST(AudioRouterError, successThrowsNothing) { EXPECT_EQ(messageOf(noErr, "Starting input"), "nothing thrown"); }

TEST(AudioRouterError, failureNamesStepAndSignedStatus) {
  EXPECT_EQ(messageOf(-50, "Creating audio unit"), "Creating audio unit failed (OSStatus -50)");
  EXPECT_EQ(messageOf(560947818, "Starting tap IO"), "Starting tap IO failed (OSStatus 560947818)");
}

TEST(AudioRouterError, descriptionIsExactlyTheMessage) {
  const AudioRouterError error("Device has no input channels");
  EXPECT_STREQ(error.what(), "Device has no input channels");
  EXPECT_EQ(error.message(), "Device has no input channels");
}

}  // namespace
}  // namespace brindlemux
