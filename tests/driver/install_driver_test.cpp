#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "model/driver_payload.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

namespace fs = std::filesystem;

/// A user who has nothing yet, with the system's own audio server.
class InstallDriver : public testing::Test {
 protected:
  InstallDriver() {
    fs::create_directories(home_);
    fs::create_directories(folder_.path() / "run");
    fs::permissions(folder_.path() / "run", fs::perms::owner_all);
  }

  Command asUser(std::vector<std::string> arguments) const {
    std::vector<std::string> command = {"env",
                                        "-u",
                                        "XDG_CONFIG_HOME",
                                        "-u",
                                        "XDG_STATE_HOME",
                                        "-u",
                                        "PIPEWIRE_CONFIG_DIR",
                                        "-u",
                                        "PIPEWIRE_MODULE_DIR",
                                        "-u",
                                        "PIPEWIRE_REMOTE"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return {command,
            {{"HOME", home_.string()},
             {"XDG_RUNTIME_DIR", (folder_.path() / "run").string()},
             {"PIPEWIRE_RUNTIME_DIR", (folder_.path() / "run").string()},
             {"DBUS_SESSION_BUS_ADDRESS", "disabled:"}}};
  }

  std::string run(std::vector<std::string> arguments) const {
    ChildProcess process(asUser(std::move(arguments)));
    EXPECT_EQ(process.wait(std::chrono::seconds(10)), 0) << process.error();
    return process.output();
  }

  std::string install() const {
    return run({BRINDLEMUX_SOURCE_DIR "/scripts/install-driver.sh", "--user", "--module",
                BRINDLEMUX_LIBRARY_DIR "/libpipewire-module-brindlemux-driver.so"});
  }
  std::string uninstall() const { return run({BRINDLEMUX_SOURCE_DIR "/scripts/uninstall-driver.sh", "--user"}); }

  // What the driver's property shows; nothing where there is no driver.
  std::string property() const {
    ChildProcess process(asUser({"pw-metadata", "-n", std::string(driverBundleID), "0", "bxcf"}));
    process.wait(std::chrono::seconds(5));
    const std::string output = process.output();
    const auto start = output.find("value:'");
    return start == std::string::npos ? "" : output.substr(start + 7, output.find("' type") - start - 7);
  }

  std::vector<std::string> files() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(home_)) {
      if (!entry.is_directory()) found.push_back(entry.path().lexically_relative(home_).string());
    }
    std::ranges::sort(found);
    return found;
  }

  bool serverIsUp() const { return fs::exists(folder_.path() / "run" / "pipewire-0"); }

  TemporaryFolder folder_;
  // A name that the configuration's syntax and a shell would trip over.
  fs::path home_ = folder_.path() / "so me $(one)'s \"home\"";
};

TEST_F(InstallDriver, forOneUserWithoutRoot) {
  const std::string said = install();
  const std::vector<std::string> installed = {".config/pipewire/pipewire.conf.d/50-brindlemux-driver.conf",
                                              ".local/lib/brindlemux/libpipewire-module-brindlemux-driver.so"};
  EXPECT_EQ(files(), installed);
  for (const std::string& file : installed) EXPECT_NE(said.find(file), std::string::npos) << said;
  EXPECT_NE(said.find("systemctl --user restart"), std::string::npos) << said;
  install();
  EXPECT_EQ(files(), installed) << "a second time changes nothing";

  const std::string list = encodeDriverPayload({{"a", "A", 2}});
  {
    ChildProcess server(asUser({"pipewire"}));
    ASSERT_TRUE(waitUntil([&] { return serverIsUp() && property() == encodeDriverPayload({}); })) << server.error();
    run({"pw-metadata", "-n", std::string(driverBundleID), "0", "bxcf", list, "Spa:String:JSON"});
    EXPECT_EQ(property(), list);
    EXPECT_EQ(server.stop(SIGTERM), 0);
  }
  {
    ChildProcess server(asUser({"pipewire"}));
    EXPECT_TRUE(waitUntil([&] { return serverIsUp() && property() == list; })) << server.error();
    server.stop(SIGTERM);
  }
  uninstall();
  EXPECT_EQ(files(), std::vector<std::string>{});
  EXPECT_FALSE(fs::exists(home_ / ".config" / "pipewire"));
  EXPECT_FALSE(fs::exists(home_ / ".local" / "lib"));
  uninstall();
}

TEST_F(InstallDriver, leavesWhatBelongsToOthers) {
  const fs::path other = home_ / ".config/pipewire/pipewire.conf.d/10-mine.conf";
  run({"install", "-D", "/dev/null", other.string()});
  install();
  uninstall();
  EXPECT_EQ(files(), (std::vector<std::string>{".config/pipewire/pipewire.conf.d/10-mine.conf"}));
}

TEST_F(InstallDriver, saysSoWhenNothingIsBuilt) {
  ChildProcess process(
      asUser({BRINDLEMUX_SOURCE_DIR "/scripts/install-driver.sh", "--user", "--module", "/no/such/file.so"}));
  EXPECT_EQ(process.wait(std::chrono::seconds(10)), 1);
  EXPECT_NE(process.error().find("build-driver.sh"), std::string::npos);
  EXPECT_EQ(files(), std::vector<std::string>{});
}

}  // namespace
}  // namespace brindlemux::test
