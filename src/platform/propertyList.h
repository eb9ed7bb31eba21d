// Property-list files: binary and XML are read, binary is written.
//
// Limits of the format: dates are kept to the microsecond and from 1933 to 2069; a text that is no
// UTF-8 is written with U+FFFD in place of the wrong bytes, and ends before a zero byte. An
// integer of 2^63 or more is read as negative.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "classShared/Value.h"

namespace tessarin {

// What is larger or deeper, or takes more memory once references that are shared are followed, is
// refused: no list of ours comes near, and a hostile one must not take all memory or stack.
inline constexpr std::size_t propertyListMaxBytes = 16u << 20;
inline constexpr std::size_t propertyListMaxMemory = 256u << 20;
inline constexpr int propertyListMaxDepth = 100;

Outcome<Value> parsePropertyList(std::string_view bytes);
// The binary form.
Outcome<std::string> serializedPropertyList(const Value& value);

Outcome<Value> readPropertyList(const std::string& path);
// Replaces the file as a whole or leaves it as it was.
Outcome<void> writePropertyList(const std::string& path, const Value& value);

}  // namespace tessarin
