#include "platform/pipewire/application_finder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

/// A folder of processes like the kernel's, and one of desktop entries.
class ApplicationFinderTest : public testing::Test {
 protected:
  ApplicationFinderTest() { std::filesystem::create_directory(root_ / "applications"); }

  void addEntry(const std::string& id, const std::string& command) {
    std::ofstream(root_ / "applications" / (id + ".desktop"))
        << "[Desktop Entry]\nName=" << id << "\nExec=" << command << "\n";
  }
  void addProcess(int pid, int parent, const std::string& executable) {
    const auto folder = root_ / "proc" / std::to_string(pid);
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(executable, folder / "exe");
    std::ofstream(folder / "stat") << pid << " (a ) b) S " << parent << " 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 77" << pid
                                   << " 0 0\n";
  }
  std::string applicationOf(int pid, const std::string& binary) const {
    const DesktopEntries entries({root_ / "applications"});
    const ProcessFiles processes(root_ / "proc");
    const auto entry = ApplicationFinder(entries, processes).find(pid, binary);
    return entry ? entry->id : "";
  }

  const test::TemporaryFolder folder_;
  const std::filesystem::path root_ = folder_.path();
};

TEST_F(ApplicationFinderTest, aProcessThatAnEntryStartsIsItsApplication) {
  addEntry("player", "player %U");
  EXPECT_EQ(applicationOf(10, "player"), "player");
  addProcess(10, 1, "/usr/bin/player");
  EXPECT_EQ(applicationOf(10, "known by another name"), "player");
}

TEST_F(ApplicationFinderTest, aHelperBelongsToTheApplicationThatStartedIt) {
  addEntry("browser", "browser %U");
  addProcess(10, 1, "/usr/bin/browser");
  addProcess(11, 10, "/usr/libexec/browser/zygote");
  addProcess(12, 11, "/usr/libexec/browser/sound");
  EXPECT_EQ(applicationOf(12, "sound"), "browser");
}

TEST_F(ApplicationFinderTest, aProgramOfItsOwnDoesNotBelongToWhoeverStartedIt) {
  addEntry("files", "files");
  addEntry("terminal", "terminal");
  addProcess(10, 1, "/usr/bin/files");
  addProcess(11, 10, "/usr/bin/plain-player");
  EXPECT_EQ(applicationOf(11, "plain-player"), "");
  addProcess(12, 1, "/usr/libexec/terminal");
  addProcess(13, 12, "/usr/bin/bash");
  addProcess(14, 13, "/opt/thing/plain-player");
  EXPECT_EQ(applicationOf(14, "plain-player"), "");
}

TEST_F(ApplicationFinderTest, aCircleOfParentsEnds) {
  addProcess(10, 11, "/opt/a/one");
  addProcess(11, 10, "/opt/a/two");
  EXPECT_EQ(applicationOf(10, "one"), "");
}

TEST_F(ApplicationFinderTest, aProcessThatCannotBeSeenHasItsBinaryAlone) {
  addEntry("player", "player");
  EXPECT_EQ(applicationOf(99, "player"), "player");
  EXPECT_EQ(applicationOf(99, "other"), "");
  EXPECT_EQ(applicationOf(-100, "other"), "");
}

TEST_F(ApplicationFinderTest, theStartTimeIsFoundBehindAnyName) {
  addProcess(10, 1, "/usr/bin/player");
  const ProcessFiles processes(root_ / "proc");
  EXPECT_EQ(processes.startTime(10), "7710");
  EXPECT_EQ(processes.parent(10), 1);
  EXPECT_EQ(processes.startTime(99), "");
  EXPECT_EQ(processes.parent(99), std::nullopt);
}

TEST_F(ApplicationFinderTest, aProgramThatWasReplacedKeepsItsName) {
  addProcess(10, 1, "/usr/bin/player (deleted)");
  EXPECT_EQ(ProcessFiles(root_ / "proc").executable(10), "/usr/bin/player");
}

}  // namespace
}  // namespace brindlemux
