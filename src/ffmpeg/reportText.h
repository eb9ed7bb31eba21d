// Reading ffmpeg's reports, which run to many megabytes at the debug level: nothing is copied, and
// only the lines that matter are looked at one by one.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tessarin {

// Like text.find(part, from), many times faster on long texts.
std::size_t findText(std::string_view text, std::string_view part, std::size_t from = 0);

// The lines of a text in order, without their ends (LF, CR or CRLF). The text has to live as long
// as the lines are used. Copies go on from where the original stands.
class ReportLines {
 public:
  explicit ReportLines(std::string_view text) : text_(text) {}

  // The next line; nothing at the end.
  std::optional<std::string_view> next();

 private:
  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t lineFeed_ = 0;  // the next one at or behind position_, once it has been looked for
  bool lineFeedKnown_ = false;
};

// Where the line that holds this position starts.
std::size_t lineStart(std::string_view text, std::size_t position);
// Where the line that holds this position ends: at its line end, or at the end of the text.
std::size_t lineEnd(std::string_view text, std::size_t position);

// Whether the word opens the line's statement: it stands before the first ": " and so cannot be
// part of a title or another text from the source itself.
bool lineDeclares(std::string_view line, std::string_view word);

// The lines that describe the input: from the last one that declares "Input #0, " up to the
// first one behind it that begins the output or says that there is none. Without an "Input #0, "
// behind the first line the block begins with the report.
std::string_view inputBlock(std::string_view report);

}  // namespace tessarin
