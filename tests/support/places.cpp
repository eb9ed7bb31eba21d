#include "support/places.h"

namespace tessarin::test {

std::string builtFile(const std::string& name) {
  return TESSARIN_BUILD "/" + name;
}

std::string preloading(const std::string& name) {
  return "LD_LIBRARY_PATH='" TESSARIN_BUILD "/tests' LD_PRELOAD=" + name + ".so";
}

std::string testDataFile(const std::string& name) {
  return TESSARIN_TEST_DATA "/" + name;
}

}  // namespace tessarin::test
