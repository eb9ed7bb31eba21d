#include "core/RowHistory.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <fstream>

#include "classShared/TextAdditions.h"
#include "core/clipWords.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::size_t mostLines = 100;  // of a clip
constexpr std::int64_t mostLog = 64 << 10;
constexpr std::size_t mostReadMe = 64 << 10;

std::int64_t logSize() {
  return static_cast<std::int64_t>(poidsFile(detailLogPath(), "o"));
}

}  // namespace

void RowHistory::note(Clip& clip, const std::string& text) {
  clip.lines.push_back(
      fmt::format("{:%Y-%m-%d %H:%M:%S}  {}", fmt::localtime(std::time(nullptr)), text));
  if (clip.lines.size() > mostLines)
    clip.lines.pop_front();
}

void RowHistory::examined(const std::string& source) {
  note(clips_[source], localisationString("story_examined"));
}

void RowHistory::begun(const std::string& source, const std::string& output) {
  Clip& clip = clips_[source];
  clip.logBegin = logSize();
  clip.logEnd = -1;
  note(clip, localisationString("story_begun", "", output));
}

void RowHistory::ended(const JobEnd& end) {
  Clip& clip = clips_[end.source];
  clip.logEnd = logSize();
  using Kind = JobEnd::Kind;
  switch (end.kind) {
    case Kind::converted:
      note(clip, localisationString("story_converted", "", fmt::format("{:.1f}", end.elapsed),
                                    end.output));
      break;
    case Kind::kept:
      note(clip, localisationString("story_kept", "", end.output));
      break;
    case Kind::failed:
      note(clip, localisationString("story_failed"));
      break;
    case Kind::stopped:
      note(clip, localisationString("story_stopped"));
      break;
  }
  if (!end.reason.empty())
    note(clip, end.reason);
}

std::vector<std::string> RowHistory::linesOf(const std::string& source) const {
  const auto clip = clips_.find(source);
  return clip == clips_.end()
             ? std::vector<std::string>()
             : std::vector<std::string>(clip->second.lines.begin(), clip->second.lines.end());
}

std::string RowHistory::logOf(const std::string& source) const {
  const auto clip = clips_.find(source);
  if (clip == clips_.end() || clip->second.logBegin < 0)
    return {};
  const std::int64_t size = logSize();
  const std::int64_t end = clip->second.logEnd < 0 ? size : clip->second.logEnd;
  // A log that was begun anew is shorter.
  const std::int64_t begin = std::max(clip->second.logBegin, end - mostLog);
  if (end > size || begin >= end)
    return {};
  std::ifstream log(detailLogPath(), std::ios::binary);
  std::string text(static_cast<std::size_t>(end - begin), '\0');
  log.seekg(begin);
  log.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(log.gcount(), 0)));
  return begin > clip->second.logBegin ? std::string(textAfter(text, "\n").value_or("")) : text;
}

std::string clipStory(const BatchTable& table, int row, const RowHistory& history) {
  const Row& entry = table.row(row);
  std::vector<std::string> parts = {entry.path(), joinTexts(clipWords(entry.source), ", ")};
  for (std::string& line : clipDetails(entry, table.forecast(row)))
    parts.push_back(std::move(line));
  const std::vector<std::string> lines = history.linesOf(entry.path());
  if (!lines.empty()) {
    parts.push_back("");
    parts.insert(parts.end(), lines.begin(), lines.end());
  } else if (!entry.reason.empty()) {
    parts.insert(parts.end(), {"", entry.reason});
  }
  if (const std::string movie = table.movieOf(row); !movie.empty()) {
    const std::string path = withExtension(withoutExtension(movie), "txt");
    if (const auto readMe = readFileStart(path, mostReadMe); readMe && !readMe->empty())
      parts.insert(parts.end(), {"", path, std::string(trimmed(*readMe))});
  }
  if (const std::string log = history.logOf(entry.path()); !log.empty())
    parts.insert(parts.end(), {"", localisationString("story_log"), std::string(trimmed(log))});
  return joinTexts(parts, "\n");
}

}  // namespace tessarin
