#include "process/taskBloquante.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "classShared/log.h"
#include "platform/ChildProcess.h"
#include "process/chain.h"
#include "process/pipelines.h"

namespace tessarin {

namespace {

struct ShellRun {
  ChildSetup setup;
  std::string text;
};

// The thread. It stays until the shell has exited, because the kernel would kill the shell at the
// end of the thread that started it.
void runShell(ShellRun& run) {
  Outcome<Pipe> pipe = makePipe();
  if (!pipe) {
    logFormat("taskBloquante       :-( {}", pipe.reason());
    return;
  }
  run.setup.output = ChildStream::descriptor(pipe->writeEnd.number());
  run.setup.error = run.setup.output;
  Outcome<ChildProcess> child = ChildProcess::start(run.setup);
  pipe->writeEnd.close();
  if (!child) {
    logFormat("taskBloquante       :-( {}", child.reason());
    return;
  }
  const auto end = std::chrono::steady_clock::now() + longestBlockingRun;
  const bool isWhole = readToEnd(pipe->readEnd, end, [&run](std::string_view piece) {
    run.text += piece.substr(0, piece.find('\0'));
    return run.text.size() <= longestBlockingOutput;
  });
  if (!isWhole || !child->waitFor(std::chrono::ceil<std::chrono::milliseconds>(
                      end - std::chrono::steady_clock::now())))
    run.text.clear();
}

}  // namespace

std::optional<std::string> taskBloquante::verbose(const Arguments& arguments) {
  logFormat("verboseStr argsArray : {}", argumentsDescription(arguments));
  if (arguments.empty())
    return std::nullopt;
  ShellRun run;
  run.setup = toolCommand("/bin/sh", arguments);
  run.setup.arguments.insert(run.setup.arguments.begin(), "-c");
  debugFormat("taskArgs : {}", argumentsDescription(run.setup.arguments));

  try {
    std::thread(runShell, std::ref(run)).join();
  } catch (const std::system_error& error) {
    errno = error.code().value();
    std::perror("pthread_create failed");
    return std::nullopt;
  }
  logLine("pipe release");
  logLine("outString release");
  auto text = decodedOutput(std::move(run.text));
  logFormat("newstr pre-def : {}", text.value_or(""));
  if (text && endsWith(*text, "\n"))
    text->pop_back();
  logFormat("newstr def : {}", text.value_or(""));
  return text && !text->empty() ? text : std::nullopt;
}

}  // namespace tessarin
