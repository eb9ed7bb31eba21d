// What the benches of encoders share: full-HD pictures of five kinds, and ffmpeg's encoders of
// them.
#pragma once

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tessarin::bench {

inline constexpr int width = 1920;
inline constexpr int height = 1080;
inline constexpr int frameCount = 25;
inline constexpr std::size_t lumaSize = std::size_t{width} * height;
inline constexpr std::size_t frameSize = lumaSize * 3 / 2;

struct Material {
  const char* name;
  const char* source;  // as ffmpeg's lavfi has it, before the rate
  const char* noise;   // filters behind it
};
inline constexpr Material materials[] = {
    {"synthetic", "testsrc2=s=1920x1080", ""},
    {"gradients", "gradients=s=1920x1080:seed=1", ""},
    {"natural/noise3", "mandelbrot=s=1920x1080", ",noise=alls=3:allf=t:all_seed=1"},
    {"natural/noise6", "mandelbrot=s=1920x1080", ",noise=alls=6:allf=t:all_seed=1"},
    {"synthetic/noise12", "testsrc2=s=1920x1080", ",noise=alls=12:allf=t:all_seed=1"},
};

// A folder with each material's frames, 8 bits 4:2:0, gone at the end.
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

  // With fields: of 50 pictures a second, top field first.
  const std::string& path(const Material& material, bool fields) {
    std::string& path = paths_[material.name + std::string(fields ? "i" : "p")];
    if (path.empty()) {
      path = folder_ + "/" + std::to_string(paths_.size()) + ".yuv";
      const std::string chain = std::string(material.source) + (fields ? ":r=50" : ":r=25") +
                                material.noise + ",format=yuv420p" +
                                (fields ? ",tinterlace=interleave_top" : "");
      const std::string command = "ffmpeg -nostdin -v error -f lavfi -i " + chain + " -frames:v " +
                                  std::to_string(frameCount) + " " + path;
      if (std::system(command.c_str()) != 0)
        std::fprintf(stderr, "no frames for %s\n", material.name);
    }
    return path;
  }

  // Empty when there are none.
  std::vector<std::uint8_t> frames(const Material& material, bool fields) {
    std::vector<std::uint8_t> bytes(frameCount * frameSize);
    std::FILE* file = std::fopen(path(material, fields).c_str(), "rb");
    const std::size_t count = file != nullptr ? std::fread(bytes.data(), 1, bytes.size(), file) : 0;
    if (file != nullptr)
      std::fclose(file);
    return count == bytes.size() ? bytes : std::vector<std::uint8_t>();
  }

 private:
  std::string folder_;
  std::map<std::string, std::string> paths_;
};

inline Clips& clips() {
  static Clips folder;
  return folder;
}

inline void countFrames(benchmark::State& state, std::size_t count) {
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsRate);
}

// `encode` takes the planes of a frame and answers the size of what it became.
template <class Encode>
void encodeFrames(benchmark::State& state, const Material& material, bool fields,
                  const Encode& encode) {
  const std::vector<std::uint8_t> frames = clips().frames(material, fields);
  if (frames.empty()) {
    state.SkipWithError("no frames");
    return;
  }
  std::size_t bytes = 0;
  std::size_t count = 0;
  for ([[maybe_unused]] auto _ : state)
    bytes += encode(frames.data() + count++ % frameCount * frameSize);
  countFrames(state, count);
  state.counters["kB"] = static_cast<double>(bytes) / static_cast<double>(count) / 1000;
}

// Runs ffmpeg once an iteration and takes the time that it says it has needed: "utime", that of all
// its threads, or "rtime".
inline void encodeWithFfmpeg(benchmark::State& state, const Material& material, bool fields,
                             const std::string& options, const char* time) {
  const std::string command =
      "ffmpeg -nostdin -hide_banner -benchmark -f rawvideo -s 1920x1080 -pix_fmt yuv420p -i " +
      clips().path(material, fields) + " " + options + " -threads 1 -f null - 2>&1 | sed -n 's/.*" +
      time + "=\\([0-9.]*\\).*/\\1/p'";
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
  countFrames(state, count);
}

}  // namespace tessarin::bench
