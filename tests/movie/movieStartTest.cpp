#include <gtest/gtest.h>

#include <filesystem>

#include "movie/movieIndex.h"
#include "movie/movieStart.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/clips.h"
#include "utils/files.h"

namespace tessarin {
namespace {

std::string bigEndian(std::uint32_t number) {
  std::string bytes(4, '\0');
  for (int place = 0; place < 4; ++place)
    bytes[static_cast<std::size_t>(place)] = static_cast<char>(number >> (24 - 8 * place));
  return bytes;
}

class MovieStart : public testing::Test {
 protected:
  // 25 pictures, and 1 s of sound.
  std::string movie(const std::string& options) {
    const std::string path = folder_.file("x.mov");
    test::makeClip(test::progressivePicture("352x288", "1") + test::tone("1") +
                       "-c:v mpeg2video -q:v 2 -bf 2 -c:a pcm_s16le -ac 2 "
                       "-video_track_timescale 25 -movflags faststart -f mov " +
                       options,
                   path);
    return path;
  }

  // Writes these entries (length, moment) into the first edit list, which has as many: that of the
  // pictures. So ffmpeg's copies leave it where pictures come before the first key frame.
  static void putEdits(const std::string& path,
                       const std::vector<std::pair<std::uint32_t, std::uint32_t>>& edits) {
    std::string bytes = readWholeFile(path).value();
    std::size_t place = bytes.find("elst") + 8;
    ASSERT_EQ(bytes.substr(place, 4), bigEndian(static_cast<std::uint32_t>(edits.size())));
    place += 4;
    for (const auto& [length, moment] : edits) {
      bytes.replace(place, 8, bigEndian(length) + bigEndian(moment));
      place += 12;
    }
    ASSERT_TRUE(writeFileAtomically(path, bytes));
  }

  static void expectAllShown(const std::string& path, double pictures, double sound) {
    const auto index = readMovieIndex(path);
    ASSERT_TRUE(index) << index.reason();
    EXPECT_TRUE(index->isWhole);
    EXPECT_EQ(index->pictures()->shown, 25u);
    EXPECT_EQ(index->pictures()->missing, 0u);
    EXPECT_NEAR(index->pictures()->start, pictures, 0.001);
    EXPECT_NEAR(index->sounds().at(0)->start, sound, 0.001);
    EXPECT_EQ(index->sounds().at(0)->missing, 0u);
  }

  test::ScopedTemporaryFolder folder_;
};

TEST_F(MovieStart, PicturesBeforeTheKeyFrameAreShownInTheRoomBeforeIt) {
  const std::string path = movie("");
  const auto whole = readMovieIndex(path);
  ASSERT_TRUE(whole);
  EXPECT_FALSE(showFirstPictures(path).value()) << "all are shown";

  const std::string late = folder_.file("late.mov");
  test::makeClip("-itsoffset 0.2 -i " + path + " -i " + path +
                     " -map 0:v -map 1:a -c copy -video_track_timescale 25 -movflags faststart",
                 late);
  const auto size = std::filesystem::file_size(late);
  putEdits(late, {{280, 0xFFFFFFFF}, {920, 3}});  // of 200 and 1000 ms from the first tick on
  EXPECT_EQ(readMovieIndex(late)->pictures()->shown, 23u);
  EXPECT_TRUE(showFirstPictures(late).value());
  expectAllShown(late, 0.2, 0);
  EXPECT_FALSE(showFirstPictures(late).value());

  putEdits(late, {{80, 0xFFFFFFFF}, {920, 3}});
  EXPECT_TRUE(showFirstPictures(late).value()) << "its edit without media is gone";
  expectAllShown(late, 0, 0);
  EXPECT_EQ(std::filesystem::file_size(late), size);
}

TEST_F(MovieStart, WhereThereIsNoRoomTheSoundBeginsLater) {
  const std::string path = movie("");
  putEdits(path, {{920, 3}});
  EXPECT_TRUE(showFirstPictures(path).value());
  expectAllShown(path, 0, 0.08);
  // ffmpeg reads the same.
  EXPECT_EQ(test::runShell("ffprobe -v error -count_frames -select_streams v -show_entries "
                           "stream=nb_read_frames -of default=nk=1:nw=1 " +
                           test::quoted(path))
                .output,
            "25\n");
}

TEST_F(MovieStart, AMovieThatIsNotAsFfmpegWritesItStays) {
  const std::string path = movie("");
  putEdits(path, {{920, 3}});
  const std::string bytes = readWholeFile(path).value();
  const std::size_t index = bytes.find("moov") - 4;
  std::size_t size = 0;
  for (std::size_t place = 0; place < 4; ++place)
    size = size << 8 | static_cast<std::uint8_t>(bytes[index + place]);
  const std::string content = bytes.substr(index + 8, size - 8);
  const auto closed = [&](std::uint64_t place) {
    return place < bytes.size() ? bytes.substr(place, 1000) : "";
  };
  ASSERT_TRUE(indexWithFirstPictures(content, closed));
  const auto open = [&](std::uint64_t place) {
    std::string start = closed(place);
    const std::size_t group = start.find(std::string("\0\0\x01\xB8", 4));
    start.at(group + 7) = static_cast<char>(start.at(group + 7) & ~0x40);
    return start;
  };
  EXPECT_FALSE(indexWithFirstPictures(content, open)) << "they cannot be decoded";
  // Every length of every atom gone wrong, and every cut: nothing, or a whole index again.
  for (std::size_t place = 0; place < content.size(); ++place) {
    std::string wrong = content;
    wrong[place] = static_cast<char>(wrong[place] ^ 0x55);
    if (const auto changed = indexWithFirstPictures(wrong, closed)) {
      EXPECT_GE(changed->size(), content.size()) << place;
    }
    if (place % 7 == 0)
      indexWithFirstPictures(content.substr(0, place), closed);
  }
  EXPECT_FALSE(showFirstPictures(folder_.file("none")));
  ASSERT_TRUE(writeFileAtomically(path, bytes.substr(0, index + 20)));
  EXPECT_FALSE(showFirstPictures(path).value());
}

}  // namespace
}  // namespace tessarin
