#include "updates/ZipUnpacker.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

constexpr std::size_t blockSize = 64UL * 1024;
constexpr std::size_t longestName = 1024;
// What a file may have whatever the archive's size: small texts pack well.
constexpr std::uint64_t freeRatioBytes = 1024UL * 1024;

constexpr mode_t filePermissions = 0666;
constexpr mode_t programPermissions = 0777;
constexpr mode_t anyExecute = 0111;

Failure notAdmitted(std::string_view name) {
  return {localisationString("why_updateEntry", "", name)};
}

Failure notWritten(std::string_view path, int error) {
  return {localisationString("why_updateWrite", "", path, systemReason(error))};
}

// The library turns names into the locale's letters, and loses those that a program which runs in
// the "C" locale does not have.
class Utf8Locale {
 public:
  Utf8Locale() : own_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
    if (own_ != nullptr)
      before_ = ::uselocale(own_);
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  ~Utf8Locale() {
    if (own_ == nullptr)
      return;
    ::uselocale(before_);
    ::freelocale(own_);
  }

 private:
  locale_t own_;
  locale_t before_ = nullptr;
};

std::string nameOf(archive_entry* entry) {
  if (const char* name = archive_entry_pathname_utf8(entry))
    return name;
  const char* name = archive_entry_pathname(entry);
  return name != nullptr ? name : "";
}

}  // namespace

bool isEntryName(std::string_view name) {
  if (name.empty() || name.size() > longestName || !isUtf8(name))
    return false;
  const bool hasControl = std::any_of(name.begin(), name.end(), [](char one) {
    return static_cast<unsigned char>(one) < ' ' || one == '\x7f' || one == '\\';
  });
  if (hasControl)
    return false;
  if (endsWith(name, "/"))  // as folders are written
    name.remove_suffix(1);
  const auto parts = split(name, "/");
  return std::none_of(parts.begin(), parts.end(), [](std::string_view part) {
    return part.empty() || part == "." || part == "..";
  });
}

void ZipUnpacker::Free::operator()(archive* one) const {
  archive_read_free(one);
}

ZipUnpacker::ZipUnpacker(ZipUnpacker&&) noexcept = default;
ZipUnpacker& ZipUnpacker::operator=(ZipUnpacker&&) noexcept = default;
ZipUnpacker::~ZipUnpacker() = default;

Outcome<ZipUnpacker> ZipUnpacker::open(const std::string& archivePath, std::string folder,
                                       UnpackLimits limits) {
  ZipUnpacker unpacker;
  unpacker.folder_ = std::move(folder);
  unpacker.limits_ = limits;
  unpacker.archive_.reset(archive_read_new());
  archive* reader = unpacker.archive_.get();
  // Only the form with a directory at the end: the other believes what stands before each file.
  if (reader == nullptr || archive_read_support_format_zip_seekable(reader) != ARCHIVE_OK)
    return Failure{localisationString("why_updateZip", "", "libarchive")};
  if (archive_read_open_filename(reader, archivePath.c_str(), blockSize) != ARCHIVE_OK)
    return unpacker.damaged();
  struct stat status {};
  if (::stat(archivePath.c_str(), &status) == 0)
    unpacker.archiveSize_ = static_cast<std::uint64_t>(status.st_size);
  return unpacker;
}

Outcome<bool> ZipUnpacker::step() {
  return file_.isOpen() ? continueFile() : beginEntry();
}

double ZipUnpacker::progress() const {
  if (archiveSize_ == 0)
    return 0;
  const auto read = static_cast<double>(archive_filter_bytes(archive_.get(), -1));
  return std::clamp(read / static_cast<double>(archiveSize_), 0.0, 1.0);
}

Outcome<bool> ZipUnpacker::beginEntry() {
  const Utf8Locale locale;
  archive_entry* entry = nullptr;
  const int result = archive_read_next_header(archive_.get(), &entry);
  if (result == ARCHIVE_EOF && entries_ > 0)
    return true;
  // A warning is about names in another encoding; what came of them is looked at below.
  if (result != ARCHIVE_OK && result != ARCHIVE_WARN)
    return damaged();
  const std::string name = nameOf(entry);
  const auto kind = archive_entry_filetype(entry);
  const bool isFolder = kind == AE_IFDIR;
  if (!isEntryName(name) || (!isFolder && kind != AE_IFREG) ||
      archive_entry_symlink(entry) != nullptr || archive_entry_hardlink(entry) != nullptr ||
      archive_entry_is_encrypted(entry) != 0)
    return notAdmitted(name);
  if (++entries_ > limits_.mostEntries)
    return Failure{localisationString("why_updateBomb")};
  auto made = makeFolders(isFolder ? std::string_view(name) : parentFolder(name));
  if (!made)
    return made;
  if (isFolder)
    return false;
  return beginFile(name, (archive_entry_perm(entry) & anyExecute) != 0);
}

Outcome<bool> ZipUnpacker::beginFile(const std::string& name, bool isExecutable) {
  path_ = joinPath(folder_, name);
  position_ = 0;
  file_ = Descriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                            isExecutable ? programPermissions : filePermissions));
  if (!file_.isOpen())
    return errno == EEXIST ? notAdmitted(name) : notWritten(path_, errno);
  return false;
}

Outcome<bool> ZipUnpacker::continueFile() {
  const void* bytes = nullptr;
  std::size_t size = 0;
  la_int64_t offset = 0;
  const int result = archive_read_data_block(archive_.get(), &bytes, &size, &offset);
  if (result == ARCHIVE_EOF) {
    // A disk that fills up may say so only here.
    if (::close(file_.release()) != 0)
      return notWritten(path_, errno);
    return false;
  }
  const auto position = static_cast<std::uint64_t>(offset);
  if (result != ARCHIVE_OK || position != position_)
    return damaged();
  written_ += size;
  if (written_ > limits_.largest || written_ > freeRatioBytes + limits_.largestRatio * archiveSize_)
    return Failure{localisationString("why_updateBomb")};
  if (!writeAllAt(file_.number(), {static_cast<const char*>(bytes), size}, position))
    return notWritten(path_, errno);
  position_ += size;
  return false;
}

Outcome<bool> ZipUnpacker::makeFolders(std::string_view name) {
  std::string path = folder_;
  for (const std::string_view part : split(name, "/")) {
    if (part.empty())
      continue;
    path = joinPath(path, part);
    if (::mkdir(path.c_str(), programPermissions) == 0)
      continue;
    const int error = errno;
    struct stat status {};
    if (error != EEXIST || ::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
      return notWritten(path, error);
  }
  return false;
}

Failure ZipUnpacker::damaged() const {
  const char* words = archive_error_string(archive_.get());
  return {localisationString("why_updateZip", "", words != nullptr ? words : "zip")};
}

}  // namespace tessarin
