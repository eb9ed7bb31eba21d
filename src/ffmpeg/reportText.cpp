#include "ffmpeg/reportText.h"

#include <algorithm>
#include <cstring>

namespace tessarin {

namespace {

bool isLineEnd(char letter) {
  return letter == '\n' || letter == '\r';
}

// The first line behind `from` that declares the word: where the word stands in it.
std::size_t findDeclaration(std::string_view report, std::string_view word, std::size_t from) {
  std::size_t found = findText(report, word, from);
  while (found != std::string_view::npos) {
    const std::size_t start = lineStart(report, found);
    if (lineDeclares(report.substr(start, found + word.size() - start), word))
      return found;
    found = findText(report, word, lineEnd(report, found));
  }
  return found;
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
  const std::size_t found = line.find(word);
  return found != std::string_view::npos && found <= line.find(": ");
}

std::string_view inputBlock(std::string_view report) {
  // The first line never marks a border; a block that begins with it begins with the report.
  std::size_t start = 0;
  for (std::size_t found = findDeclaration(report, "Input #0, ", lineEnd(report, 0));
       found != std::string_view::npos;
       found = findDeclaration(report, "Input #0, ", lineEnd(report, found)))
    start = lineStart(report, found);

  const std::size_t behindStart = lineEnd(report, start);
  const std::string_view block =
      report.substr(0, findDeclaration(report, "Output #0, ", behindStart));
  const std::size_t end =
      std::min(findDeclaration(block, "At least one output file must be specified", behindStart),
               block.size());
  return report.substr(start, (end < report.size() ? lineStart(report, end) : end) - start);
}

}  // namespace tessarin
