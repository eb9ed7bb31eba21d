#include "ffmpeg/toolLine.h"

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"

namespace tessarin {

MarkedLine withoutMarks(std::string_view line) {
  MarkedLine marked{{}, line};
  while (startsWith(marked.words, "[")) {
    const std::size_t end = marked.words.find("] ");
    const std::string_view mark = marked.words.substr(0, end);
    const std::size_t address = mark.rfind(" @ ");
    if (end == std::string_view::npos || address == std::string_view::npos)
      break;
    if (marked.module.empty())
      marked.module = mark.substr(1, address - 1);
    marked.words.remove_prefix(end + 2);
  }
  return marked;
}

bool beginsWithOne(std::string_view line, std::span<const std::string_view> starts) {
  return std::any_of(starts.begin(), starts.end(),
                     [line](std::string_view start) { return startsWith(line, start); });
}

bool isAccount(std::string_view words) {
  static constexpr std::array<std::string_view, 13> accounts{"ffmpeg version",
                                                             "Input #",
                                                             "Output #",
                                                             "Stream mapping",
                                                             "Press [q]",
                                                             "frame=",
                                                             "size=",
                                                             "video:",
                                                             "Statistics:",
                                                             "Last message",
                                                             "-async is forwarded",
                                                             "Exiting normally",
                                                             "Conversion failed"};
  return beginsWithOne(words, accounts);
}

}  // namespace tessarin
