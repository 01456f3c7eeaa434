#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <pipewire/pipewire.h>

namespace brindlemux {

/// The connection to a PipeWire server: owns the event loop's thread, the context with its real-time data thread, and
/// the core. When the server is not there or goes away it tries again every 100 ms. A connection whose shared memory
/// the library has lost count of is given up in the same way: nodes on it would stay silent without a word.
///
/// Threads: construct and destroy on the main thread. Everything that touches the server's objects holds the Lock;
/// the delegate's functions run on the event loop's thread, with the lock held.
class ServerConnection {
 public:
  /// Who builds on the connection and takes it down.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    virtual void serverConnected(pw_core* core) = 0;
    /// The core is still valid, but nothing can be sent any more: every proxy has to go.
    virtual void serverDisconnected() = 0;
    /// Something called `signalUpdate`; runs once for any number of calls.
    virtual void serverUpdated() = 0;
  };

  /// Keeps the event loop from dispatching while it lives. Recursive.
  class Lock {
   public:
    explicit Lock(const ServerConnection& connection);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    pw_thread_loop* loop_;
  };

  explicit ServerConnection(Delegate& delegate);
  ~ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;

  /// Starts the thread and connects.
  void start();

  /// Stops the thread and releases everything; the delegate hears `serverDisconnected` first when it was connected.
  void stop();

  /// The core, or null while there is no server. Hold the lock.
  pw_core* core() const noexcept { return core_; }

  /// Waits until the server has answered everything sent before. Returns whether it did in time.
  /// Threads: any but the event loop's; must not hold the lock.
  bool roundTrip(std::chrono::milliseconds timeout);

  /// Waits until the condition holds, which is asked with the lock held, at first and after every `serverUpdated`.
  /// Returns whether it came to hold. Threads: any but the event loop's; must not hold the lock.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::steady_clock::time_point deadline);

  /// Asks for `serverUpdated`. Threads: any.
  void signalUpdate();

 private:
  static void onCoreDone(void* data, std::uint32_t id, int sequence);
  static void onCoreError(void* data, std::uint32_t id, int sequence, int result, const char* message);
  static void onCoreAddMemory(void* data, std::uint32_t id, std::uint32_t type, int descriptor, std::uint32_t flags);
  void loseServer();
  void connect();
  void disconnect();
  void update();
  void retryLater();

  Delegate& delegate_;
  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  spa_hook coreListener_{};
  spa_source* updateEvent_ = nullptr;
  spa_source* lostEvent_ = nullptr;
  spa_source* retryTimer_ = nullptr;
  int doneSequence_ = 0;
  bool lost_ = false;
};

}  // namespace brindlemux
