#include "cli/clipList.h"

#include "classShared/TextAdditions.h"
#include "cli/texts.h"
#include "prefs/textEncodings.h"
#include "prefs/textFiles.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

constexpr std::size_t mostBytes = std::size_t{16} << 20U;

std::vector<std::string_view> linesOf(std::string_view text) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (text.starts_with(mark))
    text.remove_prefix(mark.size());
  std::vector<std::string_view> lines = split(text, "\n");
  for (std::string_view& line : lines)
    if (line.ends_with('\r'))
      line.remove_suffix(1);
  return lines;
}

}  // namespace

Outcome<std::vector<std::string>> readClipList(const std::string& path) {
  const auto wrong = [&path](const char* key) {
    return Failure{localisationString(key, textTable, path)};
  };
  const auto bytes = readWholeFile(path, mostBytes + 1);
  if (!bytes || bytes->size() > mostBytes)
    return wrong("wrong_list");
  const std::int64_t shown = detectedEncoding(*bytes);
  const auto text = readTextFileInEncoding(path, shown != 0 ? shown : encodingWindows);
  if (!text || contains(*text, std::string_view("\0", 1)))
    return wrong("wrong_listText");
  const std::vector<std::string_view> lines = linesOf(*text);
  const std::vector<std::string_view> asTheyStand = shown != 0 ? lines : linesOf(*bytes);
  std::vector<std::string> clips;
  for (std::size_t line = 0; line < lines.size(); ++line)
    if (!lines[line].empty())
      clips.emplace_back(pathExists(asTheyStand[line]) ? asTheyStand[line] : lines[line]);
  return clips;
}

}  // namespace tessarin::cli
