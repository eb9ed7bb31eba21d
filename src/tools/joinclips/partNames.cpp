#include "tools/joinclips/partNames.h"

#include <algorithm>
#include <string_view>

#include "classShared/TextAdditions.h"

namespace tessarin::joining {

namespace {

bool isDecimal(char letter) {
  return letter >= '0' && letter <= '9';
}

char inCapitals(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

struct NameParts {
  std::size_t begin = 0;  // of the name in the path
  std::string_view stem;  // without the extension
};

NameParts partsOf(std::string_view path) {
  const std::size_t begin = path.rfind('/') + 1;
  const std::size_t dot = path.rfind('.');
  const std::size_t end = dot == std::string_view::npos || dot < begin ? path.size() : dot;
  return {begin, path.substr(begin, end - begin)};
}

// Letters of the pattern stand for themselves, a 0 for a digit.
bool matches(std::string_view text, std::string_view pattern) {
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                    [](char letter, char wanted) {
                      return wanted == '0' ? isDecimal(letter) : inCapitals(letter) == wanted;
                    });
}

// "GH010042" with the letters of the makes, and the part's number from 1 on.
bool isNumberedChapter(std::string_view stem) {
  constexpr std::string_view kinds = "HXSP";
  return stem.size() == 8 && kinds.find(inCapitals(stem[1])) != std::string_view::npos &&
         inCapitals(stem[0]) == 'G' && matches(stem.substr(2), "000000") &&
         stem.substr(2, 2) != "00";
}

bool isFirstChapter(std::string_view stem) {
  return matches(stem, "GOPR0000");
}

// Makes two digits one more.
bool countOn(std::string& text, std::size_t place) {
  char& tens = text[place];
  char& ones = text[place + 1];
  if (ones == '9' && tens == '9')
    return false;
  tens = static_cast<char>(ones == '9' ? tens + 1 : tens);
  ones = static_cast<char>(ones == '9' ? '0' : ones + 1);
  return true;
}

bool isNumberedInFolder(const std::string& path) {
  const std::string folder = fileName(parentFolder(path));
  const std::string_view stem = partsOf(path).stem;
  return stem.size() == 8 && matches(stem.substr(2), "000000") && stem.substr(6) != "00" &&
         !isDecimal(stem[0]) && !isDecimal(stem[1]) && equalIgnoringCase(stem.substr(0, 6), folder);
}

}  // namespace

std::optional<std::string> nextName(const std::string& path) {
  const NameParts name = partsOf(path);
  std::size_t digit = name.begin + name.stem.size();
  const std::size_t end = digit;
  std::string next = path;
  while (digit > name.begin && isDecimal(path[digit - 1])) {
    --digit;
    if (path[digit] != '9') {
      ++next[digit];
      return next;
    }
    next[digit] = '0';
  }
  if (digit == end)
    return std::nullopt;
  return next.insert(digit, 1, '1');
}

std::optional<std::string> nextHexadecimalName(const std::string& path) {
  const auto [begin, stem] = partsOf(path);
  constexpr std::string_view digits = "0123456789ABCDEF";
  if (stem.size() != 6 || !matches(stem.substr(0, 3), "MOV"))
    return std::nullopt;
  for (const char digit : stem.substr(3))
    if (digits.find(inCapitals(digit)) == std::string_view::npos)
      return std::nullopt;
  const bool isSmall = stem[0] == 'm';
  std::string next = path;
  for (std::size_t place = begin + 6; place > begin + 3; --place) {
    const std::size_t value = digits.find(inCapitals(path[place - 1]));
    const char digit = digits[(value + 1) % digits.size()];
    next[place - 1] = isSmall && !isDecimal(digit) ? static_cast<char>(digit - 'A' + 'a') : digit;
    if (value + 1 < digits.size())
      return next;
  }
  return std::nullopt;
}

std::optional<std::string> nextChapterName(const std::string& path) {
  const auto [begin, stem] = partsOf(path);
  std::string next = path;
  if (isFirstChapter(stem)) {
    next[begin + 1] = stem[2];
    next.replace(begin + 2, 2, "01");
    return next;
  }
  if (!isNumberedChapter(stem))
    return std::nullopt;
  return countOn(next, begin + 2) ? std::optional(next) : std::nullopt;
}

bool isChapterName(const std::string& path) {
  const std::string_view stem = partsOf(path).stem;
  return isFirstChapter(stem) || isNumberedChapter(stem);
}

std::optional<std::string> nextNameInFolder(const std::string& path) {
  const auto [begin, stem] = partsOf(path);
  std::string next = path;
  return isNumberedInFolder(path) && countOn(next, begin + stem.size() - 2) ? std::optional(next)
                                                                            : std::nullopt;
}

std::optional<std::string> nextTakeName(const std::string& path) {
  const auto [begin, stem] = partsOf(path);
  std::string next = path;
  // The folder's number stands before the stroke between the two.
  return isTakeName(path) && countOn(next, begin + stem.size() - 2) && countOn(next, begin - 3)
             ? std::optional(next)
             : std::nullopt;
}

bool isTakeName(const std::string& path) {
  const std::string folder = parentFolder(path);
  const std::string_view stem = partsOf(path).stem;
  return stem.size() > 3 && matches(stem.substr(stem.size() - 3), "_00") && !stem.ends_with("00") &&
         equalIgnoringCase(stem, fileName(folder)) &&
         equalIgnoringCase(fileName(parentFolder(folder)), "CLPR");
}

std::size_t partNumber(const std::string& path) {
  const std::string_view stem = partsOf(path).stem;
  const auto number = [stem](std::size_t place) {
    return static_cast<std::size_t>(leadingInteger(stem.substr(place, 2)));
  };
  if (isFirstChapter(stem))
    return 1;
  if (isNumberedChapter(stem))
    return number(2) + (inCapitals(stem[1]) == 'P' ? 1 : 0);
  return isNumberedInFolder(path) || isTakeName(path) ? number(stem.size() - 2) : 0;
}

bool mayFollowOnRecorder(const std::string& path, const std::string& next) {
  constexpr std::string_view pattern = "00_0000_0000-00-00_000000";
  constexpr std::size_t camera = 3;
  const auto [begin, stem] = partsOf(path);
  const auto [beginOfNext, stemOfNext] = partsOf(next);
  if (!matches(stem, pattern) || !matches(stemOfNext, pattern) || path >= next ||
      path.substr(0, begin + camera) != next.substr(0, beginOfNext + camera))
    return false;
  const auto clip = [](std::string_view text) { return leadingInteger(text.substr(camera, 4)); };
  return clip(stemOfNext) - clip(stem) <= 1;
}

}  // namespace tessarin::joining
