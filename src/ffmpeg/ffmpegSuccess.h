// The verdict over a run of ffmpeg, from its words.
#pragma once

#include <string_view>

namespace tessarin {

// Whether a run of ffmpeg went well, judged from all it printed: false for an empty text and for
// one of the phrases that tell of a failure, anywhere and in any case. The caller takes the
// source's own path out of the text before, for a name may hold such a phrase.
bool isFfmpegSuccess(std::string_view output);

}  // namespace tessarin
