#include "core/newRow.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

#include "analysis/usedStreams.h"
#include "encoding/arithmetic.h"
#include "encoding/outputPreset.h"
#include "platform/Bundle.h"
#include "utils/files.h"
#include "utils/numbers.h"
#include "utils/text.h"
#include "utils/times.h"

namespace tessarin {

namespace {

constexpr double wideAspect = 1.77;

// A thumbnail's name is cut to this many characters; with a random number and an extension it
// stays below the 255 bytes of a file name even when each character takes four bytes.
constexpr int longestThumbnailName = 40;

// Of the pictures as they are coded.
double codedAspect(const SourceInfo& info) {
  constexpr double narrow = 1.33;
  if (const auto dar = info.text(SourceKey::v0Dar))
    return fractionStr2Float(*dar);
  const double width = info.number(SourceKey::v0Width).value_or(0);
  const double height = info.number(SourceKey::v0Height).value_or(0);
  if (width <= 0 || height <= 0)
    return wideAspect;
  const double aspect = nbArrondi(width / height, 2);
  if (aspect >= 1.7 && aspect < 1.8)
    return wideAspect;
  if (aspect >= 1.3 && aspect < 1.4)
    return narrow;
  return aspect;
}

}  // namespace

double thumbnailAspect(const SourceInfo& info) {
  const double aspect = codedAspect(info);
  return isTurned(info) ? 1 / aspect : aspect;
}

int thumbnailHeight(const SourceInfo& info) {
  // 160 / (16 / 9) is 90, which single precision misses by a hair.
  const double exact = 160 / thumbnailAspect(info) + 0.001;
  return static_cast<int>(std::clamp(exact, 2.0, 1600.0));
}

std::string thumbnailSeekPoint(const SourceInfo& info) {
  const double seconds = info.number(SourceKey::wDuration).value_or(0);
  for (const int point : {120, 60, 10})
    if (seconds > point)
      return fmt::format("{}", point);
  return "0";
}

Arguments thumbnailCommand(const SourceInfo& info, const std::string& source,
                           const std::string& thumbnail, bool keyFramesOnly) {
  std::string filter = fmt::format("scale=160:{}", thumbnailHeight(info));
  if (keyFramesOnly)
    filter = "select=eq(pict_type\\,I)," + filter;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-ss",
                       thumbnailSeekPoint(info)};
  const auto append = [&command](const Arguments& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  append(inputOptions(info));
  append({"-i", source});
  append(mapOfVideo(info));
  append({"-vframes", "1", "-t", "12", "-vf", filter, "-an", "-sn", "-y", thumbnail});
  return command;
}

std::string thumbnailPath(const std::string& folder, const std::string& source, int lane) {
  std::string name = withoutExtension(trimPathStr(fileName(source), longestThumbnailName));
  // ffmpeg would take a percent sign in the name of a picture for a counter.
  name = replaceAll(name, "%", "_");
  std::string plain = joinPath(folder, name + ".jpg");
  if (lane == 0 && !name.empty() && !pathExists(plain))
    return plain;
  std::random_device random;
  return fmt::format("{}_{}.jpg", withoutExtension(plain), random());
}

int shownRate(const SourceInfo& info) {
  return static_cast<int>(info.number(SourceKey::v0Fps).value_or(0) + 0.5);
}

Row newRow(SourceInfo info, const Choice& choice) {
  Row row;
  row.source = std::move(info);
  row.choice = choice;
  row.isProgressive = isSourceProgressive(row.source);
  row.caption = fmt::format("{}\n({}x){}{}{}\n{}", fileName(resolveAlias(row.path())),
                            row.source.integer(SourceKey::v0Width).value_or(0),
                            row.source.integer(SourceKey::v0Height).value_or(0),
                            row.isProgressive ? "p" : "i", shownRate(row.source),
                            durationText(row.source.integer(SourceKey::wDuration).value_or(0)));
  return row;
}

}  // namespace tessarin
