#include "process/pipelines.h"

#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include "classShared/Value.h"
#include "classShared/log.h"
#include "platform/Alerts.h"
#include "platform/Bundle.h"
#include "platform/SystemFacts.h"
#include "process/chain.h"
#include "process/toolEnvironment.h"
#include "utils/files.h"
#include "utils/text.h"

namespace tessarin {

namespace {

using std::chrono::steady_clock;

// Runs the commands to their end, the last one with its output, and its errors too when wanted, on
// one pipe.
std::optional<std::string> outputOfChain(std::vector<ChildSetup> commands, bool withErrors) {
  Outcome<Pipe> pipe = makePipe();
  if (!pipe) {
    logFormat("pipelines           :-( {}", pipe.reason());
    return std::nullopt;
  }
  const ChildStream result = ChildStream::descriptor(pipe->writeEnd.number());
  auto children = startChain(std::move(commands), result, withErrors ? result : ChildStream::log());
  if (!children) {
    logFormat("pipelines           :-( {}", children.reason());
    return std::nullopt;
  }
  pipe->writeEnd.close();
  const auto end = steady_clock::now() + longestBlockingRun;
  std::string bytes;
  const bool isWhole = readToEnd(pipe->readEnd, end, [&bytes](std::string_view piece) {
    bytes.append(piece);
    return bytes.size() <= longestBlockingOutput;
  });
  if (!isWhole || !children->back().waitFor(
                      std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()))) {
    logFormat("pipelines           :-( {} is not ready", children->back().pid());
    return std::nullopt;
  }
  waitForAll(*children, ChildProcess::goingTime);
  auto text = decodedOutput(std::move(bytes));
  return text && !isBlankOutput(*text) ? text : std::nullopt;
}

std::string segmentsDescription(const std::vector<Arguments>& segments) {
  List lists;
  for (const Arguments& segment : segments)
    lists.emplace_back(List(segment.begin(), segment.end()));
  return Value(std::move(lists)).description();
}

// The environment as it is before the tools' own entries.
std::string ownEnvironmentDescription() {
  return argumentsDescription(processEnvironment());
}

// The one or two tools of taskArray1PipeMax; nothing when the list is wrong.
std::optional<std::vector<ChildSetup>> commandsOfOnePipe(const Arguments& arguments) {
  std::vector<ChildSetup> commands{toolCommand(toolArgument(arguments.front()), {})};
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const std::string argument = toolArgument(arguments[index]);
    if (argument != "|") {
      commands.back().arguments.push_back(argument);
      continue;
    }
    if (commands.size() > 1) {
      userAlerts().show({"taskArray1PipeMax is limited to one pipe only (actually) :-(",
                         joinTexts(arguments, " "),
                         {},
                         {},
                         Alert::Style::critical});
      return std::nullopt;
    }
    if (++index == arguments.size())
      return std::nullopt;
    const std::string second = toolArgument(arguments[index]);
    debugFormat("taskArray1PipeMax   - 1-0 : '{}'", second);
    if (!pathExists(second))
      return std::nullopt;
    // On purpose without the tool environment.
    commands.push_back(ChildSetup{second, {}});
  }
  if (commands.front().arguments.empty())
    return std::nullopt;
  return commands;
}

}  // namespace

bool isBlankOutput(std::string_view text) {
  return text.empty() || text == " " || text == "\n" || text == " \n";
}

std::optional<std::string> decodedOutput(std::string bytes) {
  if (isUtf8(bytes))
    return bytes;
  return std::nullopt;
}

std::optional<std::string> taskArrayPipes(const Arguments& arguments) {
  logLine("taskArrayPipes      - begin");
  if (arguments.empty() || !pathExists(arguments.front()))
    return std::nullopt;
  const auto segments = splitCommands(arguments);
  if (!segments)
    return std::nullopt;
  if (debugMode())
    logFormat("separatedArgsByTasksMa : {}", segmentsDescription(*segments));
  if (verboseLevel(1))
    logFormat("env pre             : {}", ownEnvironmentDescription());
  std::vector<ChildSetup> commands;
  commands.reserve(segments->size());
  for (const Arguments& segment : *segments) {
    commands.push_back(toolCommand(segment.front(), Arguments(segment.begin() + 1, segment.end())));
  }
  if (debugMode())
    logFormat("env post            : {}", argumentsDescription(*commands.front().environment));
  for (const ChildSetup& command : commands) {
    if (!pathExists(command.program)) {
      logFormat("taskArrayPipes      :-( tool !present '{}'", command.program);
      return std::nullopt;
    }
    if (debugMode())
      logFormat("taskArrayPipes      : ma {}", argumentsDescription(command.arguments));
  }
  return outputOfChain(std::move(commands), true);
}

std::optional<std::string> taskArray1PipeMax(const Arguments& arguments,
                                             bool captureStandardError) {
  logLine("taskArray1PipeMax   - begin");
  if (arguments.empty() || !pathExists(arguments.front()))
    return std::nullopt;
  auto commands = commandsOfOnePipe(arguments);
  if (!commands)
    return std::nullopt;
  if (verboseLevel(1)) {
    logFormat("taskArray1PipeMax   - task args : {}",
              argumentsDescription(commands->front().arguments));
    logFormat(
        "taskArray1PipeMax   - task Piped args : {}",
        argumentsDescription(commands->size() > 1 ? commands->back().arguments : Arguments()));
  }
  return outputOfChain(std::move(*commands), captureStandardError);
}

std::optional<std::string> taskWithStrArgs(const std::string& commandLine,
                                           const std::string& currentFolder) {
  const std::string bundleTools = joinPath(Bundle::main().resourcePath(), "tools");
  ChildSetup shell = toolCommand(
      "/bin/sh", {"-c", findAndReplace(commandLine, bundleTools, workToolsFolder(), false)});
  if (isDirectory(currentFolder)) {
    shell.workingFolder = expandTilde(currentFolder);
    logFormat("cd : {}", currentFolder);
  }
  Outcome<Pipe> pipe = makePipe();
  if (!pipe) {
    logFormat("pipelines           :-( {}", pipe.reason());
    return std::nullopt;
  }
  shell.output = ChildStream::descriptor(pipe->writeEnd.number());
  Outcome<ChildProcess> child = ChildProcess::start(shell);
  if (!child) {
    logFormat("pipelines           :-( {}", child.reason());
    return std::nullopt;
  }
  if (!child->waitFor(longestBlockingRun)) {
    logFormat("pipelines           :-( {} is not ready", commandLine);
    return std::nullopt;
  }
  debugFormat("task release");
  // What lies in the pipe now is the whole output. A process that the shell left behind may hold
  // the pipe open: its end is not waited for.
  pipe->writeEnd.close();
  std::string bytes;
  readToEnd(pipe->readEnd, steady_clock::now(), [&bytes](std::string_view piece) {
    bytes = piece;
    return false;
  });
  std::string text = decodedOutput(std::move(bytes)).value_or("");
  if (endsWith(text, "\n"))
    text.pop_back();
  debugFormat("str                 :   '{}'", text);
  if (text.empty()) {
    logFormat("str                 :-/ '{}'", text);
    return std::nullopt;
  }
  return text;
}

}  // namespace tessarin
