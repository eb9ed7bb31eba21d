// The encoder against ffmpeg's decoder, and its two builds against each other.
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "ffmpeg/proresFlavours.h"
#include "tools/prores/RateControl.h"
#include "tools/prores/proresEncoder.h"
#include "tools/prores/sliceCoder.h"
#include "tools/support/movies.h"

namespace tessarin::prores {
namespace {

using blocks::Sampling;

// Planes one after another, as the encoder takes them.
struct Planes {
  PictureFormat format;
  std::vector<std::uint8_t> bytes = {};

  int width(int plane) const {
    return plane == 0 ? format.width : chromaWidth(format.sampling, format.width);
  }
  int height(int plane) const {
    return plane == 0 ? format.height : chromaHeight(format.sampling, format.height);
  }
  std::size_t samples(int plane) const {
    return static_cast<std::size_t>(width(plane)) * static_cast<std::size_t>(height(plane));
  }
  Picture picture() const {
    Picture picture;
    const std::uint8_t* next = bytes.data();
    for (int plane = 0; plane < 3; ++plane) {
      picture.planes[plane] = next;
      picture.strides[plane] = std::ptrdiff_t{width(plane)} * (format.bits == 8 ? 1 : 2);
      next += picture.strides[plane] * height(plane);
    }
    return picture;
  }
  // `value`: of ten bits, by plane, column and line.
  template <class Value>
  void fill(const Value& value) {
    bytes.clear();
    for (int plane = 0; plane < 3; ++plane) {
      for (int y = 0; y < height(plane); ++y) {
        for (int x = 0; x < width(plane); ++x) {
          const double exact = value(plane, x, y);
          const auto sample =
              static_cast<unsigned>(std::lround(format.bits == 8 ? exact / 4 : exact));
          bytes.push_back(static_cast<std::uint8_t>(sample));
          if (format.bits == 10)
            bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
        }
      }
    }
  }
};

// The line of the frame, with its fraction, on which a line of a plane lies.
double lineInFrame(const PictureFormat& format, int plane, int y) {
  if (plane == 0 || format.sampling != Sampling::yuv420)
    return y;
  if (format.fieldOrder == FieldOrder::progressive)
    return format.chromaOnLines ? 2 * y : 2 * y + 0.5;
  const int field = y % 2;
  const double inField = y - field + (format.chromaOnLines ? 0 : field == 0 ? 0.25 : 0.75);
  return 2 * inField + field;
}

// Soft shapes that move between the fields; luma has grain.
Planes scene(const PictureFormat& format, int grain, unsigned seed = 1) {
  Planes planes = {format};
  std::mt19937 random(seed);
  planes.fill([&](int plane, int x, int y) {
    const double line = lineInFrame(format, plane, y);
    const bool second = format.fieldOrder != FieldOrder::progressive &&
                        (y % 2 == 0) == (format.fieldOrder == FieldOrder::bottomFirst);
    const double column =
        plane > 0 && format.sampling != Sampling::yuv444 ? 2 * x : static_cast<double>(x);
    const double phase = seed + plane + (second ? 1.5 : 0);
    const double soft = 300 * std::sin(column * 0.045 + phase) * std::cos(line * 0.06 + phase);
    const int noise = plane == 0 && grain > 0
                          ? static_cast<int>(random() % (2 * unsigned(grain) + 1)) - grain
                          : 0;
    return 512 + soft + noise;
  });
  return planes;
}

Planes noise(const PictureFormat& format) {
  Planes planes = {format};
  std::mt19937 random(7);
  planes.fill([&](int, int, int) { return static_cast<double>(random() % 1021); });
  return planes;
}

// Full black and white in the patterns of the transform's own functions.
Planes extremes(const PictureFormat& format) {
  Planes planes = {format};
  planes.fill([](int, int x, int y) {
    const double wave = std::cos((2 * (x % 8) + 1) * (x / 8 % 8) * M_PI / 16) *
                        std::cos((2 * (y % 8) + 1) * (y / 8 % 8) * M_PI / 16);
    return (wave >= 0) == ((x < 64) == (y < 64)) ? 1020.0 : 0.0;
  });
  return planes;
}

std::string codeOf(Flavour flavour) {
  return std::string(proresFlavourOfProfile(static_cast<int>(flavour))->code);
}

EncoderSettings withIndex(int index, Flavour flavour = Flavour::standard) {
  EncoderSettings settings;
  settings.flavour = flavour;
  settings.index = index;
  settings.threads = 1;
  return settings;
}

std::vector<std::uint8_t> encoded(const Planes& planes, const EncoderSettings& settings) {
  EXPECT_EQ(formatProblem(planes.format, settings.flavour), std::nullopt);
  Encoder encoder(planes.format, settings);
  const auto bytes = encoder.encode(planes.picture());
  return {bytes.begin(), bytes.end()};
}

// Decibels of the planes that ffmpeg decodes from this frame, beside what `expected` has, which is
// of ten bits and of the sampling that was coded. Lines at the edges do not count for chroma,
// because what lies outside is guessed.
std::vector<double> decodedRatios(const std::vector<std::uint8_t>& frame, Flavour flavour,
                                  const Planes& expected) {
  const test::ScopedTemporaryFolder folder;
  quicktime::VideoFormat format = test::videoFormat(expected.format.width, expected.format.height);
  format.codec = codeOf(flavour);
  const std::string movie = test::writeMovie(folder, format, {frame});
  const bool full = expected.format.sampling == Sampling::yuv444;
  const test::ShellResult result = test::runShell(
      "ffmpeg -v warning -xerror -i " + test::quoted(movie) + " -f rawvideo -pix_fmt " +
      (full ? "yuv444p10le " : "yuv422p10le ") + test::quoted(folder.file("decoded.yuv")));
  EXPECT_EQ(result.output, "");
  const std::string decoded = folder.read("decoded.yuv");
  std::vector<double> ratios;
  EXPECT_EQ(decoded.size(), expected.bytes.size());
  if (decoded.size() != expected.bytes.size())
    return ratios;
  std::size_t at = 0;
  for (int plane = 0; plane < 3; ++plane) {
    double error = 0;
    double samples = 0;
    for (int y = 0; y < expected.height(plane); ++y) {
      const int edge = plane == 0 ? 0 : 6;
      const bool counts = y >= edge && y < expected.height(plane) - edge;
      for (int x = 0; x < expected.width(plane); ++x, at += 2) {
        const auto sample = [at](const auto& bytes) {
          return static_cast<std::uint8_t>(bytes[at]) | static_cast<std::uint8_t>(bytes[at + 1])
                                                            << 8;
        };
        const int difference = counts ? sample(decoded) - sample(expected.bytes) : 0;
        error += difference * difference;
        samples += counts ? 1 : 0;
      }
    }
    ratios.push_back(10 * std::log10(1023.0 * 1023.0 * (samples + 1) / (error + 1e-3)));
  }
  return ratios;
}

// The scene as it would have been without what its samples lack.
Planes ideal(PictureFormat format, int grain) {
  format.bits = 10;
  if (format.sampling == Sampling::yuv420)
    format.sampling = Sampling::yuv422;
  return scene(format, grain);
}

std::vector<double> sceneRatios(const PictureFormat& format, Flavour flavour, int index) {
  return decodedRatios(encoded(scene(format, 8), withIndex(index, flavour)), flavour,
                       ideal(format, 8));
}

constexpr FieldOrder fieldOrders[] = {FieldOrder::progressive, FieldOrder::topFirst,
                                      FieldOrder::bottomFirst};

// One macroblock, sizes that none fits, odd rows of them, slices of all widths. Chroma of half the
// height is at its right place in every field, or it would be a long way from the floor.
TEST(ProresEncoder, FramesOfEverySizeAndScanDecode) {
  constexpr int sizes[][2] = {{2, 2},     {16, 16},   {15, 17},   {18, 20},
                              {720, 576}, {720, 486}, {320, 240}, {1280, 720},
                              {720, 480}, {350, 33},  {1920, 56}, {34, 1080}};
  for (const auto& [width, height] : sizes) {
    for (const FieldOrder order : fieldOrders) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << static_cast<int>(order));
      const auto ratios = sceneRatios({width, height, order}, Flavour::standard, 2);
      EXPECT_THAT(ratios, testing::Each(testing::Gt(50)));
    }
  }
}

TEST(ProresEncoder, EveryFlavourTakesItsSamples) {
  int round = 0;
  for (const Sampling sampling : {Sampling::yuv420, Sampling::yuv422, Sampling::yuv444}) {
    for (const int bits : {8, 10}) {
      for (const FieldOrder order : fieldOrders) {
        for (const bool onLines : {false, true}) {
          if (onLines && sampling != Sampling::yuv420)
            continue;
          const Flavour flavour =
              sampling == Sampling::yuv444 ? Flavour::full4444 : static_cast<Flavour>(round++ % 4);
          SCOPED_TRACE(testing::Message() << codeOf(flavour) << bits << " "
                                          << static_cast<int>(sampling) << static_cast<int>(order));
          EXPECT_THAT(sceneRatios({198, 106, order, sampling, bits, onLines}, flavour, 2),
                      testing::Each(testing::Gt(bits == 8 ? 56 : 60)));
        }
      }
    }
  }
}

// A picture whose bottom field comes first, beside the same scene with every line one higher. The
// last line is that of the field's line before.
TEST(ProresEncoder, MovesUpByALineSoThatTheTopFieldIsFirst) {
  for (const Sampling sampling : {Sampling::yuv420, Sampling::yuv422}) {
    for (const bool onLines : {false, true}) {
      PictureFormat format = {198, 106, FieldOrder::bottomFirst, sampling, 10, onLines};
      Planes expected = ideal(format, 0);
      const std::vector<std::uint8_t> lines = expected.bytes;
      auto to = expected.bytes.begin();
      for (int plane = 0; plane < 3; ++plane) {
        const std::ptrdiff_t stride = 2 * expected.width(plane);
        const int height = expected.height(plane);
        const auto from = lines.begin() + (to - expected.bytes.begin());
        for (int line = 0; line < height; ++line)
          to = std::copy_n(from + (line + 1 < height ? line + 1 : line - 1) * stride, stride, to);
      }
      Planes given = scene(format, 0);
      given.format.fieldOrder = FieldOrder::topFirst;
      given.format.oneLineUp = true;
      EXPECT_THAT(decodedRatios(encoded(given, withIndex(1)), Flavour::standard, expected),
                  testing::Each(testing::Gt(55)))
          << static_cast<int>(sampling) << onLines;
    }
  }
}

TEST(ProresEncoder, ExtremesDecodeWithEveryIndex) {
  const PictureFormat format = {132, 128, FieldOrder::progressive, Sampling::yuv444, 10};
  for (const Planes& planes : {noise(format), extremes(format)}) {
    double last = 100;
    for (const int index : {1, 2, 3, 7, 40, 128, 129, 224}) {
      SCOPED_TRACE(index);
      const auto bytes = encoded(planes, withIndex(index, Flavour::full4444));
      const double ratio = decodedRatios(bytes, Flavour::full4444, planes)[0];
      EXPECT_GT(ratio, index == 1 ? 60 : 10);
      EXPECT_LT(ratio, last);
      last = ratio;
    }
  }
}

TEST(ProresEncoder, VectorAndPortableBuildsGiveTheSameBytes) {
  if (avx2SliceCoder() == nullptr)
    GTEST_SKIP() << "this processor has only the portable build";
  for (const Sampling sampling : {Sampling::yuv420, Sampling::yuv422, Sampling::yuv444}) {
    for (const int bits : {8, 10}) {
      for (const FieldOrder order : fieldOrders) {
        const PictureFormat format = {150, 70, order, sampling, bits};
        for (const Planes& planes : {scene(format, 8), noise(format), extremes(format)}) {
          for (const int index : {1, 5, 200}) {
            const bool full = sampling == Sampling::yuv444;
            EncoderSettings settings = withIndex(index, full ? Flavour::full4444 : Flavour::hq);
            const auto vector = encoded(planes, settings);
            settings.portable = true;
            ASSERT_EQ(vector, encoded(planes, settings))
                << static_cast<int>(sampling) << bits << index;
          }
        }
      }
    }
  }
}

TEST(ProresEncoder, ThreadsDoNotChangeTheBytes) {
  const PictureFormat format = {700, 200, FieldOrder::topFirst};
  const Planes scenes[] = {noise(format), scene(format, 20)};
  EncoderSettings settings;
  settings.threads = 1;
  Encoder alone(format, settings);
  settings.threads = 5;
  Encoder shared(format, settings);
  for (int i = 0; i < 20; ++i) {
    const auto expected = alone.encode(scenes[i % 2].picture());
    ASSERT_THAT(shared.encode(scenes[i % 2].picture()), testing::ElementsAreArray(expected)) << i;
  }
}

TEST(ProresEncoder, KeepsToItsNominalSizeThroughScenes) {
  const PictureFormat format = {320, 192};
  const Planes scenes[] = {scene(format, 200), scene(format, 0), noise(format), scene(format, 60)};
  for (const Flavour flavour : {Flavour::proxy, Flavour::standard, Flavour::hq}) {
    EncoderSettings settings;
    settings.flavour = flavour;
    settings.threads = 1;
    Encoder encoder(format, settings);
    const auto nominal = static_cast<double>(nominalFrameSize(flavour, 320, 192));
    double sum = 0;
    for (int frame = 0; frame < 40; ++frame) {
      const Planes& planes = scenes[frame / 10];
      const auto size = static_cast<double>(encoder.encode(planes.picture()).size());
      sum += size;
      EXPECT_LE(size, 1.1 * nominal) << frame;
      EXPECT_LE(sum, (frame + 1) * nominal) << frame;
      // The second scene is too easy to need as much.
      const double least = frame / 10 == 1 ? 0 : frame % 10 == 0 ? 0.5 : 0.75;
      EXPECT_GT(size, least * nominal) << frame;
    }
  }
}

// Sizes as scenes of different weights would have them.
TEST(ProresRateControl, ReachesTheSizeSoonAndWithFewTries) {
  for (const double weight : {3e4, 3e5, 3e6, 3e7}) {
    RateControl control(100'000);
    double sum = 0;
    for (int frame = 0; frame < 60; ++frame) {
      const auto size = [&] { return weight / std::pow(control.scale(), 0.9) + 5000; };
      double bytes = size();
      int tries = 1;
      for (; control.tryAgain(static_cast<std::size_t>(bytes)); ++tries)
        bytes = size();
      EXPECT_LE(tries, frame == 0 ? 6 : 1) << "weight " << weight << " frame " << frame;
      sum += bytes;
    }
    const double easiest = weight / std::pow(2, 0.9) + 5000;
    EXPECT_NEAR(sum / 60, std::min(98'000.0, easiest), 2000) << "weight " << weight;
  }
}

}  // namespace
}  // namespace tessarin::prores
