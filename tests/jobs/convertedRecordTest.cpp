#include <gmock/gmock.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "jobs/convertedRecord.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using State = ConvertedRecord::State;

TEST(ClipMark, IsOfTheNameTheSizeAndTheContent) {
  test::ScopedTemporaryFolder folder;
  const std::string bytes = std::string(200000, 'a') + "end";
  const auto mark = [&folder](const std::string& name, const std::string& content) {
    folder.write(name, content);
    return markOfClip({folder.file(name)});
  };
  const auto clip = mark("card/00001.MTS", bytes);
  ASSERT_TRUE(clip);
  EXPECT_EQ(clip->bytes, bytes.size());
  EXPECT_EQ(mark("copy/00001.mts", bytes), clip);
  EXPECT_NE(mark("x/00002.MTS", bytes), clip);
  EXPECT_NE(mark("x/00001.MTS", bytes + "."), clip);
  EXPECT_NE(mark("y/00001.MTS", "b" + bytes.substr(1)), clip) << "used again by the camera";
  EXPECT_NE(mark("z/00001.MTS", bytes.substr(1) + "."), clip);
  // Of two takes with one header and one index only the pictures differ.
  const std::string head(70000, 'h');
  EXPECT_NE(mark("a/00001.MOV", head + std::string(400000, 'a') + head),
            mark("b/00001.MOV", head + std::string(400000, 'b') + head));
  EXPECT_TRUE(mark("empty.mts", ""));
  EXPECT_FALSE(markOfClip({folder.file("gone.mts")}));
  EXPECT_FALSE(markOfClip({folder.path()}));
  // A recording of several files is none of its parts.
  folder.write("a.mts", "one");
  folder.write("b.mts", "two");
  const auto whole = markOfClip({folder.file("a.mts"), folder.file("b.mts")});
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->bytes, 6u);
  EXPECT_NE(whole, markOfClip({folder.file("b.mts"), folder.file("a.mts")}));
  EXPECT_FALSE(markOfClip({folder.file("a.mts"), folder.file("gone.mts")}));
  // Another file has come to the name since the clip was read.
  const ClipFile read{folder.file("a.mts"), fileState(folder.file("a.mts"))};
  EXPECT_EQ(markOfSameClip({read}), markOfClip({read.path}));
  std::filesystem::rename(folder.file("b.mts"), folder.file("a.mts"));
  EXPECT_FALSE(markOfSameClip({read}));
}

TEST(ConvertedRecord, SurvivesDamageOthersAndItsOwnSize) {
  test::ScopedTemporaryFolder folder;
  const std::string path = folder.file("deeper/converted");
  const ConvertedRecord record(path);
  EXPECT_EQ(record.read().state, State::good);
  std::vector<std::thread> others;
  for (std::uint64_t writer = 0; writer < 4; ++writer)
    others.emplace_back([&record, writer] {
      for (std::uint64_t clip = 0; clip < 10; ++clip)
        EXPECT_TRUE(record.add({writer, clip}));
    });
  for (std::thread& other : others)
    other.join();
  EXPECT_TRUE(record.add({3, 9}));
  EXPECT_EQ(record.read().marks.size(), 40u);

  const std::string good = folder.read("deeper/converted");
  for (const std::string& bad :
       {std::string(), good.substr(0, good.size() - 1), good + "x\n", good + "1 2 3\n",
        good + "1  2\n", "\n" + good, std::string(100, '\0'), good + "-1 0000000000000002\n",
        std::string("tessarin converted clips 1x\n"), std::string("tessarin converted clips 0\n"),
        std::string("tessarin converted clips 1")}) {
    folder.write("deeper/converted", bad);
    EXPECT_EQ(record.read().state, State::damaged) << bad;
  }
  // The other clips of a damaged record are known, and what is left of a line is no other clip.
  const std::string torn = good.substr(0, good.size() - 5);
  folder.write("deeper/converted", torn);
  EXPECT_EQ(record.read().marks.size(), 39u);
  EXPECT_TRUE(record.add({8, 8}));
  EXPECT_EQ(record.read().state, State::good);
  EXPECT_EQ(record.read().marks.size(), 40u);
  EXPECT_EQ(folder.read("deeper/converted.damaged"), torn);

  const std::string newer = "tessarin converted clips 2\nwho knows\n";
  folder.write("deeper/converted", newer);
  EXPECT_EQ(record.read().state, State::newer);
  EXPECT_FALSE(record.add({1, 2}));
  EXPECT_EQ(folder.read("deeper/converted"), newer);

  std::string full = "tessarin converted clips 1\n";
  for (std::size_t clip = 0; clip < ConvertedRecord::mostClips; ++clip)
    full += "18446744073709551615 000000000" + std::to_string(1000000 + clip) + "\n";
  folder.write("deeper/converted", full);
  EXPECT_TRUE(record.add({7, 7}));
  const auto marks = record.read().marks;
  EXPECT_EQ(marks.size(), ConvertedRecord::mostClips);
  EXPECT_EQ(marks.back(), (ClipMark{7, 7}));
  EXPECT_TRUE(record.clear());
  EXPECT_TRUE(record.clear());
  EXPECT_FALSE(pathExists(path));
}

}  // namespace
}  // namespace tessarin
