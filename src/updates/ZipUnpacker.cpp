#include "updates/ZipUnpacker.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t blockSize = 64UL * 1024;
constexpr std::size_t longestName = 1024;
// What a file may have whatever the archive's size: small texts pack well.
constexpr std::uint64_t freeRatioBytes = 1024UL * 1024;

constexpr mode_t filePermissions = 0666;
constexpr mode_t programPermissions = 0777;
constexpr mode_t anyExecute = 0111;
// The names are checked besides: the whole path is given, so that it begins with a root.
constexpr int carefully = ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                          ARCHIVE_EXTRACT_NO_OVERWRITE;

Failure notAdmitted(std::string_view name) {
  return {localisationString("why_updateEntry", "", name)};
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
  archive_free(one);
}

ZipUnpacker::ZipUnpacker(ZipUnpacker&&) noexcept = default;
ZipUnpacker& ZipUnpacker::operator=(ZipUnpacker&&) noexcept = default;
ZipUnpacker::~ZipUnpacker() = default;

Outcome<ZipUnpacker> ZipUnpacker::open(const std::string& archivePath, const std::string& folder,
                                       UnpackLimits limits) {
  ZipUnpacker unpacker;
  std::error_code ignored;
  unpacker.folder_ = fs::canonical(folder, ignored).string();
  unpacker.limits_ = limits;
  unpacker.reader_.reset(archive_read_new());
  unpacker.writer_.reset(archive_write_disk_new());
  archive* reader = unpacker.reader_.get();
  // Only the form with a directory at the end: the other believes what stands before each file.
  if (reader == nullptr || unpacker.writer_ == nullptr ||
      archive_read_support_format_zip_seekable(reader) != ARCHIVE_OK ||
      archive_write_disk_set_options(unpacker.writer_.get(), carefully) != ARCHIVE_OK)
    return Failure{localisationString("why_updateZip", "", "libarchive")};
  if (archive_read_open_filename(reader, archivePath.c_str(), blockSize) != ARCHIVE_OK)
    return unpacker.damaged();
  const auto size = fs::file_size(archivePath, ignored);
  unpacker.archiveSize_ = ignored ? 0 : size;
  return unpacker;
}

Outcome<bool> ZipUnpacker::step() {
  return isInEntry_ ? continueEntry() : beginEntry();
}

double ZipUnpacker::progress() const {
  if (archiveSize_ == 0)
    return 0;
  const auto read = static_cast<double>(archive_filter_bytes(reader_.get(), -1));
  return std::clamp(read / static_cast<double>(archiveSize_), 0.0, 1.0);
}

Outcome<bool> ZipUnpacker::beginEntry() {
  const Utf8Locale locale;
  archive_entry* entry = nullptr;
  const int result = archive_read_next_header(reader_.get(), &entry);
  if (result == ARCHIVE_EOF && entries_ > 0) {
    if (archive_write_close(writer_.get()) != ARCHIVE_OK)
      return notWritten();
    return true;
  }
  // A warning is about names in another encoding; what came of them is looked at below.
  if (result != ARCHIVE_OK && result != ARCHIVE_WARN)
    return damaged();
  name_ = nameOf(entry);
  const auto kind = archive_entry_filetype(entry);
  if (!isEntryName(name_) || (kind != AE_IFDIR && kind != AE_IFREG) ||
      archive_entry_symlink(entry) != nullptr || archive_entry_hardlink(entry) != nullptr ||
      archive_entry_is_encrypted(entry) != 0)
    return notAdmitted(name_);
  if (++entries_ > limits_.mostEntries)
    return Failure{localisationString("why_updateBomb")};
  const std::string path = joinPath(folder_, name_);
  std::error_code ignored;
  // The library would pass over it in silence.
  if (kind == AE_IFREG && fs::symlink_status(path, ignored).type() != fs::file_type::not_found)
    return notAdmitted(name_);
  archive_entry_copy_pathname(entry, path.c_str());
  const bool isForAll = kind == AE_IFDIR || (archive_entry_perm(entry) & anyExecute) != 0;
  archive_entry_set_perm(entry, isForAll ? programPermissions : filePermissions);
  // A file is as long as its content, whatever is said of it.
  archive_entry_unset_size(entry);
  if (archive_write_header(writer_.get(), entry) != ARCHIVE_OK)
    return notWritten();
  isInEntry_ = true;
  return false;
}

Outcome<bool> ZipUnpacker::continueEntry() {
  const void* bytes = nullptr;
  std::size_t size = 0;
  la_int64_t offset = 0;
  const int result = archive_read_data_block(reader_.get(), &bytes, &size, &offset);
  if (result == ARCHIVE_EOF) {
    isInEntry_ = false;
    if (archive_write_finish_entry(writer_.get()) != ARCHIVE_OK)
      return notWritten();
    return false;
  }
  if (result != ARCHIVE_OK)
    return damaged();
  written_ += size;
  if (written_ > limits_.largest || written_ > freeRatioBytes + limits_.largestRatio * archiveSize_)
    return Failure{localisationString("why_updateBomb")};
  if (archive_write_data_block(writer_.get(), bytes, size, offset) != ARCHIVE_OK)
    return notWritten();
  return false;
}

Failure ZipUnpacker::damaged() const {
  const char* words = archive_error_string(reader_.get());
  return {localisationString("why_updateZip", "", words != nullptr ? words : "zip")};
}

Failure ZipUnpacker::notWritten() const {
  return {localisationString("why_updateWrite", "", joinPath(folder_, name_),
                             systemReason(archive_errno(writer_.get())))};
}

}  // namespace tessarin
