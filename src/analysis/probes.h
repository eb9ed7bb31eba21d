// The small questions about a source that ffmpeg's report leaves open.
//
// A question that takes a run of a program is there in two halves, the command and what its output
// says, for callers that must not wait; fieldOrderProbe, ffRevision and forceFormat run the program
// themselves and block until it has ended.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Fields.h"
#include "classShared/TextAdditions.h"
#include "ffmpeg/idetReport.h"

namespace tessarin {

// The field order, measured with ffmpeg's idet filter in up to six passes of four
// seconds, the first one four seconds into the source. Nothing when no pass could decide.
std::optional<Fields> fieldOrderProbe(const std::string& path);

// A tie is top first, and one interlaced frame outweighs all progressive ones. Nothing when the
// counts do not decide.
std::optional<Fields> fieldsOfCounts(const IdetCounts& counts);

// The field order that the first line of a YUV4MPEG2 file declares with " I": "t", "b", or
// anything else and nothing for progressive.
Fields fieldsOfHeader(std::string_view yuvHeaderLine);

// Starts of the chapters in seconds, in the order of the report. A chapter that starts up to 20 s
// after the last one taken, or before it, is part of it. Nothing when there is no chapter.
std::optional<std::vector<double>> ffChapters(std::optional<std::string_view> report);

// ffmpeg's version as far as it is a decimal number: 5.1 for "5.1.6-0+deb12u1". 0 when unknown.
double ffRevision();

// The input format that ffmpeg has to be told for this file: "dv", "mpeg" (system stream) or
// "mpegvideo" (elementary stream), from what file(1) says, else from forceFormatLite. Nothing
// when ffmpeg should find out by itself; always so without a report.
std::optional<std::string> forceFormat(const std::string& path,
                                       std::optional<std::string_view> report);

// The two halves of forceFormat: the program that tells the kind of a file, and the format for what
// it said, nothing when it said nothing.
Arguments fileKindCommand(const std::string& path);
std::optional<std::string> formatOfKind(std::optional<std::string_view> kind,
                                        std::string_view report);

// The same from a report alone: by the name that follows "Data: ".
std::optional<std::string> forceFormatLite(std::string_view report);

}  // namespace tessarin
