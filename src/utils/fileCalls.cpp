#include "utils/fileCalls.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <random>

#include "classShared/TextAdditions.h"
#include "utils/files.h"

namespace tessarin {

bool lacksHome(const std::string& path) {
  return path == "~" || path.starts_with("~/");
}

bool isThere(const std::string& path, struct stat& status) {
  return !path.empty() && ::lstat(path.c_str(), &status) == 0;
}

void syncFolder(const std::string& folder) {
  const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0)
    return;
  ::fsync(descriptor);
  ::close(descriptor);
}

std::string partialName(std::string_view path, int number) {
  // With everything added, the name must fit into the 255 bytes that file systems take.
  constexpr std::size_t longest = 230;
  const std::string name = fileName(path).substr(0, longest);
  return joinPath(parentFolder(path), number < 2 ? fmt::format(".{}.partial", name)
                                                 : fmt::format(".{}.partial{}", name, number));
}

std::string temporaryNameBeside(const std::string& path) {
  std::random_device random;
  return joinPath(parentFolder(path), fmt::format(".Tessarin-{:08x}{:08x}", random(), random()));
}

}  // namespace tessarin
