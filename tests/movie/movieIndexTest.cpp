#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "movie/aviIndex.h"
#include "movie/clusterTimes.h"
#include "movie/emptyEnds.h"
#include "movie/followingMovie.h"
#include "movie/movieIndex.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/clips.h"
#include "utils/files.h"

namespace tessarin {
namespace {

class MovieIndexTest : public testing::Test {
 protected:
  // 25 pictures that are shown in another order than they are decoded in, and 1 s of sound.
  std::string movie(const std::string& name, const std::string& options) {
    const std::string path = folder.file(name);
    test::makeClip(test::progressivePicture("352x288", "1") + test::tone("1") +
                       "-c:v libx264 -preset ultrafast -bf 2 -g 10 " + options,
                   path);
    return path;
  }

  // The bytes of the atom of this type, from its length on.
  static std::size_t atomAt(const std::string& bytes, const std::string& type) {
    return bytes.find(type) - 4;
  }

  test::ScopedTemporaryFolder folder;
};

TEST_F(MovieIndexTest, AnAviFileSaysWhereItsPicturesAndSoundAre) {
  const std::string avi = movie("x.avi", "-c:v mpeg4 -c:a pcm_s16le");
  const std::vector<AviStream> streams = aviStreams(avi);
  EXPECT_EQ(aviPictures(streams), 25u);
  EXPECT_EQ(lostSoundChunks(avi, streams), 0u);
  std::string bytes = *readFileStart(avi, 1U << 24);
  ASSERT_EQ(streams.size(), 2u);
  ASSERT_TRUE(streams[1].isSound);
  // Something fills 64 KiB before the first chunk, which are more than stand before the list from
  // whose beginning the index counts.
  std::string filled = bytes;
  for (std::size_t at = filled.find("idx1") + 8; at < filled.size(); at += 16)
    ++filled[at + 10];
  const std::size_t list = filled.find("movi");
  ++filled[list - 2];
  filled.insert(list + 4, "JUNK" + std::string({'\xF8', '\xFF', 0, 0}) + std::string(0xFFF8, 'x'));
  const std::vector<AviStream> later = aviStreams(folder.write("z.avi", filled));
  ASSERT_EQ(later.size(), 2u);
  EXPECT_EQ(later[0].chunks[0].begin, streams[0].chunks[0].begin + 0x10000);
  bytes.replace(streams[1].chunks[7].begin - 9, 1000, 1000, '\0');
  EXPECT_EQ(lostSoundChunks(folder.write("y.avi", bytes), streams), 1u);
  EXPECT_TRUE(aviStreams(movie("x.mov", "-c:a pcm_s16le -f mov")).empty());
  std::filesystem::resize_file(avi, std::filesystem::file_size(avi) / 2);
  EXPECT_TRUE(aviStreams(avi).empty()) << "the index is gone";
}

TEST_F(MovieIndexTest, AStreamsFileMayBeEmptyAtItsEnds) {
  const auto overwritten = [this](const std::string& bytes, double from, double to) {
    const auto at = [&bytes](double share) {
      return static_cast<std::size_t>(share * static_cast<double>(bytes.size()));
    };
    return folder.write(
        "overwritten",
        bytes.substr(0, at(from)) + std::string(at(to) - at(from), '\0') + bytes.substr(at(to)));
  };
  for (const char* kind :
       {"-f mpegts", "-f mpegts -mpegts_m2ts_mode 1", "-c:v mpeg2video -f vob"}) {
    SCOPED_TRACE(kind);
    const std::string bytes = *readFileStart(movie("x", std::string("-c:a mp2 ") + kind), 1U << 24);
    const char* container = endsWith(kind, "vob") ? "mpeg" : "mpegts";
    EXPECT_EQ(emptyEnds(overwritten(bytes, 0, 0), container), 0);
    EXPECT_NEAR(emptyEnds(overwritten(bytes, 0, 0.3), container), 0.3, 0.05);
    EXPECT_NEAR(emptyEnds(overwritten(bytes, 0.6, 1), container), 0.4, 0.05);
    EXPECT_EQ(emptyEnds(overwritten(bytes, 0.4, 0.6), container), 0) << "counted elsewhere";
    EXPECT_EQ(emptyEnds(overwritten(bytes, 0.6, 1), "mov,mp4,m4a"), 0);
    const auto behind = [&](std::size_t size) {
      return emptyEnds(folder.write("behind", std::string(size, 'x') + bytes), container);
    };
    EXPECT_EQ(behind(5000), 0) << "something else before it";
    EXPECT_EQ(behind(100'000) > 0.1, std::string_view(container) == "mpegts");
  }
}

TEST_F(MovieIndexTest, FragmentsBehindADamagedOneAreNotReached) {
  const std::string bytes =
      *readFileStart(movie("x.mp4", "-c:a aac -movflags frag_every_frame+empty_moov"), 1U << 24);
  const auto unreached = [this](const std::string& content) {
    return emptyEnds(folder.write("fragments", content), "mov");
  };
  const std::size_t half = bytes.find("mdat", bytes.size() / 2);
  EXPECT_EQ(unreached(bytes), 0);
  EXPECT_EQ(unreached(bytes + std::string(5000, '\0')), 0) << "room that was not needed";
  EXPECT_NEAR(unreached(bytes.substr(0, half + 4) + bytes.substr(half + 5)), 0.5, 0.05);
  EXPECT_NEAR(unreached(bytes.substr(0, half + 5)), 0.02, 0.02) << "cut";
  EXPECT_GT(unreached(bytes.substr(0, half + 5)), 0);
  const std::string whole = *readFileStart(movie("y.mp4", "-c:a aac"), 1U << 24);
  EXPECT_EQ(unreached(whole.substr(0, whole.size() - 9)), 0) << "its index tells";
}

TEST_F(MovieIndexTest, AMatroskaFileTellsThatItWasCut) {
  const auto missing = [this](const std::string& content) {
    return emptyEnds(folder.write("cut", content), "matroska");
  };
  const std::string whole = *readFileStart(movie("x.mkv", "-c:a aac"), 1U << 24);
  EXPECT_EQ(missing(whole), 0);
  EXPECT_NEAR(missing(whole.substr(0, whole.size() / 2)), 0.5, 0.01);
  const std::size_t cues = whole.rfind("\x1C\x53\xBB\x6B");
  EXPECT_GT(missing(whole.substr(0, cues - 3)), 0) << "in the last block";
  EXPECT_EQ(missing(whole.substr(0, cues + 20)), 0) << "an index that nothing needs";
  // As it is written to a pipe: nothing tells its length.
  std::string streamed = whole.substr(0, cues);
  streamed.replace(streamed.find("\x18\x53\x80\x67") + 4, 8, "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
  EXPECT_EQ(missing(streamed), 0);
  EXPECT_GT(missing(streamed.substr(0, streamed.size() - 3)), 0);
}

TEST_F(MovieIndexTest, AMovieOfAnotherFormatMayFollow) {
  const std::string mp4 = movie("x.mp4", "-c:a aac");
  const std::string programme = movie("x.mpg", "-c:v mpeg2video -c:a mp2 -f vob");
  const std::string transport = movie("x.ts", "-c:a ac3 -f mpegts");
  const auto both = [&](const std::string& first, const std::string& second) {
    return folder.write("both", *readFileStart(first, 1U << 24) + *readFileStart(second, 1U << 24));
  };
  EXPECT_FALSE(anotherMovieFollows(mp4));
  EXPECT_FALSE(anotherMovieFollows(programme));
  EXPECT_TRUE(anotherMovieFollows(both(mp4, transport)));
  EXPECT_TRUE(anotherMovieFollows(both(mp4, programme)));
  EXPECT_TRUE(anotherMovieFollows(both(programme, transport)));
  EXPECT_TRUE(anotherMovieFollows(both(programme, mp4)));
  EXPECT_FALSE(anotherMovieFollows(both(programme, programme))) << "which is read";
}

TEST_F(MovieIndexTest, CountsWhatFfmpegHasWritten) {
  for (const char* options :
       {"-c:a pcm_s16le -ac 2 -f mov", "-c:a pcm_s16le -ac 2 -movflags faststart -f mov"}) {
    const auto index = readMovieIndex(movie("x.mov", options));
    ASSERT_TRUE(index) << index.reason();
    EXPECT_TRUE(index->isWhole);
    EXPECT_FALSE(index->isFragmented);
    ASSERT_NE(index->pictures(), nullptr);
    EXPECT_EQ(index->pictures()->codec, "avc1");
    EXPECT_EQ(index->pictures()->samples, 25u);
    EXPECT_EQ(index->pictures()->shown, 25u);
    EXPECT_EQ(index->pictures()->missing, 0u);
    EXPECT_NEAR(index->pictures()->seconds, 1, 1e-6);
    ASSERT_EQ(index->sounds().size(), 1u);
    EXPECT_EQ(index->sounds().at(0)->samples, 48000u) << "moments";
    EXPECT_NEAR(index->sounds().at(0)->seconds, 1, 1e-6);
  }
  EXPECT_TRUE(
      readMovieIndex(movie("x.mp4", "-c:a aac -movflags frag_keyframe+empty_moov"))->isFragmented);
  const auto transport = readMovieIndex(movie("x.mts", "-c:a ac3 -f mpegts"));
  ASSERT_FALSE(transport);
  EXPECT_EQ(transport.reason(), "it has no index");
  EXPECT_FALSE(readMovieIndex(folder.file("none")));
}

TEST_F(MovieIndexTest, TellsWhatAnEditListHidesAndWhenItBegins) {
  const std::string whole = movie("whole.mov", "-an -f mov");
  std::string bytes = readWholeFile(whole).value();
  // The only edit: its length in the movie's thousandths of a second, then its time in the track.
  const std::size_t edit = atomAt(bytes, "elst") + 16;
  bytes[edit + 2] = 0x01;  // 0x190 of them: ten pictures
  bytes[edit + 3] = static_cast<char>(0x90);
  const auto index = readMovieIndex(folder.write("cut.mov", bytes));
  ASSERT_TRUE(index);
  EXPECT_EQ(index->pictures()->shown, 10u);
  EXPECT_EQ(index->pictures()->samples, 25u);

  const std::string late = folder.file("late.mov");
  ASSERT_TRUE(test::makeClip("-itsoffset 0.4 -i " + test::quoted(whole) + " " + test::tone("1") +
                                 "-map 0:v -map 1:a -c:v copy -c:a pcm_s16le -f mov",
                             late));
  EXPECT_NEAR(readMovieIndex(late)->pictures()->start, 0.4, 0.01);
}

TEST_F(MovieIndexTest, TellsWhatAShortFileLacks) {
  const std::string path = movie("x.mov", "-c:a pcm_s16le -movflags faststart -f mov");
  const std::string bytes = readWholeFile(path).value();
  const std::size_t data = atomAt(bytes, "mdat");
  std::filesystem::resize_file(path, data + (bytes.size() - data) / 2);
  const auto half = readMovieIndex(path);
  ASSERT_TRUE(half) << half.reason();
  EXPECT_FALSE(half->isWhole);
  EXPECT_GT(half->pictures()->missing, 5u);
  EXPECT_LT(half->pictures()->missing, 20u);
  EXPECT_GT(half->sounds().at(0)->missing, 0u);
  // Within the index nothing can be told any more.
  std::filesystem::resize_file(path, data / 2);
  EXPECT_FALSE(readMovieIndex(path));
}

TEST_F(MovieIndexTest, BelievesNoNumber) {
  const std::string path = movie("x.mov", "-c:a pcm_s16le -movflags faststart -f mov");
  const std::string good = readWholeFile(path).value();
  const auto with = [&](const std::string& type, std::size_t offset, const std::string& bytes) {
    std::string changed = good;
    changed.replace(atomAt(good, type) + offset, bytes.size(), bytes);
    return readMovieIndex(folder.write("changed.mov", changed));
  };
  const std::string most(4, '\xFF');
  const std::string none(4, '\0');
  for (const char* table : {"stts", "ctts", "stsc", "stco"})
    EXPECT_FALSE(with(table, 12, most)) << table << " has more entries than fit into it";
  EXPECT_FALSE(with("stsz", 16, most));
  EXPECT_FALSE(with("mdhd", 20, none)) << "no unit of time";
  EXPECT_FALSE(with("stbl", 4, "none"));
  // Data elsewhere.
  const auto moved = with("stco", 16, most);
  ASSERT_TRUE(moved);
  EXPECT_GT(moved->pictures()->missing, 0u);

  // Any other damage ends soon, with or without an answer.
  std::mt19937 random(1);
  const std::size_t index = atomAt(good, "moov");
  const std::size_t end = atomAt(good, "mdat");
  for (int round = 0; round < 200; ++round) {
    std::string changed = good;
    for (int change = 0; change < 3; ++change)
      changed[index + random() % (end - index)] = static_cast<char>(random());
    if (const auto read = readMovieIndex(folder.write("changed.mov", changed)); !read) {
      EXPECT_FALSE(read.reason().empty());
    }
  }
}

// A cluster whose time was damaged, so that the next one goes back behind it.
TEST(ClusterTimes, TellWhatLiesOutOfItsTime) {
  const test::ScopedTemporaryFolder folder;
  const std::string path = folder.file("a.mkv");
  ASSERT_TRUE(test::makeClip(
      "-f lavfi -i testsrc2=s=64x48:r=25:d=4 -c:v mjpeg -cluster_time_limit 400", path));
  const auto sound = clusterTimes(path);
  ASSERT_TRUE(sound) << sound.reason();
  EXPECT_NEAR(sound->seconds, 3.6, 0.4);
  EXPECT_EQ(sound->misplaced, 0);

  std::string bytes = *readFileStart(path, 1U << 24);
  std::size_t at = 0;
  for (int cluster = 0; cluster < 5; ++cluster)
    at = bytes.find("\x1F\x43\xB6\x75", at + 1);
  ASSERT_NE(at = bytes.find("\xE7\x82", at), bytes.npos);
  bytes[at + 2] = '\x50';  // some 20 s
  const auto damaged = clusterTimes(folder.write("b.mkv", bytes));
  EXPECT_GT(damaged->misplaced, 0.1);
  EXPECT_LT(damaged->misplaced, 0.5);
  bytes.resize(at + 3);
  EXPECT_EQ(clusterTimes(folder.write("c.mkv", bytes))->misplaced, 0);
  EXPECT_EQ(clusterTimes(folder.write("d.mkv", "none"))->seconds, 0);

  // Clusters of a picture or two, the first of which is shown behind those of the next.
  const std::string reordered = folder.file("e.mkv");
  ASSERT_TRUE(
      test::makeClip("-f lavfi -i testsrc2=s=64x48:r=25:d=2 -c:v libx264 -bf 3 "
                     "-cluster_size_limit 400",
                     reordered));
  EXPECT_EQ(clusterTimes(reordered)->misplaced, 0);
}

}  // namespace
}  // namespace tessarin
