// How many pictures an AVI file says to have.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessarin {

// By the index behind its first part (idx1), without empty ones, which repeat the picture before.
// Programs pass over what is not where the index has it, without a word. Nothing for other files,
// for those without such an index, and where it cannot be read.
std::optional<std::uint64_t> aviPictures(const std::string& path);

}  // namespace tessarin
