#include "tools/gettimestamps/card.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/p2Card.h"
#include "tools/gettimestamps/playlist.h"
#include "tools/gettimestamps/sideXml.h"
#include "tools/gettimestamps/streamFile.h"
#include "tools/gettimestamps/timesInStreams.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Far more than any playlist needs (a card has some hundred clips, each a few hundred bytes).
constexpr std::size_t playlistLimit = 16 << 20;
constexpr std::size_t moiLimit = 1 << 20;

std::vector<std::string> sortedEntries(std::string_view folder) {
  std::vector<std::string> entries = lsCocoa(folder).value_or(std::vector<std::string>());
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::optional<std::string> childFolder(std::string_view folder, std::string_view name) {
  for (const std::string& entry : sortedEntries(folder))
    if (equalIgnoringCase(fileName(entry), name) && isDirectory(entry))
      return entry;
  return std::nullopt;
}

std::vector<std::string> filesOfKind(const std::optional<std::string>& folder,
                                     std::initializer_list<std::string_view> extensions) {
  std::vector<std::string> files;
  if (!folder)
    return files;
  for (std::string& entry : sortedEntries(*folder))
    if (std::any_of(extensions.begin(), extensions.end(),
                    [&](std::string_view extension) { return hasPathExtension(entry, extension); }))
      files.push_back(std::move(entry));
  return files;
}

struct CardFolders {
  std::optional<std::string> playlists;
  std::optional<std::string> streams;
};

CardFolders findCardFolders(const std::string& folder) {
  const std::string name = fileName(folder);
  if (equalIgnoringCase(name, "PLAYLIST"))
    return {folder, childFolder(parentFolder(folder), "STREAM")};
  if (equalIgnoringCase(name, "STREAM"))
    return {childFolder(parentFolder(folder), "PLAYLIST"), folder};
  std::string place = folder;
  for (const std::string_view step : {"PRIVATE", "AVCHD", "BDMV"})
    if (auto deeper = childFolder(place, step))
      place = *std::move(deeper);
  return {childFolder(place, "PLAYLIST"), childFolder(place, "STREAM")};
}

class Collection {
 public:
  void addProblem(const std::string& path, const std::string& reason) {
    times_.problems.push_back(path + ": " + reason);
  }
  bool has(const std::string& name) const { return found_.count(name) > 0; }
  void add(const std::string& name, const RecordingTime& time) { found_.emplace(name, time); }
  ClipTimes finish() {
    for (const auto& [name, time] : found_)
      times_.clips.push_back({name, time});
    return std::move(times_);
  }

 private:
  std::map<std::string, RecordingTime> found_;
  ClipTimes times_;
};

// The clips' files by their names, and what their streams say. Each is read once, however many
// playlists and items name it.
class CardStreams {
 public:
  explicit CardStreams(const std::optional<std::string>& folder) {
    for (const std::string& path : filesOfKind(folder, {"mts", "m2ts", "m2t"}))
      files_.emplace(fileName(withoutExtension(path)), path);
  }

  const std::map<std::string, std::string>& files() const { return files_; }
  std::optional<RecordingTime> timeOf(const std::string& name) {
    const auto file = files_.find(name);
    if (file == files_.end())
      return std::nullopt;
    const auto known = times_.find(name);
    if (known != times_.end())
      return known->second;
    return times_[name] = recordingTimeInFile(file->second);
  }

 private:
  std::map<std::string, std::string> files_;
  std::map<std::string, std::optional<RecordingTime>> times_;
};

// The time of one clip of a playlist, when that of the clip before is known: its own mark, for a
// continued one the time of the clip before, for the first one the playlist's own time; then what
// the stream itself says, and the playlist's own time where that says nothing.
std::optional<RecordingTime> timeOfItem(const Playlist& playlist, std::size_t index,
                                        const std::optional<RecordingTime>& before,
                                        CardStreams& streams) {
  const PlaylistClip& clip = playlist.clips[index];
  std::optional<RecordingTime> time = clip.time;
  if (clip.continues && before)
    time = before;
  if (!time && index == 0)
    time = playlist.time;
  if (!time)
    time = streams.timeOf(clip.name);
  return time ? time : playlist.time;
}

void addPlaylist(const Playlist& playlist, CardStreams& streams, Collection& collection) {
  std::optional<RecordingTime> before;
  for (std::size_t index = 0; index < playlist.clips.size(); ++index) {
    before = timeOfItem(playlist, index, before, streams);
    if (before)
      collection.add(playlist.clips[index].name, *before);
  }
}

// The same for one clip alone: what it does not depend on is not read.
std::optional<RecordingTime> timeInPlaylist(const Playlist& playlist, const std::string& name,
                                            CardStreams& streams) {
  const auto& clips = playlist.clips;
  const auto found = std::find_if(clips.begin(), clips.end(),
                                  [&](const PlaylistClip& clip) { return clip.name == name; });
  if (found == clips.end())
    return std::nullopt;
  const auto wanted = static_cast<std::size_t>(found - clips.begin());
  std::size_t first = wanted;
  while (first > 0 && clips[first].continues)
    --first;
  std::optional<RecordingTime> time;
  for (std::size_t index = first; index <= wanted; ++index)
    time = timeOfItem(playlist, index, time, streams);
  return time;
}

// Calls `visit` for each playlist of the folder that can be read, in the order of their names.
template <class Visit>
void forEachPlaylist(const std::optional<std::string>& folder, Collection& problems,
                     const Visit& visit) {
  for (const std::string& path : filesOfKind(folder, {"mpl", "mpls"})) {
    const auto bytes = readFileStart(path, playlistLimit);
    if (!bytes) {
      problems.addProblem(path, "cannot be read");
      continue;
    }
    const Outcome<Playlist> playlist = parsePlaylist(*bytes);
    if (!playlist) {
      problems.addProblem(path, playlist.reason());
      continue;
    }
    for (const std::string& problem : playlist.value().problems)
      problems.addProblem(path, problem);
    visit(playlist.value());
  }
}

void addCard(const CardFolders& folders, Collection& collection) {
  CardStreams streams(folders.streams);
  forEachPlaylist(folders.playlists, collection,
                  [&](const Playlist& playlist) { addPlaylist(playlist, streams, collection); });
  for (const auto& [name, path] : streams.files()) {
    if (collection.has(name))
      continue;
    if (const auto time = streams.timeOf(name))
      collection.add(name, *time);
    else
      collection.addProblem(path, "no recording time");
  }
}

void addMoiFolder(const std::string& folder, Collection& collection) {
  std::map<std::string, std::string> informationFiles;
  for (const std::string& path : filesOfKind(folder, {"moi"}))
    informationFiles.emplace(lowerCase(fileName(withoutExtension(path))), path);
  for (const std::string& path : filesOfKind(folder, {"mod", "tod"})) {
    const std::string name = fileName(withoutExtension(path));
    const auto information = informationFiles.find(lowerCase(name));
    if (information == informationFiles.end()) {
      collection.addProblem(path, "no MOI file beside it");
      continue;
    }
    const auto bytes = readFileStart(information->second, moiLimit);
    const Outcome<RecordingTime> time =
        bytes ? recordingTimeOfMoi(*bytes) : Failure{"cannot be read"};
    if (time)
      collection.add(name, time.value());
    else
      collection.addProblem(information->second, time.reason());
  }
}

// The XML that cameras of XDCAM and XAVC put beside a clip.
SideXml xmlBeside(const std::string& clip) {
  const std::string start = withoutExtension(clip);
  for (const char* ending : {"M01.XML", "m01.xml"})
    if (isNameTaken(start + ending))
      return SideXml::ofFile(start + ending);
  return {};
}

// "67212901"; "" for what is no such text.
std::string bytesOfDigits(std::string_view digits) {
  std::string bytes;
  for (std::size_t at = 0; at + 2 <= digits.size(); at += 2) {
    int byte = 0;
    const auto [end, error] = std::from_chars(&digits[at], &digits[at] + 2, byte, 16);
    if (error != std::errc() || end != &digits[at] + 2)
      return {};
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace

Outcome<ClipTimes> clipTimes(std::string_view folder) {
  std::string path(folder);
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  if (!isDirectory(path))
    return Failure{path + ": there is no such folder"};
  path = resolveAlias(path);
  Collection collection;
  const CardFolders folders = findCardFolders(path);
  if (folders.playlists || folders.streams)
    addCard(folders, collection);
  else
    addMoiFolder(path, collection);
  return collection.finish();
}

bool isOnCard(const std::string& clip) {
  return childFolder(parentFolder(parentFolder(clip)), "PLAYLIST").has_value();
}

std::optional<RecordingTime> timeOfCardClip(const std::string& clip) {
  const std::string name = fileName(withoutExtension(clip));
  CardStreams streams(parentFolder(clip));
  Collection problems;
  std::optional<RecordingTime> time;
  forEachPlaylist(childFolder(parentFolder(parentFolder(clip)), "PLAYLIST"), problems,
                  [&](const Playlist& playlist) {
                    if (!time)
                      time = timeInPlaylist(playlist, name, streams);
                  });
  return time ? time : streams.timeOf(name);
}

std::map<std::string, std::string> continuationsOnCard(const std::string& clipFolder) {
  std::map<std::string, std::string> continued;
  Collection problems;
  forEachPlaylist(childFolder(parentFolder(clipFolder), "PLAYLIST"), problems,
                  [&](const Playlist& playlist) {
                    std::string before;
                    for (const PlaylistClip& clip : playlist.clips) {
                      std::string& known = continued[clip.name];
                      if (clip.continues && known.empty())
                        known = before;
                      before = clip.name;
                    }
                  });
  return continued;
}

SideFacts factsBesideClip(const std::string& clip) {
  if (const auto onP2Card = p2ClipOf(clip))
    return onP2Card->facts;
  const SideXml document = xmlBeside(clip);
  const pugi::xml_node root = document.root("NonRealTimeMeta");
  const pugi::xml_node camera = nodeAt(root, {"Device"});
  // The first change is the beginning.
  const pugi::xml_node change = nodeAt(root, {"LtcChangeTable", "LtcChange"});
  SideFacts facts;
  facts.make = camera.attribute("manufacturer").value();
  facts.model = camera.attribute("modelName").value();
  if (std::string_view(change.attribute("frameCount").value()) == "0")
    facts.timeCode = timeCodeOfBytes(bytesOfDigits(change.attribute("value").value()), true);
  return facts;
}

std::optional<RecordingTime> timeBesideClip(const std::string& clip) {
  const std::string name = fileName(withoutExtension(clip));
  const std::optional<std::string> folder = parentFolder(clip);
  if (hasPathExtension(clip, "mod") || hasPathExtension(clip, "tod"))
    for (const std::string& path : filesOfKind(folder, {"moi"}))
      if (equalIgnoringCase(fileName(withoutExtension(path)), name))
        if (const auto time = recordingTimeOfMoi(readFileStart(path, moiLimit).value_or("")))
          return time.value();
  if (const auto onP2Card = p2ClipOf(clip))
    return onP2Card->time;
  const SideXml document = xmlBeside(clip);
  const pugi::xml_node date = nodeAt(document.root("NonRealTimeMeta"), {"CreationDate"});
  return recordingTimeOfText(date.attribute("value").value());
}

}  // namespace tessarin
