// From ffmpeg's report about a source to what is known of it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "analysis/Fields.h"
#include "analysis/Source.h"

namespace tessarin {

// Reads the report that ffmpeg writes to its standard error, of any log level, into a source
// (container, duration, start, bit rate and the streams). A report without "Input #", or none,
// makes ffmpeg run on `sourcePath`, blocking, to get one. Nothing when there is no report to be
// had; a report that says little gives a source with few facts. Pictures attached to a file
// (covers) are no video of the source and are left out.
std::optional<Source> ffInfos(std::optional<std::string_view> report,
                              std::optional<std::string> sourcePath);

// All that a report tells: ffInfos, the frame rate as field rate where the source is
// interlaced, start offsets, first key frame and chapters.
// Nothing without a report, for a report that ffInfos cannot read, and, by agreement with the
// callers, for a source with a frame rate whose field order is not settled yet: they ask again
// once it is. Runs ffmpeg on `sourcePath`, blocking, only when needsKeyFrameRun; an empty path
// forbids that.
std::optional<Source> analysisFf(std::optional<std::string_view> report,
                                 std::optional<Fields> interlacing, const std::string& sourcePath);

// Whether the report leaves open when the first key frame of its source comes. A caller that must
// not wait runs firstKeyFrameCommand then, and has the source completed with what it said.
bool needsKeyFrameRun(std::string_view report, const Source& source);
void addFirstKeyFrame(double seconds, Source& source);

}  // namespace tessarin
