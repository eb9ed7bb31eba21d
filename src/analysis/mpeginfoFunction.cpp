// The record of an MPEG file from its own headers.
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

// A record holds single precision, and nothing where a value is not known.
void setNumber(SourceInfo& record, std::string_view key, double value) {
  if (value > 0)
    record.set(key, static_cast<double>(static_cast<float>(value)));
}

void setPositive(SourceInfo& record, std::string_view key, std::int64_t value) {
  if (value > 0)
    record.set(key, value);
}

void addTimes(const mpegInfo& reader, SourceInfo& record) {
  logTime("Begin Time", reader.begin());
  logTime("End Time", reader.end());
  logTime("Duration", reader.duration());
  double duration = wholeSeconds(reader.duration());
  if (reader.frameRate() > 0)
    duration += reader.duration().pictures / reader.frameRate();
  if (wantsDetails())
    logFormat("w_duration          : {:.3f}\n", duration);
  setNumber(record, SourceKey::wDuration, duration);
  // The pictures are added as if they were seconds: the records have always been so.
  record.set(SourceKey::wOffset,
             static_cast<double>(wholeSeconds(reader.begin()) + reader.begin().pictures));
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

std::optional<SourceInfo> mpeginfoFunction::mpegInfoDico(const std::string& path) {
  tessarin::mpegInfo reader;
  if (const auto error = reader.readInformations(path)) {
    logFormat("Erreur              : {}", *error);
    return std::nullopt;
  }
  SourceInfo record;
  if (reader.isMuxed()) {
    record.set(SourceKey::wrapper, "mpeg");
  } else {
    record.set(SourceKey::wrapper, reader.isMPeg2() ? "mpeg2video" : "mpeg1video");
    addTimes(reader, record);
  }
  setPositive(record, SourceKey::v0Width, reader.horizontalSize());
  setPositive(record, SourceKey::v0Height, reader.verticalSize());
  setPositive(record, SourceKey::v0Bitrate, reader.bitRate() / 1000);
  setNumber(record, SourceKey::v0Fps, reader.frameRate());
  record.set(SourceKey::v0Dar, reader.isWideScreen() ? "16:9" : "4:3");
  record.set(SourceKey::v0Fields, reader.isProgressive() ? fieldsKey(Fields::progressive) : "i");
  if (const char* chroma = chromaName(reader.chromaFormat()); reader.isMPeg2() && chroma != nullptr)
    record.set(SourceKey::v0Chroma, chroma);
  logLine("mpegInfo            - end\n\n");
  return record;
}

}  // namespace tessarin
