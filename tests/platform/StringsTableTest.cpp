#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/StringsTable.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

TEST(StringsTable, ReadsEntriesAmongCommentsOfBothKinds) {
  const auto table = parseStringsTable(
      "\xEF\xBB\xBF/* \"no\" = \"entry\"; */ // \"none\" = \"either\";\r\n"
      "\"a\" /* here */ = // there\n \"1\"\n;\"b\"=\"2\";");
  EXPECT_EQ(table.problem, "");
  EXPECT_THAT(table.texts, ElementsAre(Pair("a", "1"), Pair("b", "2")));
}

TEST(StringsTable, UndoesTheEscapes) {
  const auto table = parseStringsTable(
      R"("say \"x\"" = "a\\b\nc\td\U00e9\U20AC\uD83C\uDFA5\'\q"; "lines" = "one
two";)");
  EXPECT_EQ(table.problem, "");
  EXPECT_THAT(table.texts,
              ElementsAre(Pair("lines", "one\ntwo"), Pair("say \"x\"", "a\\b\nc\tdé€🎥'q")));
}

TEST(StringsTable, NamesKeysThatOccurTwice) {
  const auto table = parseStringsTable("\"a\" = \"1\";\n\"b\" = \"2\";\n\"a\" = \"3\";");
  EXPECT_THAT(table.repeatedKeys, ElementsAre("a"));
  EXPECT_EQ(table.texts.at("a"), "3");
}

struct Damage {
  const char* label;
  const char* bytes;
  const char* problem;
};

TEST(StringsTable, ReadsWhatItCanOfADamagedFileAndSaysWhy) {
  const Damage damages[] = {
      {"an entry without semicolon", "\"bad\" = \"x\"\n\"after\" = \"1\";", "line 2: \";\""},
      {"an entry without value", "\"bad\" = ;\n\"after\" = \"1\";", "line 1: a text in quotes"},
      {"an entry without equals sign", "\"bad\" \"x\";\n\"after\" = \"1\";", "line 1: \"=\""},
      {"a stray word", "oops\n\"after\" = \"1\";", "line 1: a text in quotes"},
      {"a bad unit", "\"bad\" = \"\\U12G4\";\n\"after\" = \"1\";", "line 1: \\U"},
      {"a byte of another encoding", "\"bad\" = \"\xE9\";\n\"after\" = \"1\";", "line 1: a byte"},
  };
  for (const Damage& damage : damages) {
    const auto table = parseStringsTable("\"before\" = \"0\";" + std::string(damage.bytes));
    EXPECT_THAT(table.problem, HasSubstr(damage.problem)) << damage.label;
    EXPECT_EQ(table.texts.count("before"), 1u) << damage.label;
    EXPECT_EQ(table.texts.count("after"), 1u) << damage.label;
  }
}

TEST(StringsTable, KeepsWhatStandsBeforeACutOffEnd) {
  for (const char* end : {"/* no end", "\"", "\"b", "\"b\"", "\"b\" =", "\"b\" = \"",
                          "\"b\" = \"x\\", "\"b\" = \"x\\U12"}) {
    const auto table = parseStringsTable("\"a\" = \"1\"; " + std::string(end));
    EXPECT_NE(table.problem, "") << end;
    EXPECT_THAT(table.texts, ElementsAre(Pair("a", "1"))) << end;
  }
  EXPECT_EQ(parseStringsTable("").problem, "");
}

}  // namespace
}  // namespace tessarin
