#include "model/replace_file.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "support/file_contents.h"
#include "support/killed_save.h"
#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

using test::contentOf;
using test::namesIn;
using test::TemporaryFolder;
using test::writeFile;

mode_t permissionsOf(const std::filesystem::path& file) {
  struct stat status {};
  EXPECT_EQ(stat(file.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(ReplaceFile, createsAFileWithTheUsualPermissions) {
  const TemporaryFolder folder;
  const mode_t previous = umask(027);
  replaceFile(folder.path() / "file", "bytes");
  umask(previous);
  EXPECT_EQ(contentOf(folder.path() / "file"), "bytes");
  EXPECT_EQ(permissionsOf(folder.path() / "file"), 0640U);  // 0666 without the mask's bits
  EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"file"});
}

TEST(ReplaceFile, keepsThePermissionsOfTheFileItReplaces) {
  const TemporaryFolder folder;
  const std::filesystem::path file = folder.path() / "file";
  for (const mode_t permissions : {0600U, 0664U, 0444U}) {
    writeFile(file, "old");
    ASSERT_EQ(chmod(file.c_str(), permissions), 0);
    replaceFile(file, "young");
    EXPECT_EQ(contentOf(file), "young");
    EXPECT_EQ(permissionsOf(file), permissions);
    std::filesystem::remove(file);
  }
}

TEST(ReplaceFile, aReaderThatHasTheOldFileOpenKeepsItWhole) {
  const TemporaryFolder folder;
  const std::filesystem::path file = folder.path() / "file";
  writeFile(file, "old");
  std::ifstream reader(file);
  replaceFile(file, "young and longer");
  EXPECT_EQ((std::ostringstream() << reader.rdbuf()).str(), "old");
}

TEST(ReplaceFile, replacesWhatASymbolicLinkLeadsTo) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() / "elsewhere");
  const std::filesystem::path target = folder.path() / "elsewhere" / "target";
  writeFile(target, "old");
  std::filesystem::create_symlink("elsewhere/second", folder.path() / "first");
  std::filesystem::create_symlink(target, folder.path() / "elsewhere" / "second");
  replaceFile(folder.path() / "first", "young");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "first"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "elsewhere" / "second"));
  EXPECT_FALSE(std::filesystem::is_symlink(target));
  EXPECT_EQ(contentOf(target), "young");
  EXPECT_EQ(namesIn(folder.path() / "elsewhere"), (std::set<std::string>{"second", "target"}));
}

TEST(ReplaceFile, createsTheTargetOfALinkThatLeadsNowhereYet) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("target", folder.path() / "link");
  replaceFile(folder.path() / "link", "bytes");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
  EXPECT_EQ(contentOf(folder.path() / "target"), "bytes");
}

TEST(ReplaceFile, aCircleOfLinksIsAnError) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("second", folder.path() / "first");
  std::filesystem::create_symlink("first", folder.path() / "second");
  EXPECT_THROW(replaceFile(folder.path() / "first", "bytes"), std::filesystem::filesystem_error);
}

TEST(ReplaceFile, aMissingFolderIsAnError) {
  const TemporaryFolder folder;
  EXPECT_THROW(replaceFile(folder.path() / "missing" / "file", "bytes"), std::filesystem::filesystem_error);
}

TEST(ReplaceFile, aFailureLeavesNothingBehind) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() / "file");
  EXPECT_THROW(replaceFile(folder.path() / "file", "bytes"), std::filesystem::filesystem_error);
  EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"file"});
}

TEST(ReplaceFile, leftoversOfACrashAreNoObstacle) {
  const TemporaryFolder folder;
  const std::string leftover = ".file." + std::to_string(getpid()) + "-0";
  writeFile(folder.path() / leftover, "leftover");
  replaceFile(folder.path() / "file", "bytes");
  EXPECT_EQ(contentOf(folder.path() / "file"), "bytes");
  EXPECT_EQ(contentOf(folder.path() / leftover), "leftover");
}

TEST(RemoveLeftovers, takesOldFilesOfProcessesThatHaveEndedAndNothingElse) {
  const TemporaryFolder folder;
  const std::string ended = std::to_string(test::endedProcess());
  const std::string running = std::to_string(getpid());
  const auto write = [&](const std::string& name, std::chrono::seconds age) {
    writeFile(folder.path() / name, "bytes");
    std::filesystem::last_write_time(folder.path() / name, std::filesystem::file_time_type::clock::now() - age);
  };
  constexpr std::chrono::seconds old(120);
  write(".file." + ended + "-0", old);
  write(".file." + ended + "-17", old);
  const std::set<std::string> others = {"file",
                                        ".file." + running + "-0",
                                        ".file." + ended,
                                        ".file." + ended + "-",
                                        ".file.-1-0",
                                        ".file.0-0",
                                        ".file." + ended + "-0.backup",
                                        ".file.text-0",
                                        ".other." + ended + "-0",
                                        ".file." + ended + "-0-0"};
  for (const std::string& name : others) write(name, old);
  write(".file." + ended + "-1", std::chrono::seconds(0));
  removeLeftovers(folder.path() / "file");
  std::set<std::string> expected = others;
  expected.insert(".file." + ended + "-1");
  EXPECT_EQ(namesIn(folder.path()), expected);
}

TEST(RemoveLeftovers, looksWhereALinkLeads) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() / "elsewhere");
  std::filesystem::create_symlink("elsewhere/file", folder.path() / "link");
  test::leaveKilledSave(folder.path() / "elsewhere" / "file");
  removeLeftovers(folder.path() / "link");
  EXPECT_TRUE(namesIn(folder.path() / "elsewhere").empty());
}

TEST(RemoveLeftovers, ofAFolderThatIsNotThereAreNoError) {
  const TemporaryFolder folder;
  removeLeftovers(folder.path() / "missing" / "file");
  EXPECT_TRUE(namesIn(folder.path()).empty());
}

}  // namespace
}  // namespace brindlemux
