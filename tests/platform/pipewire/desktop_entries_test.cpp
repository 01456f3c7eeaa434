#include "platform/pipewire/desktop_entries.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

class DesktopEntriesTest : public testing::Test {
 protected:
  DesktopEntriesTest() {
    for (const char* folder : {"user", "system"}) std::filesystem::create_directory(root_ / folder);
  }

  void write(const std::string& file, const std::string& text) { std::ofstream(root_ / file) << text; }
  DesktopEntries entries() const { return DesktopEntries({root_ / "user", root_ / "system", root_ / "missing"}); }

  const test::TemporaryFolder folder_;
  const std::filesystem::path root_ = folder_.path();
};

TEST_F(DesktopEntriesTest, findsAnEntryByTheBinaryThatItStarts) {
  write("system/org.example.Player.desktop",
        "[Desktop Entry]\nType=Application\nName=Example Player\nExec=/usr/bin/example-player --open %U\n");
  const auto entry = entries().forBinary("example-player");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->id, "org.example.Player");
  EXPECT_EQ(entry->name, "Example Player");
  EXPECT_FALSE(entries().forBinary("other").has_value());
}

TEST_F(DesktopEntriesTest, anEntryOfTheUserHidesTheSystems) {
  write("system/player.desktop", "[Desktop Entry]\nName=System\nExec=player\n");
  write("user/player.desktop", "[Desktop Entry]\nName=User\nExec=player\n");
  EXPECT_EQ(entries().forBinary("player")->name, "User");
}

TEST_F(DesktopEntriesTest, leavesOutWhatIsHiddenBrokenOrStartsSomethingElse) {
  write("system/hidden.desktop", "[Desktop Entry]\nName=Hidden\nExec=hidden\nNoDisplay=true\n");
  write("system/broken.desktop", "Exec=broken");
  write("system/nameless.desktop", "[Desktop Entry]\nExec=nameless\n");
  write("system/quote.desktop", "[Desktop Entry]\nName=Quote\nExec=\"quote\n");
  write("system/wrapped.desktop", "[Desktop Entry]\nName=Wrapped\nExec=env A=1 wrapped\n");
  for (const char* binary : {"hidden", "broken", "nameless", "quote", "env"}) {
    EXPECT_FALSE(entries().forBinary(binary).has_value()) << binary;
  }
}

TEST_F(DesktopEntriesTest, interpretersStandForNoApplication) {
  for (const char* launcher : {"python3", "java", "flatpak"}) {
    write(std::string("system/") + launcher + ".desktop",
          std::string("[Desktop Entry]\nName=Some\nExec=") + launcher + " something\n");
    EXPECT_FALSE(entries().forBinary(launcher).has_value()) << launcher;
  }
}

TEST_F(DesktopEntriesTest, findsWhatLiesBesideTheProgramInItsOwnFolder) {
  std::filesystem::create_directories(root_ / "opt/vendor/app");
  write("opt/vendor/app/launch", "#!/bin/sh\n");
  std::filesystem::permissions(root_ / "opt/vendor/app/launch", std::filesystem::perms::owner_all);
  std::filesystem::create_symlink(root_ / "opt/vendor/app/launch", root_ / "start");
  write("system/app.desktop", "[Desktop Entry]\nName=App\nExec=" + (root_ / "start").string() + " %U\n");
  const auto entry = entries().forExecutable(root_ / "opt/vendor/app/main");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->id, "app");
  EXPECT_FALSE(entries().forExecutable(root_ / "opt/vendor/main").has_value());
}

TEST_F(DesktopEntriesTest, aFolderThatProgramsShareStandsForNone) {
  std::filesystem::create_directories(root_ / "bin");
  write("bin/player", "#!/bin/sh\n");
  std::filesystem::permissions(root_ / "bin/player", std::filesystem::perms::owner_all);
  write("system/player.desktop", "[Desktop Entry]\nName=Player\nExec=" + (root_ / "bin/player").string() + "\n");
  EXPECT_TRUE(entries().forExecutable(root_ / "bin/player").has_value());
  EXPECT_FALSE(entries().forExecutable(root_ / "bin/other").has_value());
}

TEST_F(DesktopEntriesTest, takesTheNameInTheUsersLanguage) {
  const char* const former = getenv("LANGUAGE");
  const std::string kept = former == nullptr ? "" : former;
  setenv("LANGUAGE", "de", 1);
  write("system/player.desktop", "[Desktop Entry]\nName=Player\nName[de]=Spieler\nName[fr]=Lecteur\nExec=player\n");
  EXPECT_EQ(entries().forBinary("player")->name, "Spieler");
  former == nullptr ? unsetenv("LANGUAGE") : setenv("LANGUAGE", kept.c_str(), 1);
}

TEST_F(DesktopEntriesTest, whatIsNoFileOfItsSizeIsPassedOver) {
  // Reading a pipe that nobody writes to would never end.
  ASSERT_EQ(mkfifo((root_ / "system/pipe.desktop").c_str(), 0600), 0);
  write("system/huge.desktop", "[Desktop Entry]\nName=Huge\nExec=huge\n");
  std::filesystem::resize_file(root_ / "system/huge.desktop", std::uintmax_t{1} << 40U);  // sparse: takes no room
  write("system/empty.desktop", "");
  write("system/player.desktop", "[Desktop Entry]\nName=Player\nExec=player\n");
  EXPECT_TRUE(entries().forBinary("player").has_value());
}

TEST_F(DesktopEntriesTest, aFolderThatCannotBeReadIsPassedOver) {
  write("file", "");
  EXPECT_FALSE(DesktopEntries({root_ / "file", root_ / "none"}).forBinary("any").has_value());
}

}  // namespace
}  // namespace brindlemux
