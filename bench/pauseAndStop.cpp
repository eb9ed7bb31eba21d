// How soon a pause and a stop take effect while a clip is converted. A pause is to hold every
// thread of the tool within 100 ms, which then uses no processor time; after a stop there is to be
// neither a child nor a partial movie within a second. The counters hold the worst of all rounds.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "core/appDelegate.h"
#include "platform/PollRunLoop.h"
#include "platform/UserDomain.h"
#include "support.h"
#include "utils/files.h"

namespace {

using namespace tessarin;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::filesystem::path> threadsOfChildren() {
  std::vector<std::filesystem::path> threads;
  const std::string own = "/proc/self/task/" + std::to_string(::getpid()) + "/children";
  const std::string children = contentOf(own);
  for (const std::string_view child : split(trimmed(children), " ")) {
    std::error_code failed;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::string(child) + "/task", failed))
      if (!child.empty())
        threads.push_back(thread.path());
  }
  return threads;
}

bool areStopped(const std::vector<std::filesystem::path>& threads) {
  return std::all_of(threads.begin(), threads.end(), [](const auto& thread) {
    const std::string stat = contentOf(thread / "stat");
    const std::size_t name = stat.rfind(')');
    return name != std::string::npos && stat.substr(name + 2, 1) == "T";
  });
}

// Nanoseconds of processor time.
std::int64_t used(const std::vector<std::filesystem::path>& threads) {
  std::int64_t sum = 0;
  for (const auto& thread : threads)
    sum += leadingInteger(contentOf(thread / "schedstat"));
  return sum;
}

class Conversion {
 public:
  Conversion() {
    if (!codecInventory().prores)
      takeCodecInventory();
    preferences_.prefWrite(PrefKey::alertEnd, 0);
    app_.interface.destination.setText(temporaryFolder());
    app_.queue().finished.connect([this] { loop_.stop(0); });
    app_.driver().batchEnded.connect([this] { loop_.stop(0); });
    app_.driver().jobEnded.connect([this](const JobEnd& end) { reason_ = end.reason; });
  }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  void analyse(const std::string& clip) {
    app_.draggedFiles({clip});
    loop_.run();
  }
  void serve(milliseconds time) {
    loop_.runAfter(time, [this] { loop_.stop(0); });
    loop_.run();
  }
  appDelegate& app() { return app_; }
  // Why the conversion ended, in the user's language.
  const std::string& reason() const { return reason_; }
  PollRunLoop& loop() { return loop_; }
  static std::string movies() { return joinPath(temporaryFolder(), "Tessarin"); }

 private:
  NoLog log_;
  std::string reason_;
  PollRunLoop loop_;
  MemoryUserDomain domain_;
  PreferenceStore preferences_{domain_};
  NoAlerts alerts_;
  appDelegate app_{CoreServices{loop_, preferences_, alerts_, {}}};
};

void pauseAndStop(benchmark::State& state) {
  const std::string clip = joinPath(temporaryFolder(), "clip.mts");
  const std::string make =
      "ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=s=1920x1080:r=50:d=20,format=yuv420p,"
      "tinterlace=interleave_top,setfield=tff -c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 8 "
      "-f mpegts " +
      clip;
  if (std::system(make.c_str()) != 0) {
    state.SkipWithError("no clip");
    return;
  }
  double longestPause = 0;
  double usedWhilePaused = 0;
  double longestStop = 0;
  int left = 0;
  int round = 0;
  for (auto unused : state) {
    static_cast<void>(unused);
    Conversion conversion;
    conversion.analyse(clip);
    conversion.app().iba_batchGoBt();
    conversion.serve(milliseconds(300 + 37 * (round++ % 20)));
    const auto threads = threadsOfChildren();
    if (threads.empty()) {
      state.SkipWithError(("not converting: " + conversion.reason()).c_str());
      break;
    }
    const auto pauseStart = Clock::now();
    conversion.app().interface.encoding.stopBt.select(pauseSegment);
    conversion.app().iba_taskStopBt();
    while (!areStopped(threads))
      std::this_thread::yield();
    longestPause = std::max(longestPause, millisecondsSince(pauseStart));

    const std::int64_t before = used(threads);
    conversion.serve(milliseconds(500));
    usedWhilePaused = std::max(usedWhilePaused, static_cast<double>(used(threads) - before) / 1e6);
    conversion.app().iba_taskStopBt();
    conversion.serve(milliseconds(50));

    const auto stopStart = Clock::now();
    conversion.app().driver().stop();
    conversion.loop().run();  // to the end of the batch
    longestStop = std::max(longestStop, millisecondsSince(stopStart));
    left += threadsOfChildren().empty() && std::filesystem::is_empty(conversion.movies()) ? 0 : 1;
  }
  state.counters["pauseMs"] = longestPause;
  state.counters["usedWhilePausedMs"] = usedWhilePaused;
  state.counters["stopMs"] = longestStop;
  state.counters["roundsThatLeftSomething"] = left;
  removeTemporaryFolder();
}
BENCHMARK(pauseAndStop)->Iterations(40)->Unit(benchmark::kMillisecond);

}  // namespace
