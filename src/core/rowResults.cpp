#include "core/rowResults.h"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/BatchFile.h"
#include "core/storedRow.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view keyStored = "row";
constexpr std::string_view keyDamage = "damage";
// Of a movie on its way to its name.
constexpr std::string_view keyBytes = "movieBytes";
constexpr std::string_view keyChanged = "movieChanged";

constexpr std::size_t longestDamage = 4096;

// Whoever only looks at a lock has it for a moment.
constexpr std::chrono::milliseconds patience(1000);
constexpr std::chrono::milliseconds interval(20);

enum class Locked { yes, no, never };

Locked tryLock(const Descriptor& file, Lock lock) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!lockFile(file.number(), lock)) {
    if (errno != EWOULDBLOCK)
      return Locked::never;
    if (std::chrono::steady_clock::now() > end)
      return Locked::no;
    std::this_thread::sleep_for(interval);
  }
  return Locked::yes;
}

bool isSameWork(const Row& one, const Row& other) {
  return one.path() == other.path() && one.choice == other.choice;
}

// The machines that share a folder agree about these two of a file.
bool isMovie(const std::string& path, std::int64_t bytes, std::int64_t changed) {
  const auto state = fileState(path);
  return state && state->size == bytes && state->changedNanoseconds == changed;
}

bool isLink(const std::string& path) {
  const auto facts = fileFacts(path, Links::themselves);
  return facts && facts->kind == FileFacts::Kind::link;
}

Outcome<Descriptor> openedForLock(const std::string& path, OpenFor use) {
  Descriptor file = openFile(path, use);
  if (!file.isOpen())
    return Failure{localisationString("why_rowsFolder", "", systemReason(errno))};
  return file;
}

}  // namespace

// Who names the file by a link shares it with those who do not.
RowResults::RowResults(const std::string& batchFile) {
  std::error_code error;
  const auto path = std::filesystem::canonical(batchFile, error);
  folder_ = (error ? batchFile : path.native()) + ".rows";
}

std::string RowResults::path(std::int64_t number, const char* ending) const {
  return joinPath(folder_, fmt::format("row-{}.{}", number, ending));
}

std::optional<RowResult> RowResults::of(std::int64_t number, const Row& row) const {
  const BatchPart part = readBatchPart(path(number, "plist"));
  const Dico* stored = part.isGood() ? part.content.dico(keyStored) : nullptr;
  auto read = stored ? rowOfStored(*stored) : std::nullopt;
  if (!read || !isSameWork(*read, row))
    return std::nullopt;
  RowResult result{row, part.content.textOrEmpty(keyDamage)};
  if (result.damage.size() > longestDamage)
    return std::nullopt;
  result.row.mark = read->mark;
  result.row.movie = read->movie;
  result.row.isKept = read->isKept;
  result.row.reason = read->reason;
  const auto bytes = part.content.integer(keyBytes);
  if (bytes && !isMovie(read->movie, *bytes, part.content.integer(keyChanged).value_or(0)))
    return std::nullopt;
  return result;
}

Outcome<void> RowResults::writeMovie(std::int64_t number, Row row,
                                     const FinishedMovie& movie) const {
  const auto state = fileState(movie.path);
  if (!state)
    return Failure{localisationString("why_rowsFolder", "", systemReason(errno))};
  row.mark = RowMark::success;
  row.movie = movie.output;
  return store(number, {{std::string(keyStored), storedForm(row)},
                        {std::string(keyBytes), state->size},
                        {std::string(keyChanged), state->changedNanoseconds}});
}

Outcome<void> RowResults::write(std::int64_t number, const RowResult& result) const {
  Dico content{{std::string(keyStored), storedForm(result.row)}};
  if (!result.damage.empty())
    content.set(keyDamage, result.damage);
  return store(number, content);
}

Outcome<void> RowResults::store(std::int64_t number, const Dico& content) const {
  const std::string file = path(number, "plist");
  // What a link leads to is somebody's.
  if (isLink(file))
    removeFile(file);
  if (const auto written = writeBatchPart(file, content, FolderSync::now); !written)
    return Failure{
        localisationString("why_rowsFolder", "", replaceAll(written.reason(), file + ": ", ""))};
  return {};
}

Outcome<Descriptor> RowResults::claim(std::int64_t number) const {
  mkdir(folder_);
  if (isLink(folder_))
    return Failure{localisationString("why_inTheWay", "", folder_)};
  TESSARIN_TAKE(Descriptor file, openedForLock(path(number, "lock"), OpenFor::locking));
  switch (tryLock(file, Lock::aloneAtOnce)) {
    case Locked::yes:
      return file;
    case Locked::no:
      return Failure{localisationString("why_rowInHand", "", fmt::format("{}", number))};
    case Locked::never:
      break;
  }
  return Failure{localisationString("why_noLocks")};
}

bool RowResults::isInHand(std::int64_t number) const {
  const Descriptor file = openFile(path(number, "lock"), OpenFor::changing);
  return file.isOpen() && !lockFile(file.number(), Lock::aloneAtOnce) && errno == EWOULDBLOCK;
}

void RowResults::clear() const {
  std::error_code error;
  std::vector<std::string> ours;
  for (const auto& entry : std::filesystem::directory_iterator(folder_, error))
    if (startsWith(entry.path().filename().native(), "row-"))
      ours.push_back(entry.path());
  for (const std::string& each : ours)
    removeFile(each);
  // What else is in it is somebody's.
  std::filesystem::remove(folder_, error);
}

void RowResults::forget(std::int64_t number) const {
  std::error_code error;
  for (const char* ending : {"plist", "lock"})
    std::filesystem::remove(path(number, ending), error);
  std::filesystem::remove(folder_, error);
}

RowResult resultOf(const StoredRow& stored, const RowResults& results) {
  auto own = results.of(stored.order, stored.row);
  const bool isOwn = own && (own->isConverted() || !RowResult{stored.row}.isConverted());
  return isOwn ? std::move(*own) : RowResult{stored.row};
}

Outcome<Descriptor> claimBatchFile(const std::string& path, BatchUse use) {
  const Lock lock = use == BatchUse::whole ? Lock::aloneAtOnce : Lock::sharedAtOnce;
  for (;;) {
    // Some file systems lock alone only what may be changed.
    Descriptor file = openFile(path, OpenFor::changing);
    if (!file.isOpen())
      file = openFile(path, OpenFor::reading);
    if (!file.isOpen() && use == BatchUse::rows)
      return Failure{errno == ENOENT ? localisationString("why_missing") : systemReason(errno)};
    const Locked locked = file.isOpen() ? tryLock(file, lock) : Locked::never;
    if (locked == Locked::no)
      return Failure{localisationString("why_batchInHand")};
    if (locked == Locked::never && use == BatchUse::rows)
      return Failure{localisationString("why_noLocks")};
    if (locked == Locked::never)
      return Descriptor();
    // Who had it may have written it anew meanwhile: that is another file.
    if (const auto facts = fileFacts(file.number()); facts && isAt(path, *facts))
      return file;
    logFormat("claimBatchFile      : {} is another one now", path);
    if (!pathExists(path))
      return Descriptor();
  }
}

}  // namespace tessarin
