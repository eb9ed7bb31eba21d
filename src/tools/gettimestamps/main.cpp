// gettimestamps FOLDER: prints when the clips of a camcorder's card were recorded, one
// "NAME : TIME" a line, such as "00001 : 2010-12-24 14.05.33". What cannot be read is said on
// standard error.
//
// Exit status: 0, 1 when the folder is missing or gives no time at all, 2 for wrong use.
#include <cstdio>

#include "tools/gettimestamps/card.h"

namespace {

void complain(const std::string& text) {
  std::fprintf(stderr, "gettimestamps: %s\n", text.c_str());
}

}  // namespace

int main(int count, char** values) {
  using namespace tessarin;
  if (count != 2) {
    complain("usage: gettimestamps FOLDER (a card, its PLAYLIST folder, or MOD or TOD files)");
    return 2;
  }
  const Outcome<ClipTimes> times = clipTimes(values[1]);
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
