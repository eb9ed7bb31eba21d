// gettimestamps FOLDER: prints when the clips of a camcorder's card were recorded, one
// "NAME : TIME" a line, such as "00001 : 2010-12-24 14.05.33". What cannot be read is said on
// standard error.
// gettimestamps --file CLIP: prints when this clip was recorded, by all that may know, as one line
// "ORIGIN : TIME", such as "stream : 2010-12-24 14.05.33"; "card : " without a time when the clip
// lies on a card that does not tell. Behind it, as far as they are known, lines of the same form
// say the "zone" of that time ("+0100"; "-0000" of a header's, of which nobody knows), the
// "timecode" of the first picture, the "make" and "model" of the camera, the "place" (ISO 6709) and
// the "title" that the user gave the clip.
//
// Exit status: 0, also of --help, 1 when the folder or file is missing or gives no time at all, 2
// for wrong use, 3 when the clip could not be read everywhere, so that it may know more.
#include <cstdio>
#include <string_view>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/source.h"

namespace {

using namespace tessarin;

constexpr const char* usage =
    "usage: gettimestamps FOLDER (a card, its PLAYLIST folder, or MOD or TOD files), or "
    "gettimestamps --file CLIP";

void complain(const std::string& text) {
  std::fprintf(stderr, "gettimestamps: %s\n", text.c_str());
}

int tellFolder(std::string_view folder) {
  const Outcome<ClipTimes> times = clipTimes(folder);
  if (!times) {
    complain(times.reason());
    return 1;
  }
  for (const std::string& problem : times.value().problems)
    complain(problem);
  for (const ClipTime& clip : times.value().clips)
    std::printf("%s : %s\n", clip.name.c_str(), clip.time.text().c_str());
  return times.value().clips.empty() ? 1 : 0;
}

// In one line, whatever the clip says.
void tell(const char* word, std::string_view text) {
  const std::string_view line = trimmed(textUpTo(text, std::string_view("\0", 1)));
  if (!line.empty() && line.find_first_of("\r\n") == std::string_view::npos)
    std::printf("%s : %.*s\n", word, static_cast<int>(line.size()), line.data());
}

int tellFile(const std::string& path) {
  const KnownFacts facts = factsOfSource(path);
  const bool hasTime = facts.time && facts.time->time;
  if (facts.time)
    std::printf("%s : %s\n", facts.time->origin.c_str(),
                hasTime ? facts.time->time->text().c_str() : "");
  else if (!facts.isUnread)
    complain(path + ": no recording time");
  tell("zone", hasTime ? facts.time->time->zoneText() : "");
  tell("timecode", facts.timeCode);
  tell("make", facts.make);
  tell("model", facts.model);
  tell("place", facts.place);
  tell("title", facts.title);
  if (facts.isUnread) {
    complain(path + ": it cannot be read everywhere");
    return 3;
  }
  return hasTime ? 0 : 1;
}

}  // namespace

int main(int count, char** values) {
  const std::string_view first = count > 1 ? values[1] : "";
  if (count == 2 && (first == "--help" || first == "-h")) {
    std::puts(usage);
    return 0;
  }
  if (count == 3 && first == "--file")
    return tellFile(values[2]);
  // A folder whose name begins with a dash is named with the one that it is in.
  if (count != 2 || startsWith(first, "-")) {
    complain(usage);
    return 2;
  }
  return tellFolder(first);
}
