#include "core/tapeRecordings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/Bundle.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// What stands before the files in the command.
constexpr std::size_t wordsBeforeTapes = 3;

struct FoundRecording {
  std::optional<FileSection> section;
  bool isUnclear = false;
};

bool mayBeTape(const std::string& path) {
  return (hasPathExtension(path, "dv") || hasPathExtension(path, "dif")) && !sectionOf(path);
}

// "bytes 0-36000000, 250 pictures", with ", unclear" behind it; or "unclear: reason".
FoundRecording recordingOfWords(const std::string& file, std::string_view words) {
  FoundRecording found;
  found.isUnclear = contains(words, "unclear");
  // As the path of a section spells it.
  const std::string path = fmt::format("{}/{}/{}", file, textUpTo(words, ","), fileName(file));
  found.section = sectionOf(path);
  return found;
}

std::string nameOfRecording(const std::string& file, std::size_t number, std::size_t count) {
  const std::size_t digits = std::max<std::size_t>(2, std::to_string(count).size());
  return fmt::format("{}-{:0{}}.{}", fileName(withoutExtension(file)), number, digits,
                     pathExtension(file));
}

void takeTape(const std::string& file, const std::vector<FoundRecording>& found,
              TapeRecordings& tapes) {
  const bool areSections =
      found.size() > 1 && std::all_of(found.begin(), found.end(),
                                      [](const auto& each) { return each.section.has_value(); });
  std::vector<std::string> paths;
  for (std::size_t each = 0; each < found.size(); ++each) {
    const std::string path =
        areSections
            ? pathOfSection(*found[each].section, nameOfRecording(file, each + 1, found.size()))
            : file;
    if (found[each].isUnclear)
      tapes.unclear.push_back(path);
    paths.push_back(path);
  }
  if (areSections)
    tapes.recordings.emplace(file, std::move(paths));
}

}  // namespace

Arguments recordingSearch(const std::vector<std::string>& paths) {
  Arguments command = {Bundle::main().toolPath("joinclips"), "--recordings", "--"};
  std::copy_if(paths.begin(), paths.end(), std::back_inserter(command), mayBeTape);
  return command.size() > wordsBeforeTapes ? command : Arguments();
}

// By its last whole line, "tape 0: 250 of 90000 pictures".
std::optional<TapeSearchStand> standOfSearch(const Arguments& search, std::string_view output) {
  const auto end = output.rfind("tape ");
  if (end == std::string_view::npos)
    return std::nullopt;
  const std::string_view line = output.substr(end);
  const auto read = textAfter(line, ": ");
  const auto all = textAfter(line, " of ");
  const std::int64_t place = leadingInteger(line.substr(std::strlen("tape ")));
  if (!read || !all || !endsWith(trimmed(line), " pictures") || place < 0 ||
      static_cast<std::size_t>(place) + wordsBeforeTapes >= search.size())
    return std::nullopt;
  const auto pictures = static_cast<double>(std::max<std::int64_t>(1, leadingInteger(*all)));
  const auto fraction = static_cast<double>(leadingInteger(*read)) / pictures;
  return TapeSearchStand{search[static_cast<std::size_t>(place) + wordsBeforeTapes],
                         std::clamp(fraction, 0.0, 1.0)};
}

TapeRecordings foundRecordings(const Arguments& search, std::string_view output) {
  std::map<std::size_t, std::vector<FoundRecording>> found;  // by the place of the tape
  for (const std::string_view line : splitLines(output)) {
    const auto behind = textAfter(line, "recording ");
    const auto words = textAfter(line, ": ");
    if (!startsWith(line, "recording ") || !behind || !words)
      continue;
    const std::int64_t place = leadingInteger(*behind);
    if (place >= 0 && static_cast<std::size_t>(place) + wordsBeforeTapes < search.size()) {
      const std::size_t word = static_cast<std::size_t>(place) + wordsBeforeTapes;
      found[word].push_back(recordingOfWords(search[word], *words));
    }
  }
  TapeRecordings tapes;
  for (const auto& [word, recordings] : found)
    takeTape(search[word], recordings, tapes);
  return tapes;
}

void splitTapes(std::vector<std::string>& paths, const TapeRecordings& found) {
  std::vector<std::string> all;
  for (std::string& path : paths)
    if (const auto tape = found.recordings.find(path); tape != found.recordings.end())
      all.insert(all.end(), tape->second.begin(), tape->second.end());
    else
      all.push_back(std::move(path));
  paths = std::move(all);
}

}  // namespace tessarin
