#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "utils/text.h"

namespace tessarin {
namespace {

TEST(FindAndReplace, replacesOnceOrUntilNothingIsLeft) {
  EXPECT_EQ(findAndReplace("aaa", "aa", "a", false), "aa");
  EXPECT_EQ(findAndReplace("aaa", "aa", "a", true), "a");
  EXPECT_EQ(findAndReplace("a//b////c", "//", "/", true), "a/b/c");
  EXPECT_EQ(findAndReplace("abc", "B", "x", true), "abc") << "case-sensitive";
  EXPECT_EQ(findAndReplace("abc", "", "x", true), "abc");
  EXPECT_EQ(findAndReplace("aab", "ab", "ba", true), "baa");
}

TEST(FindAndReplace, makesOnePassWhereItWouldNeverEnd) {
  const test::LogCapture log(true);
  EXPECT_EQ(findAndReplace("a.b", ".", "..", true), "a..b");
  EXPECT_TRUE(log.has("findAndReplace      : oops, isRecursive != safe (returnStr:'a..b')"));
  EXPECT_EQ(findAndReplace("Zy.yW ZyW", "Zy", "ZyZy", true), "ZyZy.yW ZyZyW")
      << "the text may hold what stands in for the replacement";
  EXPECT_EQ(findAndReplace("aab", "ab", "bbaa", true), "abbaa") << "grows without containing it";
}

TEST(TrimPathStr, cutsTheNameAndKeepsFolderAndExtension) {
  const std::string name(40, 'n');
  EXPECT_EQ(trimPathStr("/folder.x/" + name + ".mov", 31),
            "/folder.x/" + std::string(31, 'n') + ".mov");
  EXPECT_EQ(trimPathStr(name, 31), std::string(31, 'n'));
  EXPECT_EQ(trimPathStr("/a/`.mov", 9), "/a/.mov") << "never into the folder above";
  EXPECT_EQ(trimPathStr("/a/ÉtéàKöln.MTS", 3), "/a/Été.MTS") << "characters, not bytes";
  EXPECT_EQ(trimPathStr("/a/\xFF\xFE 100%s.MTS", 6), "/a/\xFF\xFE 100.MTS");
  EXPECT_EQ(trimPathStr("/a.b/clip", 20), "/a.b/clip");
}

TEST(TrimPathStr, cleansTheNameOnly) {
  EXPECT_EQ(trimPathStr("/a:`/b`c:d`.m:v", 20), "/a:`/bc-d.m:v");
}

TEST(TrimPathStr, losesWhatIsTooLongForAnExtension) {
  const test::LogCapture log;
  EXPECT_EQ(trimPathStr("/a/b.twelve_chars", 20), "/a/b.twelve_chars");
  EXPECT_EQ(trimPathStr("/a/b.éèêëéèêëéèêë", 20), "/a/b.éèêëéèêëéèêë");
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(trimPathStr("/a/b.thirteenchars", 20), "/a/b");
  EXPECT_TRUE(
      log.has("trimPathStr() oops! :-( too many chars, post-'.' was not an ext (thirteenchars)"));
}

}  // namespace
}  // namespace tessarin
