#include "app/shell/single_instance.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QThread>
#include <cstdlib>
#include <string>
#include <vector>

#include "model/uuid.h"

namespace brindlemux {
namespace {

constexpr const char* shownAnswer = "shown\n";
constexpr std::chrono::milliseconds pause{20};
/// Longer than any request.
constexpr qint64 maximumRequestBytes = 256;

int remaining(const QDeadlineTimer& deadline) { return static_cast<int>(deadline.remainingTime()); }

/// Folders that may hold the socket, the best first: a socket's path must be short, and a folder may be read-only.
std::vector<std::filesystem::path> socketFolders(const std::filesystem::path& lock) {
  std::vector<std::filesystem::path> folders;
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime == '/') {
    folders.emplace_back(runtime);
  }
  folders.push_back(lock.parent_path());
  return folders;
}

QString text(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& graphsFile, SystemLog& log) : log_(log), lock_(graphsFile) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::Standing SingleInstance::claim(std::chrono::milliseconds patience) {
  const QDeadlineTimer deadline(patience);
  while (lock_.tryAcquire() == InstanceLock::State::heldByOther) {
    if (askOther(deadline)) return Standing::handedOver;
    if (deadline.hasExpired()) return Standing::unreachable;
    // It has only just started, or is about to end.
    QThread::msleep(static_cast<unsigned long>(pause.count()));
  }
  if (lock_.state() == InstanceLock::State::unavailable) {
    log_.write("Brindlemux: " + lock_.path().string() + " cannot be locked");
  } else {
    removeLeftOverSocket();
    listen();
  }
  return Standing::alone;
}

QByteArray SingleInstance::request() const {
  // With the lock's identity, since a copy of a lock file leads to a program that works on another file.
  return "show " + QByteArray::fromStdString(lock_.identity()) + "\n";
}

bool SingleInstance::askOther(const QDeadlineTimer& deadline) const {
  const std::string address = lock_.address();
  if (address.empty()) return false;
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(address));
  if (!socket.waitForConnected(remaining(deadline))) return false;
  socket.write(request());
  while (!socket.canReadLine()) {
    if (!socket.waitForReadyRead(remaining(deadline))) return false;
  }
  return socket.readLine() == shownAnswer;
}

void SingleInstance::removeLeftOverSocket() const {
  const std::string address = lock_.address();
  if (address.empty()) return;
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(address));
  // Whoever answers there lives, and works on another file.
  if (!socket.waitForConnected() && socket.error() == QLocalSocket::ConnectionRefusedError) {
    QLocalServer::removeServer(QString::fromStdString(address));
  }
}

void SingleInstance::listen() {
  const std::string name = "brindlemux-" + RandomUUIDSource().next().string();
  for (const std::filesystem::path& folder : socketFolders(lock_.path())) {
    if (server_.listen(text(folder / name)) && lock_.setAddress(server_.fullServerName().toStdString())) return;
    server_.close();
  }
  // An address of before would lead astray.
  lock_.setAddress({});
  log_.write("Brindlemux: a second start cannot show this window: " + server_.errorString().toStdString());
}

void SingleInstance::accept() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] { answer(*socket); });
    answer(*socket);
  }
}

void SingleInstance::answer(QLocalSocket& socket) {
  if (socket.canReadLine()) {
    if (socket.readLine() == request()) {
      Q_EMIT windowWanted();
      socket.write(shownAnswer);
    }
    socket.disconnectFromServer();
  } else if (socket.bytesAvailable() > maximumRequestBytes) {
    socket.abort();
  }
}

}  // namespace brindlemux
