// Full-HD frames a second: our Apple Intermediate Codec encoder beside ffmpeg's quickest intra-only
// encoders, on one thread, and on two. All columns are real time, so keep the machine quiet;
// ffmpeg's includes reading its file, which takes it less than half a millisecond a frame.
//
//   aicEncodeBench --benchmark_filter=noise
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/aic/aicEncoder.h"

namespace {

using namespace tessarin;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int frameCount = 25;
constexpr std::size_t lumaSize = std::size_t{width} * height;
constexpr std::size_t frameSize = lumaSize * 3 / 2;

struct Material {
  const char* name;
  const char* source;  // as ffmpeg's lavfi has it
};
constexpr Material materials[] = {
    {"synthetic", "testsrc2=s=1920x1080:r=25"},
    {"gradients", "gradients=s=1920x1080:r=25:seed=1"},
    {"natural/noise3", "mandelbrot=s=1920x1080:r=25,noise=alls=3:allf=t:all_seed=1"},
    {"natural/noise6", "mandelbrot=s=1920x1080:r=25,noise=alls=6:allf=t:all_seed=1"},
    {"synthetic/noise12", "testsrc2=s=1920x1080:r=25,noise=alls=12:allf=t:all_seed=1"},
};

// A folder with each material's frames, gone at the end.
class Clips {
 public:
  Clips() {
    std::string name = std::filesystem::temp_directory_path() / "tessarin-bench-XXXXXX";
    if (::mkdtemp(name.data()) != nullptr)
      folder_ = name;
  }
  ~Clips() { std::filesystem::remove_all(folder_); }
  Clips(const Clips&) = delete;
  Clips& operator=(const Clips&) = delete;

  const std::string& path(const Material& material) {
    std::string& path = paths_[material.name];
    if (path.empty()) {
      path = folder_ + "/" + std::to_string(paths_.size()) + ".yuv";
      const std::string command = "ffmpeg -nostdin -v error -f lavfi -i " +
                                  std::string(material.source) + " -frames:v " +
                                  std::to_string(frameCount) + " -pix_fmt yuv420p " + path;
      if (std::system(command.c_str()) != 0)
        std::fprintf(stderr, "no frames for %s\n", material.name);
    }
    return path;
  }

  std::vector<std::uint8_t> frames(const Material& material) {
    std::vector<std::uint8_t> bytes(frameCount * frameSize);
    std::FILE* file = std::fopen(path(material).c_str(), "rb");
    if (file != nullptr) {
      bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
      std::fclose(file);
    }
    return bytes;
  }

 private:
  std::string folder_;
  std::map<std::string, std::string> paths_;
};

Clips& clips() {
  static Clips folder;
  return folder;
}

void encodeAic(benchmark::State& state, const Material& material, int threads, bool portable) {
  const std::vector<std::uint8_t> frames = clips().frames(material);
  if (frames.size() != frameCount * frameSize) {
    state.SkipWithError("no frames");
    return;
  }
  aic::EncoderSettings settings;
  settings.threads = threads;
  settings.portable = portable;
  aic::Encoder encoder({width, height, false}, settings);
  std::size_t bytes = 0;
  std::size_t count = 0;
  for ([[maybe_unused]] auto _ : state) {
    const std::uint8_t* luma = frames.data() + count++ % frameCount * frameSize;
    const std::uint8_t* chroma = luma + lumaSize;
    bytes += encoder.encode({luma, chroma, chroma + lumaSize / 4, width, width / 2}).size();
  }
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsRate);
  state.counters["kB"] = static_cast<double>(bytes) / static_cast<double>(count) / 1000;
}

// Runs ffmpeg once an iteration and takes the time that it says it has needed.
void encodeWithFfmpeg(benchmark::State& state, const Material& material, const char* codec) {
  const std::string command =
      "ffmpeg -nostdin -hide_banner -benchmark -f rawvideo -s 1920x1080 " +
      ("-pix_fmt yuv420p -i " + clips().path(material)) + " -c:v " + codec +
      " -threads 1 -f null - 2>&1 | sed -n 's/.*rtime=\\([0-9.]*\\).*/\\1/p'";
  std::size_t count = 0;
  for ([[maybe_unused]] auto _ : state) {
    double seconds = 0;
    std::FILE* output = ::popen(command.c_str(), "r");
    if (output == nullptr || std::fscanf(output, "%lf", &seconds) != 1)
      state.SkipWithError("ffmpeg did not run");
    if (output != nullptr)
      ::pclose(output);
    state.SetIterationTime(seconds);
    count += frameCount;
  }
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsRate);
}

[[maybe_unused]] const bool registered = [] {
  for (const Material& material : materials) {
    const std::string name = material.name;
    const auto add = [&](const std::string& kind, auto function) {
      return benchmark::RegisterBenchmark((name + "/" + kind).c_str(), function)
          ->Unit(benchmark::kMillisecond);
    };
    add("aic", [&material](benchmark::State& state) {
      encodeAic(state, material, 1, false);
    })->UseRealTime();
    add("aic/2threads", [&material](benchmark::State& state) {
      encodeAic(state, material, 2, false);
    })->UseRealTime();
    add("aic/portable", [&material](benchmark::State& state) {
      encodeAic(state, material, 1, true);
    })->UseRealTime();
    for (const char* codec : {"mjpeg -q:v 2", "mpeg4 -g 1 -q:v 1"}) {
      add(codec,
          [&material, codec](benchmark::State& state) { encodeWithFfmpeg(state, material, codec); })
          ->UseManualTime()
          ->Iterations(3);
    }
  }
  return true;
}();

}  // namespace
