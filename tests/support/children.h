// The small programs under tests/children.
#pragma once

#include <string>

#include "support/places.h"

namespace tessarin::test {

inline std::string childPath(const std::string& name) {
  return builtFile("tests/children/" + name);
}

}  // namespace tessarin::test
