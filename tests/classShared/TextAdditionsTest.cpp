#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "classShared/TextAdditions.h"
#include "classShared/Utf8.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TextAdditions, splitsLinesAtEveryKindOfEnd) {
  EXPECT_THAT(splitLines("a\nb\r\nc\rd"), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(splitLines("a\n\nb\n"), ElementsAre("a", "", "b"));
  EXPECT_THAT(splitLines("a\n\r\nb\r"), ElementsAre("a", "", "b"));
  EXPECT_THAT(splitLines("\n"), ElementsAre(""));
  EXPECT_THAT(splitLines(""), IsEmpty());
}

TEST(TextAdditions, takesTextBetweenMarkers) {
  EXPECT_EQ(textBetween("start 1, end 2", "start ", ", end"), "1");
  EXPECT_EQ(textBetween(") a (b)", "(", ")"), "b") << "the end is looked for behind the start";
  EXPECT_EQ(textBetween("(b", "(", ")"), std::nullopt);
  EXPECT_EQ(textBetween("b)", "(", ")"), std::nullopt);
  EXPECT_EQ(textAfter("a : b : c", " : "), "b : c");
  EXPECT_EQ(textAfter("a", " : "), std::nullopt);
  EXPECT_EQ(textUpTo("a : b : c", " : "), "a");
  EXPECT_EQ(textUpTo("a", " : "), "a");
}

TEST(TextAdditions, changesTheCaseOfAsciiLettersOnly) {
  EXPECT_EQ(upperCase("mts_É@[`{é1"), "MTS_É@[`{é1");
  EXPECT_EQ(lowerCase("MTS_É@[`{1"), "mts_É@[`{1");
  EXPECT_EQ(capitalised("two WORDS\tx"), "Two Words\tX");
  EXPECT_EQ(capitalised("étape ÉTÉ fÊTe ÷ × ß ÿ"), "Étape Été Fête ÷ × ß ÿ")
      << "accents, but no signs";
  EXPECT_TRUE(equalIgnoringCase("Mts", "mTS"));
  EXPECT_FALSE(equalIgnoringCase("Mts", "mt"));
  EXPECT_FALSE(equalIgnoringCase("@", "`"));
}

TEST(TextAdditions, readsLeadingIntegers) {
  EXPECT_EQ(leadingInteger(" 25 fps"), 25);
  EXPECT_EQ(leadingInteger("-3"), -3);
  EXPECT_EQ(leadingInteger("+3"), 3);
  EXPECT_EQ(leadingInteger("007"), 7);
  for (const char* bad : {"", " ", "x1", "-", "+", "+-3", "- 3"})
    EXPECT_EQ(leadingInteger(bad), 0) << bad;
  EXPECT_EQ(leadingInteger("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(leadingInteger("-99999999999999999999"), std::numeric_limits<std::int64_t>::min());
}

TEST(TextAdditions, tellsAndRepairsWhatIsNoUtf8) {
  for (const char* good : {"", "Été à Köln", "日本", "\xF0\x9F\x8E\xAC", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(isUtf8(good)) << good;
    EXPECT_EQ(repairedUtf8(good), good);
  }
  struct Wrong {
    const char* what;
    const char* text;
    const char* repaired;  // byte by byte
  };
  const Wrong bad[] = {{"stray continuation", "a\x80", "a\uFFFD"},
                       {"cut sequence", "\xE6\x97", "\uFFFD\uFFFD"},
                       {"overlong slash", "\xC0\xAF", "\uFFFD\uFFFD"},
                       {"overlong three", "\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
                       {"overlong four", "\xF0\x80\x80\xAF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                       {"surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
                       {"above 10FFFF", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                       {"Latin-1", "\xC9t\xE9", "\uFFFDt\uFFFD"},
                       {"lead before letter", "\xE6\x97g", "\uFFFD\uFFFDg"}};
  for (const auto& [what, text, repaired] : bad) {
    EXPECT_FALSE(isUtf8(text)) << what;
    EXPECT_EQ(repairedUtf8(text), repaired) << what;
  }
}

TEST(TextAdditions, cutsBetweenCharacters) {
  EXPECT_EQ(characterCount("Été"), 3U);
  EXPECT_EQ(firstCharacters("Été", 1), "É");
  EXPECT_EQ(firstCharacters("日本語", 2), "日本");
  EXPECT_EQ(firstCharacters("ab", 9), "ab");
  EXPECT_EQ(withoutLastCharacters("a日é", 2), "a");
  EXPECT_EQ(withoutLastCharacters("a", 2), "");
  EXPECT_EQ(firstCharacters("\xE9t\xE9s", 3), "\xE9t\xE9") << "Latin-1: a byte is a character";
  EXPECT_EQ(characterCount("\x80\x80\x80"), 3U);
}

TEST(TextAdditions, takesPathsApart) {
  struct Case {
    const char* path;
    const char* folder;
    const char* name;
    const char* extension;
    const char* without;
  };
  const Case cases[] = {
      {"/a/b.mov", "/a", "b.mov", "mov", "/a/b"},
      {"/a.d/b", "/a.d", "b", "", "/a.d/b"},
      {"/a/.mts", "/a", ".mts", "", "/a/.mts"},
      {"/a/b.", "/a", "b.", "", "/a/b."},
      {"/a/b..mov", "/a", "b..mov", "mov", "/a/b."},
      {"/a/b.mov/", "/a", "b.mov", "mov", "/a/b"},
      {"b.tar.gz", "", "b.tar.gz", "gz", "b.tar"},
      {"/b", "/", "b", "", "/b"},
      {"/", "/", "/", "", "/"},
      {"//b", "/", "b", "", "//b"},
      {"", "", "", "", ""},
      {"/a/Été 100%.m\xFF", "/a", "Été 100%.m\xFF", "m\xFF", "/a/Été 100%"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(parentFolder(one.path), one.folder) << one.path;
    EXPECT_EQ(fileName(one.path), one.name) << one.path;
    EXPECT_EQ(pathExtension(one.path), one.extension) << one.path;
    EXPECT_EQ(withoutExtension(one.path), one.without) << one.path;
  }
}

TEST(TextAdditions, putsPathsTogether) {
  EXPECT_EQ(joinPath("/a", "b"), "/a/b");
  EXPECT_EQ(joinPath("/a/", "/b"), "/a/b");
  EXPECT_EQ(joinPath("/", "b"), "/b");
  EXPECT_EQ(joinPath("", "b"), "b");
  EXPECT_EQ(joinPath("/a", ""), "/a");
  EXPECT_EQ(withExtension("/a/b", "mov"), "/a/b.mov");
  EXPECT_EQ(withExtension("/a/b", ""), "/a/b");
  EXPECT_TRUE(hasPathExtension("/a/b.MTS", "mts"));
  EXPECT_TRUE(hasPathExtension("/a/b", ""));
  EXPECT_FALSE(hasPathExtension("/a/b.mts", "mt"));
}

}  // namespace
}  // namespace tessarin
