#include "ffmpeg/reportText.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "classShared/TextAdditions.h"
#include "ffmpeg/ffmpegOptions.h"

namespace tessarin {

namespace {

bool isLineEnd(char letter) {
  return letter == '\n' || letter == '\r';
}

// The first line behind `from` that begins with the word: where that is.
std::size_t findOpening(std::string_view report, std::string_view word, std::size_t from) {
  std::size_t found = findText(report, word, from);
  while (found != std::string_view::npos && lineStart(report, found) != found)
    found = findText(report, word, found + 1);
  return found;
}

std::size_t indentation(std::string_view line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

// Lines that repeat what the tool was told: file names, and what else a caller makes of a source.
bool repeatsArguments(std::string_view line) {
  constexpr std::array<std::string_view, 5> openings = {
      "Reading option ", "Applying option ", "Parsing a group of options", "Opening an input file",
      "Opening an output file"};
  return std::any_of(openings.begin(), openings.end(),
                     [line](std::string_view opening) { return line.starts_with(opening); });
}

}  // namespace

std::size_t findText(std::string_view text, std::string_view part, std::size_t from) {
  if (from > text.size())
    return std::string_view::npos;
  const void* found = memmem(text.data() + from, text.size() - from, part.data(), part.size());
  if (found == nullptr)
    return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::optional<std::string_view> ReportLines::next() {
  if (position_ >= text_.size())
    return std::nullopt;
  if (!lineFeedKnown_ || lineFeed_ < position_) {
    lineFeed_ = std::min(text_.find('\n', position_), text_.size());
    lineFeedKnown_ = true;
  }
  const std::string_view line = text_.substr(position_, lineFeed_ - position_);
  const std::size_t carriageReturn = line.find('\r');
  if (carriageReturn == std::string_view::npos) {
    position_ = lineFeed_ + 1;
    return line;
  }
  position_ += carriageReturn + 1;
  if (position_ == lineFeed_)
    ++position_;
  return line.substr(0, carriageReturn);
}

std::size_t lineStart(std::string_view text, std::size_t position) {
  while (position > 0 && !isLineEnd(text[position - 1]))
    --position;
  return position;
}

std::size_t lineEnd(std::string_view text, std::size_t position) {
  while (position < text.size() && !isLineEnd(text[position]))
    ++position;
  return position;
}

bool lineDeclares(std::string_view line, std::string_view word) {
  return line.substr(indentation(line)).starts_with(word);
}

std::optional<std::string_view> statementOf(std::string_view line, std::string_view filter) {
  if (!startsWith(line, "[Parsed_" + std::string(filter) + "_"))
    return std::nullopt;
  return textAfter(line, "] ");
}

std::string_view inputBlock(std::string_view report) {
  // The first line never marks a border; a block that begins with it begins with the report.
  std::size_t start = 0;
  for (std::size_t found = findOpening(report, "Input #0, ", lineEnd(report, 0));
       found != std::string_view::npos;
       found = findOpening(report, "Input #0, ", lineEnd(report, found)))
    start = found;

  const std::size_t behindStart = lineEnd(report, start);
  // Of several outputs the first one need not be the first that is told of.
  const std::string_view block = report.substr(0, findOpening(report, "Output #", behindStart));
  const std::size_t end = std::min(
      findOpening(block, "At least one output file must be specified", behindStart), block.size());
  return report.substr(start, end - start);
}

std::optional<std::string_view> DescriptionLines::next() {
  while (const auto line = lines_.next()) {
    const std::size_t depth = indentation(*line);
    if (texts_ && depth > *texts_ && depth < line->size())
      continue;
    texts_.reset();
    if (line->substr(depth) == "Metadata:")
      texts_ = depth;
    else
      return line;
  }
  return std::nullopt;
}

std::string timeCodeOf(std::string_view report) {
  ReportLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    const auto words = textAfter(*line, ": ");
    if (words && trimmed(textUpTo(*line, ":")) == "timecode")
      return std::string(trimmed(*words));
  }
  return {};
}

std::string textBelow(ReportLines lines, std::string_view name) {
  const auto heading = lines.next();
  const std::size_t depth = heading ? indentation(*heading) : 0;
  if (!heading || heading->substr(depth) != "Metadata:")
    return {};
  while (const auto line = lines.next()) {
    const std::size_t start = indentation(*line);
    const std::size_t divider = line->find(": ");
    if (start <= depth || start == line->size())
      break;
    if (divider == std::string_view::npos || divider < start)
      continue;
    const std::string_view found = line->substr(start, divider - start);
    if (found.substr(0, found.find_last_not_of(' ') + 1) == name)
      return std::string(line->substr(divider + 2));
  }
  return {};
}

bool describesInput(std::string_view report) {
  return report.starts_with("Input #0, ") ||
         findOpening(report, "Input #0, ", 0) != std::string_view::npos;
}

std::string withoutSource(std::string_view report, const std::string& path,
                          std::string_view words) {
  std::string gone = replaceAll(report, path, words);
  const std::string input = ffmpegInput(path);
  return input == path ? gone : replaceAll(gone, input, words);
}

std::string wordsOfTool(std::string_view report) {
  constexpr std::string_view userData = "user data:\"";
  std::string words;
  bool inUserData = false;
  ReportLines lines(report);
  while (const auto next = lines.next()) {
    std::string_view line = *next;
    if (inUserData) {
      inUserData = !line.ends_with('"');
      continue;
    }
    if (line.empty() || line.front() == ' ' || repeatsArguments(line))
      continue;
    if (const std::size_t found = line.find(userData); found != std::string_view::npos) {
      inUserData = found + userData.size() == line.size() || !line.ends_with('"');
      continue;
    }
    // Names of files, and what a container says about them, stand in quotation marks.
    const std::size_t open = line.find('\'');
    const std::size_t close = line.rfind('\'');
    words.append(line.substr(0, open == close ? line.size() : open + 1));
    if (open != close)
      words.append(line.substr(close));
    words += '\n';
  }
  return words;
}

}  // namespace tessarin
