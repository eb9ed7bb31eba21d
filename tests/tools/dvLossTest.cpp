// What is damaged or missing in DV and in Motion JPEG, of which decoders say nothing.
#include <gtest/gtest.h>

#include "cardBytes.h"
#include "movieBytes.h"
#include "support/ScopedTemporaryFolder.h"
#include "tools/joinclips/DvMender.h"
#include "tools/joinclips/dvBlocks.h"
#include "tools/joinclips/dvLoss.h"
#include "tools/joinclips/jpegLoss.h"
#include "tools/support/clips.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin::joining {
namespace {

using test::dvPicture;
using test::fromHex;

std::string recording(int from, int to, int clockAhead = 0) {
  std::string frames;
  for (int number = from; number < to; ++number)
    frames += dvPicture(number, number + clockAhead, clockAhead != 0 && number == from);
  return frames;
}

int lostIn(const std::string& bytes) {
  const test::ScopedTemporaryFolder folder;
  const auto loss = dvLoss(folder.write("x.dv", bytes));
  EXPECT_TRUE(loss) << loss.reason();
  return static_cast<int>(std::lround(loss->lost() * 25));
}

TEST(DvLoss, PicturesThatAreMissingAreCounted) {
  const std::string begin = recording(0, 20);
  EXPECT_EQ(lostIn(begin + recording(27, 40)), 7);
  EXPECT_EQ(lostIn(begin + recording(27, 40) + recording(240, 260)), 207);
  // In a file of another format, as between the clusters of Matroska.
  std::string apart = "RIFF";
  for (int number = 0; number < 20; ++number)
    if (number != 10)
      apart += "\x1F\x43\xB6\x75" + std::string(number, '\x1F') + dvPicture(number, number);
  EXPECT_EQ(lostIn(apart), 1);
}

TEST(DvLoss, OfASectionIsWhatIsInIt) {
  const test::ScopedTemporaryFolder folder;
  const std::string begin = recording(0, 20);
  const std::string file =
      folder.write("x.dv", begin + recording(27, 40).replace(200'000, 5000, 5000, '\0'));
  const auto lost = [&](std::uint64_t from, std::uint64_t to) {
    const std::uint64_t picture = begin.size() / 20;
    const auto loss = dvLoss(pathOfSection({file, from * picture, to * picture}, "x-01.dv"));
    return std::pair(std::lround(loss->seconds() * 25), std::lround(loss->lost() * 25));
  };
  EXPECT_EQ(lost(0, 20), std::pair(20L, 0L));
  EXPECT_EQ(lost(20, 33), std::pair(13L, 1L));
  EXPECT_EQ(lost(10, 30), std::pair(20L, 8L));
}

TEST(DvLoss, RecordingsBehindEachOtherLackNothing) {
  const std::string begin = recording(0, 20);
  EXPECT_EQ(lostIn(begin + recording(20, 40)), 0);
  EXPECT_EQ(lostIn(begin + recording(20, 40, 5000)), 0) << "the code goes on";
  EXPECT_EQ(lostIn(begin + recording(0, 20, 300)), 0) << "it begins anew";
  EXPECT_EQ(lostIn(begin + recording(200, 220, 3000)), 0) << "the clock is elsewhere";
  EXPECT_EQ(lostIn(begin + recording(200, 220, 1)), 0) << "both run on, and the camera marks it";
  EXPECT_EQ(lostIn(begin + dvPicture(70, 70) + recording(21, 40)), 0) << "one code is off";
  std::string marked = dvPicture(70, 70);
  marked.replace(6 * 80 + 3, 5, fromHex("51FF48FFFF"));
  EXPECT_EQ(lostIn(begin + marked + recording(71, 90)), 0) << "it is marked beside the sound";
}

TEST(DvLoss, RepeatedPicturesStandForOnesThatAreMissing) {
  const std::string begin = recording(0, 20);
  const std::string last = dvPicture(19, 19);
  EXPECT_EQ(lostIn(begin + last + last + recording(22, 40)), 2) << "all are filled";
  EXPECT_EQ(lostIn(begin + last + recording(27, 40)), 7) << "one of them is";
  EXPECT_EQ(lostIn(begin + recording(27, 40) + dvPicture(39, 39) + recording(40, 50)), 7);
}

TEST(DvLoss, PicturesThatWereLeftOutSteadilyAreNotMissing) {
  std::string steady;
  for (int number = 0; number < 100; ++number)
    if (number % 5 != 2)
      steady += dvPicture(number, number);
  EXPECT_EQ(lostIn(steady), 0);
  EXPECT_EQ(lostIn(steady + recording(120, 140)), 20) << "and that hides no others";
  EXPECT_EQ(lostIn(recording(0, 20) + recording(21, 26) + recording(27, 40)), 2) << "only twice";
}

// A file of 20 pictures with something else in the place of these bytes.
struct Torn {
  const char* what;
  std::size_t begin;
  std::size_t end;
  std::string instead;
  int lost;
  std::size_t written;  // pictures
};

// All are put right as they are read: each is whole, and one of the file.
TEST(DvLoss, TornPicturesAreCountedAndMended) {
  const test::ScopedTemporaryFolder folder;
  const std::string clip = recording(0, 20);
  constexpr std::size_t frame = 144'000;
  const std::vector<Torn> files = {
      {"nothing", 0, 0, "", 0, 20},
      {"zeros inside", 5 * frame + 70'000, 5 * frame + 72'048, std::string(2048, '\0'), 1, 20},
      {"zeros at an end and a head", 8 * frame - 1000, 8 * frame + 1000, std::string(2000, '\0'), 2,
       20},
      {"rubbish over three", 4 * frame + 500, 6 * frame + 500, std::string(2 * frame, '\x55'), 3,
       20},
      {"zeros over whole ones", 10 * frame, 12 * frame, std::string(2 * frame, '\0'), 2, 20},
      {"the first head", 0, 80, std::string(80, '\0'), 1, 19},
      {"zeros in front", 0, 3 * frame + 5, std::string(3 * frame + 5, '\0'), 4, 16},
      {"zeros behind", 15 * frame + 7, 20 * frame, std::string(5 * frame - 7, '\0'), 5, 16},
      {"bytes cut out of one", 7 * frame + 2000, 7 * frame + 50'000, "", 1, 20},
      {"bytes cut out of six", 7 * frame + 2000, 12 * frame + 5000, "", 6, 15},
      {"something between two", 7 * frame, 7 * frame, std::string(999, 'x'), 1, 20},
      {"a part of one in front", 0, 24'123, "", 1, 19},
      {"the end", 19 * frame + 100'000, 20 * frame, "", 1, 20},
      {"pictures of 525 lines", 10 * frame, 11 * frame,
       test::dvFrame("FFD6E210", "FFA8B6E1", false), 1, 20},
  };
  for (const Torn& file : files) {
    SCOPED_TRACE(file.what);
    const std::string path =
        folder.write("x.dv", clip.substr(0, file.begin) + file.instead + clip.substr(file.end));
    const auto loss = dvLoss(path);
    ASSERT_TRUE(loss);
    EXPECT_EQ(std::lround(loss->lost() * 25), file.lost);
    EXPECT_EQ(loss->isTorn(), file.lost > 0);
    ASSERT_EQ(is625InRawDv(path), true);
    DvMender mender(openSource(path, OpenFor::streaming), true);
    std::size_t count = 0;
    for (auto next = mender.next(); next && !next->bytes.empty(); next = mender.next(), ++count) {
      EXPECT_EQ(next->bytes.size(), frame);
      EXPECT_EQ(dv::misplacedBlocks(next->bytes, true), 0u) << "picture " << count;
    }
    EXPECT_EQ(count, file.written);
  }
}

TEST(DvLoss, PicturesWithoutBlocksAreDamagedInOtherFormats) {
  const auto inMovie = [](std::size_t begin, std::size_t size) {
    std::string apart = "RIFF";
    for (int number = 0; number < 20; ++number)
      apart += "00dc" + std::string(number, '\x1F') + dvPicture(number, number);
    apart.replace(begin, size, size, '\0');
    return lostIn(apart);
  };
  EXPECT_EQ(inMovie(0, 0), 0);
  EXPECT_EQ(inMovie(700'000, 90), 1);
  EXPECT_EQ(inMovie(700'000, 144'000), 2) << "by the time code";
}

TEST(JpegLoss, PicturesWithWrongDataOrWithoutEndsAreDamaged) {
  const test::ScopedTemporaryFolder folder;
  for (const char* name : {"x.avi", "x.mov"}) {
    SCOPED_TRACE(name);
    const std::string path = folder.file(name);
    test::makeClip(folder, name,
                   "-f lavfi -i testsrc2=s=352x288:r=25:d=1 -f lavfi -i sine=d=1 "
                   "-c:v mjpeg -q:v 3 -c:a pcm_s16le");
    const auto lost = [&] {
      const auto loss = jpegLoss(path);
      return loss && loss->pictures == 25 ? static_cast<int>(loss->damaged) : -1;
    };
    const auto overwrite = [&](std::string bytes, std::size_t at, std::size_t size) {
      bytes.replace(at, size, size, '\0');
      folder.write(name, bytes);
    };
    EXPECT_EQ(lost(), 0);
    const std::string bytes = *readFileStart(path, 1U << 24);
    folder.write("z" + std::string(name).substr(1), bytes);
    const std::size_t picture = bytes.find("\xFF\xD8\xFF", bytes.size() / 2);
    overwrite(bytes, picture + 3000, 100);
    EXPECT_EQ(lost(), 1) << "inside";
    overwrite(bytes, picture - 200, 3000);
    EXPECT_GE(lost(), 1) << "the beginning";
    std::string endless = bytes;
    for (std::size_t at = 0; (at = endless.find("\xFF\xD9", at)) != std::string::npos;)
      endless.replace(at, 2, 2, 'x');
    folder.write(name, endless);
    EXPECT_EQ(lost(), 0) << "the camera writes no ends";
  }
  // What is behind does not stand any more where the index has it.
  const std::string bytes = *readFileStart(folder.file("z.avi"), 1U << 24);
  const auto lostOf = [&folder](const std::string& avi) {
    const auto loss = jpegLoss(folder.write("x.avi", avi));
    return loss && loss->pictures == 25 ? static_cast<int>(loss->damaged) : -1;
  };
  const std::size_t picture = bytes.find("00dc", bytes.size() / 4);
  std::string other = bytes;
  other.insert(picture + 3000, 1001, 'x');
  EXPECT_EQ(lostOf(other), 1) << "bytes more";
  other = bytes;
  EXPECT_EQ(lostOf(other.erase(picture - 100, 1000)), 1) << "bytes less";
  other = bytes;
  other.replace(other.find("idx1"), 4, "JUNK").replace(picture + 3000, 1000, 1000, 'x');
  EXPECT_EQ(lostOf(other), 1) << "no index";
  const std::size_t next = other.find("00dc", picture + 4);
  EXPECT_EQ(lostOf(other.erase(picture, next - picture)), 1) << "a whole one less";
  // Others that have no index of all pictures.
  for (const auto& [name, options] :
       {std::pair{"f.mkv", ""},
        {"f.mp4", "-movflags frag_keyframe+empty_moov"},
        {"f.mov", "-movflags frag_every_frame+empty_moov+default_base_moof"}}) {
    SCOPED_TRACE(name);
    test::makeClip(folder, name,
                   "-f lavfi -i testsrc2=s=352x288:r=25:d=1 -f lavfi -i sine=d=1 "
                   "-c:v mjpeg -q:v 3 -c:a aac " +
                       std::string(options));
    std::string movie = *readFileStart(folder.file(name), 1U << 24);
    EXPECT_EQ(lostOf(movie), 0);
    const std::size_t inside = movie.find("\xFF\xD8\xFF", movie.size() / 2) + 3000;
    EXPECT_EQ(lostOf(movie.replace(inside, 100, 100, '\0')), 1);
  }
}

// A field of four blocks, with tables of DC and of AC whose code 0 stands for no change and for the
// end of a block, and 10 for five bits more.
std::string fieldOf(const std::string& scan, const std::string& head = {}, char kind = '\xC0') {
  const std::string table = fromHex("01010000000000000000000000000000 0005");
  return "\xFF\xD8" + head + "\xFF\xC4" + fromHex("001500") + table + "\xFF\xC4" +
         fromHex("001510") + table + "\xFF" + kind + fromHex("000B080010001001011100") +
         fromHex("FFDA0008010100003F00") + scan + fromHex("FFD9");
}

TEST(JpegLoss, TheDataOfAPictureHasEachOfItsBlocks) {
  const auto faults = [](const std::string& picture) {
    const JpegFaults found = jpegFaults(picture);
    return std::array{found.lacksBegin, found.lacksEnd, found.hasWrongData, found.hasWrongMarks};
  };
  constexpr std::array none{false, false, false, false};
  constexpr std::array wrong{false, false, true, false};
  const std::string whole(1, '\0');
  const std::string more = fromHex("00AA");
  EXPECT_EQ(faults(fieldOf(whole)), none);
  EXPECT_EQ(faults(fieldOf(fromHex("85"))), wrong) << "it ends too early";
  EXPECT_EQ(faults(fieldOf(more)), wrong) << "it does not end";
  EXPECT_EQ(faults(fieldOf(fromHex("C0"))), wrong) << "there is no such code";
  EXPECT_EQ(faults(fieldOf(more, {}, '\xC2')), none) << "of progressive ones it cannot be said";
  // What stands beside: something that fills the place, previews.
  const std::string nothing(100, '\0');
  EXPECT_EQ(faults(fieldOf(whole + fromHex("0000FFFF"))), none);
  EXPECT_EQ(faults(fieldOf(whole) + nothing + fieldOf(whole) + nothing), none);
  EXPECT_EQ(faults(fieldOf(whole) + fieldOf(more)), wrong) << "in the second field";
  const std::string preview = fromHex("FFE10212") + fieldOf(more + fromHex("FF11"));
  EXPECT_EQ(faults(fieldOf(whole, preview + std::string(0x214 - preview.size(), '\0'))), none);
  // After each two blocks it begins anew.
  const std::string interval = fromHex("FFDD00040002");
  EXPECT_EQ(faults(fieldOf(fromHex("0FFFD00F"), interval)), none);
  EXPECT_EQ(faults(fieldOf(fromHex("0FFFD10F"), interval)), wrong);
  EXPECT_TRUE(jpegFaults(fieldOf(whole + fromHex("FFE1") + whole)).hasWrongMarks);
  EXPECT_TRUE(jpegFaults(fromHex("FFD8") + more + fromHex("FFD9")).hasWrongMarks) << "no scan";
}

}  // namespace
}  // namespace tessarin::joining
