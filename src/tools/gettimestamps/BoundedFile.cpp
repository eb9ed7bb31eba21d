#include "tools/gettimestamps/BoundedFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "classShared/descriptorBytes.h"
#include "utils/fileSection.h"

namespace tessarin {

BoundedFile::BoundedFile(const std::string& path, std::uint64_t budget) : budget_(budget) {
  namespace fs = std::filesystem;
  std::error_code failed;
  const auto section = sectionOf(path);
  const std::string file = section ? section->file : path;
  if (!fs::is_regular_file(file, failed) || failed)
    return;
  const auto size = fs::file_size(file, failed);
  if (failed)
    return;
  file_.open(file, std::ios::binary);
  hasFailed_ = !file_;
  if (hasFailed_) {
    keepReadError(errno);
    return;
  }
  begin_ = section ? std::min<std::uint64_t>(section->begin, size) : 0;
  size_ = (section ? std::min<std::uint64_t>(section->end, size) : size) - begin_;
}

std::string BoundedFile::read(std::uint64_t offset, std::size_t count) {
  if (offset >= size_)
    return {};
  const std::uint64_t there = std::min<std::uint64_t>({count, size_ - offset, budget_});
  std::string bytes(static_cast<std::size_t>(there), '\0');
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(begin_ + offset));
  errno = 0;
  file_.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file_.gcount(), 0)));
  if (bytes.size() < there && errno != 0)
    keepReadError(errno);
  hasFailed_ = hasFailed_ || bytes.size() < there;
  budget_ -= bytes.size();
  return bytes;
}

}  // namespace tessarin
