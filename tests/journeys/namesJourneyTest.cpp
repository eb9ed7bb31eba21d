#include <nlohmann/json.hpp>

#include "Journey.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using nlohmann::json;

// What users call their clips, and what nobody should.
const std::vector<std::string> titles = {
    "It's \"the\" $HOME `day`",
    "Été à Köln",
    "結婚式",
    "-c copy",
    "100% %@ %d",
    "two\nlines",
    "[a,b]",
    "bad \xff",
};

class NamesJourney : public test::Journey {
 protected:
  // Arguments for the clips, made in the folder of the test; the first ones for the program.
  Arguments clips(Arguments arguments) {
    arguments.insert(arguments.end(), {"-d", destination(), "--"});
    for (const std::string& title : titles) {
      tinyClip(title + ".mts", "0.1");
      arguments.push_back(title + ".mts");
    }
    return arguments;
  }

  void expectMovies() const {
    for (const std::string& title : titles)
      EXPECT_GT(poidsFile(movie(title + ".mov"), "k"), 10) << title;
    EXPECT_EQ(namesIn(folder.file("movies/Tessarin")).size() % titles.size(), 0u);
  }
};

TEST_F(NamesJourney, ClipsOfAnyNameAreConverted) {
  const Result result = tessarin(clips({"--json"}));
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  expectMovies();
  for (const std::string& line : result.lines())
    EXPECT_TRUE(json::accept(line)) << line;
  EXPECT_THAT(result.out, testing::HasSubstr("結婚式.mov"));
}

TEST_F(NamesJourney, AShellRunsThePlanAsItStands) {
  const Result plan = tessarin(clips({"plan"}));
  EXPECT_EQ(plan.status, 0) << plan.err;
  folder.write("plan.sh", plan.out);
  // The shell reads the lines from its standard input: a tool that reads it, too, takes them away.
  Run shell = startProgram("/bin/sh", {"-c", "/bin/sh <plan.sh"});
  const Result result = finish(shell);
  EXPECT_EQ(result.status, 0) << result.err;
  expectMovies();
}

TEST_F(NamesJourney, ANameCannotSteerTheTerminal) {
  const std::string clip = tinyClip("\x1b[2Jred\x9b\n\u202e\u00e9\u0085.mts");
  const Result result = tessarin({"analyse", clip, "\x1b]0;gone.mts"});
  EXPECT_EQ(result.lines().size(), 3u);
  EXPECT_THAT(result.out, testing::HasSubstr("\\x1b[2Jred\\x9b\\n\\xe2\\x80\\xaeé\\xc2\\x85.mts"));
  EXPECT_EQ(result.err, "tessarin: \\x1b]0;gone.mts: there is no such file\n");
}

TEST_F(NamesJourney, ALinkGivesTheMovieItsName) {
  tinyClip("store/SHA256-0123");
  std::filesystem::create_symlink("store/SHA256-0123", folder.file("Wedding.mts"));
  const Result result = tessarin({"-d", destination(), "Wedding.mts"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, folder.file("Wedding.mts") + " -> " + movie("Wedding.mov") + "\n");
}

}  // namespace
}  // namespace tessarin
