// Why a tool failed, in the user's words.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// From what ffmpeg printed to one sentence in the user's language, without a full stop: a known
// cause, or else the tool's own last words. Never empty.
std::string failureReason(std::string_view toolOutput);

}  // namespace tessarin
