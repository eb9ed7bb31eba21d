// A whole card, or a folder of clips with the files that cameras put beside them: an input is files
// one after another, each a byte for its place and name, two for its length, and its content.
#include <array>

#include "Input.h"
#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/p2Card.h"
#include "tools/gettimestamps/source.h"
#include "tools/joinclips/TapeBorders.h"
#include "tools/joinclips/clipFacts.h"
#include "tools/joinclips/dvFacts.h"
#include "tools/joinclips/programFacts.h"

using namespace tessarin;

namespace {

// Cases differ, as on cards; the same clip in several places, so that one speaks of the other.
constexpr std::array places = {"PRIVATE/AVCHD/BDMV/PLAYLIST/00000.MPL",
                               "PRIVATE/AVCHD/BDMV/PLAYLIST/00001.mpls",
                               "PRIVATE/AVCHD/BDMV/STREAM/00000.MTS",
                               "PRIVATE/AVCHD/BDMV/STREAM/00001.m2ts",
                               "PRIVATE/AVCHD/BDMV/STREAM/00002.MTS",
                               "MOV001.MOI",
                               "mov001.mod",
                               "MOV002.TOD",
                               "MOV002.moi",
                               "C0001M01.XML",
                               "C0001.MXF",
                               "C0002.MP4",
                               "CONTENTS/VIDEO/0001AB.MXF",
                               "CONTENTS/Audio/0001ab00.mxf",
                               "CONTENTS/AUDIO/0001AB01.MXF",
                               "CONTENTS/CLIP/0001AB.XML"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFolder card;
  const std::string& root = card.path();
  fuzz::Pieces input(fuzz::textOf(data, size));
  std::vector<std::string> made;
  while (!input.empty() && made.size() < 2 * places.size()) {
    const char* place = places.at(input.number(places.size() - 1));
    made.push_back(card.add(place, input.bytes(input.number(0xFFFF))));
  }
  for (const char* folder : {"", "/PRIVATE/AVCHD/BDMV/STREAM/", "/PRIVATE/AVCHD/BDMV/PLAYLIST"}) {
    const auto times = clipTimes(root + folder);
    if (!times) {
      fuzz::require(!times.reason().empty());
      continue;
    }
    for (const ClipTime& clip : times->clips)
      fuzz::require(!clip.name.empty() && clip.time.isValid());
  }
  for (const auto& [clip, before] : continuationsOnCard(root + "/PRIVATE/AVCHD/BDMV/STREAM"))
    fuzz::require(!clip.empty());
  for (const std::string& path : made) {
    for (const auto read : {joining::clipFacts, joining::programFacts})
      if (const auto facts = read(path))
        fuzz::require(facts->packetSize > 0 && !(facts->streams.empty() && facts->met.empty()));
    if (const auto facts = joining::dvFacts(path))
      fuzz::require(facts->frames > 0 && !facts->last.timeCode.empty());
    if (const auto tape = joining::readTape(path))
      fuzz::require(tape->beginOf(0) == 0 &&
                    tape->endOf(tape->recordings.size() - 1) == tape->bytes);
  }
  const std::string pictures = root + "/CONTENTS/VIDEO/0001AB.MXF";
  if (const auto clip = p2ClipOf(pictures))
    fuzz::require(equalIgnoringCase(clip->name, "0001AB"));
  for (const std::string& sound : p2SoundsOf(pictures).files)
    fuzz::require(startsWith(lowerCase(sound), lowerCase(root + "/CONTENTS/AUDIO/0001AB0")));
  for (const std::string& path : made)
    if (const auto found = factsOfSource(path).time)
      fuzz::require(!found->origin.empty() && (!found->time || found->time->isValid()));
  return 0;
}
