#include "jobs/joinedParts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/Bundle.h"

namespace tessarin {

namespace {

bool isDv(const Source& source) {
  return source.pictures.codec == "dvvideo";
}

bool isJpeg(const Source& source) {
  const std::string_view container = firstContainer(source);
  return source.pictures.codec == "mjpeg" &&
         (container == "avi" || container == "mov" || container == "matroska");
}

bool hasClusters(const Source& source) {
  return firstContainer(source) == "matroska";
}

}  // namespace

bool mayHoldParts(const Source& source) {
  return firstContainer(source) == "mpegts";
}

Arguments jointList(const Source& source) {
  Arguments command = {Bundle::main().toolPath("joinclips"), "--list", "--"};
  const std::vector<std::string> files = partsOf(source);
  command.insert(command.end(), files.begin(), files.end());
  return command;
}

bool mayLackPictures(const Source& source) {
  return isDv(source) || isJpeg(source) || (hasClusters(source) && source.furtherParts.empty());
}

Arguments lossList(const Source& source) {
  Arguments command = {Bundle::main().toolPath("joinclips")};
  if (isDv(source))
    command.emplace_back("--dv");
  if (isJpeg(source))
    command.emplace_back("--jpeg");
  if (hasClusters(source))
    command.emplace_back("--clusters");
  command.emplace_back("--");
  const std::vector<std::string> files = partsOf(source);
  command.insert(command.end(), files.begin(), files.end());
  return command;
}

// "byte 963072: 5.000 s", and behind that ", left out", ", pictures missing for 1.200 s" or the
// like.
void PartList::addLine(std::string_view line) {
  hasBothSizes = hasBothSizes || startsWith(line, "packets of both sizes");
  hasMore = hasMore || startsWith(line, "a movie of another format");
  if (const auto count = textAfter(line, "streams: "); count && startsWith(line, "streams: "))
    streams = leadingInteger(*count);
  const auto text = textBetween(line, ": ", " s");
  if (!startsWith(line, "byte ") || !text)
    return;
  const double number = leadingNumber(*text);
  constexpr double longest = 1e7;
  if (contains(line, ", left out")) {
    hasMore = true;
    return;
  }
  if (const auto lost = textAfter(line, ", packets missing with ")) {
    isDoubtful = true;
    picturesLost += std::clamp(leadingNumber(*lost), 0.0, longest);
  }
  hasClockSteps = hasClockSteps || contains(line, ", clock steps");
  isTorn = isTorn || contains(line, ", torn");
  isDoubtful =
      isDoubtful || contains(line, ", pictures missing") || contains(line, ", wrong times");
  addsSound = addsSound || contains(line, ", sound begins");
  lacksSound = lacksSound || contains(line, ", sound missing");
  if (number >= 0 && number < longest)
    seconds.push_back(number);
}

PartList partList(std::string_view text) {
  PartList parts;
  for (const std::string_view line : splitLines(text))
    parts.addLine(line);
  return parts;
}

void takeParts(Source& source, const PartList& parts) {
  if (!parts.isToBeJoined() && (source.furtherParts.empty() || parts.seconds.empty()))
    return;
  const double all = std::accumulate(parts.seconds.begin(), parts.seconds.end(), 0.0);
  source.isJoined = true;
  if (all > 0) {
    source.seconds = all + std::max(0.0, source.pictures.begin.value_or(0));
    source.duration = std::max(1.0, std::floor(all));
  }
  // ffmpeg counts the streams of all recordings in a file; those of later ones take the places of
  // the first one's.
  if (!parts.streams)
    return;
  const auto isOfLater = [&](const Source::Stream& stream) { return stream.id >= *parts.streams; };
  std::erase_if(source.otherPictures, isOfLater);
  std::erase_if(source.otherSounds, isOfLater);
  std::erase_if(source.subtitles, isOfLater);
}

}  // namespace tessarin
