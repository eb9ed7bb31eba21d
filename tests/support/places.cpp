#include "support/places.h"

namespace tessarin::test {

std::string builtFile(const std::string& name) {
  return TESSARIN_BUILD "/" + name;
}

std::string testDataFile(const std::string& name) {
  return TESSARIN_TEST_DATA "/" + name;
}

}  // namespace tessarin::test
