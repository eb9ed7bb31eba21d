// A value or the reason why there is none.
#pragma once

#include <optional>
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
  T& operator*() & { return value(); }
  T&& operator*() && { return std::move(value()); }
  const T& operator*() const& { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  // Only when not ok().
  const std::string& reason() const { return std::get_if<1>(&content_)->reason; }

  // The same, to be handed on.
  Failure failure() const { return std::get<1>(content_); }

 private:
  std::variant<T, Failure> content_;
};

// Of what is done, or not, and makes nothing.
template <>
class [[nodiscard]] Outcome<void> {
 public:
  Outcome() = default;
  Outcome(Failure failure) : failure_(std::move(failure)) {}

  bool ok() const { return !failure_; }
  explicit operator bool() const { return ok(); }
  // Only when not ok().
  const std::string& reason() const { return failure_->reason; }
  Failure failure() const { return *failure_; }

 private:
  std::optional<Failure> failure_;
};

// Does what gives an Outcome; a failure ends the calling function with the same failure.
#define TESSARIN_TRY(outcome)                  \
  do {                                         \
    if (const auto& tried = (outcome); !tried) \
      return tried.failure();                  \
  } while (false)

// The same for a value: TESSARIN_TAKE(const auto bytes, readWholeFile(path));
#define TESSARIN_TAKE(declaration, outcome) \
  TESSARIN_TAKE_AS(TESSARIN_LINED(taken, __LINE__), declaration, outcome)
#define TESSARIN_TAKE_AS(taken, declaration, outcome)              \
  auto taken = (outcome); /* NOLINT(bugprone-macro-parentheses) */ \
  if (!(taken))                                                    \
    return (taken).failure();                                      \
  declaration = *std::move(taken) /* NOLINT(bugprone-macro-parentheses) */
#define TESSARIN_LINED(name, line) TESSARIN_LINED_AS(name, line)
#define TESSARIN_LINED_AS(name, line) name##line

}  // namespace tessarin
