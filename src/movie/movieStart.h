// What a movie shows at its beginning.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "classShared/Outcome.h"

namespace tessarin {

// A copy that ffmpeg has written shows its pictures from the first key frame on. Pictures that are
// stored behind that and shown before it, with which MPEG-2 of tapes and discs may begin, are in
// the movie and hidden by its edit list. Where their group says that it is closed, which is to say
// that they can be decoded, this has them shown, and keeps sound and pictures in step: where there
// is no room before the key frame, the other tracks begin later. What is written is an
// index, as rewriteIndex() has it, never a sample; a movie whose index is not as ffmpeg writes it
// stays as it is. True when the movie was changed.
Outcome<bool> showFirstPictures(const std::string& path);

// The same for the content of the index ("moov"); nothing when there is nothing to change.
// `bytesAt` gives some kilobytes of the file from this place on.
std::optional<std::string> indexWithFirstPictures(
    const std::string& index, const std::function<std::string(std::uint64_t)>& bytesAt);

}  // namespace tessarin
