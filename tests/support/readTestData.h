// The files under tests/data.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/places.h"

namespace tessarin::test {

// The bytes of tests/data/NAME; a missing file fails the test.
inline std::string readTestData(const std::string& name) {
  std::ifstream stream(testDataFile(name), std::ios::binary);
  EXPECT_TRUE(stream.good()) << name;
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace tessarin::test
