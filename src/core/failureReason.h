// Why a tool failed, in the user's words.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// The text without this path: a file may be named like a complaint or like a line of a report.
std::string withoutPath(std::string_view toolOutput, const std::string& path);

// Whether ffmpeg says that not all of its output could be written. Up to version 5 it counts a run
// as good all the same when the disk fills up while the movie is being finished. The text is
// without the paths of the files.
bool tellsOfLostOutput(std::string_view toolOutput);

// From what ffmpeg or the export tool printed, without the source's path, to one sentence in the
// user's language, without a full stop: a known cause, or else the tool's own last words. Never
// empty.
std::string failureReason(std::string_view toolOutput, const std::string& source);

}  // namespace tessarin
