// Full-HD frames a second: our ProRes encoder beside ffmpeg's two, on one thread, and on two, from
// 4:2:0 of 8 bits to ProRes, all of it, so with the way from 4:2:0 to 4:2:2. On one thread in
// processor time ("own" in the column CPU, ffmpeg's as it tells itself); two threads have to be
// compared in real time, on a quiet machine. "ffmpeg/scale" is what of ffmpeg's time goes into
// reading the pictures and bringing them to 4:2:2 of 10 bits.
//
//   proresEncodeBench --benchmark_filter=natural
#include "encoders.h"
#include "tools/prores/proresEncoder.h"

namespace {

using namespace tessarin;
using namespace tessarin::bench;

void encodeProres(benchmark::State& state, const Material& material, bool fields, int threads,
                  bool portable) {
  prores::PictureFormat format;
  format.width = width;
  format.height = height;
  format.fieldOrder = fields ? prores::FieldOrder::topFirst : prores::FieldOrder::progressive;
  prores::EncoderSettings settings;
  settings.threads = threads;
  settings.portable = portable;
  prores::Encoder encoder(format, settings);
  encodeFrames(state, material, fields, [&](const std::uint8_t* luma) {
    const std::uint8_t* chroma = luma + lumaSize;
    return encoder.encode({{luma, chroma, chroma + lumaSize / 4}, {width, width / 2, width / 2}})
        .size();
  });
}

[[maybe_unused]] const bool registered = [] {
  for (const Material& material : materials) {
    for (const bool fields : {false, true}) {
      const std::string name = material.name + std::string(fields ? "/fields" : "/frames");
      const auto add = [&](const std::string& kind, auto function) {
        return benchmark::RegisterBenchmark((name + "/" + kind).c_str(), function)
            ->Unit(benchmark::kMillisecond);
      };
      const auto own = [&](const std::string& kind, int threads, bool portable) {
        add(kind, [&material, fields, threads, portable](benchmark::State& state) {
          encodeProres(state, material, fields, threads, portable);
        })->UseRealTime();
      };
      own("own", 1, false);
      own("own/2threads", 2, false);
      own("own/portable", 1, true);
      const std::string scale = fields ? "-vf setfield=tff,scale=interl=1,format=yuv422p10 "
                                       : "-vf scale,format=yuv422p10 ";
      const std::string flags = fields ? " -flags +ildct+ilme" : "";
      const std::pair<const char*, std::string> runs[] = {
          {"ffmpeg/scale", scale + "-c:v wrapped_avframe"},
          {"ffmpeg/prores", scale + "-c:v prores -profile:v 2" + flags},
          {"ffmpeg/prores_ks", scale + "-c:v prores_ks -profile:v 2" + flags}};
      for (const auto& [kind, options] : runs) {
        add(kind,
            [&material, fields, options](benchmark::State& state) {
              encodeWithFfmpeg(state, material, fields, options, "utime");
            })
            ->UseManualTime()
            ->Iterations(1);
      }
    }
  }
  return true;
}();

}  // namespace
