#include "tools/joinclips/movieJoint.h"

#include <algorithm>
#include <cmath>

#include "tools/joinclips/TrackJoiner.h"
#include "tools/joinclips/joinedIndex.h"

namespace tessarin::joining {

namespace {

// What encoders count at the end stands beside what decoders need: it is not the same in all parts.
std::string withoutRates(std::string description) {
  const auto blank = [&description](std::size_t place, std::size_t count) {
    for (std::size_t end = std::min(place + count, description.size()); place < end; ++place)
      description[place] = 0;
  };
  for (std::size_t at = description.find("btrt"); at != std::string::npos;
       at = description.find("btrt", at + 1))
    blank(at + 4, 12);
  for (std::size_t at = description.find("esds"); at != std::string::npos;
       at = description.find("esds", at + 1)) {
    // The head of a descriptor: its kind, and its length in up to four bytes.
    std::size_t place = at + 8;
    const auto passHead = [&](char kind) {
      if (place >= description.size() || description[place] != kind)
        return false;
      ++place;
      while (place < description.size() && (description[place] & 0x80) != 0)
        ++place;
      ++place;
      return true;
    };
    constexpr char stream = 3;
    constexpr char decoder = 4;
    if (!passHead(stream))
      continue;
    place += 3;
    if (passHead(decoder))
      blank(place + 2, 11);
  }
  return description;
}

std::vector<const JoinableTrack*> joinedTracks(const MovieTables& movie) {
  std::vector<const JoinableTrack*> tracks;
  for (const JoinableTrack& track : movie.tracks)
    if (track.isJoined())
      tracks.push_back(&track);
  return tracks;
}

// ---- Where parts begin

double secondsOf(std::int64_t ticks, const JoinableTrack& track) {
  return static_cast<double>(ticks) / track.scale;
}

// Seconds; no more than a tenth, whatever the file says.
double usualStepOf(const JoinableTrack& track) {
  constexpr double longest = 0.1;
  return std::min(secondsOf(track.usualStep, track), longest);
}

// The time in the joined movie at which the first picture of the part is shown, less its time in
// the part itself.
double beginOfPart(const JoinableTrack& first, std::int64_t begin, const JoinableTrack& pictures) {
  const double shown =
      first.emptyStart + secondsOf(begin + pictures.firstShown - first.editBegin, first);
  return shown - pictures.emptyStart -
         secondsOf(pictures.firstShown - pictures.editBegin, pictures);
}

// Lets the track go on with that of the next part, which begins at this time.
bool putBehind(TrackJoiner& joiner, const JoinableTrack& first, JoinableTrack next, double begin,
               double slack, std::size_t file) {
  if (next.samples == 0)
    return true;
  const double shown = begin + next.emptyStart - first.emptyStart;
  const auto due = first.editBegin - next.editBegin +
                   static_cast<std::int64_t>(std::llround(shown * first.scale));
  std::int64_t late = joiner.end() - due;
  const double packet = usualStepOf(next);
  if (std::abs(secondsOf(late, first)) > std::max(slack, packet)) {
    if (late > 0)
      joiner.dropLast(late);
    late = joiner.end() - due;
    constexpr double longestPause = 600;
    if (late < 0 && (secondsOf(-late, first) > longestPause || !joiner.stretch(-late)))
      return false;
  }
  joiner.add(std::move(next), file);
  return true;
}

}  // namespace

bool mayFollow(const MovieTables& first, const MovieTables& next) {
  const JoinableTrack* before = first.pictures();
  const JoinableTrack* behind = next.pictures();
  if (before == nullptr || behind == nullptr)
    return false;
  const auto tracks = joinedTracks(first);
  const auto others = joinedTracks(next);
  const bool areAlike =
      std::equal(tracks.begin(), tracks.end(), others.begin(), others.end(),
                 [](const JoinableTrack* one, const JoinableTrack* other) {
                   return one->kind == other->kind && one->scale == other->scale &&
                          one->rawSize == other->rawSize &&
                          withoutRates(one->description) == withoutRates(other->description);
                 });
  const auto placeOf = [](const auto& list, const JoinableTrack* track) {
    return std::find(list.begin(), list.end(), track) - list.begin();
  };
  if (!areAlike || placeOf(tracks, before) != placeOf(others, behind))
    return false;
  // A tick of the movie is the least that an edit can tell.
  const auto tick = static_cast<std::int64_t>(before->scale / std::max(first.scale, 1U)) + 1;
  const std::int64_t step = before->lastStep + before->firstShown - behind->firstShown;
  return behind->editBegin <= behind->firstShown && before->editEnd + tick > before->lastShown &&
         step >= 1;
}

Outcome<JoinedMovie> joinedMovie(std::vector<MovieTables> movies) {
  for (std::size_t file = 1; file < movies.size(); ++file)
    if (!mayFollow(movies[file - 1], movies[file]))
      return Failure{"they are not parts of one recording"};
  if (movies.empty())
    return Failure{"there are none"};
  std::vector<TrackJoiner> joiners;
  std::size_t main = 0;
  for (const JoinableTrack& track : movies.front().tracks)
    if (track.isJoined()) {
      if (&track == movies.front().pictures())
        main = joiners.size();
      joiners.emplace_back(track);
    }
  for (JoinableTrack& track : movies.front().tracks)
    track.tables = {};
  const std::vector<const JoinableTrack*> first = joinedTracks(movies.front());
  std::int64_t shownBefore = first[main]->firstShown;
  for (std::size_t file = 1; file < movies.size(); ++file) {
    MovieTables& movie = movies[file];
    const JoinableTrack& pictures = *movie.pictures();
    const double picture = usualStepOf(pictures);
    if (!joiners[main].stretch(shownBefore - pictures.firstShown))
      return Failure{"their pictures do not meet"};
    shownBefore = pictures.firstShown;
    const double begin = beginOfPart(*first[main], joiners[main].end(), pictures);
    std::size_t number = 0;
    for (JoinableTrack& track : movie.tracks) {
      if (!track.isJoined())
        continue;
      TrackJoiner& joiner = joiners[number];
      if (number == main)
        joiner.add(std::move(track), file);
      else if (!putBehind(joiner, *first[number], std::move(track), begin, picture, file))
        return Failure{"their sounds do not meet"};
      ++number;
    }
    movie = {};
    for (const TrackJoiner& joiner : joiners)
      if (joiner.track().samples > mostSamples)
        return Failure{"they are too long together"};
  }
  return withJoinedTables(movies.front(), joiners);
}

}  // namespace tessarin::joining
