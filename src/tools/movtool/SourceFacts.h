// What an export has to know of its source, read from what ffmpeg says. Pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "ffmpeg/pictureColours.h"
#include "tools/movtool/sourceTexts.h"
#include "tools/quicktime/movieHeader.h"
#include "tools/streams/yuv4mpeg.h"

namespace tessarin::movtool {

struct SourceFacts {
  int width = 0;
  int height = 0;
  quicktime::Fraction pixelAspect = {1, 1};
  quicktime::Fraction frameRate = {25, 1};
  // What the first picture's flags say; some codecs have none, and are progressive then.
  quicktime::FieldOrder fieldOrder = quicktime::FieldOrder::progressive;
  // Whether the order comes from the pictures' own flags, which filters see, too.
  bool flagged = false;
  PictureColours colours;  // as tagged
  // As tagged: luma from 0 to 255 rather than 16 to 235.
  bool fullRange = false;
  std::optional<double> duration;  // seconds
  std::vector<SourceSound> sounds;
  std::string timeCode;  // as ffmpeg tells it; empty: there is none
  SourceTexts texts;
  // When the first picture is shown, in seconds of the time line that ffmpeg gives its filters. Not
  // always 0: sound may begin before, and pictures before the one that decoding can begin with.
  quicktime::Fraction firstPicture = {0, 1};
};

// From the header of the first picture as YUV4MPEG2, and from ffmpeg's description of its input and
// of that picture (by the "showinfo" filter).
SourceFacts sourceFacts(const yuv4mpeg::Header& picture, std::string_view report);

// The field order that the "idet" filter has found; nothing when its report has no counts.
std::optional<quicktime::FieldOrder> detectedFieldOrder(std::string_view report);

}  // namespace tessarin::movtool
