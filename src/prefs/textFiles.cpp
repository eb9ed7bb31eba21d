#include "prefs/textFiles.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "prefs/textEncodings.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// For a path between double quotes in a line for the shell.
std::string escapedForDoubleQuotes(std::string_view path) {
  std::string escaped;
  for (const char character : path) {
    if (contains("\\\"$`", {&character, 1}))
      escaped += '\\';
    escaped += character;
  }
  return escaped;
}

}  // namespace

std::int64_t detectedEncoding(std::string_view bytes) {
  if (startsWith(bytes, "\xFF\xFE") || startsWith(bytes, "\xFE\xFF"))
    return encodingUtf16;
  return isUtf8(bytes) ? encodingUtf8 : 0;
}

std::optional<std::string> readTextFile(const std::string& path) {
  const auto bytes = readWholeFile(path);
  if (!bytes) {
    logFormat("Error reading file at path {}\n{}", path, bytes.reason());
    return std::nullopt;
  }
  const std::int64_t encoding = detectedEncoding(bytes.value());
  if (encoding != 0) {
    debugFormat("encoding            : {}", encoding);
    if (const auto text = decodedText(bytes.value(), encoding))
      return text.value();
  }
  logFormat("encoding            :-/ {} (ascii)", encoding);

  const std::string copy = withExtension(path, "txt");
  if (pathExists(copy)) {
    logFormat("readTextFile        :-( there is a file already: {}", copy);
    return std::nullopt;
  }
  taskWithStrArgs(fmt::format("/bin/cat \"{}\" > \"{}\"", escapedForDoubleQuotes(path),
                              escapedForDoubleQuotes(copy)));
  const auto copied = readWholeFile(copy);
  if (!copied || !isAscii(copied.value()))
    return std::nullopt;
  // Only the option "y" would replace the source: the copy stays beside it.
  moveFile(copy, path, "-y");
  debugFormat("str                 : {}", copied.value());
  return copied.value();
}

std::optional<std::string> readTextFileInEncoding(const std::string& path, std::int64_t number) {
  if (number == 0 || !pathExists(path))
    return std::nullopt;
  const auto bytes = readWholeFile(path);
  const auto text = bytes ? decodedText(bytes.value(), number) : bytes;
  if (!text) {
    logFormat("convertFromEncoding  :-( {}", text.reason());
    return std::nullopt;
  }
  logFormat("convertFromEncoding  :-) {}", path);
  return text.value();
}

}  // namespace tessarin
