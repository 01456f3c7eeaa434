// What becomes of a connection whose server dies, with a server that does nothing else.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "platform/pipewire/server_connection.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// A socket where clients look for a server. It takes them, reads nothing, and dies when it is told to.
class DeafServer {
 public:
  DeafServer() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder_.path() / "pipewire-0";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening_, 8) != 0)
      throw std::runtime_error("no socket at " + path);
    setenv("PIPEWIRE_RUNTIME_DIR", folder_.path().c_str(), 1);
    unsetenv("PIPEWIRE_REMOTE");
  }
  ~DeafServer() {
    die();
    close(listening_);
  }
  DeafServer(const DeafServer&) = delete;
  DeafServer& operator=(const DeafServer&) = delete;

  void takeClient() { client_ = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC); }
  /// Whether the client has said something, which stays unread.
  bool hasHeard() const {
    int bytes = 0;
    return ioctl(client_, FIONREAD, &bytes) == 0 && bytes > 0;
  }
  void say(const std::string& bytes) const {
    EXPECT_EQ(send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  void die() {
    if (client_ >= 0) close(std::exchange(client_, -1));
  }

 private:
  TemporaryFolder folder_;
  int listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int client_ = -1;
};

/// Counts, and does something on the loop's thread at its next turns.
class Watcher final : public ServerConnection::Delegate {
 public:
  void serverConnected(pw_core*) override { ++connections; }
  void serverDisconnected() override { ++disconnections; }
  void serverUpdated() override {
    if (next) std::exchange(next, nullptr)();
  }

  std::atomic<int> connections = 0;
  std::atomic<int> disconnections = 0;
  std::function<void()> next;
};

class LostConnection : public testing::Test {
 protected:
  void SetUp() override {
    connection.start();
    server.takeClient();
    ASSERT_TRUE(waitUntil([&] { return server.hasHeard(); }));
    ASSERT_EQ(watcher.connections, 1);
  }
  void TearDown() override { connection.stop(); }

  void atNextTurn(std::function<void()> work) {
    watcher.next = std::move(work);
    connection.signalUpdate();
  }

  DeafServer server;
  Watcher watcher;
  ServerConnection connection{watcher};
};

TEST_F(LostConnection, isMadeAnewWhenTheServerDies) {
  atNextTurn([this] { server.die(); });
  EXPECT_TRUE(waitUntil([&] { return watcher.disconnections == 1 && watcher.connections == 2; }));
}

TEST_F(LostConnection, isMadeAnewWhenTheServerDiesBeforeItsWordsAreRead) {
  // Both wait for the same turn of the loop, the event before the server's word: when that is about to be read, the
  // server is dead and has left what the client said unread.
  atNextTurn([this] {
    atNextTurn([this] { server.die(); });
    server.say("w");
  });
  EXPECT_TRUE(waitUntil([&] { return watcher.disconnections == 1 && watcher.connections == 2; }));
}

}  // namespace
}  // namespace brindlemux::test
