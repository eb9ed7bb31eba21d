// Cards that are read again.
#include <filesystem>

#include "Journey.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class NewClipsJourney : public test::Journey {};

TEST_F(NewClipsJourney, TakesOfACardOnlyWhatWasNotConvertedBefore) {
  setVariable("XDG_STATE_HOME", folder.file("state"));
  setVariable("LC_ALL", "C");
  std::filesystem::create_directories(folder.file("card 1"));
  tinyClip("card 1/00001.MTS");
  tinyClip("card 1/00002.MTS", "0.3");
  folder.write("card 1/00003.MTS", "no movie");
  const auto only = [this](const std::string& card, const std::string& to) {
    return tessarin({"--new", "-d", folder.file(to), folder.file(card)});
  };
  EXPECT_EQ(tessarin({"-d", destination(), folder.file("card 1")}).status, 1);

  // A copy in which the camera has used a name again, and the movies are gone.
  std::filesystem::remove_all(destination());
  std::filesystem::rename(folder.file("card 1"), folder.file("copy"));
  std::filesystem::remove(folder.file("copy/00002.MTS"));
  tinyClip("copy/00002.MTS", "0.4");
  Result result = only("copy", "movies");
  EXPECT_EQ(result.status, 1) << "what failed is tried again";
  EXPECT_THAT(result.errorLines().front(),
              "tessarin: a clip that was converted before is left out; without --new it is "
              "converted again");
  EXPECT_THAT(movies(), ElementsAre("00002.mov", "00002.txt"));

  // The movie that is there is of a clip that was left out.
  const std::string before =
      readFileStart(folder.file("movies/Tessarin/00002.mov"), 1 << 20).value_or("");
  tinyClip("card 2/00002.MTS", "0.5");
  const Arguments another = {"--new", "--overwrite", "replace",
                             "-d",    destination(), folder.file("card 2")};
  Arguments planned = another;
  planned.insert(planned.begin(), "plan");
  EXPECT_THAT(tessarin(planned).out, HasSubstr("/00002-2.mov"));
  EXPECT_EQ(tessarin(another).status, 0);
  EXPECT_THAT(movies(), ElementsAre("00002-2.mov", "00002-2.txt", "00002.mov", "00002.txt"));
  EXPECT_EQ(readFileStart(folder.file("movies/Tessarin/00002.mov"), 1 << 20), before);

  std::filesystem::remove(folder.file("copy/00003.MTS"));
  result = only("copy", "other");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("2 clips that were converted before")));
  EXPECT_THAT(namesIn(folder.file("other")), IsEmpty());
  result = tessarin({"--new", "--json", "analyse", folder.file("copy")});
  EXPECT_EQ(result.out, "{\"event\":\"leftOut\",\"sources\":[\"" + folder.file("copy/00001.MTS") +
                            "\",\"" + folder.file("copy/00002.MTS") + "\"]}\n");
  result = tessarin({"--new", "--batch", folder.file("x.batch"), folder.file("copy")});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("x.batch: no batch was written"));

  // Two runs at once, and a record that was spoilt.
  folder.write("state/Tessarin/converted", "spoilt");
  tinyClip("00004.MTS");
  Run one = start({"--new", "-d", folder.file("fresh"), folder.file("copy")});
  Run two = start({"-d", folder.file("other"), folder.file("00004.MTS")});
  EXPECT_THAT(finish(one).err, HasSubstr("is damaged"));
  EXPECT_EQ(finish(two).status, 0);
  std::filesystem::rename(folder.file("00004.MTS"), folder.file("copy/00004.mts"));
  EXPECT_THAT(only("copy", "movies").errorLines(), ElementsAre(HasSubstr("3 clips")));

  // A record that takes nothing in is told once, whatever the number of clips.
  const std::string newer = "tessarin converted clips 2\n";
  folder.write("state/Tessarin/converted", newer);
  const Arguments both = {"--overwrite", "replace", "-d", folder.file("fresh"),
                          folder.file("copy")};
  EXPECT_THAT(tessarin(both).errorLines(), ElementsAre(HasSubstr("by a newer version")));
  EXPECT_THAT(only("copy", "fourth").errorLines(), ElementsAre(HasSubstr("by a newer version")));
  EXPECT_EQ(folder.read("state/Tessarin/converted"), newer);

  EXPECT_EQ(tessarin({"--forget", "--new"}).out, "all clips count as new again\n");
  EXPECT_EQ(only("copy", "third").lines().size(), 3u);
}

}  // namespace
}  // namespace tessarin
