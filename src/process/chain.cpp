#include "process/chain.h"

#include <algorithm>
#include <utility>

#include "classShared/Value.h"
#include "process/toolEnvironment.h"
#include "utils/files.h"

namespace tessarin {

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
      Outcome<Pipe> made = makePipe();
      if (!made)
        return Failure{made.reason()};
      pipe = std::move(*made);
      command.output = ChildStream::descriptor(pipe.writeEnd.number());
    } else {
      command.output = output;
      command.error = error;
    }
    Outcome<ChildProcess> child = ChildProcess::start(command);
    if (!child)
      return Failure{child.reason()};
    children.push_back(std::move(*child));
    previousOutput = std::move(pipe.readEnd);
  }
  return children;
}

void waitForAll(std::vector<ChildProcess>& children, std::chrono::milliseconds longest) {
  using std::chrono::steady_clock;
  const steady_clock::time_point end = steady_clock::now() + longest;
  for (ChildProcess& child : children) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
    child.waitFor(std::max(left, std::chrono::milliseconds(0)));
  }
}

}  // namespace tessarin
