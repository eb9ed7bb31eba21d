#include "tools/quicktime/OutputName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <utility>

namespace tessarin::quicktime {

Outcome<std::string> replaceableTarget(const std::string& target) {
  struct stat entry = {};
  if (::stat(target.c_str(), &entry) != 0)
    return target;
  if (!S_ISREG(entry.st_mode))
    return Failure{target + " is not a file that can be replaced"};
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(target.c_str(), nullptr),
                                                         &std::free);
  return real ? std::string(real.get()) : target;
}

std::string nameBeside(const std::string& target) {
  static constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  std::string ending = ".";
  for (int i = 0; i < 6; ++i)
    ending += letters[random() % (sizeof letters - 1)];
  const std::size_t slash = target.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  // The longest name that file systems take is 255 bytes.
  return target.substr(0, start) + "." + target.substr(start, 240) + ending;
}

bool giveName(const std::string& temporary, const std::string& target, bool replace) {
  if (!replace) {
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
      return true;
    // Some file systems cannot look and rename in one step.
    if (errno != EINVAL && errno != ENOSYS)
      return false;
    if (::access(target.c_str(), F_OK) == 0) {
      errno = EEXIST;
      return false;
    }
  }
  return ::rename(temporary.c_str(), target.c_str()) == 0;
}

OutputName::OutputName(std::string target, std::string temporary)
    : target_(std::move(target)), temporary_(std::move(temporary)) {}

OutputName::OutputName(OutputName&& other) noexcept
    : target_(std::move(other.target_)), temporary_(std::exchange(other.temporary_, {})) {}

OutputName::~OutputName() {
  if (!temporary_.empty())
    ::unlink(temporary_.c_str());
}

Outcome<OutputName> OutputName::reserve(const std::string& target) {
  const Outcome<std::string> real = replaceableTarget(target);
  if (!real)
    return Failure{real.reason()};
  int descriptor = -1;
  std::string name;
  for (int tries = 0; descriptor < 0 && tries < 10; ++tries) {
    name = nameBeside(real.value());
    descriptor = ::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno != EEXIST)
      break;
  }
  if (descriptor < 0)
    return Failure{target + " cannot be written: " + systemReason(errno)};
  ::close(descriptor);
  return OutputName(real.value(), name);
}

Outcome<bool> OutputName::commit(bool replace) {
  if (!giveName(temporary_, target_, replace))
    return Failure{target_ + " cannot be made: " + systemReason(errno)};
  temporary_.clear();
  return true;
}

}  // namespace tessarin::quicktime
