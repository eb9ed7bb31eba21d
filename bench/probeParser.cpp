// How fast a whole report at the debug level becomes a record. The report is a real one, its
// packet lines repeated to the size wanted before the input's block, inside and behind it, as long
// sources have them. The parser is to take in at least 100 MB of report per second.
#include "analysis/probeParser.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "analysis/timing.h"
#include "classShared/log.h"
#include "ffmpeg/ffmpegSuccess.h"

namespace {

// The report of the analysis run on half a second of MPEG-2 with sound.
std::string realReport() {
  constexpr const char* line =
      "ffmpeg -v error -f lavfi -i testsrc2=s=720x576:r=25:d=0.5 -f lavfi -i sine=d=0.5 "
      "-c:v mpeg2video -c:a mp2 -f mpegts - | ffmpeg -loglevel debug -fdebug ts -i - -vframes 10 "
      "-pix_fmt yuv420p -an -f yuv4mpegpipe -y /dev/null 2>&1";
  std::string report;
  FILE* output = ::popen(line, "r");  // NOLINT(cert-env33-c)
  if (output == nullptr)
    return report;
  std::array<char, 65536> buffer = {};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), output))
    report.append(buffer.data(), count);
  ::pclose(output);
  return report;
}

// The lines that ffmpeg prints for packets: those that begin with a context in brackets.
std::string packetLines(std::string_view text) {
  std::string lines;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n') + 1);
    if (line.empty())
      break;
    if (line.starts_with('['))
      lines += line;
    text.remove_prefix(line.size());
  }
  return lines;
}

std::string reportOfSize(std::size_t size) {
  static const std::string real = realReport();
  const std::size_t input = real.find("Input #0, ");
  const std::size_t output = real.find("Output #0, ");
  if (input == std::string::npos || output == std::string::npos)
    return {};
  const std::string packets = packetLines(std::string_view(real).substr(0, input));
  std::string report = real.substr(0, input);
  const auto growTo = [&](std::size_t target) {
    while (report.size() < target)
      report += packets;
  };
  growTo(size / 3);
  report.append(real, input, output - input);
  growTo(size / 3 * 2);
  report.append(real, output);
  growTo(size);
  return report;
}

template <class Read>
void readReport(benchmark::State& state, Read read) {
  tessarin::setLogHandler([](std::string_view) {});
  const std::string report = reportOfSize(static_cast<std::size_t>(state.range(0)));
  if (report.empty()) {
    state.SkipWithError("no report; is ffmpeg installed?");
    return;
  }
  for (auto unused : state) {
    static_cast<void>(unused);
    benchmark::DoNotOptimize(read(report));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(report.size()) * state.iterations());
  tessarin::setLogHandler({});
}

void ffInfosOfReport(benchmark::State& state) {
  readReport(state,
             [](const std::string& report) { return tessarin::ffInfos(report, std::nullopt); });
}
void analysisFfOfReport(benchmark::State& state) {
  readReport(state, [](const std::string& report) {
    return tessarin::analysisFf(report, tessarin::Fields::topFirst, "");
  });
}
void startOffsetsOfReport(benchmark::State& state) {
  readReport(state, [](const std::string& report) {
    tessarin::Source source;
    tessarin::addOffsets(report, source);
    return source;
  });
}
void verdictOfReport(benchmark::State& state) {
  readReport(state, [](const std::string& report) { return tessarin::isFfmpegSuccess(report); });
}

constexpr std::int64_t small = 1 << 20;
constexpr std::int64_t large = 32 << 20;

BENCHMARK(ffInfosOfReport)->Arg(small)->Arg(large)->Unit(benchmark::kMillisecond);
BENCHMARK(analysisFfOfReport)->Arg(small)->Arg(large)->Unit(benchmark::kMillisecond);
BENCHMARK(startOffsetsOfReport)->Arg(small)->Arg(large)->Unit(benchmark::kMillisecond);
BENCHMARK(verdictOfReport)->Arg(small)->Arg(large)->Unit(benchmark::kMillisecond);

}  // namespace
