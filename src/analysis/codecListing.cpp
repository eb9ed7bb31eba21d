#include "analysis/codecListing.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdlib>
#include <optional>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/installedFfmpeg.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// A listing has some 40 KB; a file that is much larger is none.
constexpr std::size_t longestListing = 1u << 20;

std::string cachePath() {
  const char* folder = std::getenv("XDG_CACHE_HOME");
  const std::string parent =
      folder != nullptr && *folder == '/' ? std::string(folder) : expandTilde("~/.cache");
  return joinPath(parent, "Tessarin/codecs.txt");
}

// What tells one ffmpeg from another: where it is and its file's state. Nothing when there is none.
std::optional<std::string> identityOfFfmpeg() {
  const auto found = findFfmpeg(ffmpegSearchOfEnvironment(Bundle::main().toolPath("ffmpeg")));
  struct stat state {};
  if (!found || ::stat(found.value().c_str(), &state) != 0)
    return std::nullopt;
  return fmt::format("{} {} {} {}.{:09}", found.value(), state.st_ino, state.st_size,
                     state.st_mtim.tv_sec, state.st_mtim.tv_nsec);
}

std::string readListing() {
  const auto identity = identityOfFfmpeg();
  if (!identity || contains(*identity, "\n"))
    return {};
  const std::string path = cachePath();
  if (const auto cached = readFileStart(path, longestListing);
      cached && startsWith(*cached, *identity + "\n"))
    return cached->substr(identity->size() + 1);

  std::string listing =
      taskArray1PipeMax({Bundle::main().toolPath("ffmpeg"), "-codecs"}, true).value_or("");
  if (versionOfListing(listing).empty())
    return listing;
  mkdir(parentFolder(path));
  if (const auto written = writeFileAtomically(path, *identity + "\n" + listing); !written)
    debugFormat("codec listing       :-/ {}", written.reason());
  return listing;
}

}  // namespace

const std::string& codecListing() {
  static const std::string listing = readListing();
  return listing;
}

std::string versionOfListing(std::string_view listing) {
  const auto behind = textAfter(listing, "ffmpeg version ");
  if (!behind || !listing.starts_with("ffmpeg version "))
    return {};
  return std::string(textUpTo(textUpTo(*behind, "\n"), " "));
}

}  // namespace tessarin
