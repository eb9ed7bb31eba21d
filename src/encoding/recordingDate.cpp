#include "encoding/recordingDate.h"

#include <algorithm>
#include <cstdint>

#include "analysis/sourceRecord.h"
#include "classShared/HexData.h"
#include "classShared/Value.h"
#include "classShared/log.h"
#include "platform/Bundle.h"
#include "utils/files.h"
#include "utils/times.h"

namespace tessarin {

namespace {

constexpr std::size_t searchedBytes = 1000;
constexpr std::string_view marker = "\xFF\xFF\x1E\x20";
constexpr std::size_t dateOffset = 13;  // from the marker's start
constexpr std::size_t dateLength = 10;

// The date's ten bytes; nothing when the marker is missing or too near to the end.
std::optional<std::string> dateBytes(std::string_view start) {
  const std::uint64_t offset = offsetOfData(start, marker);
  logFormat("j = {}", offset);
  if (offset == notFound || offset + dateOffset + dateLength > start.size())
    return std::nullopt;
  return std::string(start.substr(offset + dateOffset, dateLength));
}

bool isDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether the text has the form of the other, in which 0 stands for any digit.
bool hasForm(std::string_view text, std::string_view form) {
  return text.size() == form.size() &&
         std::equal(text.begin(), text.end(), form.begin(), [](char own, char asked) {
           return asked == '0' ? own >= '0' && own <= '9' : own == asked;
         });
}

}  // namespace

Arguments recordingTimeCommand(const std::string& path) {
  return {Bundle::main().toolPath("gettimestamps"), "--file", path};
}

void addRecordingTime(std::string_view toolOutput, const std::string& path, Source& source) {
  // "stream : 2010-12-24 14.05.33"
  const std::string_view line = textUpTo(toolOutput, "\n");
  const std::string_view time = trimmed(textAfter(line, " : ").value_or(""));
  takeRecordingFacts(toolOutput, source.recording);
  auto by = recordedByOfWord(textUpTo(toolOutput, " : "));
  if (by == RecordedBy::file)
    by.reset();  // the tool does not say that
  if (by && hasForm(time, "0000-00-00 00.00.00")) {
    source.recorded = replaceAll(time, ".", ":");
    source.recordedBy = by;
  } else if (by == RecordedBy::card) {
    source.recordedBy = by;
  } else if (const auto date = fileCreationDate(path)) {
    source.recorded = dateDescription(*date);
    source.recordedBy = RecordedBy::file;
  }
}

std::optional<RecordingDate> recordingDate(std::string_view path) {
  const auto start = readFileStart(path, searchedBytes);
  if (!start)
    return std::nullopt;
  const auto text = dateBytes(*start);
  if (!text)
    return std::nullopt;
  logFormat("dateData : {}", Value(Bytes(text->begin(), text->end())).description());
  const std::uint64_t separator = offsetOfData(*text, ".");
  logFormat("separateurInt = {}", separator);

  RecordingDate date;
  if (separator == 2) {
    logLine("date eu");
    date = {text->substr(0, 2), text->substr(3, 2), text->substr(6, 4)};
  } else if (separator == 4) {
    logLine("date us");
    date = {text->substr(8, 2), text->substr(5, 2), text->substr(0, 4)};
  } else {
    logLine("date us / en :-(");
    return std::nullopt;
  }
  if (!isDigits(date.day + date.month + date.year))
    return std::nullopt;
  logFormat("{} / {} / {}", date.day, date.month, date.year);
  return date;
}

bool recordingDateStamp(std::string_view path) {
  return recordingDate(path).has_value();
}

}  // namespace tessarin
