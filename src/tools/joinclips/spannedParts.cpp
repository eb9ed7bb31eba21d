#include "tools/joinclips/spannedParts.h"

#include <algorithm>
#include <array>

namespace tessarin::joining {

namespace {

// Cameras cut at one of these, and leave a little room below it.
constexpr std::array<std::uint64_t, 2> largestFiles{std::uint64_t{1} << 31, std::uint64_t{1} << 32};
constexpr std::uint64_t roomLeft = 64U << 20;

// Of a group of pictures only the first may tell its time: eighteen last 0.6 s, and fifteen of 625
// lines as long. The clock of the stream comes far more often.
constexpr Time longestGroup = 3 * second / 4;
constexpr Time longestClockStep = second / 2;

// The clock of the camera tells whole seconds.
constexpr std::int64_t clockSlack = 2;

double secondsOf(Time time) {
  return static_cast<double>(time) / static_cast<double>(second);
}

// The time of the next one lies in the first, or at its end. Some cameras may give all parts the
// time of the recording.
bool agreesWithClock(const ClipFacts& first, const ClipFacts& next) {
  if (!first.recorded || !next.recorded)
    return true;
  const std::int64_t later = *next.recorded - *first.recorded;
  const double length = secondsOf(difference(first.end, first.firstShown));
  return later >= -clockSlack && static_cast<double>(later) <= length + clockSlack;
}

bool agreesWithStreamClock(const ClipFacts& first, const ClipFacts& next) {
  if (!first.clockEnd || !next.clockBegin)
    return true;
  const Time step = difference(*next.clockBegin, *first.clockEnd);
  return step > 0 && step < longestClockStep;
}

// A last part may be too short for a table of streams, and then has some that were listed before.
bool hasStreamsOf(const ClipFacts& first, const ClipFacts& next) {
  if (first.parameters.empty() || first.streams.empty())
    return false;
  if (!next.streams.empty())
    return first.streams == next.streams;
  return std::all_of(next.met.begin(), next.met.end(), [&first](int number) {
    return std::any_of(first.streams.begin(), first.streams.end(),
                       [number](const ListedStream& stream) { return stream.number == number; });
  });
}

bool haveSameStreams(const ClipFacts& first, const ClipFacts& next) {
  // Where no table lists them those are known that were met, of which a short part has not all.
  const bool areMet = first.clockEnd.has_value();
  const auto isKnown = [&first](const ListedStream& stream) {
    return std::find(first.streams.begin(), first.streams.end(), stream) != first.streams.end();
  };
  const bool areSame = areMet ? std::all_of(next.streams.begin(), next.streams.end(), isKnown)
                              : hasStreamsOf(first, next);
  return areSame &&
         std::all_of(next.parameters.begin(), next.parameters.end(), [&first](const auto& told) {
           const auto known = first.parameters.find(told.first);
           return known == first.parameters.end() || known->second == told.second;
         });
}

}  // namespace

bool mayGoOn(CardSays says, std::uint64_t bytesOfFirst) {
  if (says != CardSays::nothing)
    return says == CardSays::goesOn;
  return std::any_of(largestFiles.begin(), largestFiles.end(), [bytesOfFirst](std::uint64_t most) {
    return bytesOfFirst <= most && bytesOfFirst + roomLeft >= most;
  });
}

bool areAlike(const ClipFacts& first, const ClipFacts& next) {
  const bool isWhole = first.packetSize > 0 && first.bytes % first.packetSize == 0;
  return isWhole && first.packetSize == next.packetSize && haveSameStreams(first, next) &&
         agreesWithClock(first, next);
}

bool goesOn(const ClipFacts& first, const ClipFacts& next) {
  const Time step = difference(next.firstDecoded, first.lastDecoded);
  const Time most = first.clockEnd ? longestGroup : 2 * first.step;
  return areAlike(first, next) && step > 0 && step < most && agreesWithStreamClock(first, next);
}

bool beginsInside(const ClipFacts& first, const ClipFacts& next) {
  const Time since = difference(next.firstDecoded, first.firstDecoded);
  return areAlike(first, next) && since > 0 &&
         difference(next.firstDecoded, first.lastDecoded) <= 0;
}

std::vector<double> lengthsOf(const std::vector<ClipFacts>& parts) {
  std::vector<double> lengths;
  if (parts.empty())
    return lengths;
  double begin = 0;
  for (std::size_t part = 1; part < parts.size(); ++part) {
    begin += secondsOf(difference(parts[part].firstDecoded, parts[part - 1].firstDecoded));
    lengths.push_back(begin);
  }
  // When a picture is decoded and shown are times of one clock, and lie apart by the same at both
  // ends; of a last part of a picture or two not even that is told.
  const ClipFacts& last = parts.back();
  const Time lead = difference(parts.front().firstShown, parts.front().firstDecoded);
  const Time length = difference(last.end, last.firstDecoded) - lead;
  lengths.push_back(begin + secondsOf(std::max(length, last.step)));
  return lengths;
}

}  // namespace tessarin::joining
