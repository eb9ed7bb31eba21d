#include <gtest/gtest.h>

#include "classShared/TextAdditions.h"
#include "encoding/BatchEntry.h"
#include "encoding/outputName.h"
#include "support/LogCapture.h"

namespace tessarin {
namespace {

NamePattern patternOf(std::string_view text) {
  auto pattern = NamePattern::parsed(text);
  EXPECT_TRUE(std::holds_alternative<NamePattern>(pattern)) << text;
  return std::get<NamePattern>(std::move(pattern));
}

Source clip() {
  Source source;
  source.path = "/card/00012.MTS";
  source.recorded = "2010-12-24 14:05:33";
  source.recordedBy = RecordedBy::stream;
  source.recording.timeCode = "10:00:00;00";
  source.recording.make = "Sony";
  source.recording.model = "HDR-CX730";
  return source;
}

TEST(NamePattern, NamesAreMadeOfTheFactsThatTheClipHas) {
  Source bare;
  bare.path = "/card/00012.MTS";
  Source undated = clip();
  undated.recorded.clear();
  struct Case {
    const char* pattern;
    std::string full;     // of a clip that says everything
    std::string undated;  // without its time
    std::string bare;     // that says nothing
  };
  const Case cases[] = {
      {"{date} {time} {title}", "2010-12-24 14.05.33 00012", "00012", "00012"},
      {"{title}_{date}_{time}", "00012_2010-12-24_14.05.33", "00012", "00012"},
      {"{make} {model} - {timecode}", "Sony HDR-CX730 - 10.00.00.00",
       "Sony HDR-CX730 - 10.00.00.00", "00012"},
      {"{title} ({Model})[{DATE}]", "00012 (HDR-CX730)[2010-12-24]", "00012 (HDR-CX730)", "00012"},
      {"Take {date}, {title}", "Take 2010-12-24, 00012", "Take, 00012", "Take, 00012"},
      {"{date}", "2010-12-24", "00012", "00012"},
      {"Holiday", "Holiday", "Holiday", "Holiday"},
      {"{usual}", "00012", "00012", "00012"},
      {"Edit {usual}", "Edit 00012", "Edit 00012", "Edit 00012"},
  };
  for (const Case& each : cases) {
    const NamePattern pattern = patternOf(each.pattern);
    OutputNames taken;
    EXPECT_EQ(outputPath(clip(), outProres, "/o", taken, pattern), "/o/" + each.full + ".mov");
    taken.clear();
    EXPECT_EQ(outputPath(undated, outProres, "/o", taken, pattern), "/o/" + each.undated + ".mov");
    Source other = bare;
    other.path = "/other/00012.MTS";
    taken.clear();
    EXPECT_EQ(outputPath(bare, outProres, "/o", taken, pattern), "/o/" + each.bare + ".mov");
    EXPECT_EQ(outputPath(other, outProres, "/o", taken, pattern), "/o/" + each.bare + "-2.mov");
  }
  const test::LogCapture log;
  OutputNames taken;
  EXPECT_EQ(outputPath(clip(), outAic, "/o", taken, patternOf("Edit {usual}")),
            "/o/Edit clip-2010-12-24 14;05;33-00012.mov");
}

TEST(NamePattern, MistakesAreFoundBeforeAnythingIsNamed) {
  using Kind = NameMistake::Kind;
  const std::pair<const char*, Kind> mistakes[] = {
      {"", Kind::empty},        {"  ", Kind::empty},       {"..", Kind::empty},
      {"- .", Kind::empty},     {"{day}", Kind::field},    {"{}", Kind::field},
      {"{ date}", Kind::field}, {"{date", Kind::brace},    {"date}", Kind::brace},
      {"{{date}", Kind::brace}, {"{date}/x", Kind::slash}, {"a\nb", Kind::notText},
      {"\xff", Kind::notText},  {"{title}}", Kind::brace}, {"\xc2\x85", Kind::notText},
      {"\u00a0", Kind::empty},  {"\u3164 ", Kind::empty},  {"\u200d\u2003", Kind::empty}};
  for (const auto& [text, kind] : mistakes) {
    const auto pattern = NamePattern::parsed(text);
    const auto* mistake = std::get_if<NameMistake>(&pattern);
    ASSERT_NE(mistake, nullptr) << text;
    EXPECT_EQ(mistake->kind, kind) << text;
  }
}

TEST(NamePattern, WhatAClipSaysLeadsNowhereElseAndLeavesRoomForEndings) {
  std::string wide;
  while (wide.size() < 400)
    wide += "é夏𝄞";
  const std::string words[] = {"../../etc/passwd",
                               "..",
                               ".",
                               "-rf",
                               "a/b\\c:d*?\"<>|",
                               "\n\r\t\x01\x7f",
                               " ",
                               "\xff\xfe",
                               "\u202egpj.exe",
                               wide,
                               std::string(300, 'x'),
                               std::string("a\0b", 3),
                               "~",
                               "{title}",
                               "%@ %s"};
  for (const std::string& word : words)
    for (const char* text :
         {"{make}", "{model}{title}", ".{make}", "-{timecode}", "{make} {make}"}) {
      Source source = clip();
      source.recording.make = source.recording.model = source.recording.timeCode = word;
      source.path = "/gone/" + wide.substr(0, 200) + ".mts";
      OutputNames taken;
      const std::string path = outputPath(source, outProres, "/o", taken, patternOf(text));
      const std::string name = fileName(path);
      EXPECT_EQ(path, "/o/" + name);
      EXPECT_TRUE(isUtf8(name)) << name;
      EXPECT_TRUE(name.size() > 4 && name.ends_with(".mov")) << name;
      EXPECT_FALSE(name.starts_with('.') || name.starts_with('-')) << name;
      EXPECT_EQ(name.find_first_of(std::string_view("/\\:*?\"<>|\n\t\x01\x7f\0", 13)), name.npos)
          << name;
      EXPECT_LE(name.size() + std::string("-failure-99").size(), 255u) << name;
    }
  // What cannot be seen goes, but not what joins the letters of a word.
  Source source = clip();
  for (const auto& [word, name] :
       {std::pair{"a\u200bb", "a-b"}, std::pair{"\u06cc\u200c\u062e", "\u06cc\u200c\u062e"},
        std::pair{"\u3000", "00012"}}) {
    source.recording.model = word;
    EXPECT_EQ(patternOf("{model}").nameOf(source, ""), name);
  }
}

}  // namespace
}  // namespace tessarin
