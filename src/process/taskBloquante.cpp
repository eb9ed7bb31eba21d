#include "process/taskBloquante.h"

#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string_view>
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
void* runShell(void* argument) {
  ShellRun& run = *static_cast<ShellRun*>(argument);
  Outcome<Pipe> pipe = makePipe();
  if (!pipe) {
    logFormat("taskBloquante       :-( {}", pipe.reason());
    return nullptr;
  }
  run.setup.output = ChildStream::descriptor(pipe->writeEnd.number());
  run.setup.error = run.setup.output;
  Outcome<ChildProcess> child = ChildProcess::start(run.setup);
  pipe->writeEnd.close();
  if (!child) {
    logFormat("taskBloquante       :-( {}", child.reason());
    return nullptr;
  }
  const auto end = std::chrono::steady_clock::now() + longestBlockingRun;
  const bool isWhole = readToEnd(pipe->readEnd, end, [&run](std::string_view piece) {
    run.text += piece.substr(0, piece.find('\0'));
    return run.text.size() <= longestBlockingOutput;
  });
  if (!isWhole || !child->waitFor(std::chrono::ceil<std::chrono::milliseconds>(
                      end - std::chrono::steady_clock::now())))
    run.text.clear();
  return nullptr;
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

  pthread_t thread{};
  if ((errno = ::pthread_create(&thread, nullptr, runShell, &run)) != 0) {
    std::perror("pthread_create failed");
    return std::nullopt;
  }
  if ((errno = ::pthread_join(thread, nullptr)) != 0) {
    std::perror("pthread_join failed");
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
