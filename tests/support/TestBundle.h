// The program's own resources for a test, in a known language.
#pragma once

#include <string>

#include "platform/Bundle.h"
#include "support/places.h"

namespace tessarin::test {

// While it lives, Bundle::main() is the build's resources folder in this language, whatever the
// environment says; then it is what it was before.
class TestBundle {
 public:
  static std::string resourcePath() { return test::builtFile("resources"); }

  explicit TestBundle(const std::string& language = "en") : TestBundle(resourcePath(), language) {}
  // Another resources folder, such as one with tools made by the test.
  TestBundle(const std::string& resourcePath, const std::string& language)
      : before_(Bundle::main()) {
    Bundle::setMain(Bundle(resourcePath, {language}));
  }
  TestBundle(const TestBundle&) = delete;
  TestBundle& operator=(const TestBundle&) = delete;
  ~TestBundle() { Bundle::setMain(before_); }

 private:
  Bundle before_;
};

}  // namespace tessarin::test
