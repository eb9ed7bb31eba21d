#include <gtest/gtest.h>

#include "classShared/Utf8.h"

namespace tessarin {
namespace {

TEST(Utf8, WritesCharactersOfEveryLength) {
  std::string text;
  for (const char32_t character : {U'A', U'é', U'€', U'🎥'})
    appendUtf8(text, character);
  EXPECT_EQ(text, "Aé€🎥");
  text.clear();
  appendUtf8(text, 0xD800);
  appendUtf8(text, 0x110000);
  EXPECT_EQ(text, "\uFFFD\uFFFD") << "surrogates and numbers above the last are no characters";
}

TEST(Utf8, RepairsWrongBytesOneByOneAndKeepsTheRest) {
  EXPECT_EQ(repairedUtf8("Été 日本.MTS"), "Été 日本.MTS");
  EXPECT_EQ(repairedUtf8("a\xE9z"), "a\uFFFDz") << "a byte of ISO Latin 1";
  EXPECT_EQ(repairedUtf8("a\xE2\x82"), "a\uFFFD\uFFFD") << "cut off at the end";
  EXPECT_EQ(repairedUtf8("\xC0\xAF"), "\uFFFD\uFFFD") << "longer than need be";
  EXPECT_EQ(repairedUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD") << "a surrogate";
  EXPECT_EQ(repairedUtf8("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD") << "above the last";
}

}  // namespace
}  // namespace tessarin
