// When the streams of a source start, and when its first key frame comes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// Start offsets of the streams from the packet lines of a report made with
// "-loglevel debug -fdebug ts". A stream starts at the earliest presentation time among its first
// packets; the reference is the start of the container ("start: "), so that sound which begins
// after the picture has a positive offset.
void addOffsets(std::string_view report, Source& source);

// Seconds from the start of the container to the first key frame of the first video stream that
// such a report shows; negative when it lies before. Nothing when the report shows none.
std::optional<double> firstKeyFrameShown(std::string_view report);

// Whether the first picture that is stored is a key frame and none is shown before it. Nothing when
// the report shows no packet of pictures, or more than one stream of them.
std::optional<bool> beginsWithKeyFrame(std::string_view report);

// The time of the first key frame from a run of ffmpeg's showinfo filter, which decodes key frames
// only and looks at the first twelve seconds. Blocks until it has ended; 0 when it finds none.
double intraOffset(const std::string& path);

// The two halves of intraOffset: the command, told how to read the source, and the time of the
// first key frame that it lists, from the start of the container.
Arguments firstKeyFrameCommand(const std::string& path, const Source& source);
std::optional<double> firstKeyFrameOfShowinfo(std::string_view report);

}  // namespace tessarin
