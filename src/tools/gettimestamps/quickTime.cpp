// Creation dates in QuickTime and MPEG-4 files. Only the heads of atoms and the few small ones that
// are wanted are read, wherever in the file the index lies.
#include <algorithm>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/ByteReader.h"
#include "tools/gettimestamps/containers.h"

namespace tessarin {

namespace {

struct Atom {
  std::string type;
  std::uint64_t body = 0;  // offset of what is in it
  std::uint64_t end = 0;

  std::size_t length() const { return static_cast<std::size_t>(end - body); }
};

// More than any movie has side by side.
constexpr int mostAtoms = 4096;

// Calls `visit` for each atom between the offsets, until it answers false.
template <class Visit>
void forEachAtom(BoundedFile& file, std::uint64_t offset, std::uint64_t end, const Visit& visit) {
  for (int count = 0; count < mostAtoms && offset + 8 <= end; ++count) {
    const std::string bytes = file.read(offset, 16);
    const ByteReader head(bytes);
    const auto type = head.part(4, 4);
    if (!type)
      return;
    std::uint64_t size = *head.long32(0);
    std::uint64_t headLength = 8;
    if (size == 1) {
      headLength = 16;
      size = std::uint64_t{head.long32(8).value_or(0)} << 32 | head.long32(12).value_or(0);
    } else if (size == 0) {
      size = end - offset;
    }
    if (size < headLength || size > end - offset)
      return;
    if (!visit(Atom{std::string(*type), offset + headLength, offset + size}))
      return;
    offset += size;
  }
}

std::optional<Atom> child(BoundedFile& file, std::uint64_t offset, std::uint64_t end,
                          std::string_view type) {
  std::optional<Atom> found;
  forEachAtom(file, offset, end, [&](const Atom& atom) {
    if (atom.type == type)
      found = atom;
    return !found;
  });
  return found;
}

std::optional<Atom> child(BoundedFile& file, const std::optional<Atom>& parent,
                          std::string_view type) {
  return parent ? child(file, parent->body, parent->end, type) : std::nullopt;
}

// A text that no date and no name of a camera is longer than.
std::string shortText(BoundedFile& file, const Atom& atom) {
  return file.read(atom.body, std::min<std::size_t>(atom.length(), 256));
}

// The text of an entry of a list of metadata: its type and its locale stand before it.
std::string textOfEntry(BoundedFile& file, const std::optional<Atom>& entry) {
  const auto data = child(file, entry, "data");
  const std::string bytes = data ? shortText(file, *data) : "";
  return std::string(ByteReader(bytes).from(8).view());
}

// Metadata begin with a version in MPEG-4, and without one in QuickTime.
Atom plainMetadata(BoundedFile& file, Atom metadata) {
  const std::string start = file.read(metadata.body, 8);
  if (ByteReader(start).part(4, 4) != "hdlr" && metadata.length() >= 4)
    metadata.body += 4;
  return metadata;
}

// The text under a key: the keys are a list of names, and the entries go by their numbers.
std::string textOfKeyIn(BoundedFile& file, const Atom& metadata, std::string_view wanted) {
  constexpr std::size_t longest = 1 << 16;
  const auto keys = child(file, metadata, "keys");
  const auto list = child(file, metadata, "ilst");
  if (!keys || !list)
    return {};
  const std::string bytes = file.read(keys->body, std::min(keys->length(), longest));
  const ByteReader names(bytes);
  std::size_t offset = 8;
  for (std::uint32_t number = 1; number <= names.long32(4).value_or(0); ++number) {
    const std::uint32_t length = names.long32(offset).value_or(0);
    const auto name = names.part(offset + 8, length < 8 ? 0 : length - 8);
    if (length < 8 || !name)
      break;
    if (*name == wanted) {
      std::string type;
      for (const int shift : {24, 16, 8, 0})
        type += static_cast<char>(number >> shift & 0xFF);
      return textOfEntry(file, child(file, list, type));
    }
    offset += length;
  }
  return {};
}

// ffmpeg has the keys of a movie among its user data.
std::string textOfKey(BoundedFile& file, const Atom& movie, std::string_view wanted) {
  const auto own = child(file, movie, "meta");
  std::string text = own ? textOfKeyIn(file, plainMetadata(file, *own), wanted) : "";
  const auto further =
      text.empty() ? child(file, child(file, movie, "udta"), "meta") : std::nullopt;
  return further ? textOfKeyIn(file, plainMetadata(file, *further), wanted) : text;
}

std::string textOfUserData(BoundedFile& file, const Atom& movie, std::string_view kind) {
  const auto userData = child(file, movie, "udta");
  if (const auto plain = child(file, userData, kind)) {
    // Behind a length and a language.
    const std::string bytes = shortText(file, *plain);
    const ByteReader text(bytes);
    return std::string(text.from(4).view().substr(0, text.short16(0).value_or(0)));
  }
  const auto metadata = child(file, userData, "meta");
  if (!metadata)
    return {};
  return textOfEntry(file, child(file, child(file, plainMetadata(file, *metadata), "ilst"), kind));
}

std::optional<RecordingTime> timeOfHeader(BoundedFile& file, const Atom& movie) {
  constexpr std::int64_t from1904To1970 = 2082844800;
  // A clock that was not set shows the first days of its calendar.
  constexpr std::int64_t year1990 = 631152000;
  const auto header = child(file, movie, "mvhd");
  if (!header)
    return std::nullopt;
  const std::string bytes = shortText(file, *header);
  const ByteReader head(bytes);
  const bool isLong = head.byte(0) == 1u;
  if (isLong && head.long32(4) != 0u)
    return std::nullopt;
  const std::int64_t seconds = head.long32(isLong ? 8 : 4).value_or(0);
  auto time = seconds >= from1904To1970 ? recordingTimeOfSeconds(seconds - from1904To1970)
              : seconds >= year1990     ? recordingTimeOfSeconds(seconds)
                                        : std::nullopt;
  if (time)
    time->isHeaders = true;
  return time;
}

}  // namespace

std::optional<RecordingTime> recordingTimeOfQuickTime(BoundedFile& file) {
  const auto movie = child(file, 0, file.size(), "moov");
  if (!movie)
    return std::nullopt;
  auto time = recordingTimeOfText(textOfKey(file, *movie, "com.apple.quicktime.creationdate"));
  if (!time)
    time = recordingTimeOfText(textOfUserData(file, *movie, "\251day"));
  return time ? time : timeOfHeader(file, *movie);
}

CameraFacts cameraOfQuickTime(BoundedFile& file) {
  const auto movie = child(file, 0, file.size(), "moov");
  if (!movie)
    return {};
  const auto textOf = [&](std::initializer_list<std::string_view> keys, std::string_view kind) {
    for (const std::string_view key : keys)
      if (std::string text = textOfKey(file, *movie, key); !text.empty())
        return text;
    return textOfUserData(file, *movie, kind);
  };
  return {textOf({"com.apple.quicktime.make", "com.android.manufacturer"}, "\251mak"),
          textOf({"com.apple.quicktime.model", "com.android.model"}, "\251mod"),
          textOf({"com.apple.quicktime.location.ISO6709"}, "\251xyz")};
}

std::uint64_t samplesOfQuickTime(BoundedFile& file) {
  const auto samples = child(file, 0, file.size(), "mdat");
  return samples ? samples->body : 0;
}

}  // namespace tessarin
