#include "tools/quicktime/OutputName.h"

#include <sys/stat.h>

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

}  // namespace tessarin::quicktime
