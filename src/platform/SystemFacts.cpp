#include "platform/SystemFacts.h"

#include <fmt/format.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "classShared/TextAdditions.h"

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

std::string machineName() {
  utsname names{};
  return ::uname(&names) == 0 ? names.machine : std::string();
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

double processAge() {
  std::ifstream stream("/proc/self/stat");
  const std::string facts{std::istreambuf_iterator<char>(stream), {}};
  // The 22nd field, counted from the end of the name, which may hold blanks.
  const std::size_t name = facts.rfind(')');
  const auto fields = split(std::string_view(facts).substr(std::min(name + 2, facts.size())), " ");
  constexpr std::size_t startTime = 22 - 3;
  timespec now{};
  if (fields.size() <= startTime || ::clock_gettime(CLOCK_BOOTTIME, &now) != 0)
    return -1;
  const double ticks = static_cast<double>(leadingInteger(fields[startTime]));
  const double start = ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
  return 1e3 * (static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec) - start);
}

std::vector<std::string> processEnvironment() {
  std::vector<std::string> entries;
  for (char** entry = ::environ; *entry != nullptr; ++entry)
    entries.emplace_back(*entry);
  return entries;
}

int processorCount() {
  return static_cast<int>(std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN)));
}

}  // namespace tessarin
