#include "tools/joinclips/dvFacts.h"

#include "movie/timeCode.h"
#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/dvFrame.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin::joining {

namespace {

Outcome<DvFrameFacts> factsOfFrame(std::string_view bytes) {
  const StreamFacts told = factsInDv(bytes);
  if (!told.time || told.timeCode.empty())
    return Failure{"tells no time"};
  return DvFrameFacts{told.time->seconds(), told.timeCode, dv::startsRecording(bytes)};
}

}  // namespace

double DvFacts::seconds() const {
  return static_cast<double>(frames) * (is625 ? 0.04 : 1001.0 / 30000);
}

Outcome<DvFacts> dvFacts(const std::string& path) {
  constexpr std::size_t longest = 12 * dv::sequenceLength;
  BoundedFile file(path);
  const std::string start = file.read(0, longest);
  if (start.size() < 4 || !start.starts_with("\x1F\x07") || start[2] != 0)
    return Failure{"is no DV"};
  DvFacts facts;
  facts.is625 = dv::has625Lines(start);
  const std::size_t length = dv::frameLength(start);
  facts.frames = file.size() / length;
  if (facts.frames == 0 || file.size() % length != 0)
    return Failure{"is not of whole frames"};
  const std::string_view frame = std::string_view(start).substr(0, length);
  TESSARIN_TAKE(facts.first, factsOfFrame(frame));
  const std::string last = file.read(file.size() - length, length);
  TESSARIN_TAKE(facts.last, factsOfFrame(last));
  facts.soundKind = dv::soundKind(frame);
  return facts;
}

bool goesOn(const DvFacts& first, const DvFacts& next) {
  const double rate = first.is625 ? 25 : 30000.0 / 1001;
  const auto last = timeCode(first.last.timeCode, rate);
  const auto code = timeCode(next.first.timeCode, rate);
  const std::int64_t later = next.first.recorded - first.last.recorded;
  return first.is625 == next.is625 && first.soundKind == next.soundKind && last && code &&
         laterTimeCode(*last, 1) == *code && later >= 0 && later <= 1 &&
         !next.first.beginsRecording;
}

}  // namespace tessarin::joining
