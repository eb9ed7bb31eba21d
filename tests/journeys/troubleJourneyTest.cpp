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
  Arguments arguments = {"-d", destination()};
  for (const char* name : {"first", "large", "gone", "small", "homeless", "last"})
    arguments.push_back(tinyClip(std::string(name) + ".mts"));
  useFfmpeg(
      "for last; do :; done\n"
      "case \" $* \" in *' -c:v '*) case \"$last\" in\n"
      // While the first is converted, a card with another clip is taken out.
      "  */first.mov) rm gone.mts ;;\n"
      // As a file system does that has no room, or takes no larger file.
      "  */large.mov) trap '' XFSZ; ulimit -f 32 ;;\n"
      // Ten kilobytes hold no movie.
      "  */small.mov) head -c 10240 /dev/zero >\"$last\"; exit 0 ;;\n"
      "  */homeless.mov) \"$real\" \"$@\"; status=$?; rm -r movies/Tessarin; exit $status ;;\n"
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
                          told(folder.file("gone.mts"), "there is no such file"),
                          told(folder.file("small.mts"), "ffmpeg wrote no movie"),
                          told(folder.file("homeless.mts"),
                               "nothing can be written to “" + folder.file("movies/Tessarin"))));
  EXPECT_THAT(result.errorLines()[0], HasSubstr(movie("large-failure.mov")));
  EXPECT_THAT(movies(), ElementsAre("last.mov", "last.txt"));
}

}  // namespace
}  // namespace tessarin
