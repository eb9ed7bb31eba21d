#include "tools/quicktime/OutputName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

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

}  // namespace tessarin::quicktime
