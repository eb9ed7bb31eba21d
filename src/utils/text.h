// Replacing text, and file names that every tool and file system accepts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin {

// Every occurrence of `search` replaced once, left to right, case-sensitive. `recursive` repeats
// that until `search` no longer occurs ("aaa" with "a" for "aa" is "a"); where this would never
// end, as with a replacement that contains `search`, a single pass is made. An empty `search`
// changes nothing.
std::string findAndReplace(std::string_view text, std::string_view search,
                           std::string_view replacement, bool recursive);

// The path with its file name cleaned and cut: without "`", with "-" for ":", at most
// `maximumLength` characters before the extension. What follows the last "." is an extension when
// it has at most 12 characters; a longer one is lost, with its ".".
std::string trimPathStr(std::string_view path, std::size_t maximumLength);

}  // namespace tessarin
