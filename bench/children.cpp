// What child processes cost us: the processor time of waiting for one that has closed its output
// (the CPU column; it should be a fraction of a millisecond for half a second of waiting), and the
// time to start and reap one, beside posix_spawn(3), from a small process and from a large one.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "platform/ChildProcess.h"
#include "platform/PollRunLoop.h"
#include "process/taskLauncher.h"

namespace {

using namespace tessarin;

void waitBehindClosedOutput(benchmark::State& state) {
  struct Stopper : TaskLauncherDelegate {
    explicit Stopper(RunLoop& servedLoop) : loop(servedLoop) {}
    void taskLauncherTaskDidEnd(taskLauncher&) override { loop.stop(0); }
    RunLoop& loop;
  };
  while (state.KeepRunning()) {
    PollRunLoop loop;
    Stopper stopper(loop);
    taskLauncher launcher(loop);
    launcher.setDelegate(&stopper);
    if (launcher.launchTasksWithArguments({"/bin/sh", "-c", "exec >&- 2>&-; sleep 0.5"}) != 0) {
      state.SkipWithError("not started");
      return;
    }
    loop.run();
  }
}

// Memory in use by this process, as a window with thumbnails may have.
std::vector<char> touchedMemory(const benchmark::State& state) {
  return std::vector<char>(static_cast<std::size_t>(state.range(0)) << 20, 1);
}

void start(benchmark::State& state) {
  const std::vector<char> memory = touchedMemory(state);
  while (state.KeepRunning()) {
    Outcome<ChildProcess> child = ChildProcess::start({"/bin/true", {}});
    if (!child) {
      state.SkipWithError(child.reason().c_str());
      return;
    }
    child->wait();
  }
  benchmark::DoNotOptimize(memory.data());
}

void posixSpawn(benchmark::State& state) {
  const std::vector<char> memory = touchedMemory(state);
  char program[] = "/bin/true";
  char* const arguments[] = {program, nullptr};
  while (state.KeepRunning()) {
    pid_t pid = -1;
    if (::posix_spawn(&pid, program, nullptr, nullptr, arguments, ::environ) != 0) {
      state.SkipWithError("not started");
      return;
    }
    ::waitpid(pid, nullptr, 0);
  }
  benchmark::DoNotOptimize(memory.data());
}

BENCHMARK(waitBehindClosedOutput)->Iterations(4)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(start)->ArgName("MiB")->Arg(1)->Arg(300)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(posixSpawn)
    ->ArgName("MiB")
    ->Arg(1)
    ->Arg(300)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
