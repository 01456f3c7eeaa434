#pragma once

#include <pipewire/pipewire.h>
#include <stdexcept>

#include "support/private_server.h"

namespace brindlemux::test {

/// A client of a test's own on a private server, with a thread that serves its connection.
///
/// Owns the connection and all below it. Whoever makes something of it lets go of that between `stop` and the end of
/// this object. Threads: one; the events have their own.
class ServerClient {
 public:
  /// How the callbacks of streams and filters are run: in real time, as in applications of sound, or like all else.
  enum class DataThread { ordinary, realtime };

  /// Throws std::runtime_error when there is no server. No event comes before `start`.
  explicit ServerClient(const PrivateServer& server, DataThread thread = DataThread::ordinary) {
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new("test client", nullptr);
    pw_properties* const properties =
        thread == DataThread::realtime ? pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr) : nullptr;
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_), properties, 0);
    core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, server.socket().c_str(), nullptr), 0);
    if (core_ != nullptr) return;
    close();
    throw std::runtime_error("there is no server");
  }
  ~ServerClient() {
    stop();
    pw_core_disconnect(core_);
    close();
  }
  ServerClient(const ServerClient&) = delete;
  ServerClient& operator=(const ServerClient&) = delete;

  void start() { pw_thread_loop_start(loop_); }
  /// No event comes any more.
  void stop() { pw_thread_loop_stop(loop_); }

  pw_thread_loop* loop() const noexcept { return loop_; }
  pw_context* context() const noexcept { return context_; }
  pw_core* core() const noexcept { return core_; }

 private:
  void close() {
    pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
  }

  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
};

}  // namespace brindlemux::test
