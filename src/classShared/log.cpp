#include "classShared/log.h"

#include <fmt/chrono.h>

#include <atomic>
#include <chrono>
#include <string>

#include "classShared/descriptorBytes.h"

namespace tessarin {

namespace {

int descriptor = -1;
bool isKeptFromTerminal = false;
std::atomic<bool> debugFlag = false;  // threads ask, too

constexpr std::size_t longestText = 1u << 20;

struct Growth {
  std::size_t step = 0;  // bytes; 0: nobody wants to know
  std::function<void()> grown;
  std::atomic<std::size_t> bytes = 0;  // since the last call
};

Growth& growth() {
  static Growth watched;
  return watched;
}

LogHandler& handler() {
  static LogHandler function;
  return function;
}

// The local time to the millisecond, as the lines of a log carry it.
std::string timeStamp() {
  const auto now = std::chrono::system_clock::now();
  const auto sinceEpoch = now.time_since_epoch();
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count() % 1000;
  return fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03}",
                     fmt::localtime(std::chrono::system_clock::to_time_t(now)), milliseconds);
}

}  // namespace

void logLine(std::string_view text) {
  if (handler()) {
    handler()(text);
    return;
  }
  if (descriptor < 0 && isKeptFromTerminal)
    return;
  const std::string line =
      fmt::format("{} Tessarin[{}] {}\n", timeStamp(), processId(), text.substr(0, longestText));
  if (!writeAll(logDescriptor(), line))
    return;  // a log that cannot be written must not stop the program
  Growth& watched = growth();
  if (watched.step > 0 && (watched.bytes += line.size()) >= watched.step) {
    watched.bytes = 0;
    watched.grown();
  }
}

void setLogGrowth(std::size_t bytes, std::function<void()> grown) {
  growth().grown = std::move(grown);
  growth().step = growth().grown ? bytes : 0;
}

void setLogDescriptor(int newDescriptor) {
  descriptor = newDescriptor;
}

void keepLogFromTerminal() {
  isKeptFromTerminal = true;
}

int logDescriptor() {
  return descriptor >= 0 ? descriptor : standardError;
}

void setLogHandler(LogHandler newHandler) {
  handler() = std::move(newHandler);
}

bool debugMode() {
  return debugFlag;
}

void setDebugMode(bool on) {
  debugFlag = on;
}

bool verboseLevel(int) {
  return false;
}

}  // namespace tessarin
