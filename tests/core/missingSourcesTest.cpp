// Sources that go away between the analysis and the conversion.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "CoreFixture.h"
#include "core/batchSummary.h"
#include "core/missingSources.h"
#include "prefs/utilsAlert.h"
#include "support/LoopUntil.h"

namespace tessarin {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class MissingSources : public test::CoreFixture {
 protected:
  // Analysed clips by their paths below the folder.
  void clips(const std::vector<std::string>& names) {
    std::vector<std::string> paths;
    for (const std::string& name : names) {
      paths.push_back(folder.file(name));
      fs::create_directories(parentFolder(paths.back()));
      if (paths.size() == 1)
        ASSERT_TRUE(test::makeInterlacedClip(paths[0]));
      else
        fs::copy_file(paths[0], paths.back());
    }
    analyse(paths);
    ASSERT_EQ(app.table().count(), static_cast<int>(paths.size()));
  }
  void remove(const std::string& name) { fs::remove_all(folder.file(name)); }
  // Starts the batch and serves until the question is asked, which waits for its answer.
  void untilAsked() {
    alerts.holds = true;
    app.iba_batchGoBt();
    ASSERT_TRUE(test::loopUntil(loop, [this] { return alerts.hasHeld(); }));
    alerts.holds = false;
  }
  std::vector<std::string> endedSources() const {
    std::vector<std::string> names;
    for (const JobEnd& end : ended)
      names.push_back(fileName(end.source) + (end.kind == JobEnd::Kind::converted ? "" : " -"));
    return names;
  }
};

TEST_F(MissingSources, AreNamedAtTheEnd) {
  clips({"card/1.mts", "card/2.mts", "card/3.mts"});
  remove("card/2.mts");
  convert();
  EXPECT_EQ(app.table().count(), 2);
  EXPECT_THAT(endedSources(), ElementsAre("1.mts", "2.mts -", "3.mts"));
  EXPECT_THAT(app.interface.batchReport.text(), AllOf(HasSubstr("⚠"), HasSubstr("2.mts")));
  ASSERT_EQ(alerts.shown.size(), 1u) << "asked about a single clip";
  EXPECT_EQ(alerts.shown[0].style, Alert::Style::warning);
  EXPECT_THAT(alerts.shown[0].informative, AllOf(HasSubstr("⚠"), HasSubstr("2.mts")));
  convert();
  EXPECT_EQ(app.interface.batchReport.text(), localisationString("D_all_converted"));
}

TEST_F(MissingSources, AndMoviesWithDamageAreNamedToo) {
  clips({"1.mts", "2.mts", "3.mts"});
  remove("1.mts");
  {
    std::fstream clip(folder.file("2.mts"), std::ios::in | std::ios::out | std::ios::binary);
    clip.seekp(static_cast<std::streamoff>(poidsFile(folder.file("2.mts"), "o") / 2));
    clip << std::string(2000, '\x5A');
  }
  convert();
  EXPECT_EQ(app.driver().troubles().damaged, std::vector{folder.file("2.mts")});
  const std::string said = app.interface.batchReport.text();
  EXPECT_THAT(said, HasSubstr("1.mts ⚠ Converted with damaged pictures or sound (1): 2.mts"));
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].style, Alert::Style::warning);
  EXPECT_THAT(alerts.shown[0].informative,
              AllOf(HasSubstr("2 converted\n⚠"), HasSubstr("\n⚠ Converted with damage")));
  remove("2.mts");
  alerts.shown.clear();
  convert();
  EXPECT_FALSE(contains(app.interface.batchReport.text(), "damage")) << "of the batch before";
}

TEST_F(MissingSources, OfAWholeFolderAreAskedAboutAndMayComeBack) {
  clips({"1.mts", "card/a/2.mts", "card/b/3.mts"});
  fs::rename(folder.file("card"), folder.file("pulled"));
  untilAsked();
  EXPECT_THAT(alerts.shown.back().message, HasSubstr(folder.file("card") + "”"));
  EXPECT_THAT(alerts.shown.back().informative, HasSubstr("(2)"));
  test::loopFor(loop, std::chrono::milliseconds(50));
  EXPECT_EQ(app.table().count(), 3) << "something vanished while the user was asked";
  EXPECT_TRUE(app.driver().isBatchRunning());

  // Not connected yet: asked again.
  alerts.answers = {{connectedAnswer, false}};
  alerts.answerHeld();
  alerts.holds = true;
  ASSERT_TRUE(test::loopUntil(loop, [this] { return alerts.hasHeld(); }));
  alerts.holds = false;
  fs::rename(folder.file("pulled"), folder.file("card"));
  alerts.answers = {{connectedAnswer, false}};
  alerts.answerHeld();
  serve();
  EXPECT_THAT(endedSources(), ElementsAre("1.mts", "2.mts", "3.mts"));
  EXPECT_TRUE(app.driver().troubles().isEmpty());
}

TEST_F(MissingSources, OfAWholeFolderMayBeLeftOut) {
  clips({"card/1.mts", "card/2.mts", "3.mts", "card/4.mts"});
  remove("card");
  alerts.answers = {{leaveOutAnswer, false}};
  convert();
  EXPECT_THAT(endedSources(), ElementsAre("1.mts -", "2.mts -", "4.mts -", "3.mts"));
  EXPECT_EQ(app.table().count(), 1);
  EXPECT_EQ(alerts.shown.size(), 2u) << "asked for each clip";
  EXPECT_EQ(endText(countRows(app.table()), app.driver().troubles()),
            "1 converted\n⚠ Not there any more and not converted (3): 1.mts, 2.mts, 4.mts");
}

TEST_F(MissingSources, AStopEndsTheQuestion) {
  clips({"card/1.mts", "card/2.mts"});
  remove("card");
  untilAsked();
  app.driver().stop();
  serve();
  EXPECT_FALSE(app.driver().isBatchRunning());
  EXPECT_EQ(app.table().count(), 2);
  alerts.answers = {{leaveOutAnswer, false}};
  alerts.answerHeld();
  EXPECT_EQ(app.table().count(), 2) << "a late answer counted";
  // Nor for the question of the next batch.
  alerts.answers = {{stopAnswer, false}};
  convert();
  EXPECT_EQ(app.table().count(), 2);
  EXPECT_THAT(app.interface.batchReport.text(), localisationString("D_action_stop"));
}

TEST_F(MissingSources, TellAFolderThatIsAwayFromAFileThatIs) {
  clips({"disk/a/1.mts", "disk/a/2.mts", "disk/b/3.mts", "disk/4.mts"});
  EXPECT_FALSE(goneFolder(app.table(), 3)) << "nothing is away";
  remove("disk/a/1.mts");
  EXPECT_FALSE(goneFolder(app.table(), 0));
  // None of the clips is left where there were several.
  remove("disk/a/2.mts");
  folder.write("disk/a/notes.txt", "");
  EXPECT_EQ(goneFolder(app.table(), 0), folder.file("disk/a"));
  remove("disk/b");
  EXPECT_EQ(goneFolder(app.table(), 2), folder.file("disk/b"));
  EXPECT_EQ(missingRowsBelow(app.table(), 1, folder.file("disk")), (std::vector<int>{1, 2}));
  // What is left of a disk is the empty folder in which it was.
  remove("disk");
  folder.write("another", "");
  EXPECT_EQ(goneFolder(app.table(), 0), folder.file("disk"));
  fs::create_directory(folder.file("disk"));
  for (int row = 0; row < 3; ++row)
    EXPECT_EQ(goneFolder(app.table(), row), folder.file("disk"));
  EXPECT_FALSE(goneFolder(app.table(), 3)) << "the only clip that was in it";
}

}  // namespace
}  // namespace tessarin
