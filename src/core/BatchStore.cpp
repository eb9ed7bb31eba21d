#include "core/BatchStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <unordered_set>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "core/storedRow.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "utils/files.h"

namespace tessarin {

namespace fs = std::filesystem;

namespace {

// A name that starts with one of these is no batch: the folder is being made or removed.
constexpr std::string_view newPrefix = ".new-";
constexpr std::string_view oldPrefix = ".old-";

constexpr std::string_view lockName = "lock";
constexpr std::string_view ending = ".plist";

// From so many files on, bringing the whole file system to the disk is quicker than each of them.
// Not for fewer: it waits for what other programs have written, too.
constexpr std::size_t manyFiles = 64;

// The lock of the folder, held; not open when somebody else has it or there is none.
Descriptor lockOf(const std::string& folder, OpenFor use) {
  const std::string path = joinPath(folder, lockName);
  Descriptor lock = openFile(path, use);
  const auto facts = lock.isOpen() ? fileFacts(lock.number()) : std::nullopt;
  // The folder may have been renamed before the lock was had: then it is no longer the one of this
  // name that is locked.
  if (!facts || !lockFile(lock.number(), Lock::aloneAtOnce) || !isAt(path, *facts))
    return {};
  return lock;
}

bool isOwnFolder(const std::string& path) {
  const auto facts = fileFacts(path, Links::themselves);
  return facts && facts->kind == FileFacts::Kind::folder && facts->isOwn;
}

void removeTree(const std::string& folder) {
  std::error_code failed;
  fs::remove_all(folder, failed);
  if (failed)
    logFormat("batch store         :-( {}: {}", folder, failed.message());
}

// Writes a file of a folder that nobody knows yet.
Outcome<void> writeNew(const std::string& path, const Dico& content, bool sync) {
  TESSARIN_TAKE(const std::string bytes, batchPartBytes(content));
  const Descriptor file = openFile(path, OpenFor::creating);
  const bool isWritten =
      file.isOpen() && writeAll(file.number(), bytes) && (!sync || syncFile(file.number()));
  if (!isWritten)
    return Failure{path + ": " + systemReason(errno)};
  return {};
}

Dico contentWithPicture(const StoredRow& row) {
  const std::string image = row.row.thumbnail();
  if (!row.picture.empty() || image.empty() || poidsFile(image, "o") > largestPicture)
    return contentOfRow(row);
  StoredRow whole = row;
  whole.picture = readFileStart(image, largestPicture).value_or("");
  return contentOfRow(whole);
}

Dico storedWaiting(const std::vector<std::string>& sources) {
  return {{"sources", List(sources.begin(), sources.end())}};
}

Dico storedOrder(const std::vector<std::int64_t>& numbers) {
  return {{"rows", List(numbers.begin(), numbers.end())}};
}

// Shared while a folder is made below the parent, by whoever makes one, and held alone by who
// removes what others have not finished: a folder that is being made is not locked itself from its
// first moment on. Not open when it cannot be had.
Descriptor lockOfParent(const std::string& parent, Lock kind) {
  Descriptor lock = openFile(parent, OpenFor::folder);
  if (lock.isOpen() && !lockFile(lock.number(), kind))
    lock.close();
  return lock;
}

// Whether nobody is making or removing this folder any more. Where nobody can be making one
// (`isNoneMade`) every new one was left behind, else only an old one; removing takes away the lock
// at any time, but then the folder may be removed by anybody.
bool isRemains(const std::string& folder, bool isNoneMade) {
  constexpr std::chrono::hours longAgo(1);
  std::error_code failed;
  const auto changed = fs::last_write_time(folder, failed);
  if (!isNoneMade && !startsWith(fileName(folder), oldPrefix) &&
      (failed || changed > fs::file_time_type::clock::now() - longAgo))
    return false;
  return lockOf(folder, OpenFor::changing).isOpen() || !pathExists(joinPath(folder, lockName));
}

}  // namespace

std::string batchesFolder() {
  return joinPath(userFolder(UserFolder::state), "batches");
}

Outcome<BatchStore> BatchStore::create(const std::string& parent, const BatchChanges& content) {
  std::random_device random;
  const std::string name = fmt::format("{}-{:08x}", processId(), random());
  const std::string hidden = joinPath(parent, std::string(newPrefix) + name);
  if (!mkdir(parent))
    return Failure{parent + ": " + systemReason(errno)};
  const Descriptor making = lockOfParent(parent, Lock::shared);
  if (!makeOwnFolder(hidden))
    return Failure{parent + ": " + systemReason(errno)};
  BatchStore store(hidden, lockOf(hidden, OpenFor::locking));
  const auto failed = [&hidden](const std::string& reason) {
    removeTree(hidden);
    return Failure{reason};
  };
  if (!store.lock_.isOpen())
    return failed(hidden + ": " + systemReason(errno));

  const bool isMany = content.rows.size() > manyFiles;
  auto written =
      writeNew(joinPath(hidden, "batch.plist"), content.settings.value_or(Dico()), !isMany);
  for (auto row = content.rows.begin(); row != content.rows.end() && written; ++row)
    written = writeNew(store.rowPath(row->order), contentWithPicture(*row), !isMany);
  if (written && content.order && !content.order->empty())
    written = writeNew(store.orderPath(), storedOrder(*content.order), !isMany);
  if (written && content.waiting && !content.waiting->empty())
    written = writeNew(joinPath(hidden, "waiting.plist"), storedWaiting(*content.waiting), !isMany);
  if (!written)
    return failed(written.reason());
  if (isMany)
    syncFileSystem(store.lock_.number());
  else
    syncFolder(hidden);

  store.folder_ = joinPath(parent, name);
  if (const int error = renameTo(hidden, store.folder_, true); error != 0)
    return failed(store.folder_ + ": " + systemReason(error));
  syncFolder(parent);
  return store;
}

std::optional<BatchStore> BatchStore::claim(const std::string& folder) {
  if (!isOwnFolder(folder))
    return std::nullopt;
  Descriptor lock = lockOf(folder, OpenFor::changing);
  if (!lock.isOpen())
    return std::nullopt;
  return BatchStore(folder, std::move(lock));
}

std::string BatchStore::rowPath(std::int64_t order) const {
  return joinPath(folder_, fmt::format("row-{}{}", order, ending));
}

std::string BatchStore::jobPath(std::int64_t order) const {
  return joinPath(folder_, fmt::format("job-{}{}", order, ending));
}

std::string BatchStore::orderPath() const {
  return joinPath(folder_, "order.plist");
}

Outcome<void> BatchStore::write(const BatchChanges& changes) const {
  Outcome<void> written;
  const auto writePart = [&written](const std::string& path, const Dico& content) {
    if (written)
      written = writeBatchPart(path, content, FolderSync::later);
  };
  if (changes.settings)
    writePart(joinPath(folder_, "batch.plist"), *changes.settings);
  for (const StoredRow& row : changes.rows)
    writePart(rowPath(row.order), contentWithPicture(row));
  if (written)
    for (const std::int64_t order : changes.removedRows)
      removeFile(rowPath(order));
  if (changes.order && !changes.order->empty())
    writePart(orderPath(), storedOrder(*changes.order));
  else if (changes.order && written)
    removeFile(orderPath());
  const std::string waiting = joinPath(folder_, "waiting.plist");
  if (changes.waiting && !changes.waiting->empty())
    writePart(waiting, storedWaiting(*changes.waiting));
  else if (changes.waiting && written)
    removeFile(waiting);
  syncFolder(folder_);
  return written;
}

Outcome<void> BatchStore::writeJob(std::int64_t order, const Dico& job) const {
  return writeBatchPart(jobPath(order), job, FolderSync::now);
}

void BatchStore::removeJob(std::int64_t order) const {
  removeFile(jobPath(order));
}

std::vector<std::int64_t> BatchStore::numbers(std::string_view prefix) const {
  std::vector<std::int64_t> found;
  for (const std::string& path : lsCocoa(folder_).value_or(std::vector<std::string>())) {
    const std::string name = fileName(path);
    if (!startsWith(name, prefix) || !endsWith(name, ending))
      continue;
    const std::int64_t number = leadingInteger(std::string_view(name).substr(prefix.size()));
    // No other spelling of a number: each file is one row, and each row one file.
    if (number >= 1 && number <= highestOrder &&
        name == fmt::format("{}{}{}", prefix, number, ending))
      found.push_back(number);
  }
  std::sort(found.begin(), found.end());
  return found;
}

BatchPart BatchStore::settings() const {
  return readBatchPart(joinPath(folder_, "batch.plist"));
}

std::optional<StoredRow> BatchStore::row(std::int64_t number) const {
  return rowOfContent(readBatchPart(rowPath(number)).content, number);
}

BatchPart BatchStore::job(std::int64_t number) const {
  return readBatchPart(jobPath(number));
}

std::vector<std::int64_t> BatchStore::order() const {
  const BatchPart part = readBatchPart(orderPath());
  const List* listed = part.content.list("rows");
  std::vector<std::int64_t> numbers;
  std::unordered_set<std::int64_t> known;
  for (const Value& each : listed ? *listed : List())
    if (const auto number = each.integer();
        number && *number >= 1 && *number <= highestOrder && known.insert(*number).second)
      numbers.push_back(*number);
  return numbers;
}

BatchPart BatchStore::waiting() const {
  return readBatchPart(joinPath(folder_, "waiting.plist"));
}

std::string BatchStore::putRowAside(std::int64_t number) const {
  const std::string folder = joinPath(parentFolder(parentFolder(folder_)), "damaged");
  std::string aside =
      joinPath(folder, fmt::format("{}-row-{}{}", fileName(folder_), number, ending));
  if (!mkdir(folder) || !moveFile(rowPath(number), aside, ""))
    return "";
  return aside;
}

void BatchStore::hide() {
  if (startsWith(fileName(folder_), oldPrefix))
    return;
  const std::string old =
      joinPath(parentFolder(folder_), std::string(oldPrefix) + fileName(folder_));
  if (renameTo(folder_, old, true) == 0)
    folder_ = old;
}

void BatchStore::discard() {
  // Under the other name it is no batch any more, wherever the removal is interrupted.
  hide();
  syncFolder(parentFolder(folder_));
  removeTree(folder_);
  lock_.close();
}

std::vector<BatchStore> claimAbandonedFolders(const std::string& parent) {
  std::vector<BatchStore> claimed;
  std::vector<std::pair<fs::file_time_type, std::string>> folders;
  Descriptor alone = lockOfParent(parent, Lock::aloneAtOnce);
  for (const std::string& path : lsCocoa(parent).value_or(std::vector<std::string>())) {
    std::error_code failed;
    if (!isOwnFolder(path))
      continue;
    if (!startsWith(fileName(path), "."))
      folders.emplace_back(fs::last_write_time(path, failed), path);
    else if (isRemains(path, alone.isOpen()))
      removeTree(path);
  }
  alone.close();
  std::sort(folders.begin(), folders.end());
  for (const auto& [time, path] : folders)
    if (auto store = BatchStore::claim(path))
      claimed.push_back(std::move(*store));
  return claimed;
}

}  // namespace tessarin
