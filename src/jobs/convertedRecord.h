// The record of the clips that were converted, by which a card that is read again is known.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/fileFacts.h"

namespace tessarin {

// What a clip is known by, wherever a copy of it is: its size in bytes, all files together, and a
// checksum of the names of its files, of their first and last bytes and of samples between these.
// Two clips of one name and size that differ elsewhere only would count as one. Nothing can be
// learnt of the clip from it.
struct ClipMark {
  std::uint64_t bytes = 0;
  std::uint64_t sum = 0;
  bool operator==(const ClipMark&) const = default;
};

// A file of a clip, as it was before it was read.
struct ClipFile {
  std::string path;
  std::optional<FileState> state;  // nothing: it could not be looked at
};

// Of all files together; nothing where one of them is not there.
std::optional<std::uint64_t> bytesOfClip(const std::vector<std::string>& files);
// Reads 256 KiB of each file at the most; nothing where one of them cannot be read.
std::optional<ClipMark> markOfClip(const std::vector<std::string>& files);
// Nothing as well where one of them is another by now: a card may be used again, or changed for the
// next one, behind a conversion.
std::optional<ClipMark> markOfSameClip(const std::vector<ClipFile>& files);

// A text file with a line for each clip, the latest last, for all programs of the user: who writes
// it holds a lock beside it, and replaces it as a whole. Any thread.
class ConvertedRecord {
 public:
  // That many clips are kept, the latest ones.
  static constexpr std::size_t mostClips = 50000;

  explicit ConvertedRecord(std::string path) : path_(std::move(path)) {}
  // That of the user.
  static std::string userPath();

  enum class State { good, damaged, newer, unreadable };
  struct Content {
    State state = State::good;         // also where there is no such file
    std::vector<ClipMark> marks = {};  // of a damaged record those whose lines can be read
  };
  Content read() const;

  // Brings the mark in. What can be read of a damaged record goes on, and all of it stays as
  // PATH.damaged; one of a newer version, or that cannot be read at all, stays as it is, which is
  // a failure.
  Outcome<void> add(const ClipMark& mark) const;
  // Removes the file, whatever is in it.
  Outcome<void> clear() const;

 private:
  Outcome<void> keepDamaged() const;

  std::string path_;
};

}  // namespace tessarin
