// Texts by key, read from a .strings file:
//   /* comment */  // comment
//   "key" = "value";
// in UTF-8. In both texts \" \' \\ \n \r \t and \Uxxxx (four hexadecimal digits, a UTF-16 unit)
// stand for the character; any other character behind a backslash stands for itself.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

struct StringsTable {
  std::map<std::string, std::string, std::less<>> texts;
  // Keys that occur more than once; the last text counts.
  std::vector<std::string> repeatedKeys;
  // The first fault with its line, "" when the file is whole. The texts hold what could be read.
  std::string problem;
};

StringsTable parseStringsTable(std::string_view bytes);

}  // namespace tessarin
