// Movies as ffmpeg reads them, and what is left when writing fails.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/quicktime/MovieWriter.h"
#include "tools/quicktime/atoms.h"
#include "tools/support/movies.h"

namespace tessarin {
namespace {

using quicktime::FieldOrder;
using quicktime::Fraction;
using quicktime::MovieWriter;
using quicktime::SoundFormat;
using quicktime::VideoFormat;
using test::probed;
using test::quoted;
using test::runShell;
using test::ScopedTemporaryFolder;
using test::videoFormat;
using testing::HasSubstr;

using Bytes8 = std::vector<std::uint8_t>;

Bytes8 smallFrame() {
  static const Bytes8 frame = [] {
    aic::EncoderSettings settings;
    settings.threads = 1;
    aic::Encoder encoder({64, 32, false}, settings);
    const auto bytes = encoder.encode(test::naturalPicture(64, 32, 2).picture());
    return Bytes8(bytes.begin(), bytes.end());
  }();
  return frame;
}

// Sample moments whose bytes tell where they belong.
Bytes8 countingSound(std::size_t moments, int channels, std::size_t first = 0) {
  Bytes8 bytes;
  for (std::size_t i = 0; i < moments * static_cast<std::size_t>(channels); ++i) {
    const std::size_t number = (first * static_cast<std::size_t>(channels) + i) * 7;
    bytes.push_back(static_cast<std::uint8_t>(number));
    bytes.push_back(static_cast<std::uint8_t>(number >> 8));
  }
  return bytes;
}

// A movie of small frames that is being written.
MovieWriter begun(const std::string& path) {
  Outcome<MovieWriter> movie = MovieWriter::create(path, videoFormat(64, 32));
  EXPECT_TRUE(movie.ok());
  return std::move(*movie);
}

std::vector<std::string> entries(const ScopedTemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    names.push_back(entry.path().filename());
  return names;
}

TEST(MovieWriter, FrameRatesAndCountsAreExact) {
  for (const Fraction rate : {Fraction{24000, 1001}, Fraction{24, 1}, Fraction{25, 1},
                              Fraction{30000, 1001}, Fraction{50, 1}, Fraction{60000, 1001}}) {
    const ScopedTemporaryFolder folder;
    VideoFormat format = videoFormat(64, 32);
    format.frameRate = rate;
    const std::string movie = test::writeMovie(folder, format, std::vector(70, smallFrame()));
    const std::string text = fmt::format("{}/{}", rate.numerator, rate.denominator);
    EXPECT_EQ(probed(movie, "v:0", "r_frame_rate,avg_frame_rate,nb_frames"),
              fmt::format("{0},{0},70", text));
    const double seconds =
        70.0 * static_cast<double>(rate.denominator) / static_cast<double>(rate.numerator);
    EXPECT_NEAR(std::stod(probed(movie, "v:0", "duration")), seconds, 2e-6) << text;
    EXPECT_EQ(test::decodedPicture(folder, movie).size(), 70U * 64 * 32 * 3 / 2);
  }
}

TEST(MovieWriter, DescribesThePicture) {
  const struct {
    int width, height;
    FieldOrder order;
    Fraction aspect;
    std::string expected;  // name of the codec, shape of a pixel, colours, fields
  } cases[] = {
      {1920, 1080, FieldOrder::progressive, {1, 1}, "aic,icod,N/A,bt709,progressive"},
      {1440, 1080, FieldOrder::topFirst, {4, 3}, "aic,icod,4:3,bt709,tb"},
      {720, 576, FieldOrder::bottomFirst, {16, 15}, "aic,icod,16:15,smpte170m,bt"},
  };
  for (const auto& item : cases) {
    const ScopedTemporaryFolder folder;
    VideoFormat format = videoFormat(item.width, item.height);
    format.fieldOrder = item.order;
    format.pixelAspect = item.aspect;
    format.colours = usualColours(item.width, item.height, 25);
    const std::string movie = test::writeMovie(folder, format, {smallFrame()});
    EXPECT_EQ(probed(movie, "v:0",
                     "codec_name,codec_tag_string,sample_aspect_ratio,color_space,field_order"),
              item.expected);
  }
}

TEST(MovieWriter, SoundIsKeptToTheByteAndInterleaved) {
  const ScopedTemporaryFolder folder;
  const std::string path = folder.file("movie.mov");
  MovieWriter movie = begun(path);
  // The first track comes ahead of the picture, the second behind it.
  ASSERT_EQ(movie.addSoundTrack({2, 48000, 3, 0}), 0U);
  ASSERT_TRUE(movie.addSound(0, countingSound(192000, 2)));
  // More than 16 bits can tell of a rate.
  ASSERT_EQ(movie.addSoundTrack({2, 96000, 3, 0}), 1U);
  ASSERT_TRUE(movie.addSound(1, countingSound(384000, 2)));
  for (int frame = 0; frame < 100; ++frame) {
    ASSERT_TRUE(movie.addFrame(smallFrame()));
    if (frame == 5) {
      ASSERT_EQ(movie.addSoundTrack({6, 44100, 0x3F, 0}), 2U);
    }
    if (frame % 10 == 9) {
      ASSERT_TRUE(movie.addSound(2, countingSound(17640, 6, std::size_t(frame / 10) * 17640)));
    }
  }
  ASSERT_TRUE(movie.finish(false).ok());

  for (const int track : {0, 1, 2}) {
    const std::string raw = folder.file("sound.raw");
    const std::string stream = "a:" + std::to_string(track);
    EXPECT_EQ(runShell("ffmpeg -v error -y -i " + quoted(path) + " -map 0:" + stream +
                       " -f s16le " + quoted(raw))
                  .output,
              "");
    const Bytes8 expected = track == 0   ? countingSound(192000, 2)
                            : track == 1 ? countingSound(384000, 2)
                                         : countingSound(176400, 6);
    EXPECT_TRUE(folder.read("sound.raw") == std::string(expected.begin(), expected.end())) << track;
  }
  const auto described = [&path](const char* stream) {
    return probed(path, stream, "codec_tag_string,sample_rate,channels,channel_layout");
  };
  EXPECT_EQ(described("a:0"), "sowt,48000,2,stereo");
  EXPECT_EQ(described("a:1"), "lpcm,96000,2,stereo");
  EXPECT_EQ(described("a:2"), "sowt,44100,6,5.1");

  // In the order of the file no packet stands far from those of its time.
  const std::string packets =
      runShell("ffprobe -v error -show_entries packet=pts_time,pos,codec_type -of csv=p=0 " +
               quoted(path) + " | sort -t, -k3 -n")
          .output;
  std::istringstream lines(packets);
  std::string line;
  double picture = 0;
  double farthest = 0;
  while (std::getline(lines, line)) {
    const double time = std::stod(line.substr(line.find(',') + 1));
    if (line.starts_with("video"))
      picture = time;
    else
      farthest = std::max(farthest, std::abs(time - picture));
  }
  EXPECT_LT(farthest, 1.1);
  EXPECT_GT(farthest, 0);
}

TEST(MovieWriter, TellsTheTimeCode) {
  const Fraction film = {24000, 1001};
  const Fraction american = {30000, 1001};
  const Fraction fast = {60000, 1001};
  const struct {
    const char* told;
    Fraction rate;
    const char* expected;  // "" for none
  } cases[] = {
      {"10:11:12:24", {25, 1}, "10:11:12:24"},
      {"00:00:00:00", {50, 1}, "00:00:00:00"},
      {"01:02:03;04", american, "01:02:03;04"},
      {"23:59:59.59", fast, "23:59:59;59"},
      {"00:10:00:02", american, "00:10:00:02"},
      {"01:00:00;00", film, "01:00:00:00"},
      {"10:11:12:25", {25, 1}, ""},
      {"24:00:00:00", {25, 1}, ""},
      {"1:00:00:00", {25, 1}, ""},
      {"10:11:-1:00", {25, 1}, ""},
      {"", {25, 1}, ""},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.told);
    const auto code = timeCode(item.told, perSecond(item.rate));
    ASSERT_EQ(code.has_value(), *item.expected != '\0');
    if (!code)
      continue;
    const ScopedTemporaryFolder folder;
    const std::string path = folder.file("movie.mov");
    quicktime::VideoFormat format = videoFormat(64, 32);
    format.frameRate = item.rate;
    Outcome<MovieWriter> movie = MovieWriter::create(path, format);
    ASSERT_TRUE(movie.ok());
    movie->addSoundTrack({2, 48000, 3, 0});
    for (int frame = 0; frame < 3; ++frame)
      ASSERT_TRUE(movie->addFrame(smallFrame()));
    ASSERT_TRUE(movie->addSound(0, countingSound(4800, 2)));
    movie->setTimeCode(*code);
    ASSERT_TRUE(movie->finish(false).ok());
    EXPECT_EQ(runShell("ffprobe -v error -select_streams v -show_entries stream_tags=timecode "
                       "-of csv=p=0 " +
                       quoted(path))
                  .output,
              std::string(item.expected) + "\n");
    EXPECT_EQ(probed(path, "d:0", "codec_tag_string"), "tmcd");
  }
}

TEST(MovieWriter, PlacesSoundThatBeginsLaterOrEarlier) {
  for (const int offset : {12000, -12000}) {
    const ScopedTemporaryFolder folder;
    const std::string path = folder.file("movie.mov");
    SoundFormat format;
    format.startOffset = offset;
    MovieWriter movie = begun(path);
    movie.addSoundTrack(format);
    ASSERT_TRUE(movie.addSound(0, countingSound(48000, 2)));
    for (int frame = 0; frame < 25; ++frame)
      ASSERT_TRUE(movie.addFrame(smallFrame()));
    ASSERT_TRUE(movie.finish(false).ok());
    const double start = std::stod(probed(path, "a:0", "start_time"));
    EXPECT_NEAR(start, offset > 0 ? 0.25 : 0, 0.0001);
    // What was before the picture is not heard.
    const Bytes8 heard = offset > 0 ? countingSound(48000, 2) : countingSound(36000, 2, 12000);
    runShell("ffmpeg -v error -i " + quoted(path) + " -f s16le " + quoted(folder.file("raw")));
    EXPECT_TRUE(folder.read("raw") == std::string(heard.begin(), heard.end())) << offset;
  }
}

bool canInsert(const ScopedTemporaryFolder& folder) {
  const std::string file = quoted(folder.file("insert"));
  return runShell("head -c 200000 /dev/zero >" + file + "; fallocate -i -o 0 -l 65536 " + file)
             .status == 0;
}

// The header of the longer one needs more than the room that is kept for it.
TEST(MovieWriter, HeaderStandsAtTheBeginning) {
  for (const int frames : {10, 40000}) {
    const ScopedTemporaryFolder folder;
    const std::string path = folder.file("movie.mov");
    MovieWriter movie = begun(path);
    ASSERT_EQ(movie.addSoundTrack({1, 8000, 4, 0}), 0U);
    std::string expected;
    for (int frame = 0; frame < frames; ++frame) {
      const std::string bytes = std::to_string(frame);
      expected += bytes;
      ASSERT_TRUE(
          movie.addFrame({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}));
      ASSERT_TRUE(movie.addSound(0, countingSound(320, 1, std::size_t(frame) * 320)));
    }
    ASSERT_TRUE(movie.finish(false).ok());
    const std::string header = folder.read("movie.mov").substr(0, 1U << 20);
    // Not every file system can put a larger one in.
    if (frames == 10 || canInsert(folder)) {
      EXPECT_LT(header.find("moov"), header.find("mdat")) << frames;
    }
    EXPECT_EQ(runShell("ffmpeg -v error -i " + quoted(path) + " -map 0:v -c copy -f data " +
                       quoted(folder.file("frames")) + " -map 0:a -f s16le " +
                       quoted(folder.file("sound")))
                  .output,
              "");
    EXPECT_TRUE(folder.read("frames") == expected);
    const Bytes8 sound = countingSound(std::size_t(frames) * 320, 1);
    EXPECT_TRUE(folder.read("sound") == std::string(sound.begin(), sound.end()));
  }
}

// A file with a hole of five gigabytes, which takes no room on the disk.
TEST(MovieWriter, ReachesBeyondFourGigabytes) {
  const ScopedTemporaryFolder folder;
  const std::string path = folder.file("large.mov");
  const Bytes8 frame = smallFrame();
  constexpr std::uint64_t position = 5'000'000'000;
  quicktime::Movie movie;
  movie.video.format = videoFormat(64, 32);
  movie.video.frameSizes.assign(2, static_cast<std::uint32_t>(frame.size()));
  movie.video.chunks = {{100, 1}, {position, 1}};
  const Bytes8 header = quicktime::movieHeader(movie);

  std::ofstream file(path, std::ios::binary);
  const auto put = [&](const Bytes8& bytes) {
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  };
  quicktime::AtomWriter media;
  media.put32(1);
  media.putText("mdat");
  media.put64(position + frame.size());
  put(media.bytes());
  file.seekp(100);
  put(frame);
  file.seekp(position);
  put(frame);
  put(header);
  file.close();
  const std::string expected = test::decodedPicture(
      folder, test::writeMovie(folder, videoFormat(64, 32), std::vector(2, frame)));
  EXPECT_EQ(expected.size(), 2U * 64 * 32 * 3 / 2);
  EXPECT_TRUE(test::decodedPicture(folder, path) == expected);
}

TEST(MovieWriter, LeavesNothingWhenTheDiskIsFull) {
  const ScopedTemporaryFolder folder;
  // A limit on file sizes fails like a full disk; the signal that comes with it is not wanted.
  rlimit former = {};
  ::getrlimit(RLIMIT_FSIZE, &former);
  const rlimit small = {3'000'000, former.rlim_max};
  const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  bool written = true;
  std::string reason;
  {
    MovieWriter movie = begun(folder.file("a.mov"));
    for (int i = 0; i < 500 && movie.addFrame(Bytes8(10000)); ++i) {
    }
    written = movie.addFrame(Bytes8(10));
    reason = movie.failure();
    EXPECT_FALSE(movie.finish(true).ok());
  }
  ::setrlimit(RLIMIT_FSIZE, &former);
  std::signal(SIGXFSZ, formerHandler);
  EXPECT_FALSE(written);
  EXPECT_THAT(reason, HasSubstr("a.mov cannot be written: File too large"));
  EXPECT_THAT(entries(folder), testing::IsEmpty());
}

TEST(MovieWriter, KeepsOrReplacesWhatWasThere) {
  const ScopedTemporaryFolder folder;
  const std::string path = folder.write("a.mov", "mine");
  for (const bool replace : {false, true}) {
    MovieWriter movie = begun(path);
    movie.addFrame(smallFrame());
    const Outcome<bool> finished = movie.finish(replace);
    EXPECT_EQ(finished.ok(), replace);
    EXPECT_EQ(folder.read("a.mov") == "mine", !replace);
    if (!finished) {
      EXPECT_THAT(finished.reason(), HasSubstr("File exists"));
    }
  }
  EXPECT_THAT(entries(folder), testing::ElementsAre("a.mov"));
}

TEST(MovieWriter, WritesThroughALinkAndLikeTheUsersMask) {
  const ScopedTemporaryFolder folder;
  folder.write("disk/real.mov", "old");
  std::filesystem::create_symlink("disk/real.mov", folder.file("link.mov"));
  const mode_t mask = ::umask(027);
  test::writeMovie(folder, videoFormat(64, 32), {smallFrame()});
  ::umask(mask);
  MovieWriter movie = begun(folder.file("link.mov"));
  movie.addFrame(smallFrame());
  ASSERT_TRUE(movie.finish(true).ok());
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.mov")));
  EXPECT_EQ(folder.read("disk/real.mov"), folder.read("movie.mov"));
  struct stat entry = {};
  ASSERT_EQ(::stat(folder.file("movie.mov").c_str(), &entry), 0);
  EXPECT_EQ(entry.st_mode & 0777, 0640U);
}

TEST(MovieWriter, SaysWhatItCannotWrite) {
  const ScopedTemporaryFolder folder;
  const auto reason = [](const std::string& path, const VideoFormat& format) {
    const Outcome<MovieWriter> movie = MovieWriter::create(path, format);
    return movie ? "" : movie.reason();
  };
  VideoFormat noRate = videoFormat(64, 32);
  noRate.frameRate = {0, 1};
  EXPECT_THAT(reason(folder.file("a.mov"), noRate), HasSubstr("frame rate"));
  EXPECT_THAT(reason(folder.file("a.mov"), videoFormat(70000, 32)), HasSubstr("size"));
  const VideoFormat good = videoFormat(64, 32);
  EXPECT_THAT(reason(folder.file("no/a.mov"), good), HasSubstr("No such file or directory"));
  EXPECT_THAT(reason("/dev/null", good), HasSubstr("not a file that can be replaced"));
  EXPECT_THAT(entries(folder), testing::IsEmpty());

  EXPECT_TRUE(quicktime::formatProblem(SoundFormat{2, 7000000, 0, 0}));
  EXPECT_TRUE(quicktime::formatProblem(SoundFormat{0, 48000, 0, 0}));
  EXPECT_FALSE(quicktime::formatProblem(SoundFormat{8, 48000, 0, 0}));
}

}  // namespace
}  // namespace tessarin
