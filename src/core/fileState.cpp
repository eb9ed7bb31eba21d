#include "core/fileState.h"

#include <sys/stat.h>

namespace tessarin {

std::optional<FileState> fileState(const std::string& path) {
  struct stat state {};
  if (::stat(path.c_str(), &state) != 0)
    return std::nullopt;
  constexpr std::int64_t second = 1'000'000'000;
  return FileState{state.st_dev, state.st_ino, state.st_size,
                   state.st_mtim.tv_sec * second + state.st_mtim.tv_nsec};
}

}  // namespace tessarin
