#include <gtest/gtest.h>

#include "prefs/textEncodings.h"
#include "prefs/textFiles.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

struct Sample {
  std::int64_t encoding;
  std::string bytes;
  const char* text;
};

TEST(TextEncodings, ReadEachEncoding) {
  const Sample samples[] = {
      {1, "plain", "plain"},
      {2, "\x80\xF5\xFD", "\u00A0ıÿ"},
      {3, "\xC6\xFC\xCB\xDC", "日本"},
      {4,
       "\xEF\xBB\xBF"
       "é",
       "é"},
      {5, "\xE9", "é"},
      {6, "aA\xA0\xB0", "αΑ€°"},
      {7, "a\\351\\u20ac\\\\\\ud83c\\udfa5", "aé€\\🎥"},
      {8, "\x93\xFA\x96\x7B", "日本"},
      {9, "\xB1", "ą"},
      {10, std::string("\xFE\xFF\x00\xE9\x20\xAC", 6), "é€"},
      {11, "\xC4\xE0", "Да"},
      {12, "\x80\x9C", "€œ"},
      {13, "\xE1", "α"},
      {14, "\xFE", "ş"},
      {15, "\xEC", "ě"},
  };
  for (const Sample& sample : samples) {
    const auto text = decodedText(sample.bytes, sample.encoding);
    ASSERT_TRUE(text) << sample.encoding << ": " << text.reason();
    EXPECT_EQ(text.value(), sample.text) << sample.encoding;
  }
}

TEST(TextEncodings, RefuseBytesWithoutMeaning) {
  const Sample samples[] = {
      {1, "\xE9", "above 127"},
      {2, "\xFE", "unused"},
      {3, "\xC6", "half a pair"},
      {4, "\xC3(", "no character"},
      {6, "\x80", "unused"},
      {7, "\xE9", "above 127"},
      {7, "\\35", "cut off"},
      {7, "\\ud83c", "half of a pair"},
      {7, "\\udfa5", "half of a pair"},
      {7, "\\9", "no digit"},
      {10, "\xFE\xFF\xD8", "half a unit"},
      {99, "a", "no encoding"},
  };
  for (const Sample& sample : samples)
    EXPECT_FALSE(decodedText(sample.bytes, sample.encoding)) << sample.text;
}

TEST(TextFiles, ReadsWhatShowsItsEncoding) {
  const test::ScopedTemporaryFolder folder;
  const test::LogCapture log(true);
  EXPECT_EQ(readTextFile(folder.write("a", "été\n")), "été\n");
  EXPECT_TRUE(log.has("encoding            : 4"));
  EXPECT_EQ(readTextFile(folder.write("b", std::string("\xFF\xFE\xE9\x00", 4))), "é");
  EXPECT_EQ(readTextFile(folder.write("c", "")), "");
  EXPECT_EQ(readTextFile(folder.file("none")), std::nullopt);
  EXPECT_TRUE(log.mentions("Error reading file at path " + folder.file("none")));
}

TEST(TextFiles, CopiesWhatItCannotTellBesideItself) {
  const test::ScopedTemporaryFolder folder;
  const test::LogCapture log;
  const std::string latin = "\xE9t\xE9\n";
  const std::string path = folder.write("it's \"so\" $HOME `x` \\ é.srt", latin);
  EXPECT_EQ(readTextFile(path), std::nullopt);
  EXPECT_TRUE(log.has("encoding            :-/ 0 (ascii)"));
  EXPECT_EQ(folder.read("it's \"so\" $HOME `x` \\ é.srt"), latin);
  EXPECT_EQ(folder.read("it's \"so\" $HOME `x` \\ é.srt.txt"), latin) << "quoted for the shell";

  folder.write("b.srt.txt", "somebody's notes");
  EXPECT_EQ(readTextFile(folder.write("b.srt", latin)), std::nullopt);
  EXPECT_EQ(folder.read("b.srt.txt"), "somebody's notes") << "a neighbour is never overwritten";
}

}  // namespace
}  // namespace tessarin
