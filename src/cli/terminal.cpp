#include "cli/terminal.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/Utf8.h"
#include "platform/openFiles.h"

namespace tessarin::cli {

namespace {

bool steersTerminal(char32_t character) {
  const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
  // What turns the direction of writing, and with it the order in which letters are shown.
  const bool isDirection = character == 0x061C || character == 0x200E || character == 0x200F ||
                           (character >= 0x202A && character <= 0x202E) ||
                           (character >= 0x2066 && character <= 0x2069);
  return isControl || isDirection;
}

}  // namespace

bool canRewriteLine(int descriptor) {
  const char* terminal = std::getenv("TERM");
  return isTerminal(descriptor) && terminal != nullptr && std::string_view(terminal) != "dumb";
}

int writeText(std::FILE* stream, std::string_view text) {
  errno = 0;
  const bool isWritten =
      std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
  return isWritten ? 0 : errno;
}

bool writeOutput(std::string_view text) {
  const int error = writeText(stdout, text);
  if (error != 0 && error != EPIPE)
    complain(fmt::format("standard output: {}", systemReason(error)));
  return error == 0;
}

void complain(std::string_view reason) {
  writeText(stderr, fmt::format("tessarin: {}\n", printable(reason)));
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    std::string_view rest = text;
    const char32_t character = takeUtf8(rest);
    const std::string_view bytes = text.substr(0, text.size() - rest.size());
    text = rest;
    if (character == '\n')
      shown += "\\n";
    else if (steersTerminal(character) || !isUtf8(bytes))
      for (const char each : bytes)
        shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(each));
    else
      shown += bytes;
  }
  return shown;
}

std::string shellQuoted(std::string_view argument) {
  constexpr std::string_view plain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789%+,-./:=@_";
  if (!argument.empty() && argument.find_first_not_of(plain) == std::string_view::npos)
    return std::string(argument);
  return "'" + replaceAll(argument, "'", "'\\''") + "'";
}

}  // namespace tessarin::cli
