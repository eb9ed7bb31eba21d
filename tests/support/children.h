// The small programs under tests/children.
#pragma once

#include <string>

namespace tessarin::test {

inline std::string childPath(const std::string& name) {
  return std::string(TESSARIN_BUILD) + "/tests/children/" + name;
}

}  // namespace tessarin::test
