#include "tools/joinclips/soundFiles.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/p2Card.h"

namespace tessarin::joining {

void tellSoundFiles(const std::vector<std::string>& files) {
  for (std::size_t file = 0; file < files.size(); ++file) {
    const P2Sounds sounds = p2SoundsOf(files[file]);
    for (const std::string& sound : sounds.files)
      fmt::print("sounds {} {}/{}\n", file, fileName(parentFolder(sound)), fileName(sound));
    for (std::size_t missing = 0; missing < sounds.missing; ++missing)
      fmt::print("sounds {} missing\n", file);
    if (sounds.isByName && !sounds.files.empty())
      fmt::print("sounds {} by name\n", file);
  }
}

}  // namespace tessarin::joining
