#include "Journey.h"

namespace tessarin {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class UsageJourney : public test::Journey {};

TEST_F(UsageJourney, WrongUseIsToldInOneLine) {
  const std::vector<std::pair<Arguments, std::string>> mistakes = {
      {{}, "no clips are named"},
      {{"--"}, "no clips are named"},
      {{"analyse"}, "no clips are named"},
      {{"--bogus", "x.mts"}, "there is no option --bogus"},
      {{"-x.mts"}, "there is no option -x.mts"},
      {{"x.mts", "--format"}, "--format needs a value: aic|prores|quicktime"},
      {{"--format", "--", "x.mts"}, "--format needs a value"},
      {{"--format", "--json", "x.mts"}, "--format: \"--json\" is not one of aic|prores|quicktime"},
      {{"--for", "a\nb\x1b[31m", "x.mts"}, "--for: \"a\\nb\\x1b[31m\" is not one of 50p60p|"},
      {{"--a\nb", "x.mts"}, "there is no option --a\\nb"},
      {{"--size", "1080", "x.mts"}, "--size: \"1080\" is not one of 1080i50|"},
      {{"-d"}, "--destination needs a value: DIR"},
      {{"-d", "", "x.mts"}, "--destination needs a value: DIR"},
      {{"--surround", "--no-surround", "x.mts"}, "--surround and --no-surround contradict"},
      {{"--json=yes", "x.mts"}, "--json takes no value"},
      {{"analyse", "--overwrite", "replace", "x.mts"}, "--overwrite has no meaning with"},
      {{"-d", "here", "analyse", "x.mts"}, "--destination has no meaning with"},
  };
  for (const auto& [arguments, message] : mistakes) {
    const Result result = tessarin(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.errorLines().size(), 1u) << result.err;
    EXPECT_THAT(result.err, StartsWith("tessarin: " + message));
    EXPECT_THAT(result.err, HasSubstr("; \"tessarin --help\" tells more\n"));
  }
}

TEST_F(UsageJourney, HelpAndVersionAreForStandardOutput) {
  Result result = tessarin({"analyse", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  for (const char* word : {"--for ", "--format ", "--prores ", "--size ", "--speed ", "--surround ",
                           "--no-surround ", "--destination ", "--overwrite ", "--json ",
                           "--verbose ", "--help ", "--version ", "\nExit status: 0 "})
    EXPECT_THAT(result.out, HasSubstr(word));
  result = tessarin({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, testing::MatchesRegex("Tessarin [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(UsageJourney, TheHelpSpeaksTheUsersLanguage) {
  setVariable("LC_ALL", "fr_FR.UTF-8");
  Result result = tessarin({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("convertir dans DESTINATION/Tessarin\n"));
  EXPECT_THAT(result.out, HasSubstr("Afficher ce texte"));
  result = tessarin({"--format", "", "x.mts"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "tessarin: --format: \"\" n'est pas l'un de aic|prores|quicktime ; « tessarin --help » "
            "en dit plus\n");
}

// Which words are commands and which are clips shows in what is said of clips that are missing.
TEST_F(UsageJourney, CommandsAndClipsAreToldApart) {
  const std::vector<std::pair<Arguments, std::vector<std::string>>> cases = {
      {{"--verbose", "analyse", "a.mts"}, {"a.mts"}},
      {{"--format", "prores", "plan", "a.mts"}, {"a.mts"}},
      {{"convert", "a.mts"}, {"a.mts"}},
      {{"a.mts", "plan"}, {"a.mts", "plan"}},
      {{"plan", "plan"}, {"plan"}},
      {{"./plan"}, {"./plan"}},
      {{"--", "plan", "--json", "--"}, {"plan", "--json", "--"}},
      {{"-"}, {"-"}},
      {{"%%", "[x]", "{}", "@file"}, {"%%", "[x]", "{}", "@file"}},
  };
  for (const auto& [arguments, clips] : cases) {
    const Result result = tessarin(arguments);
    EXPECT_EQ(result.status, 1);
    std::vector<std::string> expected;
    for (const std::string& clip : clips)
      expected.push_back("tessarin: " + clip + ": there is no such file");
    EXPECT_EQ(result.errorLines(), expected);
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(UsageJourney, ALogWithoutAPlaceStaysOffTheTerminal) {
  const std::string clip = tinyClip("x.mts");
  setVariable("HOME", folder.write("file", "no folder"));
  const Result result = tessarin({"analyse", "--verbose", clip});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST_F(UsageJourney, ALogThatMayNotGrowHoldsUpNothing) {
  const std::string clip = tinyClip("x.mts");
  setVariable("HOME", folder.path());
  folder.write("Library/Logs/Tessarin/Details.log", std::string(1u << 20, '\n'));
  Run run = startProgram(
      "/bin/sh", {"-c", "ulimit -f 1024; exec " + test::quoted(program()) + " analyse x.mts"});
  const Result result = finish(run);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.lines().size(), 3u) << result.out;
}

}  // namespace
}  // namespace tessarin
