// What a row and a waiting source cost, with few and with many of them. A row is to be appended and
// validated in less than a millisecond whether it is the hundredth or the ten-thousandth, to take
// less than 10 KB of memory, and storing it is to cost the same as well; a source is to be taken
// off the queue and refused in the same time whether ten or ten thousand wait.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "core/BatchRecorder.h"
#include "jobs/newRow.h"
#include "platform/Bundle.h"
#include "platform/PollRunLoop.h"
#include "support.h"
#include "utils/files.h"

namespace {

using namespace tessarin;

// A controller without log lines.
struct Program {
  NoLog log;
  PollRunLoop loop;
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  NoAlerts alerts;
  CoreServices services{loop, preferences, alerts, {}};
  appDelegate app{services};
};

// An AVCHD clip as the analysis knows it.
Source source(int number) {
  return *sourceOfRecord({{"a0_bitrate", 256},
                          {"a0_channels", 2},
                          {"a0_codec", "ac3"},
                          {"a0_id", 1},
                          {"a0_offsetDts", 40},
                          {"a0_rate", 48000},
                          {"v0_chroma", "yuv420p"},
                          {"v0_codec", "h264"},
                          {"v0_dar", "16:9"},
                          {"v0_fields", "TFF"},
                          {"v0_fps", 25.0},
                          {"v0_height", 1080},
                          {"v0_id", 0},
                          {"v0_offsetDts", 40},
                          {"v0_par", "1:1"},
                          {"v0_width", 1920},
                          {"w_bitrate", 17216},
                          {"w_duration", 63.5},
                          {"w_offset", 1.4},
                          {"wrapper", "mpegts"},
                          {"prefSurrond", 0},
                          {"srcPathStr", "/media/user/CAMCORDER/AVCHD/BDMV/STREAM/" +
                                             std::to_string(100000 + number) + ".MTS"}});
}

void appendRow(appDelegate& app, int number) {
  const int row = app.table().append(newRow(source(number), {outProres, 0}));
  app.table().iba_outSpeedCell(row);
}

void fill(appDelegate& app, int rows) {
  for (int number = 0; number < rows; ++number)
    appendRow(app, number);
}

// The time of one row when there are this many.
void rowAppendedAndValidated(benchmark::State& state) {
  constexpr int group = 100;
  const int rows = static_cast<int>(state.range(0));
  for (auto unused : state) {
    static_cast<void>(unused);
    state.PauseTiming();
    auto program = std::make_unique<Program>();
    fill(program->app, rows - group);
    state.ResumeTiming();
    for (int number = rows - group; number < rows; ++number)
      appendRow(program->app, number);
    state.PauseTiming();
    program.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * group);
}
BENCHMARK(rowAppendedAndValidated)
    ->Arg(100)
    ->Arg(10000)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

void memoryOfARow(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  double bytes = 0;
  for (auto unused : state) {
    static_cast<void>(unused);
    Program program;
    const std::size_t before = ::mallinfo2().uordblks;
    fill(program.app, rows);
    bytes = static_cast<double>(::mallinfo2().uordblks - before);
  }
  state.counters["bytesPerRow"] = bytes / rows;
}
BENCHMARK(memoryOfARow)->Arg(100)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

// What one changed row takes of the main thread until it has been handed to the disk, with this
// many stored.
void rowHandedToTheDisk(benchmark::State& state) {
  Program program;
  const std::string folder = joinPath(temporaryFolder(), "batches");
  BatchRecorder recorder(program.app, program.services, folder);
  fill(program.app, static_cast<int>(state.range(0)));
  const auto flush = [&program] {
    program.loop.runAfter(std::chrono::milliseconds(51), [&program] { program.loop.stop(0); });
    program.loop.run();
  };
  flush();
  std::int64_t value = 0;
  for (auto unused : state) {
    static_cast<void>(unused);
    program.app.table().set(0, &Row::reason, std::to_string(++value));
    // Without the time in which changes are gathered.
    const auto start = std::chrono::steady_clock::now();
    flush();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(std::max(0.0, taken.count() - 0.051));
  }
  recorder.discard();
  removeTemporaryFolder();
}
BENCHMARK(rowHandedToTheDisk)->Arg(10)->Arg(10000)->UseManualTime()->Unit(benchmark::kMillisecond);

// A resources folder with another ffmpeg, so that what is left is the queue's own work and the
// start of a process.
class FakeTools {
 public:
  explicit FakeTools(const std::string& tool) : before_(Bundle::main()) {
    const std::string resources = joinPath(temporaryFolder(), "resources");
    std::filesystem::create_directories(joinPath(resources, "tools"));
    std::filesystem::copy(before_.resourcePath() + "/Info.plist", resources);
    std::filesystem::copy(tool, joinPath(resources, "tools/ffmpeg"));
    Bundle::setMain(Bundle(resources, {"en"}));
  }
  ~FakeTools() {
    Bundle::setMain(before_);
    removeTemporaryFolder();
  }
  FakeTools(const FakeTools&) = delete;
  FakeTools& operator=(const FakeTools&) = delete;

 private:
  Bundle before_;
};

// The time of one source when this many wait: the first hundred of them are refused, with or
// without a run of the tool.
void sourceTaken(benchmark::State& state, bool isThere) {
  constexpr int group = 100;
  const FakeTools tools("/bin/true");
  const std::string card = joinPath(temporaryFolder(), "card");
  std::filesystem::create_directories(card);
  std::vector<std::string> paths;
  for (int number = 0; number < state.range(0) + group; ++number) {
    paths.push_back(joinPath(card, std::to_string(number) + ".mts"));
    if (isThere)
      std::ofstream(paths.back()) << "no movie";
  }
  for (auto unused : state) {
    static_cast<void>(unused);
    Program program;
    int refused = 0;
    program.app.queue().refused.connect([&](const std::string&, const std::string&) {
      if (++refused == group)
        program.loop.stop(0);
    });
    program.app.queue().takeSources(paths);
    const auto start = std::chrono::steady_clock::now();
    program.loop.run();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count() / group);
    program.app.endTasks();
  }
}
void sourceOfTheQueueAlone(benchmark::State& state) {
  sourceTaken(state, false);
}
void sourceWithATool(benchmark::State& state) {
  sourceTaken(state, true);
}

// Prints the report of an AVCHD clip, writes the header of its frames, and a thumbnail of a kind.
constexpr const char* reportingTool = R"(#!/bin/sh
for last; do :; done
case $last in
*.yuv) echo 'YUV4MPEG2 W1920 H1080 F25:1 It A1:1 C420mpeg2' >"$last" ;;
*) echo >"$last" ;;
esac
echo "Input #0, mpegts, from 'clip.mts':
  Duration: 00:01:03.50, start: 1.400000, bitrate: 17216 kb/s
  Stream #0:0[0x1011]: Video: h264 (High) (HDMV / 0x564D4448), yuv420p(top first), 1920x1080 [SAR 1:1 DAR 16:9], 25 fps, 25 tbr, 90k tbn, key_frame:1 pts_time:1.4 n: 0 iskey:1
  Stream #0:1[0x1100]: Audio: ac3 (AC-3 / 0x332D4341), 48000 Hz, stereo, fltp, 256 kb/s
Output #0, yuv4mpegpipe, to 'frame.yuv':" >&2
)";

// The time of a source from the queue to its validated and stored row when this many wait.
void sourceToRow(benchmark::State& state) {
  constexpr int group = 100;
  const std::string script = joinPath(temporaryFolder(), "tool");
  std::ofstream(script) << reportingTool;
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  const FakeTools tools(script);
  const std::string card = joinPath(temporaryFolder(), "card");
  std::filesystem::create_directories(card);
  std::vector<std::string> paths;
  for (int number = 0; number < state.range(0) + group; ++number) {
    paths.push_back(joinPath(card, std::to_string(number) + ".mts"));
    std::ofstream(paths.back()) << "stands for a movie";
  }
  for (auto unused : state) {
    static_cast<void>(unused);
    Program program;
    BatchRecorder recorder(program.app, program.services, joinPath(temporaryFolder(), "batches"));
    program.app.table().rowAppended.connect([&](int row) {
      if (row + 1 == group)
        program.loop.stop(0);
    });
    program.app.queue().finished.connect([&] { program.loop.stop(1); });
    program.app.queue().takeSources(paths);
    const auto start = std::chrono::steady_clock::now();
    if (program.loop.run() != 0)
      state.SkipWithError("sources were refused");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count() / group);
    program.app.endTasks();
    recorder.discard();
  }
}
BENCHMARK(sourceToRow)
    ->Arg(10)
    ->Arg(10000)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(sourceOfTheQueueAlone)
    ->Arg(10)
    ->Arg(10000)
    ->Iterations(20)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(sourceWithATool)
    ->Arg(10)
    ->Arg(10000)
    ->Iterations(20)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
