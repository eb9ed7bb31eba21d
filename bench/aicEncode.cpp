// Full-HD frames a second: our Apple Intermediate Codec encoder beside ffmpeg's quickest intra-only
// encoders, on one thread, and on two. All columns are real time, so keep the machine quiet;
// ffmpeg's includes reading its file, which takes it less than half a millisecond a frame.
//
//   aicEncodeBench --benchmark_filter=noise
#include "encoders.h"
#include "tools/aic/aicEncoder.h"

namespace {

using namespace tessarin;
using namespace tessarin::bench;

void encodeAic(benchmark::State& state, const Material& material, int threads, bool portable) {
  aic::EncoderSettings settings;
  settings.threads = threads;
  settings.portable = portable;
  aic::Encoder encoder({width, height, false}, settings);
  encodeFrames(state, material, false, [&](const std::uint8_t* luma) {
    const std::uint8_t* chroma = luma + lumaSize;
    return encoder.encode({luma, chroma, chroma + lumaSize / 4, width, width / 2}).size();
  });
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
          [&material, codec](benchmark::State& state) {
            encodeWithFfmpeg(state, material, false, std::string("-c:v ") + codec, "rtime");
          })
          ->UseManualTime()
          ->Iterations(1);
    }
  }
  return true;
}();

}  // namespace
