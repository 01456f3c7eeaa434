#include "driver/device_file.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "model/driver_payload.h"
#include "support/file_contents.h"
#include "support/killed_save.h"
#include "support/temporary_folder.h"

namespace brindlemux::driver {
namespace {

namespace fs = std::filesystem;

using Devices = std::vector<VirtualDeviceConfig>;

const Devices two = {{"b", "Zwei \u97F3", 4}, {"a", "One", 2}};

class DeviceFileTest : public testing::Test {
 protected:
  void place(const std::string& bytes) {
    fs::create_directories(path_.parent_path());
    test::writeFile(path_, bytes);
  }

  std::optional<std::string> content() const {
    if (!fs::exists(path_)) return std::nullopt;
    return test::contentOf(path_);
  }

  // What has been set aside, in the folder of the file.
  std::vector<fs::path> aside() const {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(path_.parent_path())) {
      if (entry.path().filename().string().starts_with("devices.json.corrupt-")) found.push_back(entry.path());
    }
    return found;
  }

  test::TemporaryFolder folder_;
  fs::path path_ = folder_.path() / "state" / "brindlemux" / "devices.json";
};

TEST_F(DeviceFileTest, withoutAFileThereIsAnEmptyList) {
  EXPECT_EQ(DeviceFile(path_).load(), Devices{});
  EXPECT_FALSE(fs::exists(path_.parent_path())) << "reading makes no folder";
}

TEST_F(DeviceFileTest, loadsWhatItSaved) {
  DeviceFile(path_).save(encodeDriverPayload(two));
  EXPECT_EQ(content(), encodeDriverPayload(two));
  EXPECT_EQ(DeviceFile(path_).load(), two);
  EXPECT_EQ(std::distance(fs::directory_iterator(path_.parent_path()), {}), 1) << "nothing else is left there";
}

TEST_F(DeviceFileTest, whatAKilledSaveHasLeftGoesWithTheNextLoad) {
  DeviceFile(path_).save(encodeDriverPayload(two));
  test::leaveKilledSave(path_);
  EXPECT_EQ(DeviceFile(path_).load(), two);
  EXPECT_EQ(test::namesIn(path_.parent_path()), std::set<std::string>{"devices.json"});
}

TEST_F(DeviceFileTest, setsAsideWhatHoldsNoList) {
  for (const std::string& bytes :
       {std::string(), std::string("garbage"), std::string("{\"devices\":[{\"uid\":\"a\"}]}"), std::string(100, '\0'),
        // Cut off at the limit it would be a list.
        encodeDriverPayload(two) + std::string(driverPayloadMostBytes, ' ') + "x"}) {
    place(bytes);
    EXPECT_EQ(DeviceFile(path_).load(), Devices{});
    EXPECT_EQ(content(), std::nullopt);
    ASSERT_EQ(aside().size(), 1u);
    EXPECT_EQ(fs::file_size(aside().front()), bytes.size());
    fs::remove(aside().front());
  }
}

TEST_F(DeviceFileTest, setsAsideWhatIsNoFile) {
  fs::create_directories(path_);
  EXPECT_EQ(DeviceFile(path_).load(), Devices{});
  EXPECT_FALSE(fs::exists(path_));
  // A pipe that nobody writes into must not hold up the server.
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  DeviceFile file(path_);
  EXPECT_EQ(file.load(), Devices{});
  file.save(encodeDriverPayload(two));
  EXPECT_EQ(content(), encodeDriverPayload(two));
}

TEST_F(DeviceFileTest, anEmptyPathKeepsNothing) {
  DeviceFile file{fs::path()};
  file.save(encodeDriverPayload(two));
  EXPECT_EQ(file.load(), Devices{});
}

TEST_F(DeviceFileTest, aFolderThatCannotBeMadeIsNoError) {
  std::ofstream(folder_.path() / "state") << "in the way";
  DeviceFile file(path_);
  file.save(encodeDriverPayload(two));
  EXPECT_EQ(file.load(), Devices{});
}

TEST_F(DeviceFileTest, theFirstOfTwoServersWrites) {
  const Devices other = {{"x", "X", 2}};
  {
    DeviceFile first(path_);
    first.save(encodeDriverPayload(two));
    DeviceFile second(path_);
    EXPECT_EQ(second.load(), two);
    second.save(encodeDriverPayload(other));
    EXPECT_EQ(content(), encodeDriverPayload(two));
    first.save(encodeDriverPayload({}));
    EXPECT_EQ(content(), encodeDriverPayload({}));
  }
  DeviceFile(path_).save(encodeDriverPayload(other));
  EXPECT_EQ(content(), encodeDriverPayload(other));
}

TEST_F(DeviceFileTest, theSecondOfTwoServersSetsNothingAside) {
  DeviceFile first(path_);
  first.save(encodeDriverPayload(two));
  place("garbage");
  EXPECT_EQ(DeviceFile(path_).load(), Devices{});
  EXPECT_EQ(content(), "garbage");
}

TEST(DeviceFilePath, isBelowTheStateFolder) {
  setenv("HOME", "/home/someone", 1);
  setenv("XDG_STATE_HOME", "/state", 1);
  EXPECT_EQ(DeviceFile::standardPath(), "/state/brindlemux/devices.json");
  for (const char* none : {"", "relative"}) {
    setenv("XDG_STATE_HOME", none, 1);
    EXPECT_EQ(DeviceFile::standardPath(), "/home/someone/.local/state/brindlemux/devices.json");
  }
  unsetenv("XDG_STATE_HOME");
  EXPECT_EQ(DeviceFile::standardPath(), "/home/someone/.local/state/brindlemux/devices.json");
  unsetenv("HOME");
  EXPECT_EQ(DeviceFile::standardPath(), "");
}

}  // namespace
}  // namespace brindlemux::driver
