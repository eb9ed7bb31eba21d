#include "classShared/TextAdditions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "classShared/Utf8.h"

namespace tessarin {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

char lowerLetter(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

char upperLetter(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

std::size_t characterLength(std::string_view text, std::size_t position) {
  std::string_view rest = text.substr(position);
  takeUtf8(rest);
  return text.size() - position - rest.size();
}

// Without the slashes at its end, unless the path is nothing but slashes.
std::string_view withoutEndSlashes(std::string_view path) {
  const std::size_t last = path.find_last_not_of('/');
  return last == std::string_view::npos ? path.substr(0, 1) : path.substr(0, last + 1);
}

std::string_view lastComponent(std::string_view path) {
  path = withoutEndSlashes(path);
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

// Where the "." of the extension stands in a file name; npos when it has none.
std::size_t extensionDot(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == 0 || dot == name.size() - 1 ? std::string_view::npos : dot;
}

}  // namespace

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\r\n");
    if (end == std::string_view::npos) {
      lines.push_back(text);
      break;
    }
    lines.push_back(text.substr(0, end));
    const bool two = text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n';
    text.remove_prefix(end + (two ? 2 : 1));
  }
  return lines;
}

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  std::size_t end = separator.empty() ? std::string_view::npos : text.find(separator);
  while (end != std::string_view::npos) {
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end + separator.size());
    end = text.find(separator);
  }
  parts.push_back(text);
  return parts;
}

std::string_view textUpTo(std::string_view text, std::string_view end) {
  return text.substr(0, text.find(end));
}

std::optional<std::string_view> textAfter(std::string_view text, std::string_view before) {
  const std::size_t start = text.find(before);
  if (start == std::string_view::npos)
    return std::nullopt;
  return text.substr(start + before.size());
}

std::optional<std::string_view> textBetween(std::string_view text, std::string_view before,
                                            std::string_view after) {
  const auto rest = textAfter(text, before);
  if (!rest || !contains(*rest, after))
    return std::nullopt;
  return textUpTo(*rest, after);
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  if (!from.empty()) {
    for (std::size_t found = text.find(from); found != std::string_view::npos;
         found = text.find(from)) {
      result.append(text.substr(0, found)).append(to);
      text.remove_prefix(found + from.size());
    }
  }
  return result.append(text);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos)
    return text.substr(0, 0);
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string joinTexts(const std::vector<std::string>& parts, std::string_view separator) {
  std::string joined;
  for (std::size_t index = 0; index < parts.size(); ++index) {
    if (index > 0)
      joined += separator;
    joined += parts[index];
  }
  return joined;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowerLetter);
  return result;
}

std::string upperCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), upperLetter);
  return result;
}

std::string capitalised(std::string_view text) {
  std::string result(text);
  bool wordStarts = true;
  char before = 0;
  bool beforeStarts = false;
  for (char& letter : result) {
    // The letters of Latin-1 are C3 with a second byte: A0 to BE the small ones, 80 to 9E the
    // capitals. B7 and 97 among them are signs of arithmetic.
    const unsigned second = static_cast<unsigned char>(letter);
    const unsigned place = second & 0x1FU;
    const bool accented =
        before == '\xC3' && second >= 0x80 && second <= 0xBE && place != 0x17 && place != 0x1F;
    const bool starts = wordStarts;
    if (accented)
      letter = static_cast<char>(beforeStarts ? second & ~0x20U : second | 0x20U);
    else
      letter = starts ? upperLetter(letter) : lowerLetter(letter);
    before = letter;
    beforeStarts = starts;
    wordStarts = contains(blanks, std::string_view(&letter, 1));
  }
  return result;
}

bool equalIgnoringCase(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return lowerLetter(a) == lowerLetter(b); });
}

std::int64_t leadingInteger(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  const bool negative = text.starts_with('-');
  if (text.starts_with('+') && !text.substr(1).starts_with('-'))
    text.remove_prefix(1);  // from_chars knows no plus sign
  std::int64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec == std::errc::result_out_of_range)
    return negative ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
  return value;
}

double leadingNumber(std::string_view text) {
  if (text.starts_with('+'))
    text.remove_prefix(1);  // from_chars knows no plus sign
  double number = 0;
  const auto read =
      std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  return read.ec == std::errc() && std::isfinite(number) ? number : 0;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t before = text.size();
    // The replacement character itself has three bytes.
    if (takeUtf8(text) == replacementCharacter && before - text.size() == 1)
      return false;
  }
  return true;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t position = 0; position < text.size();
       position += characterLength(text, position))
    ++count;
  return count;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t position = 0;
  for (; count > 0 && position < text.size(); --count)
    position += characterLength(text, position);
  return text.substr(0, position);
}

std::string_view withoutLastCharacters(std::string_view text, std::size_t count) {
  const std::size_t all = characterCount(text);
  return firstCharacters(text, all - std::min(all, count));
}

std::string fileName(std::string_view path) {
  return std::string(lastComponent(path));
}

std::string pathExtension(std::string_view path) {
  const std::string_view name = lastComponent(path);
  const std::size_t dot = extensionDot(name);
  return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot + 1));
}

std::string withoutExtension(std::string_view path) {
  const std::string_view whole = withoutEndSlashes(path);
  const std::size_t dot = extensionDot(lastComponent(whole));
  if (dot == std::string_view::npos)
    return std::string(whole);
  return std::string(whole.substr(0, whole.size() - lastComponent(whole).size() + dot));
}

std::string withExtension(std::string_view path, std::string_view extension) {
  std::string result(path);
  if (!extension.empty())
    result.append(1, '.').append(extension);
  return result;
}

std::string parentFolder(std::string_view path) {
  path = withoutEndSlashes(path);
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos)
    return {};
  return std::string(withoutEndSlashes(path.substr(0, slash + 1)));
}

std::string joinPath(std::string_view folder, std::string_view name) {
  if (folder.empty() || name.empty())
    return std::string(folder.empty() ? name : folder);
  std::string path(folder);
  if (path.back() != '/')
    path += '/';
  if (name.front() == '/')
    name.remove_prefix(1);
  return path.append(name);
}

bool hasPathExtension(std::string_view path, std::string_view extension) {
  return equalIgnoringCase(pathExtension(path), extension);
}

}  // namespace tessarin
