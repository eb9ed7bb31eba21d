// Which of the words of an ffmpeg that failed say why.
#pragma once

#include <optional>
#include <string_view>

namespace tessarin {

// What a program of ours that reads the files of a source for ffmpeg says ("joinclips: FILE: it has
// no index"), without its name; nothing for lines of others.
std::optional<std::string_view> wordsOfReader(std::string_view line);

// The line of a run's output that says most: the first that holds a reason of the system's ("No
// space left on device") or is of such a reader, else the last one that is neither a report nor a
// mere consequence of what stands before it, else the last consequence. Without blanks around it
// and the marks of ffmpeg's parts; "" when there is no such line.
std::string_view failureWords(std::string_view output);

}  // namespace tessarin
