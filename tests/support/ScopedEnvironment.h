// An environment variable for the time of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace tessarin::test {

// Sets the variable, or unsets it for no value; puts the old state back on destruction.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value)
      : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str()))
      before_ = before;
    apply(value);
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() { apply(before_); }

 private:
  void apply(const std::optional<std::string>& value) const {
    if (value)
      ::setenv(name_.c_str(), value->c_str(), 1);
    else
      ::unsetenv(name_.c_str());
  }

  std::string name_;
  std::optional<std::string> before_;
};

}  // namespace tessarin::test
