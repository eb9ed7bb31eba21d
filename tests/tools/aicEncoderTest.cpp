// The encoder against ffmpeg's decoder, and its two builds against each other.
#include <gmock/gmock.h>

#include <optional>

#include "tools/aic/RateControl.h"
#include "tools/aic/aicEncoder.h"
#include "tools/aic/sliceCoder.h"
#include "tools/support/movies.h"

namespace tessarin {
namespace {

using aic::Encoder;
using aic::EncoderSettings;
using test::naturalPicture;
using test::noisePicture;
using test::Samples;

std::vector<std::uint8_t> encoded(const Samples& samples, bool interlaced,
                                  const EncoderSettings& settings) {
  Encoder encoder({samples.width, samples.height, interlaced}, settings);
  const auto bytes = encoder.encode(samples.picture());
  return {bytes.begin(), bytes.end()};
}

EncoderSettings withQuantiser(int quantiser) {
  EncoderSettings settings;
  settings.quantiser = quantiser;
  settings.threads = 1;
  return settings;
}

double decodedRatio(const Samples& samples, bool interlaced, int quantiser) {
  const test::ScopedTemporaryFolder folder;
  const std::string movie =
      test::writeMovie(folder, test::videoFormat(samples.width, samples.height),
                       {encoded(samples, interlaced, withQuantiser(quantiser))});
  return test::peakRatio(samples.bytes, test::decodedPicture(folder, movie));
}

TEST(AicEncoder, FramesOfEverySizeAndScanDecode) {
  // Single macroblocks, sizes that no macroblock fits, one row, the row that moves up into the
  // picture, slices of all widths (up to 32 macroblocks, 16 and a rest, equal parts).
  constexpr int sizes[][2] = {{2, 2},     {16, 16},   {15, 17},   {18, 20},
                              {720, 8},   {48, 24},   {592, 34},  {720, 576},
                              {1440, 40}, {1920, 56}, {4096, 48}, {34, 1080}};
  for (const auto& [width, height] : sizes) {
    for (const bool interlaced : {false, true}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << (interlaced ? "i" : "p"));
      EXPECT_GT(decodedRatio(naturalPicture(width, height, 3), interlaced, 2), 42);
    }
  }
}

TEST(AicEncoder, ShippedQuantiserKeepsNoisyMaterialAbove45Decibels) {
  for (const int noise : {0, 4, 12})
    EXPECT_GT(decodedRatio(naturalPicture(640, 368, noise), false, aic::shippedQuantiser), 45)
        << "noise " << noise;
}

// A picture whose transform reaches its largest sums: full black and white, in the patterns of the
// transform's own functions.
Samples extremePicture() {
  Samples samples(128, 128);
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 128; ++x) {
      const double wave = std::cos((2 * (x % 8) + 1) * (x / 8 % 8) * M_PI / 16) *
                          std::cos((2 * (y % 8) + 1) * (y / 8 % 8) * M_PI / 16);
      const bool white = (x < 64) == (y < 64) ? wave >= 0 : wave < 0;
      const int at = 128 * y + x;
      samples.bytes[static_cast<std::size_t>(at)] = white ? 255 : 0;
    }
  }
  return samples;
}

TEST(AicEncoder, LargestCoefficientsDoNotOverflow) {
  EXPECT_GT(decodedRatio(extremePicture(), false, 1), 45);
  EXPECT_GT(decodedRatio(noisePicture(64, 64), true, 1), 45);
}

TEST(AicEncoder, EveryQuantiserDecodesAndCoarserOnesAreSmaller) {
  const Samples samples = naturalPicture(160, 96, 4);
  std::size_t last = SIZE_MAX;
  double lastRatio = 100;
  for (const int quantiser : {1, 2, 3, 5, 9, 20, 60, 255}) {
    SCOPED_TRACE(quantiser);
    const std::size_t size = encoded(samples, false, withQuantiser(quantiser)).size();
    const double ratio = decodedRatio(samples, false, quantiser);
    EXPECT_LT(size, last);
    EXPECT_LT(ratio, lastRatio);
    EXPECT_GT(ratio, 15);
    last = size;
    lastRatio = ratio;
  }
}

// The sizes are within 2 % of what the cheapest of all codes for each band takes, which was counted
// once by trying every one of them. A poorer choice of codes decodes as well and shows only here.
TEST(AicEncoder, BandsAreWrittenInTheCheapestWay) {
  const struct {
    const char* name;
    Samples samples;
    int quantiser;
    std::size_t bytes;
  } cases[] = {
      {"all grey", Samples(320, 32), 2, 756},
      {"soft", naturalPicture(320, 32, 0), 2, 2616},
      {"half of the values zero", naturalPicture(320, 32, 6), 3, 4888},
      {"much noise", naturalPicture(320, 32, 20), 2, 8324},
      {"coarse", naturalPicture(320, 32, 6), 40, 860},
  };
  for (const auto& item : cases) {
    const auto size = encoded(item.samples, false, withQuantiser(item.quantiser)).size();
    EXPECT_LE(static_cast<double>(size), 1.01 * static_cast<double>(item.bytes)) << item.name;
  }
}

TEST(AicEncoder, VectorAndPortableBuildsGiveTheSameBytes) {
  if (aic::avx2SliceCoder() == nullptr)
    GTEST_SKIP() << "this processor has only the portable build";
  for (const Samples& samples : {naturalPicture(198, 90, 0), naturalPicture(198, 90, 9),
                                 noisePicture(150, 70), extremePicture()}) {
    for (const int quantiser : {1, 2, 3, 4, 17, 255}) {
      EncoderSettings settings = withQuantiser(quantiser);
      const auto vector = encoded(samples, quantiser % 2 == 0, settings);
      settings.portable = true;
      EXPECT_EQ(vector, encoded(samples, quantiser % 2 == 0, settings)) << quantiser;
    }
  }
}

TEST(AicEncoder, ThreadsAndFormerFramesDoNotChangeTheBytes) {
  const Samples noise = noisePicture(700, 200);
  const Samples scene = naturalPicture(700, 200, 2);
  const auto alone = encoded(scene, false, withQuantiser(2));
  EncoderSettings settings;
  settings.threads = 5;
  Encoder encoder({700, 200, false}, settings);
  for (int i = 0; i < 20; ++i) {
    encoder.encode(noise.picture());
    const auto bytes = encoder.encode(scene.picture());
    ASSERT_THAT(alone, testing::ElementsAreArray(bytes)) << "round " << i;
  }
}

TEST(AicEncoder, SteersTheMeanSizeThroughAChangeOfScene) {
  const Samples scenes[] = {naturalPicture(320, 192, 0), naturalPicture(320, 192, 12, 5)};
  EncoderSettings settings;
  settings.threads = 1;
  settings.bytesPerFrame = 20000;
  Encoder encoder({320, 192, false}, settings);
  std::size_t sum = 0;
  for (int frame = 0; frame < 100; ++frame) {
    const std::size_t size = encoder.encode(scenes[frame / 50].picture()).size();
    sum += size;
    EXPECT_LT(size, 1.5 * 20000) << "frame " << frame;
  }
  EXPECT_NEAR(static_cast<double>(sum) / 100, 20000, 600);
}

// Sizes as a scene of this weight would have them.
std::size_t modelSize(double weight, int quantiser) {
  return static_cast<std::size_t>(weight / std::pow(quantiser, 0.8));
}

TEST(RateControl, ReachesTheTargetWithEveryKindOfScene) {
  for (const double weight : {3e4, 3e5, 3e6, 3e7}) {
    aic::RateControl control(100'000, 2);
    double sum = 0;
    for (int frame = 0; frame < 60; ++frame) {
      std::size_t size = modelSize(weight, control.quantiser());
      int tries = 1;
      while (control.tryAgain(size)) {
        size = modelSize(weight, control.quantiser());
        ++tries;
      }
      EXPECT_LE(tries, 4);
      EXPECT_TRUE(frame < 3 || tries == 1) << "weight " << weight << " frame " << frame;
      sum += static_cast<double>(size);
    }
    const double reachable = std::clamp(100'000.0, static_cast<double>(modelSize(weight, 255)),
                                        static_cast<double>(modelSize(weight, 1)));
    EXPECT_NEAR(sum / 60, reachable, 0.03 * reachable) << "weight " << weight;
  }
}

}  // namespace
}  // namespace tessarin
