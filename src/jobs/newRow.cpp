#include "jobs/newRow.h"

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
double codedAspect(const Source::Pictures& pictures) {
  constexpr double narrow = 1.33;
  if (!pictures.shape.empty())
    return fractionStr2Float(pictures.shape);
  const auto width = static_cast<double>(pictures.width.value_or(0));
  const auto height = static_cast<double>(pictures.height.value_or(0));
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

double thumbnailAspect(const Source& source) {
  const double aspect = codedAspect(source.pictures);
  return isTurned(source) ? 1 / aspect : aspect;
}

int thumbnailHeight(const Source& source) {
  // 160 / (16 / 9) is 90, which single precision misses by a hair.
  const double exact = 160 / thumbnailAspect(source) + 0.001;
  return static_cast<int>(std::clamp(exact, 2.0, 1600.0));
}

std::string thumbnailSeekPoint(const Source& source) {
  const double seconds = source.duration.value_or(0);
  for (const int point : {120, 60, 10})
    if (seconds > point)
      return fmt::format("{}", point);
  return "0";
}

Arguments thumbnailCommand(const Source& source, const std::string& thumbnail, bool keyFramesOnly) {
  std::string filter = fmt::format("scale=160:{}", thumbnailHeight(source));
  if (keyFramesOnly)
    filter = "select=eq(pict_type\\,I)," + filter;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-ss",
                       thumbnailSeekPoint(source)};
  const auto append = [&command](const Arguments& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  append(inputOptions(source));
  append({"-i", source.path});
  append(mapOfVideo(source));
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

int shownRate(const Source& source) {
  return static_cast<int>(source.pictures.rate.value_or(0) + 0.5);
}

Row newRow(Source source, const Choice& choice) {
  const std::string name = fileName(resolveAlias(source.path));
  return newRow(std::move(source), choice, name);
}

Row newRow(Source source, const Choice& choice, const std::string& name) {
  Row row;
  row.source = std::move(source);
  const Source::Pictures& pictures = row.source.pictures;
  row.choice = choice;
  row.isProgressive = isSourceProgressive(row.source);
  const std::size_t further = row.source.furtherParts.size();
  row.caption =
      fmt::format("{}{}\n({}x){}{}{}\n{}", name, further > 0 ? fmt::format(" (+{})", further) : "",
                  pictures.width.value_or(0), pictures.height.value_or(0),
                  row.isProgressive ? "p" : "i", shownRate(row.source),
                  durationText(static_cast<std::int64_t>(row.source.duration.value_or(0))));
  return row;
}

}  // namespace tessarin
