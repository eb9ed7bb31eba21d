#include "tools/gettimestamps/card.h"

#include <algorithm>
#include <map>
#include <optional>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/playlist.h"
#include "tools/gettimestamps/streams.h"
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

std::optional<RecordingTime> timeOfStream(const std::string& path) {
  // The message comes with the first pictures, before anything of theirs that is large.
  for (const std::size_t length : {std::size_t{256} << 10, std::size_t{4} << 20}) {
    const auto start = readFileStart(path, length);
    if (!start)
      break;
    if (const auto time = recordingTimeInH264(videoOfTransportStream(*start)))
      return time;
  }
  return std::nullopt;
}

// The clip's file, by its name; nothing when it is not there.
using StreamFiles = std::map<std::string, std::string>;

// One playlist's clips in their order: a clip's own mark, for a continued one the time of the clip
// before, for the first one the playlist's own time; then what the stream itself says, and the
// playlist's own time where that says nothing.
void addPlaylist(const Playlist& playlist, const StreamFiles& streams, Collection& collection) {
  std::optional<RecordingTime> before;
  for (std::size_t index = 0; index < playlist.clips.size(); ++index) {
    const PlaylistClip& clip = playlist.clips[index];
    std::optional<RecordingTime> time = clip.time;
    if (clip.continues && before)
      time = before;
    if (!time && index == 0)
      time = playlist.time;
    if (const auto stream = streams.find(clip.name); !time && stream != streams.end())
      time = timeOfStream(stream->second);
    if (!time)
      time = playlist.time;
    before = time;
    if (time)
      collection.add(clip.name, *time);
  }
}

void addCard(const CardFolders& folders, Collection& collection) {
  StreamFiles streams;
  for (const std::string& path : filesOfKind(folders.streams, {"mts", "m2ts", "m2t"}))
    streams.emplace(fileName(withoutExtension(path)), path);
  for (const std::string& path : filesOfKind(folders.playlists, {"mpl", "mpls"})) {
    const auto bytes = readFileStart(path, playlistLimit);
    if (!bytes) {
      collection.addProblem(path, "cannot be read");
      continue;
    }
    const Outcome<Playlist> playlist = parsePlaylist(*bytes);
    if (!playlist) {
      collection.addProblem(path, playlist.reason());
      continue;
    }
    for (const std::string& problem : playlist.value().problems)
      collection.addProblem(path, problem);
    addPlaylist(playlist.value(), streams, collection);
  }
  for (const auto& [name, path] : streams) {
    if (collection.has(name))
      continue;
    if (const auto time = timeOfStream(path))
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

}  // namespace tessarin
