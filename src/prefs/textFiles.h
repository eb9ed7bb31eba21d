// Text files in the encodings of other days.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

// The number of the encoding that the bytes show by themselves: UTF-8, or UTF-16 with a byte order
// mark; 0 when they show none.
std::int64_t detectedEncoding(std::string_view bytes);

// The text of a file in UTF-8, or in UTF-16 with a byte order mark. A file in anything else is
// copied beside itself (PATH.txt), unless something of that name is there, and not answered.
std::optional<std::string> readTextFile(const std::string& path);

// The text of a file in the encoding of this number of the table. Nothing when the file does not
// exist, the number is 0 or unknown, or the bytes are wrong in that encoding.
std::optional<std::string> readTextFileInEncoding(const std::string& path, std::int64_t number);

}  // namespace tessarin
