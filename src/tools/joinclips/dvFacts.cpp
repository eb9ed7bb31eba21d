#include "tools/joinclips/dvFacts.h"

#include "movie/timeCode.h"
#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin::joining {

namespace {

constexpr std::size_t dvBlock = 80;
constexpr std::size_t dvSequence = 150 * dvBlock;

// Calls `visit` for the packs in the blocks of sound, one each.
template <class Visit>
void forEachSoundPack(std::string_view frame, const Visit& visit) {
  for (std::size_t start = 0; start + dvSequence <= frame.size(); start += dvSequence)
    for (std::size_t block = 6; block < 150; block += 16)
      visit(frame.substr(start + block * dvBlock + 3, 5));
}

Outcome<DvFrameFacts> factsOfFrame(std::string_view bytes) {
  const StreamFacts told = factsInDv(bytes);
  if (!told.time || told.timeCode.empty())
    return Failure{"tells no time"};
  DvFrameFacts facts{told.time->seconds(), told.timeCode, false};
  forEachSoundPack(bytes, [&facts](std::string_view pack) {
    constexpr char control = 0x51;
    constexpr char isNoStart = '\x80';
    if (pack[0] == control && (pack[2] & isNoStart) == 0)
      facts.beginsRecording = true;
  });
  return facts;
}

}  // namespace

double DvFacts::seconds() const {
  return static_cast<double>(frames) * (is625 ? 0.04 : 1001.0 / 30000);
}

Outcome<DvFacts> dvFacts(const std::string& path) {
  constexpr std::size_t longest = 12 * dvSequence;
  BoundedFile file(path);
  const std::string start = file.read(0, longest);
  if (start.size() < 4 || !start.starts_with("\x1F\x07") || start[2] != 0)
    return Failure{"is no DV"};
  DvFacts facts;
  facts.is625 = (start[3] & 0x80) != 0;
  const std::size_t length = (facts.is625 ? 12 : 10) * dvSequence;
  facts.frames = file.size() / length;
  if (facts.frames == 0 || file.size() % length != 0)
    return Failure{"is not of whole frames"};
  TESSARIN_TAKE(facts.first, factsOfFrame(std::string_view(start).substr(0, length)));
  const std::string last = file.read(file.size() - length, length);
  TESSARIN_TAKE(facts.last, factsOfFrame(last));
  forEachSoundPack(std::string_view(start).substr(0, length), [&facts](std::string_view pack) {
    constexpr char source = 0x50;
    if (pack[0] == source && facts.soundKind < 0)
      facts.soundKind = pack[4] & 0x3F;
  });
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
