// What is believed of a row that comes from a file, and that nothing is lost which our own rows
// have.
#include <limits>

#include "CoreFixture.h"
#include "analysis/partFiles.h"
#include "core/storedRow.h"
#include "jobs/newRow.h"
#include "support/sources.h"

namespace tessarin {
namespace {

const Dico info{{"srcPathStr", "/card/1.mts"}, {"v0_width", 1920}, {"v0_height", 1080}};

Dico withValue(Dico record, std::string_view key, Value value) {
  record.set(key, std::move(value));
  return record;
}

TEST(StoredRow, HasNothingThatARowHasNot) {
  const test::TestBundle bundle;
  Dico hostile = info;
  for (const char* key : {"postProcessPurge", "purgePathStr1", "slowPathStr", "dstPathStr",
                          "imgPathStr", "encQtEnc", "encV", "durationDouble", "out", "sizeOut"})
    hostile.set(key, "/home/user/precious.mov");
  const Dico stored{{"dico", hostile}, {"out", 2}, {"img", "/home/user/precious.jpg"}};
  const auto row = rowOfStored(stored);
  ASSERT_TRUE(row);
  EXPECT_EQ(*row, newRow(test::sourceOf(info), {outProres, -1, speedKeep}));
}

TEST(StoredRow, WithAValueThatCannotBeIsNone) {
  const test::TestBundle bundle;
  ASSERT_TRUE(rowOfStored({{"dico", info}}));
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const std::string withZero("/card\0.mts", 10);
  const std::pair<const char*, Value> wrongFacts[] = {
      {"v0_width", 0},
      {"v0_width", 65536},
      {"v0_width", 1920.5},
      {"v0_height", std::numeric_limits<std::int64_t>::max()},
      {"v0_height", "1080"},
      {"v0_fps", infinity},
      {"v0_fps", -25.0},
      {"v0_fps", std::numeric_limits<double>::quiet_NaN()},
      {"v0_fps", true},
      {"v0_dar", "16:9:1"},
      {"v0_dar", "-1:1"},
      {"a0_codec", "aac -i /etc/passwd"},
      {"w_force", "lavfi"},
      {"recorded", "2010-12-24 ../../:00"},
      {"recordedBy", "me"},
      {"w_duration", -1},
      {"w_duration", 1e300},
      {"chapters", List(20000, Value(1))},
      {"chapters", List{"1"}},
      {"s0_lang+", std::string(100000, 'x')},
      {"v0_lang", "\xFF\xFE"},
      {"srcPathStr", "1.mts"},
      {"srcPathStr", withZero},
      {"srcPathStr", "/" + std::string(5000, 'x')},
      {"timeCode", "99:99:99:99"},
      {"recordedZone", "+9900"},
      {"cameraMake", "a\nb"},
      {"cameraModel", std::string(1000, 'x')},
      {"place", "+95.0+011.5/"},
      {"place", "+48.1+011.5/\x1B[2J"},
      {"intraFailure", 2},
      {"prefSurrond", Dico{}}};
  for (const auto& [key, value] : wrongFacts)
    EXPECT_FALSE(rowOfStored({{"dico", withValue(info, key, value)}}))
        << key << " = " << value.description();
  const std::pair<const char*, Value> wrongChoices[] = {{"sizeOut", 99999999},
                                                        {"sizeOut", -2},
                                                        {"sizeOut", "12"},
                                                        {"out", 4},
                                                        {"out", -1},
                                                        {"fps", 3},
                                                        {"fps", 1.0},
                                                        {"resultat", "puces"},
                                                        {"dstPathStr", "x.mov"},
                                                        {"dstPathStr", "/bin/sh"},
                                                        {"reason", 5}};
  for (const auto& [key, value] : wrongChoices)
    EXPECT_FALSE(rowOfStored(withValue({{"dico", info}}, key, value)))
        << key << " = " << value.description();
  EXPECT_FALSE(rowOfStored({{"dico", Dico{{"v0_width", 1920}}}})) << "without a source";
  const Dico stream = withValue(withValue(info, "wrapper", "mpegts"), "w_seconds", 20);
  const std::string part = "10000 6144 /card/2.mts";
  const auto isRow = [&stream](const Value& parts) {
    return rowOfStored({{"dico", withValue(stream, "parts", parts)}}).has_value();
  };
  EXPECT_TRUE(isRow(List{part, "15000 6144 /card/3.MTS"}));
  EXPECT_FALSE(rowOfStored({{"dico", withValue(info, "parts", List{part})}})) << "not of a stream";
  for (const List& wrong :
       {List{part, part}, List{"10000 6144 /card/1.mts"}, List{"10000 6144 /home/2.mts"},
        List{"10000 6144 2.mts"}, List{"10000 6144 /card/2.plist"}, List{"10000 0 /card/2.mts"},
        List{"-1 6144 /card/2.mts"}, List{"1e4 6144 /card/2.mts"}, List{"/card/2.mts"},
        List{"10000 6144 /card/../card/2.mts"}, List{part, "9000 6144 /card/3.mts"}, List{1}})
    EXPECT_FALSE(isRow(wrong)) << Value(wrong).description();
  List many;
  for (std::size_t number = 0; number < mostFurtherParts; ++number)
    many.push_back("1 1 /card/part" + std::to_string(number) + ".mts");
  EXPECT_TRUE(isRow(many));
  many.push_back(part);
  EXPECT_FALSE(isRow(many));
  // Streams without an end.
  EXPECT_EQ(sourceOfRecord(
                {{"v1000_width", 1}, {"v_width", 1}, {"vx_width", 1}, {"x0_width", 1}, {"", 1}}),
            Source());
  // What a file of its own says of its place, and a picture that is none.
  EXPECT_FALSE(rowOfContent({{"order", 2}, {"row", Dico{{"dico", info}}}}, 1));
  EXPECT_EQ(rowOfContent({{"order", 1}, {"row", Dico{{"dico", info}}}, {"picture", "<svg/>"}}, 1)
                .value()
                .picture,
            "");
}

class StoredRows : public test::CoreFixture {};

// What the analysis finds out is what is on the list: whoever adds a fact adds it there, too.
TEST_F(StoredRows, OfOursComeBackWhole) {
  const std::string clips[] = {folder.file("1.mts"), folder.file("2.mov"), folder.file("3.mkv")};
  ASSERT_TRUE(test::makeInterlacedClip(clips[0]));
  const std::string pictures = " -f lavfi -i testsrc2=s=320x240:r=30:d=2 -f lavfi -i sine=d=2 ";
  ASSERT_TRUE(test::makeClip(pictures + "-itsoffset 0.5 -f lavfi -i sine=d=1 -map 0 -map 1 -map 2 "
                                        "-c:v mpeg4 -c:a pcm_s16le -metadata:s:a:0 language=deu",
                             clips[1]));
  folder.write("title.srt", "1\n00:00:00,000 --> 00:00:01,000\nwords\n");
  folder.write("chapters.txt",
               ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=1\n[CHAPTER]\n"
               "TIMEBASE=1/1\nSTART=1\nEND=2\n");
  ASSERT_TRUE(test::makeClip(pictures + "-i " + folder.file("title.srt") + " -i " +
                                 folder.file("chapters.txt") +
                                 " -map 0 -map 1 -map 2 -map_metadata 3 -c:v mpeg4 -aspect 16:9 "
                                 "-c:a ac3 -c:s srt -metadata:s:s:0 title=Words",
                             clips[2]));
  analyse({clips[0], clips[1], clips[2]});
  ASSERT_EQ(app.table().count(), 3);
  for (int row = 0; row < 3; ++row) {
    Row expected = app.table().row(row);
    expected.source.thumbnail.clear();
    const auto read = rowOfStored(storedForm(app.table().row(row)));
    ASSERT_TRUE(read) << recordOfRow(expected).description();
    EXPECT_EQ(*read, expected) << "read: " << recordOfRow(*read).description()
                               << "\nhad:  " << recordOfRow(expected).description();
  }
}

}  // namespace
}  // namespace tessarin
