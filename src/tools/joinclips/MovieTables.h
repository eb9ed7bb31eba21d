// The index of a QuickTime or MPEG-4 movie, read whole so that it can be put behind others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "movie/atomTree.h"

namespace tessarin::joining {

// So many samples behind each other have this value.
struct SampleRun {
  std::uint32_t count = 0;
  std::uint32_t value = 0;

  bool operator==(const SampleRun&) const = default;
};
// Puts a run behind the others, into the last one where that has the same value.
void addRun(std::vector<SampleRun>& runs, std::uint64_t count, std::uint32_t value);

// Samples that stand together.
struct SampleChunk {
  std::size_t file = 0;  // of those that are joined
  std::uint64_t position = 0;
  std::uint32_t samples = 0;
  std::uint32_t description = 1;  // which of the track's they have
};

struct SampleTables {
  std::vector<SampleRun> steps;    // ticks from one sample to the next
  std::vector<SampleRun> offsets;  // signed, from its decoding to its showing
  // Bytes of each, as the table has them; 0: each has its own.
  std::uint32_t sameSize = 0;
  std::vector<std::uint32_t> sizes;
  // Pictures that can be shown by themselves, counted from 1; nothing: all of them. Sound has none.
  std::optional<std::vector<std::uint32_t>> keys;
  std::vector<SampleChunk> chunks;
};

struct JoinableTrack {
  std::string kind;           // "vide", "soun"; others have no tables here
  std::string description;    // of the samples, as it stands
  std::uint32_t scale = 0;    // ticks a second
  std::uint32_t rawSize = 0;  // bytes of a sample of plain sound, 0 of others
  bool isSigned = true;       // plain sound whose silence is 0
  std::uint64_t samples = 0;
  std::uint64_t ticks = 0;      // of all samples
  std::uint32_t lastStep = 0;   // of the last one
  std::uint32_t usualStep = 0;  // of most of them
  std::int64_t firstShown = 0;
  std::int64_t lastShown = 0;  // when the showing of it begins
  double emptyStart = 0;       // seconds before the first edit
  std::int64_t editBegin = 0;  // the tick that is shown first,
  std::int64_t editEnd = 0;    // and the one behind the last
  SampleTables tables;

  bool isJoined() const { return kind == "vide" || kind == "soun"; }
};

// A track that numbers the pictures, from the clock of the camera or from its tape's.
struct PictureCount {
  std::uint32_t first = 0;
  double perSecond = 0;
};

struct MovieTables {
  std::uint64_t bytes = 0;       // of the file
  std::string fileType;          // the atom before the index; "": none
  std::vector<OwnedAtom> index;  // what the index consists of
  std::uint32_t scale = 0;       // ticks a second of its edits
  std::uint64_t created = 0;     // seconds, by the camera's clock; 0: unset
  std::vector<JoinableTrack> tracks;
  std::optional<PictureCount> count;

  // The track with most pictures; null without any.
  const JoinableTrack* pictures() const;
  double seconds() const;
  // What its tables take in memory while they are joined, in words of 32 bits: there each sample
  // has its own size, so that a small file can stand for a lot.
  std::uint64_t joinedWords() const;
  // What an analysis of many needs not: the tables of the samples.
  void forgetSamples();
};

// Nothing in the file is believed. Fails for what cannot be put behind another movie as it is, too:
// an index in pieces, edits that are more than a beginning and an end, samples that the file has
// not, or that lie on each other.
Outcome<MovieTables> readMovieTables(const std::string& path);

}  // namespace tessarin::joining
