// The samples of one track of a movie, to which those of its further parts are added.
#pragma once

#include <cstdint>

#include "tools/joinclips/MovieTables.h"

namespace tessarin::joining {

// More samples than this no table can count.
inline constexpr std::uint64_t mostSamples = 0xFFFFFFFF;

class TrackJoiner {
 public:
  explicit TrackJoiner(JoinableTrack first);

  const JoinableTrack& track() const { return track_; }
  // Ticks of all samples.
  std::int64_t end() const { return end_; }

  // Has the next sample begin so many ticks later (below 0: earlier), with silence before it in
  // plain sound; false where it cannot.
  bool stretch(std::int64_t ticks);
  // Leaves out the samples that lie in the last so many ticks.
  void dropLast(std::int64_t ticks);
  // Those of the next part, which lie in this file of those that are joined.
  void add(JoinableTrack next, std::size_t file);

 private:
  bool addSilence(std::uint64_t samples);
  void dropSamples(std::uint64_t count);
  void addKeys(const JoinableTrack& next);

  JoinableTrack track_;
  std::int64_t end_ = 0;
};

}  // namespace tessarin::joining
