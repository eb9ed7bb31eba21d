// gettimestamps FOLDER: prints when the clips of a camcorder's card were recorded, one
// "NAME : TIME" a line, such as "00001 : 2010-12-24 14.05.33". What cannot be read is said on
// standard error.
//
// Exit status: 0, also of --help, 1 when the folder is missing or gives no time at all, 2 for wrong
// use.
#include <cstdio>
#include <string_view>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/card.h"

namespace {

constexpr const char* usage =
    "usage: gettimestamps FOLDER (a card, its PLAYLIST folder, or MOD or TOD files)";

void complain(const std::string& text) {
  std::fprintf(stderr, "gettimestamps: %s\n", text.c_str());
}

}  // namespace

int main(int count, char** values) {
  using namespace tessarin;
  const std::string_view folder = count == 2 ? values[1] : "";
  if (folder == "--help" || folder == "-h") {
    std::puts(usage);
    return 0;
  }
  // A folder whose name begins with a dash is named with the one that it is in.
  if (count != 2 || startsWith(folder, "-")) {
    complain(usage);
    return 2;
  }
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
