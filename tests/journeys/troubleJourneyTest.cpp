// What goes wrong outside of the program while a batch runs.
#include "Journey.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class TroubleJourney : public test::Journey {};

TEST_F(TroubleJourney, EachClipFailsForItsOwnReasonAndTheBatchGoesOn) {
  Arguments arguments = {"--jobs", "1", "-d", destination()};
  for (const char* name : {"first", "large", "gone", "small", "homeless", "last"})
    arguments.push_back(tinyClip(std::string(name) + ".mts"));
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) case \" $* \" in\n"
      // While the first is converted, a card with another clip is taken out.
      "  */first.mts*) rm gone.mts ;;\n"
      // As a file system does that takes no larger file from who writes the movie.
      "  */large.mts*) prlimit --pid $PPID --fsize=32768 ;;\n"
      // Pictures of nothing make no movie.
      "  */small.mts*) exit 0 ;;\n"
      "  */homeless.mts*) \"$real\" \"$@\"; status=$?; rm -r movies/Tessarin; exit $status ;;\n"
      "esac ;; esac\n"
      "exec \"$real\" \"$@\"");
  const Result result = tessarin(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.lines(), ElementsAre(folder.file("first.mts") + " -> " + movie("first.mov"),
                                          folder.file("last.mts") + " -> " + movie("last.mov")));
  ASSERT_EQ(result.errorLines().size(), 4u) << result.err;
  const auto told = [](const std::string& path, const std::string& reason) {
    return StartsWith("tessarin: " + path + ": " + reason);
  };
  EXPECT_THAT(result.errorLines(),
              ElementsAre(told(folder.file("large.mts"),
                               "the destination takes no file as large as this movie"),
                          told(folder.file("gone.mts"), "it is not there any more"),
                          told(folder.file("small.mts"), "there is no picture in it"),
                          told(folder.file("homeless.mts"),
                               "nothing can be written to “" + folder.file("movies/Tessarin"))));
  EXPECT_THAT(result.errorLines()[0], HasSubstr(movie("large-failure.mov")));
  EXPECT_THAT(movies(), ElementsAre("last.mov", "last.txt"));
}

TEST_F(TroubleJourney, ACardThatIsPulledIsToldOf) {
  Arguments arguments = {"--jobs", "1", "-d", destination()};
  for (const char* name : {"0.mts", "card/1.mts", "card/sub/2.mts", "card/3.mts", "4.mts"})
    arguments.push_back(tinyClip(name));
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) rm -rf \"$PWD/card\" ;; esac\n"
      "exec \"$real\" \"$@\"");
  setVariable("PWD", folder.path());
  const std::filesystem::path copy = folder.file("copy");
  std::filesystem::copy(folder.file("card"), copy, std::filesystem::copy_options::recursive);
  Result result = tessarin(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.lines().size(), 2u) << result.out;
  const auto gone = [this](const std::string& name) {
    return "tessarin: " + folder.file(name) + ": it is not there any more";
  };
  EXPECT_THAT(result.errorLines(),
              ElementsAre(gone("card/1.mts"), gone("card/sub/2.mts"), gone("card/3.mts"),
                          "tessarin: ⚠ Not there any more and not converted (3): 1.mts, 2.mts, "
                          "3.mts"));

  std::filesystem::rename(copy, folder.file("card"));
  arguments.insert(arguments.begin(), {"--json", "--overwrite", "replace"});
  result = tessarin(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.lines().back(), HasSubstr("{\"event\":\"missing\",\"sources\":[\"" +
                                               folder.file("card/1.mts") + "\","));
}

}  // namespace
}  // namespace tessarin
