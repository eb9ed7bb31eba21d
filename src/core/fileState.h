// Whether a file is still the one that it was.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessarin {

struct FileState {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;                // bytes
  std::int64_t changedNanoseconds = 0;  // time of the last change of the content, since 1970
  bool operator==(const FileState&) const = default;
};

// Nothing when there is no such file.
std::optional<FileState> fileState(const std::string& path);

}  // namespace tessarin
