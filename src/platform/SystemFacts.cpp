#include "platform/SystemFacts.h"

#include <fmt/format.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace tessarin {

namespace {

// The value of NAME=value or NAME="value"; the last one counts, as in the shell.
std::string assigned(const std::string& osRelease, const std::string& name) {
  std::string value;
  std::istringstream lines(osRelease);
  for (std::string line; std::getline(lines, line);)
    if (line.compare(0, name.size() + 1, name + "=") == 0)
      value = line.substr(name.size() + 1);
  const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                      value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

std::string kernelRelease() {
  utsname names{};
  return ::uname(&names) == 0 ? names.release : std::string();
}

std::string operatingSystemText() {
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    std::ifstream file(path);
    if (file)
      return operatingSystemText(
          std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
  }
  return {};
}

std::string operatingSystemText(const std::string& osRelease) {
  const std::string version = assigned(osRelease, "VERSION_ID");
  const std::string name = assigned(osRelease, "NAME");
  if (version.empty() || name.empty())
    return {};
  return fmt::format("Version {} ({})", version, name);
}

int processorCount() {
  return static_cast<int>(std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN)));
}

}  // namespace tessarin
