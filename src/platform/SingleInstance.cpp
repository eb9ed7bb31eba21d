#include "platform/SingleInstance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

// More than the kernel lets a command line be.
constexpr std::size_t longestMessage = 8u << 20;

constexpr std::chrono::milliseconds handOverLimit(5000);
constexpr std::chrono::milliseconds retryDelay(50);
constexpr char taken = '+';

std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path))
    return std::nullopt;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

Descriptor newSocket(int flags) {
  return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR)
      continue;
    if (sent <= 0)
      return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

}  // namespace

// A later copy that is telling us its files.
struct SingleInstance::Caller {
  Descriptor socket;
  std::string message;
  RunLoop::Id watch = 0;
};

std::string runtimeFolder() {
  if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder && *folder == '/')
    return folder;
  const std::string folder = "/tmp/tessarin-" + std::to_string(::getuid());
  ::mkdir(folder.c_str(), 0700);
  // Anybody may make a folder of that name in /tmp.
  struct stat facts {};
  const bool isOurs = ::lstat(folder.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) &&
                      facts.st_uid == ::getuid() && (facts.st_mode & 077) == 0;
  return isOurs ? folder : "";
}

SingleInstance::SingleInstance(RunLoop& loop, std::string folder)
    : loop_(loop), folder_(std::move(folder)) {
  if (folder_.empty())
    return;
  const std::string path = joinPath(folder_, "tessarin-gui.lock");
  lock_ = Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (lock_.isOpen() && ::flock(lock_.number(), LOCK_EX | LOCK_NB) != 0)
    isFirst_ = errno != EWOULDBLOCK;
}

SingleInstance::~SingleInstance() {
  loop_.cancel(watch_);
  for (const auto& caller : callers_)
    loop_.cancel(caller->watch);
  if (socket_.isOpen())
    ::unlink(socketPath().c_str());
}

std::string SingleInstance::socketPath() const {
  return joinPath(folder_, "tessarin-gui.socket");
}

void SingleInstance::serve(std::function<void(const std::vector<std::string>&)> opened) {
  opened_ = std::move(opened);
  const auto address = addressOf(socketPath());
  if (!isFirst_ || folder_.empty() || !address)
    return;
  ::unlink(socketPath().c_str());  // of a copy that crashed: the lock is ours
  socket_ = newSocket(SOCK_NONBLOCK);
  if (!socket_.isOpen() || ::bind(socket_.number(), generic(*address), sizeof(*address)) != 0 ||
      ::listen(socket_.number(), 8) != 0) {
    logFormat("single instance     :-( {}", systemReason(errno));
    socket_.close();
    return;
  }
  watch_ = loop_.watchReadable(socket_.number(), [this] { accept(); });
}

void SingleInstance::accept() {
  Descriptor socket(::accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!socket.isOpen())
    return;
  auto caller = std::make_unique<Caller>();
  caller->socket = std::move(socket);
  Caller* borrowed = caller.get();
  caller->watch =
      loop_.watchReadable(borrowed->socket.number(), [this, borrowed] { read(*borrowed); });
  callers_.push_back(std::move(caller));
}

void SingleInstance::read(Caller& caller) {
  char bytes[4096];
  const ssize_t count = ::recv(caller.socket.number(), bytes, sizeof(bytes), 0);
  if (count < 0 && (errno == EAGAIN || errno == EINTR))
    return;
  const bool isMore = count > 0 && caller.message.size() < longestMessage;
  if (isMore) {
    caller.message.append(bytes, static_cast<std::size_t>(count));
    return;
  }
  // Paths end in a zero byte, as they do for the system; what has none was cut off.
  std::vector<std::string> paths;
  for (const std::string_view path : split(caller.message, std::string_view("\0", 1)))
    paths.emplace_back(path);
  if (!paths.empty())
    paths.pop_back();
  const bool isWhole = count == 0;
  if (isWhole)
    sendAll(caller.socket.number(), {&taken, 1});
  loop_.cancel(caller.watch);
  std::erase_if(callers_, [&caller](const auto& one) { return one.get() == &caller; });
  if (isWhole && opened_)
    opened_(paths);
}

bool SingleInstance::handOver(const std::vector<std::string>& paths) const {
  const auto address = addressOf(socketPath());
  if (!address)
    return false;
  std::string message;
  for (const std::string& path : paths)
    message += path + '\0';
  const auto deadline = std::chrono::steady_clock::now() + handOverLimit;
  // The first copy may hold the lock and not listen yet.
  while (std::chrono::steady_clock::now() < deadline) {
    const Descriptor socket = newSocket(0);
    if (socket.isOpen() && ::connect(socket.number(), generic(*address), sizeof(*address)) == 0) {
      if (!sendAll(socket.number(), message))
        return false;
      ::shutdown(socket.number(), SHUT_WR);
      pollfd answer{socket.number(), POLLIN, 0};
      char byte = 0;
      return ::poll(&answer, 1, static_cast<int>(handOverLimit.count())) == 1 &&
             ::recv(socket.number(), &byte, 1, 0) == 1 && byte == taken;
    }
    std::this_thread::sleep_for(retryDelay);
  }
  return false;
}

}  // namespace tessarin
