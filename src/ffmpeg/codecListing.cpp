#include "ffmpeg/codecListing.h"

#include <fmt/format.h>

#include <optional>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/installedFfmpeg.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// A listing has some 40 KB; a file that is much larger is none.
constexpr std::size_t longestListing = 1u << 20;

std::string cachePath() {
  return joinPath(userFolder(UserFolder::cache), "codecs.txt");
}

// What tells one ffmpeg from another: where it is and its file's state. Nothing when there is none.
std::optional<std::string> identityOfFfmpeg() {
  const auto found = findFfmpeg(ffmpegSearchOfEnvironment(Bundle::main().toolPath("ffmpeg")));
  const auto state = found ? fileState(found.value()) : std::nullopt;
  if (!state)
    return std::nullopt;
  constexpr std::int64_t second = 1'000'000'000;
  return fmt::format("{} {} {} {}.{:09}", found.value(), state->inode, state->size,
                     state->changedNanoseconds / second, state->changedNanoseconds % second);
}

std::string& knownListing() {
  static std::string listing;
  return listing;
}

// Of the ffmpeg whose listing was looked for: the one that is asked next.
std::optional<std::string>& lookedForIdentity() {
  static std::optional<std::string> identity;
  return identity;
}

}  // namespace

const std::string& codecListing() {
  return knownListing();
}

bool recallCodecListing() {
  if (!knownListing().empty())
    return true;
  auto& identity = lookedForIdentity();
  identity = identityOfFfmpeg();
  if (!identity || contains(*identity, "\n"))
    return false;
  const auto kept = readFileStart(cachePath(), longestListing);
  if (kept && startsWith(*kept, *identity + "\n"))
    knownListing() = kept->substr(identity->size() + 1);
  return !knownListing().empty();
}

Arguments codecListingCommand() {
  return {Bundle::main().toolPath("ffmpeg"), "-codecs"};
}

bool takeCodecListing(const std::string& answer) {
  // A banner alone is what is left of one that failed behind it.
  if (versionOfListing(answer).empty() || !contains(answer, "Codecs:\n") ||
      answer.size() > longestListing)
    return false;
  knownListing() = answer;
  const auto& identity = lookedForIdentity();
  if (!identity || contains(*identity, "\n"))
    return true;
  const std::string path = cachePath();
  mkdir(parentFolder(path));
  if (const auto written = writeFileAtomically(path, *identity + "\n" + answer); !written)
    debugFormat("codec listing       :-/ {}", written.reason());
  return true;
}

std::string versionOfListing(std::string_view listing) {
  constexpr std::string_view mark = "ffmpeg version ";
  for (const std::string_view line : splitLines(listing))
    if (startsWith(line, mark))
      return std::string(textUpTo(line.substr(mark.size()), " "));
  return {};
}

}  // namespace tessarin
