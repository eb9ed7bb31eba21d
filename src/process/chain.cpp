#include "process/chain.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "classShared/Value.h"
#include "platform/openFiles.h"
#include "process/toolEnvironment.h"
#include "utils/files.h"

namespace tessarin {

namespace {

using std::chrono::steady_clock;

// As much as a pipe of the system holds.
constexpr std::size_t pieceSize = 65536;

std::chrono::milliseconds until(steady_clock::time_point moment) {
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(moment - steady_clock::now()),
                  std::chrono::milliseconds(0));
}

}  // namespace

std::string toolArgument(const std::string& argument) {
  return contains(argument, "://") ? argument : expandTilde(argument);
}

std::optional<std::vector<Arguments>> splitCommands(const Arguments& arguments) {
  std::vector<Arguments> commands(1);
  for (const std::string& argument : arguments) {
    if (argument != "|")
      commands.back().push_back(toolArgument(argument));
    else if (commands.back().empty())
      return std::nullopt;
    else
      commands.emplace_back();
  }
  if (commands.back().empty())
    return std::nullopt;
  return commands;
}

std::string argumentsDescription(const Arguments& arguments) {
  return Value(List(arguments.begin(), arguments.end())).description();
}

ChildSetup toolCommand(const std::string& program, const Arguments& arguments) {
  ChildSetup setup{program, arguments};
  setup.environment = toolEnvironment();
  return setup;
}

Outcome<std::vector<ChildProcess>> startChain(std::vector<ChildSetup> commands, ChildStream output,
                                              ChildStream error) {
  std::vector<ChildProcess> children;
  children.reserve(commands.size());
  Descriptor previousOutput;
  for (std::size_t index = 0; index < commands.size(); ++index) {
    ChildSetup& command = commands[index];
    if (index > 0)
      command.input = ChildStream::descriptor(previousOutput.number());
    Pipe pipe;
    if (index + 1 < commands.size()) {
      TESSARIN_TAKE(pipe, makePipe());
      command.output = ChildStream::descriptor(pipe.writeEnd.number());
    } else {
      command.output = output;
      command.error = error;
    }
    TESSARIN_TAKE(auto child, ChildProcess::start(command));
    children.push_back(std::move(child));
    previousOutput = std::move(pipe.readEnd);
  }
  return children;
}

bool readToEnd(const Descriptor& pipe, steady_clock::time_point end,
               const std::function<bool(std::string_view)>& take) {
  std::array<char, pieceSize> piece{};
  for (;;) {
    const auto count = readUntil(pipe.number(), piece.data(), piece.size(), end);
    if (!count || *count <= 0)
      return count == 0;
    if (!take({piece.data(), static_cast<std::size_t>(*count)}) || steady_clock::now() >= end)
      return false;
  }
}

void waitForAll(std::vector<ChildProcess>& children, std::chrono::milliseconds longest) {
  const steady_clock::time_point end = steady_clock::now() + longest;
  for (ChildProcess& child : children)
    child.waitFor(until(end));
}

}  // namespace tessarin
