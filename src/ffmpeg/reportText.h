// Reading ffmpeg's reports, which run to many megabytes at the debug level: nothing is copied, and
// only the lines that matter are looked at one by one.
//
// A report also holds the source's own words: its titles and comments, and its name. Whoever reads
// a fact takes it from DescriptionLines of the inputBlock(), or from lines that begin with the mark
// of the part of ffmpeg that states it; whoever looks for complaints takes wordsOfTool().
#pragma once

#include <cstddef>
#include <optional>
#include <string>
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

// Whether the word opens the line, behind blanks.
bool lineDeclares(std::string_view line, std::string_view word);

// What a filter states in this line, "[Parsed_NAME_0 @ 0x5] STATEMENT"; nothing in other lines. The
// mark stands at the beginning: titles are printed with blanks before them.
std::optional<std::string_view> statementOf(std::string_view line, std::string_view filter);

// The lines that describe the input: from the last one that begins with "Input #0, " up to the
// first one behind it that begins the output or says that there is none. Without an "Input #0, "
// behind the first line the block begins with the report.
std::string_view inputBlock(std::string_view report);

// The time code that ffmpeg tells of the input, "10:00:00:00", as it stands; empty: none.
std::string timeCodeOf(std::string_view report);

// Whether ffmpeg has opened the input and describes it.
bool describesInput(std::string_view report);

// The lines of such a block that are ffmpeg's own: without those below "Metadata:", which hold the
// source's texts under names that the source chose.
class DescriptionLines {
 public:
  explicit DescriptionLines(std::string_view block) : lines_(block) {}

  std::optional<std::string_view> next();
  // All lines behind the last one of next(), the source's texts among them.
  ReportLines behind() const { return lines_; }

 private:
  ReportLines lines_;
  std::optional<std::size_t> texts_;  // the depth of the "Metadata:" whose lines are passed over
};

// The source's text of this name below the line of a stream, of which `lines` are behind(); "" when
// there is none.
std::string textBelow(ReportLines lines, std::string_view name);

// A report with these words in the place of the source's path, and of what ffmpeg calls it.
std::string withoutSource(std::string_view report, const std::string& path, std::string_view words);

// What ffmpeg itself says in a report of any log level, for whoever looks for complaints in it.
// Left out is what the source or its name put there: everything that describes streams (titles,
// comments, languages, names of attachments and programmes), texts inside of the coded pictures,
// what stands in quotation marks, and the repetition of the command line. The caller has replaced
// the paths of the files, which stand in complaints without quotation marks.
std::string wordsOfTool(std::string_view report);

}  // namespace tessarin
