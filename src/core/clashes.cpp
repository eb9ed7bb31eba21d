#include "core/clashes.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Less than the time between two pictures of a window.
constexpr std::chrono::milliseconds longestStep(8);

// Names that are listed.
constexpr std::size_t mostNamed = 8;

std::string namesOf(const std::vector<std::string>& movies) {
  std::vector<std::string> lines;
  for (std::size_t movie = 0; movie < std::min(movies.size(), mostNamed); ++movie)
    lines.push_back(fileName(movies[movie]));
  if (movies.size() > mostNamed)
    lines.push_back(
        localisationString("D_refused_2", "", fmt::format("{}", movies.size() - mostNamed)));
  return joinTexts(lines, "\n");
}

}  // namespace

std::string ownMovie(const Row& row) {
  return row.isKept ? "" : row.movie;
}

std::string outputOfRow(const Row& row, const std::string& folder, OutputNames& taken,
                        const NamePattern& names, Clash clash) {
  std::string path = outputPath(row.source, row.choice.target, folder, taken, names);
  const std::string own = ownMovie(row);
  const bool isOthers = clash == Clash::other && path != own && isNameTaken(path);
  return isOthers ? otherOutputPath(path, taken, own) : path;
}

ClashSearch::ClashSearch(const BatchTable& table, const std::vector<int>& rows, std::string folder,
                         OutputNames taken, NamePattern names, Clash clash)
    : table_(table),
      folder_(std::move(folder)),
      taken_(std::move(taken)),
      names_(std::move(names)),
      clash_(clash) {
  sources_.reserve(rows.size());
  for (const int row : rows)
    sources_.push_back(table.sourcePath(row));
}

bool ClashSearch::step() {
  const auto end = std::chrono::steady_clock::now() + longestStep;
  while (next_ < sources_.size() && std::chrono::steady_clock::now() < end)
    if (const int row = table_.rowOfSource(sources_[next_++]); row >= 0)
      lookAt(row);
  return next_ == sources_.size();
}

void ClashSearch::lookAt(int row) {
  const Row& entry = table_.row(row);
  if (!pathExists(fileOfSource(entry.path())))
    return;  // it will be left out
  std::string output = outputOfRow(entry, folder_, taken_, names_, clash_);
  if (isNameTaken(output))
    found_.push_back(std::move(output));
}

Alert clashQuestion(const std::vector<std::string>& movies) {
  const bool isOne = movies.size() == 1;
  const std::string& first = movies.front();
  Alert alert{isOne ? localisationString("D_go_dossier_destination4Bis", "", fileName(first))
                    : localisationString("D_clash", "", fmt::format("{}", movies.size()),
                                         parentFolder(first)),
              isOne ? first : namesOf(movies),
              {localisationString("D_keep"), localisationString("D_replace"),
               localisationString("D_gone_stop")}};
  alert.closing = stopBatchAnswer;
  alert.unattended = keepAnswer;
  return alert;
}

}  // namespace tessarin
