// What a property list may ask for before it is given to the library: the library follows shared
// references and nesting without limits of its own.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// Why the bytes are refused unread; "" when they may be parsed. Says nothing about other faults.
std::string propertyListRefusal(std::string_view bytes);

}  // namespace tessarin
