// When the streams of a source start, and when its first key frame comes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "analysis/SourceInfo.h"

namespace tessarin {

// Start offsets of the streams from the packet lines of a report made with
// "-loglevel debug -fdebug ts". A stream starts at its earliest presentation time among its first
// packets; the reference is the start of the container ("start: "), so that sound which begins
// after the picture has a positive offset. Keys: "v0_offsetMs" and "v0_offsetDts" with the kind
// letter and ffmpeg's number of the stream, in ms and only beyond 30 ms either way; "v_offsetMs" is
// the smallest of the video offsets with its sign turned. Nothing when no stream is off.
std::optional<Dico> ptsDtsOffsetMs(std::string_view report);

// Whether the first video packet that a debug report shows is a key frame; nothing when the report
// shows no packet of the first video stream.
std::optional<bool> startsWithKeyFrame(std::string_view report);

// Seconds from the start of the container to the first key frame within its first twelve seconds;
// 0 when it comes at the start or is not found. Runs ffmpeg's showinfo filter, blocking, and has it
// decode key frames only.
double intraOffset(const std::string& path);

}  // namespace tessarin
