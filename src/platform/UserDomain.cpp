#include "platform/UserDomain.h"

#include <fmt/format.h>

#include <filesystem>
#include <optional>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/propertyList.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view versionKey = "formatVersion";
constexpr std::string_view valuesKey = "values";
constexpr std::chrono::milliseconds writeDelay(500);

// A name beside the file that is not taken.
std::optional<std::string> nameForDamaged(const std::string& path) {
  std::error_code failed;
  for (int number = 1; number < 1000; ++number) {
    std::string candidate = fmt::format("{}.damaged-{}", path, number);
    const auto status = std::filesystem::symlink_status(candidate, failed);
    if (status.type() == std::filesystem::file_type::not_found)
      return candidate;
  }
  return std::nullopt;
}

}  // namespace

FileUserDomain::FileUserDomain(std::string path, RunLoop* loop)
    : path_(std::move(path)), loop_(loop) {
  load();
  if (!problem_.empty())
    logFormat("preferences         :-( {}", problem_);
}

FileUserDomain::~FileUserDomain() {
  synchronize();
}

void FileUserDomain::load() {
  std::error_code failed;
  if (!std::filesystem::exists(path_, failed) && !failed)
    return;
  const auto bytes = readWholeFile(path_, propertyListMaxBytes + 1);
  if (!bytes) {
    mayWrite_ = false;
    problem_ =
        fmt::format("{} cannot be read ({}); changes will not be kept.", path_, bytes.reason());
    return;
  }
  const auto content = parsePropertyList(bytes.value());
  if (!content)
    return putAside(content.reason());
  const Dico* file = content.value().dico();
  const auto version = file ? file->integer(versionKey) : std::nullopt;
  if (version && *version > formatVersion) {
    mayWrite_ = false;
    problem_ = fmt::format(
        "{} was written by a newer version of the program; it is left as it is and changes will "
        "not be kept.",
        path_);
    return;
  }
  const Dico* values = file ? file->dico(valuesKey) : nullptr;
  if (version != formatVersion || !values)
    return putAside("is not a file of preferences");
  values_ = *values;
}

void FileUserDomain::putAside(const std::string& reason) {
  std::error_code failed;
  const auto aside = nameForDamaged(path_);
  if (aside)
    std::filesystem::rename(path_, *aside, failed);
  mayWrite_ = aside && !failed;
  problem_ = mayWrite_ ? fmt::format("{} {}; it was renamed to {} and the defaults are used.",
                                     path_, reason, *aside)
                       : fmt::format("{} {} and cannot be renamed; changes will not be kept.",
                                     path_, reason);
}

void FileUserDomain::write(std::string_view key, Value value) {
  const Value* old = values_.find(key);
  if (old && *old == value)
    return;
  values_.set(key, std::move(value));
  changed();
}

void FileUserDomain::remove(std::string_view key) {
  if (values_.remove(key))
    changed();
}

void FileUserDomain::changed() {
  unsaved_ = true;
  if (loop_ && mayWrite_ && timer_ == 0)
    timer_ = loop_->runAfter(writeDelay, [this] {
      timer_ = 0;
      synchronize();
    });
}

bool FileUserDomain::synchronize() {
  if (timer_ != 0)
    loop_->cancel(timer_);
  timer_ = 0;
  if (!mayWrite_)
    return false;
  if (!unsaved_)
    return true;
  std::error_code failed;
  std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), failed);
  const auto written = writePropertyList(
      path_, Dico{{std::string(versionKey), formatVersion}, {std::string(valuesKey), values_}});
  if (!written) {
    logFormat("preferences         :-( {} cannot be written: {}", path_, written.reason());
    return false;
  }
  unsaved_ = false;
  return true;
}

std::string userDomainPath() {
  return joinPath(userFolder(UserFolder::configuration), "preferences.plist");
}

}  // namespace tessarin
