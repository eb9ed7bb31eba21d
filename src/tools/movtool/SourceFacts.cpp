#include "tools/movtool/SourceFacts.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "ffmpeg/idetReport.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/showinfoReport.h"
#include "ffmpeg/streamLine.h"

namespace tessarin::movtool {

namespace {

using quicktime::FieldOrder;

// Each track is decoded by an ffmpeg of its own.
constexpr std::size_t mostSounds = 32;

}  // namespace

SourceFacts sourceFacts(const yuv4mpeg::Header& picture, std::string_view report) {
  SourceFacts facts;
  facts.width = picture.width;
  facts.height = picture.height;
  facts.pixelAspect = picture.pixelAspect;
  if (isWithin(static_cast<double>(picture.frameRate.numerator) /
                   static_cast<double>(picture.frameRate.denominator),
               ReportRange::pictureRate))
    facts.frameRate = picture.frameRate;
  facts.fieldOrder = picture.fieldOrder;
  facts.flagged = picture.fieldOrder != FieldOrder::progressive;
  if (const auto first = firstShown(report))
    facts.firstPicture = {first->ticks, first->perSecond};
  facts.timeCode = timeCodeOf(report);
  facts.texts = sourceTexts(report);
  facts.sounds = sourceSounds(report);
  if (facts.sounds.size() > mostSounds)
    facts.sounds.resize(mostSounds);
  bool picturesSeen = false;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Duration: "))
      facts.duration = durationText(textBetween(*line, "Duration: ", ",").value_or(""));
    const auto stream = parseStreamLine(*line);
    if (!stream)
      continue;
    if (stream->kind == StreamKind::video && !picturesSeen && !stream->attachedPicture) {
      picturesSeen = true;
      facts.colours = coloursOfReport(stream->description);
      facts.fullRange = isFullRange(stream->description);
    }
  }
  return facts;
}

std::optional<FieldOrder> detectedFieldOrder(std::string_view report) {
  const auto counts = idetCounts(report, IdetDetection::multi);
  if (!counts)
    return std::nullopt;
  if (counts->progressive >= counts->top + counts->bottom)
    return FieldOrder::progressive;
  return counts->bottom > counts->top ? FieldOrder::bottomFirst : FieldOrder::topFirst;
}

}  // namespace tessarin::movtool
