#include "analysis/recordingFacts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "classShared/TextAdditions.h"
#include "movie/timeCode.h"

namespace tessarin {

namespace {

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

// Takes "+48.1371" off the text; the degrees that it means, or nothing. `digits` is how many
// whole degrees have; those of minutes and seconds may follow.
std::optional<double> takeAngle(std::string_view& text, std::size_t digits) {
  if (text.empty() || (text.front() != '+' && text.front() != '-'))
    return std::nullopt;
  const double sign = text.front() == '-' ? -1 : 1;
  text.remove_prefix(1);
  const auto end = std::find_if_not(text.begin(), text.end(),
                                    [](char letter) { return isDigit(letter) || letter == '.'; });
  const auto number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  const std::size_t whole = textUpTo(number, ".").size();
  constexpr std::size_t longest = 24;
  double value = 0;
  const auto [behind, error] = std::from_chars(number.data(), number.data() + number.size(), value,
                                               std::chars_format::fixed);
  if (error != std::errc() || behind != number.data() + number.size() || number.size() > longest ||
      whole < digits || (whole - digits) % 2 != 0 || whole > digits + 4)
    return std::nullopt;
  text.remove_prefix(number.size());
  double degrees = value;
  if (whole == digits + 2) {
    degrees = std::floor(value / 100) + std::fmod(value, 100) / 60;
  } else if (whole == digits + 4) {
    const double minutes = std::floor(std::fmod(value, 10000) / 100);
    degrees = std::floor(value / 10000) + minutes / 60 + std::fmod(value, 100) / 3600;
  }
  return sign * degrees;
}

}  // namespace

bool isZone(std::string_view text) {
  constexpr int mostHours = 14;
  if (text.size() != 5 || (text[0] != '+' && text[0] != '-') ||
      !std::all_of(text.begin() + 1, text.end(), isDigit))
    return false;
  const int hours = (text[1] - '0') * 10 + text[2] - '0';
  const int minutes = (text[3] - '0') * 10 + text[4] - '0';
  return minutes < 60 && hours * 60 + minutes <= mostHours * 60;
}

bool isCameraName(std::string_view text) {
  constexpr std::size_t longest = 100;
  const auto isControl = [](char byte) { return (byte >= 0 && byte < ' ') || byte == 0x7F; };
  return !text.empty() && text.size() <= longest && isUtf8(text) && trimmed(text) == text &&
         std::none_of(text.begin(), text.end(), isControl);
}

bool isPlace(std::string_view text) {
  constexpr std::size_t longest = 100;
  if (text.size() > longest)
    return false;
  const auto latitude = takeAngle(text, 2);
  const auto longitude = takeAngle(text, 3);
  if (!latitude || !longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180)
    return false;
  return std::all_of(text.begin(), text.end(), [](char letter) {
    return isDigit(letter) || (letter >= 'A' && letter <= 'Z') || contains("+-./_", {&letter, 1});
  });
}

void takeRecordingFacts(std::string_view toolOutput, RecordingFacts& facts) {
  struct Word {
    std::string_view name;
    std::string RecordingFacts::*text;
    bool (*isGood)(std::string_view);
  };
  constexpr std::array<Word, 6> words = {{{"zone", &RecordingFacts::zone, isZone},
                                          {"timecode", &RecordingFacts::timeCode, isTimeCode},
                                          {"make", &RecordingFacts::make, isCameraName},
                                          {"model", &RecordingFacts::model, isCameraName},
                                          {"place", &RecordingFacts::place, isPlace},
                                          {"title", &RecordingFacts::title, isCameraName}}};
  for (const std::string_view line : splitLines(toolOutput))
    for (const Word& word : words) {
      const auto text = textAfter(line, " : ");
      if (text && textUpTo(line, " : ") == word.name && (facts.*word.text).empty() &&
          word.isGood(*text))
        facts.*word.text = *text;
    }
}

}  // namespace tessarin
