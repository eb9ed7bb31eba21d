#include "tools/gettimestamps/playlist.h"

#include <algorithm>

#include "tools/gettimestamps/ByteReader.h"

namespace tessarin {

namespace {

// Offsets in the file's head of the three sections' offsets.
constexpr std::size_t playItemsAt = 8;
constexpr std::size_t marksAt = 12;
constexpr std::size_t extensionAt = 16;

constexpr std::uint32_t continuation = 6;  // a play item's way of connecting

constexpr std::size_t bcdLength = 7;

bool isClipName(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char letter) { return letter >= '0' && letter <= '9'; });
}

// The section that the head's field points to; nothing when it points nowhere.
std::optional<ByteReader> sectionAt(const ByteReader& file, std::size_t field) {
  const std::uint32_t offset = file.long32(field).value_or(0);
  if (offset == 0 || offset >= file.size())
    return std::nullopt;
  return file.from(offset);
}

void readPlayItems(const ByteReader& section, Playlist& playlist) {
  const std::uint32_t count = section.short16(6).value_or(0);
  std::size_t offset = 10;
  bool allNamed = true;
  for (std::uint32_t index = 0; index < count; ++index) {
    // Behind the length: clip name 5, "M2TS" 4, connection 2.
    const auto length = section.short16(offset);
    const auto name = section.part(offset + 2, 5);
    const auto kind = section.part(offset + 7, 4);
    const auto connection = section.short16(offset + 11);
    if (!length || !connection) {
      playlist.problems.emplace_back("the list of clips is cut short");
      break;
    }
    PlaylistClip clip;
    // An unreadable item keeps its place, for marks name items by their number.
    if (isClipName(*name) && kind == "M2TS") {
      clip.name = *name;
      clip.continues = (*connection & 15) == continuation;
    } else {
      allNamed = false;
    }
    playlist.clips.push_back(clip);
    offset += 2 + *length;
  }
  if (!allNamed)
    playlist.problems.emplace_back("not every clip has a proper name");
}

struct Mark {
  bool entry = false;
  std::size_t clip = 0;  // number of the play item
};

std::vector<Mark> readMarks(const ByteReader& section) {
  constexpr std::size_t markLength = 14;
  constexpr std::uint32_t entryMark = 1;
  std::vector<Mark> marks;
  const std::uint32_t count = section.short16(4).value_or(0);
  for (std::uint32_t index = 0; index < count; ++index) {
    const std::size_t offset = 6 + index * markLength;
    const auto type = section.byte(offset + 1);
    const auto clip = section.short16(offset + 2);
    if (!type || !clip)
      break;
    marks.push_back({*type == entryMark, *clip});
  }
  return marks;
}

// The makers' data block of the extension data. Writers do not agree on what an entry's offset is
// counted from, so the block's own signature decides.
std::optional<ByteReader> findDataBlock(const ByteReader& extension) {
  constexpr std::size_t headLength = 12;
  constexpr std::size_t entryLength = 12;
  constexpr std::uint32_t playlistData = 0x10000100;  // type and version
  if (extension.long32(0).value_or(0) == 0)
    return std::nullopt;
  const std::size_t blocks = extension.long32(4).value_or(0);
  const std::uint32_t count = extension.byte(headLength - 1).value_or(0);
  for (std::uint32_t index = 0; index < count; ++index) {
    const std::size_t entry = headLength + index * entryLength;
    if (extension.long32(entry) != playlistData)
      continue;
    const std::size_t start = extension.long32(entry + 4).value_or(0);
    for (const std::size_t offset : {start, blocks + start, blocks})
      if (extension.part(offset, 4) == "PLEX")
        return extension.from(offset);
  }
  return std::nullopt;
}

// The time at this place, behind a byte for the zone.
std::optional<RecordingTime> timeWithZone(const ByteReader& bytes, std::size_t place) {
  const auto digits = bytes.part(place, bcdLength);
  auto time = digits ? recordingTimeFromBcd(*digits) : std::nullopt;
  if (time)
    time->zone = zoneOfByte(bytes.byte(place - 1).value_or(0xFF));
  return time;
}

// The times of the mark extension, one for each mark in the order of the marks.
void readMarkTimes(const ByteReader& section, const std::vector<Mark>& marks, Playlist& playlist) {
  constexpr std::size_t extensionLength = 66;
  constexpr std::size_t timeAt = 11;
  const std::size_t count = section.short16(4).value_or(0);
  for (std::size_t index = 0; index < std::min(count, marks.size()); ++index) {
    const auto time = section.part(6 + index * extensionLength + timeAt, bcdLength);
    const Mark& mark = marks[index];
    if (!time || !mark.entry || mark.clip >= playlist.clips.size())
      continue;
    PlaylistClip& clip = playlist.clips[mark.clip];
    if (!clip.time)
      clip.time = timeWithZone(section, 6 + index * extensionLength + timeAt);
  }
}

}  // namespace

Outcome<Playlist> parsePlaylist(std::string_view bytes) {
  const ByteReader file(bytes);
  if (file.part(0, 4) != "MPLS")
    return Failure{"this is no playlist"};
  const auto items = sectionAt(file, playItemsAt);
  if (!items)
    return Failure{"the playlist is cut short"};
  Playlist playlist;
  readPlayItems(*items, playlist);
  if (const auto extension = sectionAt(file, extensionAt)) {
    if (const auto block = findDataBlock(*extension)) {
      constexpr std::size_t ownTimeAt = 55;
      playlist.time = timeWithZone(*block, ownTimeAt);
      const auto marks = sectionAt(file, marksAt);
      const auto markExtension = sectionAt(*block, 8);
      if (marks && markExtension)
        readMarkTimes(*markExtension, readMarks(*marks), playlist);
    }
  }
  std::erase_if(playlist.clips, [](const PlaylistClip& clip) { return clip.name.empty(); });
  return playlist;
}

}  // namespace tessarin
