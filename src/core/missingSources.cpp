#include "core/missingSources.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

namespace fs = std::filesystem;

// Neighbours that are looked for before a folder that is there counts as emptied.
constexpr int mostNeighbours = 20;

bool isEmptyFolder(const std::string& path) {
  std::error_code failed;
  const bool isEmpty = fs::is_empty(path, failed);
  return isEmpty && !failed;
}

// Whether there are clips of this folder among the next rows, and not one of them is there.
bool isEmptied(const BatchTable& table, int firstRow, const std::string& folder) {
  int missing = 0;
  for (int row = firstRow; row < table.count() && missing < mostNeighbours; ++row) {
    const std::string path = fileOfSource(table.sourcePath(row));
    if (parentFolder(path) != folder || table.isFinished(row))
      continue;
    if (pathExists(path))
      return false;
    ++missing;
  }
  return missing > 0;
}

bool isBelow(const std::string& path, const std::string& folder) {
  return startsWith(path, endsWith(folder, "/") ? folder : folder + "/");
}

}  // namespace

std::optional<std::string> goneFolder(const BatchTable& table, int row) {
  std::string folder = parentFolder(fileOfSource(table.sourcePath(row)));
  if (isDirectory(folder)) {
    if (isEmptied(table, row + 1, folder))
      return folder;
    return std::nullopt;
  }
  std::string above = parentFolder(folder);
  while (!isDirectory(above) && above.size() < folder.size()) {
    folder = above;
    above = parentFolder(folder);
  }
  // The place of a disk that was taken out may stay.
  return above.size() > 1 && isEmptyFolder(above) ? above : folder;
}

std::vector<int> missingRowsBelow(const BatchTable& table, int firstRow,
                                  const std::string& folder) {
  std::vector<int> rows;
  for (int row = firstRow; row < table.count(); ++row) {
    const std::string path = fileOfSource(table.sourcePath(row));
    if (!table.isFinished(row) && isBelow(path, folder) && !pathExists(path))
      rows.push_back(row);
  }
  return rows;
}

Alert goneFolderQuestion(const std::string& folder, std::size_t clips) {
  Alert alert{localisationString("D_gone_1", "", folder),
              localisationString("D_gone_2", "", fmt::format("{}", clips)),
              {localisationString("D_recover_goOn"), localisationString("D_gone_leaveOut"),
               localisationString("D_gone_stop")}};
  alert.closing = stopAnswer;
  alert.unattended = leaveOutAnswer;
  return alert;
}

}  // namespace tessarin
