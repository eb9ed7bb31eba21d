// A value or the reason why there is none.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace tessarin {

// Why something failed, in words for the log or the user; no line end.
struct Failure {
  std::string reason;
};

// The system's words for an errno value.
std::string systemReason(int error);

template <class T>
class [[nodiscard]] Outcome {
 public:
  Outcome(T value) : content_(std::in_place_index<0>, std::move(value)) {}
  Outcome(Failure failure) : content_(std::in_place_index<1>, std::move(failure)) {}

  bool ok() const { return content_.index() == 0; }
  explicit operator bool() const { return ok(); }
  // Only when ok().
  T& value() { return *std::get_if<0>(&content_); }
  const T& value() const { return *std::get_if<0>(&content_); }
  T& operator*() { return value(); }
  const T& operator*() const { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  // Only when not ok().
  const std::string& reason() const { return std::get_if<1>(&content_)->reason; }

 private:
  std::variant<T, Failure> content_;
};

}  // namespace tessarin
