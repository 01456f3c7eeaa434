#include "platform/pipewire/server_connection.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <pipewire/mem.h>
#include <pthread.h>
#include <spa/utils/result.h>
#include <string_view>

#include "model/fatal_error.h"
#include "platform/pipewire/names.h"

namespace brindlemux {
namespace {

constexpr std::chrono::milliseconds retryInterval{100};

timespec toTimespec(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  return {static_cast<std::time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
}

/// The library leaves the data thread without a name of its own; whoever looks at the program's threads wants to know
/// which one it is.
int nameDataThread(spa_loop* /*loop*/, bool /*async*/, std::uint32_t /*sequence*/, const void* /*data*/,
                   std::size_t /*size*/, void* /*userData*/) {
  return pthread_setname_np(pthread_self(), "brindlemux-data");
}

/// Whether an error of the core means that the library has given the connection up. It says so once, in these words and
/// with what the system call said that failed: a server that dies while something of its is being read leaves a reset
/// connection, not a broken pipe. All other errors answer a request.
bool isEndOfConnection(int result, const char* message) {
  return result == -EPIPE || (message != nullptr && std::string_view(message) == "connection error");
}

/// Whether `done`, the last answer, is that to `sequence` or to a later question: the server answers in their order.
/// 0 is no answer yet; the numbers start over at 2^30.
bool isAnswered(int sequence, int done) {
  constexpr unsigned mask = SPA_ASYNC_SEQ_MASK;
  const unsigned later = (static_cast<unsigned>(done) - static_cast<unsigned>(sequence)) & mask;
  return done != 0 && later <= mask / 2;
}

}  // namespace

ServerConnection::Lock::Lock(const ServerConnection& connection) : loop_(connection.loop_) {
  pw_thread_loop_lock(loop_);
}

ServerConnection::Lock::~Lock() { pw_thread_loop_unlock(loop_); }

ServerConnection::ServerConnection(Delegate& delegate) : delegate_(delegate) {
  pw_init(nullptr, nullptr);
  loop_ = pw_thread_loop_new("brindlemux-server", nullptr);
  if (loop_ == nullptr) fatalError("cannot make the audio server's event loop");
  pw_loop* const loop = pw_thread_loop_get_loop(loop_);
  // The stock client configuration of this name asks for a real-time data thread; the default one does not.
  context_ = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  if (context_ == nullptr) fatalError("cannot make the audio server's context");
  pw_data_loop_invoke(pw_context_get_data_loop(context_), nameDataThread, 0, nullptr, 0, false, nullptr);
  updateEvent_ = pw_loop_add_event(
      loop, [](void* data, std::uint64_t) { static_cast<ServerConnection*>(data)->update(); }, this);
  lostEvent_ = pw_loop_add_event(
      loop, [](void* data, std::uint64_t) { static_cast<ServerConnection*>(data)->disconnect(); }, this);
  retryTimer_ = pw_loop_add_timer(
      loop, [](void* data, std::uint64_t) { static_cast<ServerConnection*>(data)->connect(); }, this);
}

ServerConnection::~ServerConnection() {
  stop();
  pw_loop* const loop = pw_thread_loop_get_loop(loop_);
  pw_loop_destroy_source(loop, retryTimer_);
  pw_loop_destroy_source(loop, lostEvent_);
  pw_loop_destroy_source(loop, updateEvent_);
  pw_context_destroy(context_);
  pw_thread_loop_destroy(loop_);
  pw_deinit();
}

void ServerConnection::start() {
  if (pw_thread_loop_start(loop_) < 0) fatalError("cannot start the audio server's thread");
  const Lock lock(*this);
  connect();
}

void ServerConnection::stop() {
  pw_thread_loop_stop(loop_);
  if (core_ == nullptr) return;
  delegate_.serverDisconnected();
  spa_hook_remove(&coreListener_);
  pw_core_disconnect(core_);
  core_ = nullptr;
}

bool ServerConnection::roundTrip(std::chrono::milliseconds timeout) {
  const Lock lock(*this);
  if (core_ == nullptr || lost_) return false;
  const int sequence = pw_core_sync(core_, PW_ID_CORE, 0);
  timespec deadline{};
  pw_thread_loop_get_time(loop_, &deadline, std::chrono::nanoseconds(timeout).count());
  while (core_ != nullptr && !lost_ && !isAnswered(sequence, doneSequence_)) {
    if (pw_thread_loop_timed_wait_full(loop_, &deadline) != 0) return false;
  }
  return core_ != nullptr && !lost_;
}

bool ServerConnection::waitUntil(const std::function<bool()>& condition,
                                 std::chrono::steady_clock::time_point deadline) {
  const Lock lock(*this);
  timespec end{};
  const auto left = std::max(deadline - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration::zero());
  pw_thread_loop_get_time(loop_, &end, std::chrono::nanoseconds(left).count());
  while (!condition()) {
    if (pw_thread_loop_timed_wait_full(loop_, &end) != 0) return false;
  }
  return true;
}

void ServerConnection::signalUpdate() { pw_loop_signal_event(pw_thread_loop_get_loop(loop_), updateEvent_); }

void ServerConnection::onCoreDone(void* data, std::uint32_t id, int sequence) {
  auto* const self = static_cast<ServerConnection*>(data);
  if (id != PW_ID_CORE) return;
  self->doneSequence_ = sequence;
  pw_thread_loop_signal(self->loop_, false);
}

void ServerConnection::onCoreError(void* data, std::uint32_t id, int /*sequence*/, int result, const char* message) {
  auto* const self = static_cast<ServerConnection*>(data);
  if (id == PW_ID_CORE && isEndOfConnection(result, message)) self->loseServer();
}

/// The server numbers the blocks of memory that it shares, the library counts along. Under load, when nodes come and go
/// while the server comes up, versions of it have been seen to come to another number; it then refuses this block and
/// those after it, tells the server alone, and the nodes that need them never run.
void ServerConnection::onCoreAddMemory(void* data, std::uint32_t id, std::uint32_t /*type*/, int descriptor,
                                       std::uint32_t /*flags*/) {
  auto* const self = static_cast<ServerConnection*>(data);
  const pw_memblock* const block = pw_mempool_find_id(pw_core_get_mempool(self->core_), id);
  if (block == nullptr || block->fd != descriptor) self->loseServer();
}

void ServerConnection::loseServer() {
  if (lost_) return;
  // The library still walks its lists here; taking the connection down has to wait for the loop's next turn.
  lost_ = true;
  pw_loop_signal_event(pw_thread_loop_get_loop(loop_), lostEvent_);
  pw_thread_loop_signal(loop_, false);
}

void ServerConnection::connect() {
  static constexpr pw_core_events events = {
      .version = PW_VERSION_CORE_EVENTS,
      .info = nullptr,
      .done = onCoreDone,
      .ping = nullptr,
      .error = onCoreError,
      .remove_id = nullptr,
      .bound_id = nullptr,
      .add_mem = onCoreAddMemory,
      .remove_mem = nullptr,
  };
  if (core_ != nullptr) return;
  core_ = pw_context_connect(context_,
                             pw_properties_new(PW_KEY_APP_NAME, applicationName, PW_KEY_APP_ID, applicationID,
                                               PW_KEY_APP_ICON_NAME, applicationID, nullptr),
                             0);
  if (core_ == nullptr) {
    retryLater();
    return;
  }
  lost_ = false;
  // Sequence numbers start over with each connection: one of the last must not pass for an answer of this one.
  doneSequence_ = 0;
  pw_core_add_listener(core_, &coreListener_, &events, this);
  delegate_.serverConnected(core_);
}

void ServerConnection::disconnect() {
  if (core_ == nullptr) return;
  delegate_.serverDisconnected();
  spa_hook_remove(&coreListener_);
  pw_core_disconnect(core_);
  core_ = nullptr;
  update();
  retryLater();
}

void ServerConnection::update() {
  delegate_.serverUpdated();
  pw_thread_loop_signal(loop_, false);
}

void ServerConnection::retryLater() {
  timespec delay = toTimespec(retryInterval);
  pw_loop_update_timer(pw_thread_loop_get_loop(loop_), retryTimer_, &delay, nullptr, false);
}

}  // namespace brindlemux
