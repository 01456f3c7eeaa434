#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>

#include "app/event_loop.h"
#include "app/tray/fake_tray.h"
#include "app/tray/private_bus.h"
#include "support/file_contents.h"
#include "support/private_server.h"
#include "support/server_dump.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

PrivateServerOptions oneSink() {
  PrivateServerOptions options;
  options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"}};
  return options;
}

/// A display that nobody sees.
class PrivateDisplay {
 public:
  PrivateDisplay() {
    const bool started = waitUntil([this] { return server_.output().ends_with("\n") || !server_.running(); });
    if (!started || server_.output().empty()) throw std::runtime_error("no display: " + server_.error());
  }
  std::string name() const { return ":" + server_.output().substr(0, server_.output().find('\n')); }
  void kill() { server_.stop(SIGKILL); }

 private:
  // Without a reset, for which it would turn away who connects when the last one has just left.
  ChildProcess server_{{{"Xvfb", "-displayfd", "1", "-screen", "0", "1440x900x24", "-nolisten", "tcp", "-noreset"}}};
};

/// The real program on a real, private audio server with one device, on a display and a bus of its own.
class DesktopSession {
 public:
  explicit DesktopSession(const std::string& defaults = "[General]\nonboarding.seen=true\n") : server_(oneSink()) {
    const char* list = R"({"devices":[{"uid":"BrindlemuxAudio_UID_A","name":"Stream","channels":2}]})";
    if (server_.run({"pw-metadata", "-n", "com.brindlemux.driver", "0", "bxcf", list, "Spa:String:JSON"}).status != 0) {
      throw std::runtime_error("the device's list cannot be written: " + server_.logs());
    }
    std::filesystem::create_directories(defaultsFile().parent_path());
    std::ofstream(defaultsFile()) << defaults;
    startProgram();
  }

  void startProgram() {
    Command command{.arguments = {BRINDLEMUX_PROGRAM}, .environment = server_.environment()};
    command.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    command.environment["XDG_CONFIG_HOME"] = server_.folder().string();
    command.environment["DISPLAY"] = display.name();
    command.environment["QT_QPA_PLATFORM"] = "xcb";
    command.environment["QT_QUICK_BACKEND"] = "software";
    program = std::make_unique<ChildProcess>(command);
  }

  std::filesystem::path defaultsFile() const { return server_.folder() / "Brindlemux" / "Brindlemux.conf"; }
  bool hasSeenOnboarding() const { return contentOf(defaultsFile()).find("onboarding.seen=true") != std::string::npos; }

  /// How many of the program's own nodes the server has: the loop-back capture of each device that is on.
  std::ptrdiff_t programNodes() const {
    const ServerDump dump(server_);
    return std::ranges::count_if(dump.nodes(), [](const ServerDump::Node& node) {
      return node.property("node.name").starts_with("brindlemux.input");
    });
  }
  bool hasNodes(std::ptrdiff_t count) const {
    return waitUntil([&] { return programNodes() == count; });
  }

  RunResult xdotool(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"env", "DISPLAY=" + display.name(), "xdotool"});
    return server_.run(std::move(arguments));
  }
  /// The window's number, found by its class; empty when there is none to be seen.
  std::string window() const {
    return xdotool({"search", "--onlyvisible", "--classname", "com.brindlemux.Brindlemux"}).output;
  }
  bool waitForWindow() const {
    return waitUntil([this] { return !window().empty(); }, 20s);
  }
  void press(const std::string& key) const {
    std::string number = window();
    number.resize(number.find('\n'));
    xdotool({"windowfocus", "--sync", number});
    xdotool({"key", key});
  }

  PrivateBus bus;
  FakeTray tray{bus.connect()};
  PrivateDisplay display;
  std::unique_ptr<ChildProcess> program;

 private:
  PrivateServer server_;
};

/// A sanitizer looks for leaks at the end, which takes a while of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr auto longestEnd = 10s;
#else
constexpr auto longestEnd = 1s;
#endif

/// How long the action takes to end the program, which leaves nothing behind. It ends with this status.
void expectQuickEnd(DesktopSession& session, int status, const std::function<void()>& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  EXPECT_EQ(session.program->wait(10s), status) << session.program->error();
  EXPECT_LT(std::chrono::steady_clock::now() - start, longestEnd);
  EXPECT_TRUE(session.hasNodes(0));
}

TEST(DesktopSession, signalEndsTheProgramWithinASecond) {
  DesktopSession session;
  ASSERT_TRUE(session.hasNodes(1)) << session.program->error();
  expectQuickEnd(session, 0, [&] { session.program->signal(SIGTERM); });
  EXPECT_EQ(session.program->error(), "");
}

TEST(DesktopSession, quitOfTheMenuEndsTheProgramWithinASecond) {
  DesktopSession session;
  ASSERT_TRUE(session.hasNodes(1)) << session.program->error();
  ASSERT_TRUE(eventually([&] { return !session.tray.items().isEmpty(); }));
  expectQuickEnd(session, 0, [&] { session.tray.choose("Quit Brindlemux"); });
  EXPECT_EQ(session.program->error(), "");
}

TEST(DesktopSession, endOfTheDisplayEndsTheProgramWithinASecond) {
  DesktopSession session;
  ASSERT_TRUE(session.hasNodes(1)) << session.program->error();
  ASSERT_TRUE(session.waitForWindow()) << session.program->error();
  expectQuickEnd(session, 1, [&] { session.display.kill(); });
}

TEST(DesktopSession, menuSwitchesTheRealDevice) {
  DesktopSession session;
  ASSERT_TRUE(session.hasNodes(1)) << session.program->error();
  ASSERT_TRUE(eventually([&] { return !session.tray.items().isEmpty(); }));
  EXPECT_EQ(session.tray.lines(), (QStringList{"[x] Stream", "-", "Open Brindlemux", "Quit Brindlemux"}));
  session.tray.choose("Stream");
  EXPECT_TRUE(session.hasNodes(0));
  EXPECT_EQ(session.tray.lines().constFirst(), "[ ] Stream");
  session.tray.choose("Stream");
  EXPECT_TRUE(session.hasNodes(1));
}

TEST(DesktopSession, pagesOfTheFirstStartStayClosedWhenTheProgramIsKilled) {
  DesktopSession session("");
  ASSERT_TRUE(session.waitForWindow()) << session.program->error();
  EXPECT_FALSE(session.hasSeenOnboarding());
  EXPECT_TRUE(waitUntil([&] {
    session.press("Escape");
    return session.hasSeenOnboarding();
  }));
  session.program->signal(SIGKILL);
  ASSERT_TRUE(session.program->wait(5s));
  EXPECT_TRUE(session.hasSeenOnboarding());
}

}  // namespace
}  // namespace brindlemux::test
