// Which of the words of an ffmpeg that failed say why.
#pragma once

#include <string_view>

namespace tessarin {

// The line of a run's output that says most: the first that holds a reason of the system's ("No
// space left on device"), else the last one that is neither a report nor a mere consequence of
// what stands before it, else the last consequence. Without blanks around it and the marks of
// ffmpeg's parts; "" when there is no such line.
std::string_view failureWords(std::string_view output);

}  // namespace tessarin
