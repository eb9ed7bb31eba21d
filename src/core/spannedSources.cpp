#include "core/spannedSources.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_set>

#include "analysis/partFiles.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// What stands before the files in the command.
constexpr std::size_t wordsOfSearch = 3;

std::optional<std::size_t> placeOf(std::string_view word, std::size_t count) {
  const auto number = leadingInteger(word);
  if (word.empty() || std::to_string(number) != word || number < 0 ||
      number >= static_cast<std::int64_t>(count))
    return std::nullopt;
  return static_cast<std::size_t>(number);
}

// "parts 3 4 5: 600.040 1200.080 1500.000". What is more than a recording may have is another one.
void takeRecording(std::string_view line, const std::vector<std::string>& files,
                   SpannedSources& found) {
  const std::string_view places = textUpTo(line, ": ");
  const auto parts = split(places, " ");
  const auto times = split(textAfter(line, ": ").value_or(""), " ");
  if (parts.size() < 2 || times.size() != parts.size())
    return;
  std::vector<Source::Part> all;
  for (std::size_t part = 0; part < parts.size(); ++part) {
    const auto place = placeOf(parts[part], files.size());
    if (!place)
      return;
    const auto state = fileState(files[*place]);
    if (!state)
      return;
    all.push_back({part == 0 ? 0 : leadingNumber(times[part - 1]), state->size, files[*place],
                   state->changed()});
  }
  for (std::size_t first = 0; first < all.size(); first += mostFurtherParts + 1) {
    const std::size_t end = std::min(first + mostFurtherParts + 1, all.size());
    const double begin = all[first].begin;
    SpannedSources::Recording recording;
    for (std::size_t part = first + 1; part < end; ++part) {
      recording.furtherParts.push_back(all[part]);
      recording.furtherParts.back().begin -= begin;
    }
    recording.seconds = (end < all.size() ? all[end].begin : leadingNumber(times.back())) - begin;
    if (end < all.size())
      found.doubtful.push_back(all[end - 1].path);
    if (end - first > 1)
      found.recordings.emplace(all[first].path, std::move(recording));
  }
}

// The files with sound may have gone meanwhile.
void leaveApartOtherSounds(SpannedSources& found) {
  std::erase_if(found.recordings, [&found](const auto& recording) {
    const std::size_t sounds = soundFilesOf(found, recording.first).size();
    const bool areSame = std::all_of(
        recording.second.furtherParts.begin(), recording.second.furtherParts.end(),
        [&](const Source::Part& part) { return soundFilesOf(found, part.path).size() == sounds; });
    if (!areSame)
      found.doubtful.push_back(recording.first);
    return !areSame;
  });
}

}  // namespace

Arguments partSearch(const std::vector<std::string>& paths) {
  std::vector<std::string> files;
  std::copy_if(paths.begin(), paths.end(), std::back_inserter(files), mayBePart);
  if (files.size() < 2 && std::none_of(files.begin(), files.end(), mayHaveSoundFiles))
    return {};
  Arguments command = {Bundle::main().toolPath("joinclips"), "--parts", "--"};
  command.insert(command.end(), files.begin(), files.end());
  return command;
}

SpannedSources foundParts(const Arguments& search, std::string_view output) {
  SpannedSources found;
  if (search.size() <= wordsOfSearch)
    return found;
  const std::vector<std::string> files(search.begin() + wordsOfSearch, search.end());
  for (const std::string_view line : splitLines(output)) {
    if (const auto parts = textAfter(line, "parts "); parts && startsWith(line, "parts "))
      takeRecording(*parts, files, found);
    for (auto [head, list] :
         {std::pair{"doubtful ", &found.doubtful}, std::pair{"later ", &found.later},
          std::pair{"unread ", &found.unread}})
      if (const auto word = textAfter(line, head); word && startsWith(line, head))
        if (const auto place = placeOf(*word, files.size()))
          list->push_back(files[*place]);
    if (const auto words = textAfter(line, "sounds "); words && startsWith(line, "sounds "))
      if (const auto place = placeOf(textUpTo(*words, " "), files.size()))
        takeSoundsLine(*words, files[*place], found.sounds[files[*place]]);
  }
  leaveApartOtherSounds(found);
  return found;
}

std::vector<Source::SoundFile> soundFilesOf(const SpannedSources& found, const std::string& path) {
  const auto sounds = found.sounds.find(path);
  return sounds == found.sounds.end() ? std::vector<Source::SoundFile>() : sounds->second.files;
}

void leaveOutParts(std::vector<std::string>& paths, const SpannedSources& found) {
  std::unordered_set<std::string> parts;
  for (const auto& [first, recording] : found.recordings)
    for (const Source::Part& part : recording.furtherParts)
      parts.insert(part.path);
  for (const auto& [pictures, sounds] : found.sounds)
    for (const Source::SoundFile& sound : sounds.files)
      parts.insert(sound.path);
  std::erase_if(paths, [&parts](const std::string& path) { return parts.contains(path); });
}

namespace {

void takeAllFiles(Source& source, const SpannedSources& found) {
  if (const auto sounds = found.sounds.find(source.path); sounds != found.sounds.end())
    tellOfSounds(source, sounds->second);
  const auto recording = found.recordings.find(source.path);
  const auto tell = [&source](const std::vector<std::string>& files, const std::string& file,
                              Source::Remark::Kind kind) {
    if (std::find(files.begin(), files.end(), file) != files.end())
      source.remarks.push_back({kind, 0});
  };
  tell(found.later, source.path, Source::Remark::Kind::laterPart);
  tell(found.unsplit, source.path, Source::Remark::Kind::unsplitTape);
  const std::string& last = recording == found.recordings.end()
                                ? source.path
                                : recording->second.furtherParts.back().path;
  tell(found.doubtful, last, Source::Remark::Kind::doubtfulPart);
  tell(found.unread, last, Source::Remark::Kind::partsUnknown);
  if (recording == found.recordings.end())
    return;
  source.furtherParts = recording->second.furtherParts;
  if (!source.soundFiles.empty())
    for (const Source::Part& part : source.furtherParts)
      for (const Source::SoundFile& sound : soundFilesOf(found, part.path))
        source.soundFiles.push_back(sound);
  source.seconds = recording->second.seconds + std::max(0.0, source.pictures.begin.value_or(0));
  source.duration = std::max(1.0, std::floor(recording->second.seconds));
}

}  // namespace

void takeFurtherParts(Source& source, const SpannedSources& found) {
  takeAllFiles(source, found);
  if (filesOf(source).size() > 1 || sectionOf(source.path))
    if (const auto state = sourceState(source.path))
      source.changed = state->changed();
}

}  // namespace tessarin
