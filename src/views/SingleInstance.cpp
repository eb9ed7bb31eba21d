#include "views/SingleInstance.h"

#include <QDataStream>
#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

// More than the kernel lets a command line be.
constexpr qint64 longestMessage = 8L << 20;

constexpr int handOverLimit = 5000;  // ms
constexpr unsigned long retryDelay = 50;
constexpr char taken = '+';

}  // namespace

std::string runtimeFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation).toStdString();
}

SingleInstance::SingleInstance(const std::string& folder) {
  if (folder.empty())
    return;
  socketPath_ = qtText(joinPath(folder, "tessarin-gui.socket"));
  lock_.emplace(qtText(joinPath(folder, "tessarin-gui.lock")));
  lock_->setStaleLockTime(0);  // only that of a process that is gone
  isFirst_ = lock_->tryLock() || lock_->error() != QLockFile::LockFailedError;
}

void SingleInstance::serve(std::function<void(const std::vector<std::string>&)> opened) {
  opened_ = std::move(opened);
  if (!isFirst_ || socketPath_.isEmpty())
    return;
  QObject::connect(&server_, &QLocalServer::newConnection, [this] {
    while (QLocalSocket* caller = server_.nextPendingConnection()) {
      QObject::connect(caller, &QLocalSocket::disconnected, caller, &QObject::deleteLater);
      QObject::connect(caller, &QLocalSocket::readyRead, [this, caller] { read(*caller); });
      read(*caller);
    }
  });
  QLocalServer::removeServer(socketPath_);  // of a copy that crashed: the lock is ours
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  if (!server_.listen(socketPath_))
    logFormat("single instance     :-( {}", server_.errorString().toStdString());
}

// Paths are bytes, each with a zero byte behind it, as they have for the system.
void SingleInstance::read(QLocalSocket& caller) {
  if (caller.bytesAvailable() > longestMessage)
    return caller.abort();
  QDataStream stream(&caller);
  QByteArray message;
  stream.startTransaction();
  stream >> message;
  if (!stream.commitTransaction())
    return;  // there is more to come
  caller.write(&taken, 1);
  caller.disconnectFromServer();
  std::vector<std::string> paths;
  for (const QByteArray& path : message.split('\0'))
    paths.push_back(path.toStdString());
  paths.pop_back();
  opened_(paths);
}

bool SingleInstance::handOver(const std::vector<std::string>& paths) const {
  QByteArray message;
  for (const std::string& path : paths)
    message.append(path.c_str(), static_cast<qsizetype>(path.size()) + 1);
  const QDeadlineTimer deadline(handOverLimit);
  QLocalSocket socket;
  // The first copy may hold the lock and not listen yet.
  while (!deadline.hasExpired()) {
    socket.connectToServer(socketPath_);
    if (socket.waitForConnected(handOverLimit)) {
      QDataStream stream(&socket);
      stream << message;
      char answer = 0;
      return socket.waitForReadyRead(handOverLimit) && socket.getChar(&answer) && answer == taken;
    }
    QThread::msleep(retryDelay);
  }
  return false;
}

}  // namespace tessarin
