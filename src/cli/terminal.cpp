#include "cli/terminal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "classShared/TextAdditions.h"

namespace tessarin::cli {

void openMissingStreams() {
  int descriptor = -1;
  do {
    descriptor = ::open("/dev/null", O_RDWR);  // takes the lowest free number
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0)
    ::close(descriptor);
}

bool isTerminal(int descriptor) {
  return ::isatty(descriptor) == 1;
}

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

void complain(std::string_view reason) {
  writeText(stderr, fmt::format("tessarin: {}\n", reason));
}

std::size_t terminalWidth(int descriptor) {
  winsize size{};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
    return size.ws_col;
  return 80;
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::string_view character = firstCharacters(text, 1);
    const auto byte = static_cast<unsigned char>(character.front());
    // C1 controls, U+0080 to U+009F, are 0xC2 and a byte below 0xA0.
    const bool isSecondControl =
        character.size() == 2 && byte == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    if (character == "\n")
      shown += "\\n";
    else if (byte < 0x20 || byte == 0x7F || isSecondControl || !isUtf8(character))
      for (const char each : character)
        shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(each));
    else
      shown += character;
    text.remove_prefix(character.size());
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
