#include "tools/joinclips/plainJoint.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "classShared/descriptorBytes.h"
#include "platform/Descriptor.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

bool isPlainlyJoined(const std::string& path) {
  using namespace std::string_view_literals;
  const Descriptor file = openFile(path, OpenFor::reading);
  std::array<char, 4> head{};
  if (!file.isOpen() || readAt(file.number(), head.data(), head.size(), 0) < head.size())
    return false;
  const std::string_view begin(head.data(), head.size());
  return begin == "\0\0\1\xBA"sv || begin.starts_with("\x1F\x07\0"sv);
}

Outcome<bool> joinPlainly(const std::vector<std::string>& files, bool isList) {
  std::string buffer(256U << 10, '\0');
  std::uint64_t place = 0;
  for (const std::string& path : files) {
    const Descriptor file = openFile(path, OpenFor::reading);
    if (!file.isOpen())
      return Failure{path + ": " + systemReason(errno)};
    std::uint64_t done = 0;
    while (true) {
      const std::size_t count = readAt(file.number(), buffer.data(), buffer.size(), done);
      if (count < buffer.size() && errno != 0)
        return Failure{path + ": " + systemReason(errno)};
      if (!isList && !writeAll(standardOutput, std::string_view(buffer).substr(0, count))) {
        if (errno == EPIPE)  // who reads it has enough
          return true;
        return Failure{"the stream cannot be written: " + systemReason(errno)};
      }
      done += count;
      if (count < buffer.size())
        break;
    }
    if (isList)
      fmt::print("byte {}\n", place);
    place += done;
  }
  return true;
}

}  // namespace tessarin::joining
