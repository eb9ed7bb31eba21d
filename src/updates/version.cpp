#include "updates/version.h"

#include <algorithm>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

constexpr std::size_t mostParts = 4;
constexpr std::size_t mostDigits = 9;
constexpr std::size_t longestPreview = 20;

bool isDigit(char one) {
  return one >= '0' && one <= '9';
}

bool isPreviewLetter(char one) {
  return isDigit(one) || one == '.' || (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z');
}

}  // namespace

std::strong_ordering operator<=>(const Version& one, const Version& other) {
  if (const auto order = one.parts <=> other.parts; std::is_neq(order))
    return order;
  if (one.preview.empty() != other.preview.empty())
    return one.preview.empty() ? std::strong_ordering::greater : std::strong_ordering::less;
  return one.preview <=> other.preview;
}

std::optional<Version> parseVersion(std::string_view text) {
  Version version;
  const std::string_view numbers = textUpTo(text, "-");
  if (numbers.size() < text.size()) {
    version.preview = text.substr(numbers.size() + 1);
    if (version.preview.empty() || version.preview.size() > longestPreview ||
        !std::all_of(version.preview.begin(), version.preview.end(), isPreviewLetter))
      return std::nullopt;
  }
  for (const std::string_view part : split(numbers, ".")) {
    if (part.empty() || part.size() > mostDigits || version.parts.size() == mostParts ||
        !std::all_of(part.begin(), part.end(), isDigit))
      return std::nullopt;
    version.parts.push_back(static_cast<std::uint32_t>(leadingInteger(part)));
  }
  while (!version.parts.empty() && version.parts.back() == 0)
    version.parts.pop_back();
  return version;
}

}  // namespace tessarin
