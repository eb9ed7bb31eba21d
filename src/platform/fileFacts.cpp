#include "platform/fileFacts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "utils/fileSection.h"

namespace tessarin {

namespace {

FileFacts factsOf(const struct stat& status) {
  constexpr std::int64_t second = 1'000'000'000;
  FileFacts facts;
  facts.kind = S_ISREG(status.st_mode)   ? FileFacts::Kind::file
               : S_ISDIR(status.st_mode) ? FileFacts::Kind::folder
               : S_ISLNK(status.st_mode) ? FileFacts::Kind::link
                                         : FileFacts::Kind::other;
  facts.isOwn = status.st_uid == ::geteuid();
  facts.state = {status.st_dev, status.st_ino, status.st_size,
                 status.st_mtim.tv_sec * second + status.st_mtim.tv_nsec};
  return facts;
}

}  // namespace

std::int64_t FileState::changed() const {
  constexpr std::int64_t latest = 100'000'000'000;
  const std::int64_t seconds = changedNanoseconds / 1'000'000'000;
  return seconds > 0 && seconds < latest ? seconds : 0;
}

bool mayBeUnchanged(std::int64_t before, std::int64_t now) {
  constexpr std::int64_t slack = 2;
  constexpr std::int64_t quarter = 900;  // of an hour, by which zones differ
  constexpr std::int64_t widest = 104 * quarter + slack;
  const std::int64_t apart = std::abs(before - now);
  const std::int64_t rest = apart % quarter;
  return before == 0 || now == 0 || (apart <= widest && std::min(rest, quarter - rest) <= slack);
}

std::optional<FileFacts> fileFacts(const std::string& path, Links links) {
  struct stat status = {};
  const int failed =
      links == Links::followed ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status);
  return failed == 0 ? std::optional(factsOf(status)) : std::nullopt;
}

std::optional<FileFacts> fileFacts(int descriptor) {
  struct stat status = {};
  return ::fstat(descriptor, &status) == 0 ? std::optional(factsOf(status)) : std::nullopt;
}

std::optional<FileState> fileState(const std::string& path) {
  const auto facts = fileFacts(path);
  return facts ? std::optional(facts->state) : std::nullopt;
}

std::optional<FileState> sourceState(const std::string& path) {
  const auto section = sectionOf(path);
  auto state = fileState(section ? section->file : path);
  if (section && state) {
    const auto end = std::min(static_cast<std::int64_t>(section->end), state->size);
    state->size = std::max<std::int64_t>(0, end - static_cast<std::int64_t>(section->begin));
  }
  return state;
}

bool isAt(const std::string& path, const FileFacts& facts) {
  const auto there = fileState(path);
  return there && there->device == facts.state.device && there->inode == facts.state.inode;
}

bool mayRead(const std::string& path) {
  return ::access(path.c_str(), R_OK) == 0;
}

bool mayListFolder(const std::string& path) {
  return ::access(path.c_str(), R_OK | X_OK) == 0;
}

bool isProgram(const std::string& path) {
  const auto facts = fileFacts(path);
  return facts && facts->kind == FileFacts::Kind::file && ::access(path.c_str(), X_OK) == 0;
}

bool makeOwnFolder(const std::string& path) {
  return ::mkdir(path.c_str(), S_IRWXU) == 0;
}

std::string programPath() {
  std::array<char, 4096> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0 || static_cast<std::size_t>(length) == path.size())
    return {};
  return {path.data(), static_cast<std::size_t>(length)};
}

}  // namespace tessarin
