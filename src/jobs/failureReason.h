// Why a tool failed, in the user's words.
#pragma once

#include <string>
#include <string_view>

#include "jobs/JobTool.h"

namespace tessarin {

// The text without this path: a file may be named like a complaint or like a line of a report.
std::string withoutPath(std::string_view toolOutput, const std::string& path);

// From what ffmpeg or the export tool printed, without the source's path, to one sentence in the
// user's language, without a full stop: a known cause, or else the tool's own words. Never
// empty.
std::string failureReason(std::string_view toolOutput, const std::string& source);

// The same for a run that has failed; a tool that a signal ended is told as such.
std::string failureReason(const ToolEnd& end, const std::string& source);

// That a tool cannot be started, and why: in the system's words, "" when there is no such tool.
std::string whyNotStarted(const std::string& tool, const std::string& cause);

// A sentence of the user's language with the system's words behind it, if there are any.
std::string withCause(const std::string& sentence, const std::string& cause);

}  // namespace tessarin
