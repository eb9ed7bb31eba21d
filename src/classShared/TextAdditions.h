// Additions to the text type: searching, splitting, letters, numbers, characters and paths.
//
// Texts and paths are UTF-8. File names may hold any bytes but "/" and 0, so every function takes
// invalid UTF-8 as it comes. A string_view result points into the argument.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// What searches for text and bytes answer when there is nothing to find: 0x7FFFFFFF, a value that
// is also written into logs.
constexpr std::uint64_t notFound = 2147483647;

// A command: the program's path and its arguments; the element "|" separates piped commands.
using Arguments = std::vector<std::string>;

// ---- Searching and splitting

inline bool startsWith(std::string_view text, std::string_view start) {
  return text.starts_with(start);
}
inline bool endsWith(std::string_view text, std::string_view end) {
  return text.ends_with(end);
}
inline bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// The lines without their ends: LF, CR or CRLF. An unfinished last line counts, an empty rest
// behind the last line end does not.
std::vector<std::string_view> splitLines(std::string_view text);
// The parts between the separators: one more than there are separators, empty parts included.
// With an empty separator the text is the only part.
std::vector<std::string_view> split(std::string_view text, std::string_view separator);

// What stands before the first `end`; the whole text when `end` is missing.
std::string_view textUpTo(std::string_view text, std::string_view end);
// What stands behind the first `before`; nothing when it is missing.
std::optional<std::string_view> textAfter(std::string_view text, std::string_view before);
// What stands between the first `before` and the next `after` behind it; nothing when one of the
// two is missing.
std::optional<std::string_view> textBetween(std::string_view text, std::string_view before,
                                            std::string_view after);

// Every occurrence replaced once, left to right. An empty `from` changes nothing.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);
// Without the blanks, tabs and line ends at both ends.
std::string_view trimmed(std::string_view text);
// The parts joined, with the separator between them.
std::string joinTexts(const std::vector<std::string>& parts, std::string_view separator);

// ---- Letters (of ASCII; other bytes stay as they are)

std::string lowerCase(std::string_view text);
std::string upperCase(std::string_view text);
// The first letter of each word as a capital, the others small. Words end at blanks.
std::string capitalised(std::string_view text);
// Equal but for the case of ASCII letters.
bool equalIgnoringCase(std::string_view one, std::string_view other);

// ---- Numbers

// The whole number that the text begins with, after blanks and a sign; 0 when there is none, the
// nearest 64-bit number when it is too large.
std::int64_t leadingInteger(std::string_view text);
// The decimal number that the text begins with, after a sign and without an exponent; 0 when there
// is none, or one that is not finite.
double leadingNumber(std::string_view text);

// ---- Characters (Unicode code points; a byte that is not part of valid UTF-8 counts as one)

bool isAscii(std::string_view text);
bool isUtf8(std::string_view text);
std::size_t characterCount(std::string_view text);
// The text cut to this many characters, never inside of one.
std::string_view firstCharacters(std::string_view text, std::size_t count);
// The text without its last characters.
std::string_view withoutLastCharacters(std::string_view text, std::size_t count);

// ---- Paths (nothing is looked up on disk; a slash at the end of a path is ignored)

// The last component: "b.mov" of "/a/b.mov", "/" of "/".
std::string fileName(std::string_view path);
// What follows the last "." of the file name: "mov". Empty when there is no ".", or only at the
// start or the end of the name (".mts" and "clip." have no extension).
std::string pathExtension(std::string_view path);
// The path without the extension and its ".": "/a/b" of "/a/b.mov".
std::string withoutExtension(std::string_view path);
// The path with "." and the extension added; unchanged when the extension is empty.
std::string withExtension(std::string_view path, std::string_view extension);
// The folder: "/a" of "/a/b.mov", "/" of "/b.mov" and of "/", "" of "b.mov".
std::string parentFolder(std::string_view path);
// The name in the folder, with one "/" between them; the other one when one of them is empty.
std::string joinPath(std::string_view folder, std::string_view name);
// Whether the path has this extension, in capitals or small letters.
bool hasPathExtension(std::string_view path, std::string_view extension);

}  // namespace tessarin
