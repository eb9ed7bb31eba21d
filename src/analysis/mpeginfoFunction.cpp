// What an MPEG file says in its own headers.
#include <fmt/format.h>

#include "analysis/Fields.h"
#include "analysis/mpegInfo.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

bool wantsDetails() {
  return debugMode() || verboseLevel(1);
}

void logTime(std::string_view label, const MpegTimeCode& time) {
  if (wantsDetails())
    logFormat("{:<20}: {:02}:{:02}:{:02}.{:02}\n", label, time.hours, time.minutes, time.seconds,
              time.pictures);
}

int wholeSeconds(const MpegTimeCode& time) {
  return time.hours * 3600 + time.minutes * 60 + time.seconds;
}

// In single precision; nothing where it is not known.
std::optional<double> known(double value) {
  return value > 0 ? std::optional<double>(static_cast<float>(value)) : std::nullopt;
}

std::optional<std::int64_t> knownCount(std::int64_t value) {
  return value > 0 ? std::optional(value) : std::nullopt;
}

void addTimes(const mpegInfo& reader, Source& source) {
  logTime("Begin Time", reader.begin());
  logTime("End Time", reader.end());
  logTime("Duration", reader.duration());
  double duration = wholeSeconds(reader.duration());
  if (reader.frameRate() > 0)
    duration += reader.duration().pictures / reader.frameRate();
  if (wantsDetails())
    logFormat("w_duration          : {:.3f}\n", duration);
  source.duration = known(duration);
  // The pictures are added as if they were seconds: it has always been so.
  source.start = wholeSeconds(reader.begin()) + reader.begin().pictures;
}

const char* chromaName(int chromaFormat) {
  switch (chromaFormat) {
    case 1:
      return "yuv420p";
    case 2:
      return "yuv422p";
    case 3:
      return "yuv444p";
    default:
      return nullptr;
  }
}

}  // namespace

std::optional<Source> mpeginfoFunction::mpegInfoDico(const std::string& path) {
  tessarin::mpegInfo reader;
  if (const auto error = reader.readInformations(path)) {
    logFormat("Erreur              : {}", *error);
    return std::nullopt;
  }
  Source source;
  if (reader.isMuxed()) {
    source.container = "mpeg";
  } else {
    source.container = reader.isMPeg2() ? "mpeg2video" : "mpeg1video";
    addTimes(reader, source);
  }
  source.pictures.width = knownCount(reader.horizontalSize());
  source.pictures.height = knownCount(reader.verticalSize());
  source.pictures.bitRate = knownCount(reader.bitRate() / 1000);
  source.pictures.rate = known(reader.frameRate());
  source.pictures.shape = reader.isWideScreen() ? "16:9" : "4:3";
  source.pictures.fields = reader.isProgressive() ? Fields::progressive : Fields::interlaced;
  if (const char* chroma = chromaName(reader.chromaFormat()); reader.isMPeg2() && chroma != nullptr)
    source.pictures.format = chroma;
  logLine("mpegInfo            - end\n\n");
  return source;
}

}  // namespace tessarin
