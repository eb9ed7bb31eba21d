#include "ffmpeg/failureWords.h"

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/toolLine.h"

namespace tessarin {

namespace {

// As the C library words them where no language is set, which ffmpeg never does.
constexpr std::array<std::string_view, 13> systemReasons{"No space left on device",
                                                         "Disk quota exceeded",
                                                         "File too large",
                                                         "Read-only file system",
                                                         "Permission denied",
                                                         "No such file or directory",
                                                         "Is a directory",
                                                         "Input/output error",
                                                         "Too many open files",
                                                         "Cannot allocate memory",
                                                         "Stale file handle",
                                                         "No such device",
                                                         "Resource temporarily unavailable"};

// What ffmpeg adds behind the failure of one of its parts.
constexpr std::array<std::string_view, 13> consequences{
    "Error initializing output stream",
    "Error while processing the decoded data",
    "Error configuring filter graph",
    "Error reinitializing filters",
    "Error configuring complex filters",
    "Failed to inject frame into filter network",
    "Output file is empty",
    "Output file does not contain any stream",
    "Nothing was written into output file",
    "Error writing trailer of",
    "Error closing file",
    "Task finished with error code",
    "Terminating thread with return code"};

bool hasSystemReason(std::string_view line) {
  return std::any_of(systemReasons.begin(), systemReasons.end(),
                     [line](std::string_view reason) { return contains(line, reason); });
}

}  // namespace

std::optional<std::string_view> wordsOfReader(std::string_view line) {
  for (const std::string_view reader : {"joinclips: ", "joinmxf: "})
    if (startsWith(line, reader))
      return line.substr(reader.size());
  return std::nullopt;
}

std::string_view failureWords(std::string_view output) {
  std::string_view cause;
  std::string_view consequence;
  ReportLines lines(output);
  while (const auto line = lines.next()) {
    // The contents of the files, which may say anything, are printed with blanks before them.
    const std::string_view words = trimmed(withoutMarks(*line).words);
    if (startsWith(*line, " ") || words.empty() || isAccount(words))
      continue;
    if (hasSystemReason(words) || wordsOfReader(words))
      return words;
    (beginsWithOne(words, consequences) ? consequence : cause) = words;
  }
  return cause.empty() ? consequence : cause;
}

}  // namespace tessarin
