#include "tools/quicktime/PartialFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "classShared/descriptorBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "utils/files.h"

namespace tessarin::quicktime {

namespace {

constexpr std::size_t bufferSize = 1U << 20;
constexpr mode_t usualMode = 0666;  // less what the user's mask takes
constexpr int mostNames = 10;       // that others may have taken

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string_view lettersOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The file that an output of this name really is: where a link points to. A failure when
// something is there that is no file.
Outcome<std::string> replaceableTarget(const std::string& target) {
  const auto there = fileFacts(target);
  if (!there)
    return target;
  if (there->kind != FileFacts::Kind::file)
    return Failure{target + " is not a file that can be replaced"};
  std::error_code failed;
  const std::string real = std::filesystem::canonical(target, failed).string();
  return failed ? target : real;
}

}  // namespace

Outcome<PartialFile> PartialFile::create(const std::string& target) {
  const Outcome<std::string> real = replaceableTarget(target);
  if (!real)
    return Failure{real.reason()};
  PartialFile file;
  file.target_ = real.value();
  file.descriptor_ =
      ::open(folderOf(file.target_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, usualMode);
  // Not every file system knows files without a name.
  for (int number = 1; file.descriptor_ < 0 && number <= mostNames; ++number) {
    file.temporaryName_ = partialName(file.target_, number);
    file.descriptor_ =
        ::open(file.temporaryName_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, usualMode);
    if (file.descriptor_ < 0 && errno != EEXIST)
      break;
  }
  if (file.descriptor_ < 0) {
    file.temporaryName_.clear();
    return Failure{target + " cannot be written: " + systemReason(errno)};
  }
  file.buffer_.reserve(bufferSize);
  return file;
}

Outcome<PartialFile> PartialFile::createInPlace(const std::string& target) {
  PartialFile file;
  file.target_ = target;
  file.isInPlace_ = true;
  file.descriptor_ = ::open(target.c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, usualMode);
  if (file.descriptor_ < 0)
    return Failure{target + " cannot be written: " + systemReason(errno)};
  file.buffer_.reserve(bufferSize);
  return file;
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : target_(std::move(other.target_)),
      isInPlace_(other.isInPlace_),
      temporaryName_(std::exchange(other.temporaryName_, {})),
      descriptor_(std::exchange(other.descriptor_, -1)),
      written_(other.written_),
      buffer_(std::move(other.buffer_)),
      failure_(std::move(other.failure_)) {}

PartialFile::~PartialFile() {
  discard();
}

void PartialFile::discard() {
  if (descriptor_ >= 0)
    ::close(descriptor_);
  descriptor_ = -1;
  if (!temporaryName_.empty())
    ::unlink(temporaryName_.c_str());
  temporaryName_.clear();
}

bool PartialFile::fail(const std::string& what) {
  if (failure_.empty())
    failure_ = target_ + what + ": " + systemReason(errno);
  return false;
}

bool PartialFile::append(std::span<const std::uint8_t> bytes) {
  if (!failure_.empty())
    return false;
  while (!bytes.empty()) {
    const std::size_t part = std::min(bytes.size(), bufferSize - buffer_.size());
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(part));
    bytes = bytes.subspan(part);
    if (buffer_.size() == bufferSize && !flush())
      return false;
  }
  return true;
}

bool PartialFile::flush() {
  if (!writeAll(descriptor_, lettersOf(buffer_)))
    return fail(" cannot be written");
  written_ += buffer_.size();
  buffer_.clear();
  return true;
}

bool PartialFile::overwrite(std::uint64_t position, std::span<const std::uint8_t> bytes) {
  if (!failure_.empty() || !flush())
    return false;
  return writeAllAt(descriptor_, lettersOf(bytes), position) || fail(" cannot be written");
}

bool PartialFile::insertRoom(std::uint64_t position, std::uint64_t length) {
  if (!failure_.empty() || !flush() || !tessarin::insertRoom(descriptor_, position, length))
    return false;
  written_ += length;
  if (::lseek(descriptor_, 0, SEEK_END) < 0)
    return fail(" cannot be written");
  return true;
}

// Links a file that has no name yet.
bool PartialFile::giveTemporaryName() {
  const std::string own = "/proc/self/fd/" + std::to_string(descriptor_);
  for (int number = 1; temporaryName_.empty() && number <= mostNames; ++number) {
    const std::string name = partialName(target_, number);
    if (::linkat(AT_FDCWD, own.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0)
      temporaryName_ = name;
    else if (errno != EEXIST)
      break;
  }
  return !temporaryName_.empty();
}

Outcome<bool> PartialFile::commit(bool replace) {
  if (failure_.empty())
    flush();
  if (failure_.empty() && !isInPlace_ && !giveTemporaryName())
    fail(" cannot be named");
  if (failure_.empty() && !isInPlace_) {
    errno = renameTo(temporaryName_, target_, replace);
    if (errno == 0)
      temporaryName_.clear();
    else
      fail(" cannot be made");
  }
  if (failure_.empty() && ::close(std::exchange(descriptor_, -1)) != 0)
    fail(" cannot be written");
  if (!failure_.empty())
    return Failure{failure_};
  return true;
}

}  // namespace tessarin::quicktime
