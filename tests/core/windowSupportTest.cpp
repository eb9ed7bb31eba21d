// What the controller's side of a window decides: recovery, the summary, the language.
#include <gmock/gmock.h>

#include "CoreFixture.h"
#include "core/RecoveryOffer.h"
#include "core/batchSummary.h"
#include "core/language.h"
#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "jobs/outputPlace.h"
#include "prefs/utilsAlert.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/changesOf.h"
#include "support/sources.h"

namespace tessarin {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RecoveryOfferTest : public test::CoreFixture {
 protected:
  Row rowOf(const std::string& name, RowMark mark) const {
    Row row = newRow(
        test::sourceOf({{"srcPathStr", folder.file(name)}, {"v0_width", 720}, {"v0_height", 576}}),
        {outProres, 12});
    row.mark = mark;
    row.movie = movie("Done.mov");
    return row;
  }
  // As a crash leaves it: one source is a movie, one is a row, one has no row yet.
  void leaveBatch() {
    StoredBatch batch;
    Dico choices = app.prefs2GuiApp();
    choices.set(PrefKey::destination, folder.file("movies"));
    batch.settings = {{"choices", std::move(choices)}};
    batch.rows = {{1, rowOf("Done.MTS", RowMark::success)},
                  {2, rowOf("Gone.MTS", RowMark::current)}};
    batch.waiting = {folder.file("Waiting.MTS")};
    ASSERT_TRUE(BatchStore::create(parent, test::changesOf(batch)));
  }
  // The fixture stops the loop at every end of an analysis or a batch.
  bool servedUntil(const std::function<bool()>& condition) {
    for (int stops = 0; stops < 5 && !condition(); ++stops)
      test::loopUntil(loop, condition);
    return condition();
  }
  // The lists of sources without a row, as they lie on the disk.
  std::vector<std::string> storedWaiting() const {
    std::vector<std::string> lists;
    for (const std::string& file : filesBelow(parent))
      if (fileName(file) == "waiting.plist")
        lists.push_back(readWholeFile(file).value());
    return lists;
  }
  bool isStored() { return !claimAbandonedFolders(parent).empty(); }

  std::string parent = folder.file("state/batches");
  CoreServices services{loop, preferences, alerts, {}};
  BatchRecorder recorder{app, services, parent};
  RecoveryOffer offer{app, recorder, alerts, loop};
};

// The session ended behind the batch, while its rows were still shown.
TEST_F(RecoveryOfferTest, NothingIsAskedAboutABatchThatIsDone) {
  StoredBatch batch;
  batch.rows = {{1, rowOf("Done.MTS", RowMark::success)}};
  ASSERT_TRUE(BatchStore::create(parent, test::changesOf(batch)));
  offer.begin(parent);
  EXPECT_TRUE(alerts.shown.empty());
  EXPECT_FALSE(isStored());
}

TEST_F(RecoveryOfferTest, ABatchIsNotTakenForDoneWhenItCannotBeRead) {
  StoredBatch batch;
  batch.rows = {{1, rowOf("Done.MTS", RowMark::success)}};
  const std::string stored = BatchStore::create(parent, test::changesOf(batch)).value().folder();
  ASSERT_TRUE(writeFileAtomically(stored + "/waiting.plist", "no list"));
  alerts.answers = {{1, false}};
  offer.begin(parent);
  EXPECT_EQ(alerts.shown.size(), 1u);
  EXPECT_TRUE(isStored());
}

// A second crash must find the sources of both, once.
TEST_F(RecoveryOfferTest, ListsOfTwoInterruptedBatchesAreStoredAsOne) {
  for (const char* name : {"One.MTS", "Two.MTS"}) {
    StoredBatch batch;
    batch.waiting = {folder.file(name)};
    ASSERT_TRUE(BatchStore::create(parent, test::changesOf(batch)));
  }
  app.queue().setOpenPermitted(false);  // as during an analysis
  alerts.answers = {{0, false}};
  offer.begin(parent);
  EXPECT_FALSE(isStored()) << "what is stored is held by its new owner";
  EXPECT_TRUE(recorder.keep());
  EXPECT_THAT(storedWaiting(), ElementsAre(AllOf(HasSubstr("One.MTS"), HasSubstr("Two.MTS"))));
}

TEST_F(RecoveryOfferTest, GoingOnBringsTheRowsBackAndConvertsWhatIsLeft) {
  leaveBatch();
  ASSERT_TRUE(test::makeInterlacedClip(folder.file("Waiting.MTS")));
  alerts.answers = {{0, false}};
  offer.begin(parent);
  ASSERT_FALSE(alerts.shown.empty());
  EXPECT_THAT(alerts.shown[0].informative, HasSubstr(": 2."));
  EXPECT_EQ(alerts.shown[0].closing, 1u) << "closing the question must lose nothing";
  EXPECT_TRUE(app.interface.batchDrawer.isShown());
  EXPECT_TRUE(servedUntil([this] { return ended.size() == 2; }));
  // The source of the second row is not there any more, so its row has gone.
  ASSERT_EQ(app.table().count(), 2);
  EXPECT_EQ(mark(0), RowMark::success);
  EXPECT_EQ(mark(1), RowMark::success);
  EXPECT_EQ(ended[1].output, movie("Waiting.mov"));
}

// They may be on a share that hangs, with which the window would.
TEST_F(RecoveryOfferTest, TheDisksOfInterruptedJobsAreAskedFirst) {
  leaveBatch();
  const std::string left = folder.file("movies/.tessarin-1-abcdef");
  ASSERT_TRUE(mkdir(left));
  ASSERT_TRUE(claimAbandonedFolders(parent).at(0).writeJob(
      2, recordOfJob({folder.file("Gone.MTS"), left, "boot"})));
  offer.begin(parent);
  EXPECT_TRUE(offer.isWaiting());
  EXPECT_TRUE(pathExists(left));
  EXPECT_TRUE(servedUntil([this] { return !alerts.shown.empty(); }));
  EXPECT_FALSE(offer.isWaiting());
  EXPECT_FALSE(pathExists(left));
}

// As it was left when the user quit: shown again, and not converted by itself.
TEST_F(RecoveryOfferTest, AListThatWasKeptIsOpenedAndNothingOfItConverted) {
  StoredBatch batch;
  batch.settings = {{"choices", app.prefs2GuiApp()}, {"front", Dico{{"atRest", 1}}}};
  batch.rows = {{1, rowOf("Done.MTS", RowMark::success)}, {2, rowOf("Next.MTS", RowMark::waiting)}};
  batch.waiting = {folder.file("Waiting.MTS")};
  ASSERT_TRUE(test::makeInterlacedClip(folder.file("Waiting.MTS")));
  ASSERT_TRUE(BatchStore::create(parent, test::changesOf(batch)));
  offer.begin(parent);
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].message, localisationString("D_list_1"));
  EXPECT_TRUE(servedUntil([this] { return app.table().count() == 3; }));
  test::loopFor(loop, std::chrono::milliseconds(100));
  EXPECT_FALSE(app.driver().isBatchRunning());
  EXPECT_TRUE(ended.empty());
  EXPECT_TRUE(app.interface.batchGoBt.isEnabled());
}

TEST_F(RecoveryOfferTest, LaterLeavesTheBatchAndForgettingRemovesIt) {
  leaveBatch();
  alerts.answers = {{1, false}, {2, false}};
  offer.begin(parent);
  EXPECT_EQ(app.table().count(), 0);
  EXPECT_TRUE(isStored());
  offer.begin(parent);
  EXPECT_EQ(alerts.shown.size(), 2u);
  EXPECT_FALSE(isStored());
}

TEST_F(RecoveryOfferTest, FilesThatAreAnalysedAtTheMomentOfTheAnswerComeFirst) {
  leaveBatch();
  ASSERT_TRUE(test::makeInterlacedClip(folder.file("Waiting.MTS")));
  ASSERT_TRUE(test::makeInterlacedClip(folder.file("New.MTS")));
  alerts.holds = true;
  offer.begin(parent);
  app.draggedFiles({folder.file("New.MTS")});
  alerts.holds = false;
  alerts.answers = {{0, false}};
  alerts.answerHeld();
  EXPECT_THAT(storedWaiting(), ElementsAre(AllOf(HasSubstr("New.MTS"), HasSubstr("Waiting.MTS"))));
  EXPECT_TRUE(servedUntil([this] { return ended.size() == 3; }));
  EXPECT_TRUE(pathExists(movie("New.mov")));
  EXPECT_TRUE(pathExists(movie("Waiting.mov")));
}

using BatchSummaryTest = test::CoreFixture;

TEST_F(BatchSummaryTest, CountsAreGatheredAndThoseOfNothingLeftOut) {
  const BatchSummary summary(app.table(), app.interface.batchSummary, loop);
  int changes = 0;
  app.interface.batchSummary.changed.connect([&] { ++changes; });
  for (const RowMark mark :
       {RowMark::success, RowMark::success, RowMark::failure, RowMark::waiting})
    app.table().mark(
        app.table().append(
            newRow(test::sourceOf({{"srcPathStr", std::to_string(app.table().count())}}), {})),
        mark);
  test::loopFor(loop, std::chrono::milliseconds(1));
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(app.interface.batchSummary.text(), "2 converted, 1 not converted, 1 to be converted");
  app.table().encBatchRemoveAll(false);
  test::loopFor(loop, std::chrono::milliseconds(1));
  EXPECT_EQ(app.interface.batchSummary.text(), "");
}

using LanguageTest = test::CoreFixture;

TEST_F(LanguageTest, AChoiceWinsOverTheEnvironmentAndRowsKeepTheirMeaning) {
  const test::ScopedEnvironment environment("LC_ALL", "fr_FR.UTF-8");
  EXPECT_THAT(availableLanguages(), ElementsAre("de", "en", "es", "fr", "it"));
  EXPECT_EQ(languageName("de"), "Deutsch");
  app.table().append(newRow(test::sourceOf({{"srcPathStr", "/a.mts"}, {"v0_fields", "PFF"}}), {}));
  ASSERT_TRUE(isSourceProgressive(app.table().source(0)));
  for (const auto& [code, cancel] : std::vector<std::pair<std::string, std::string>>{
           {"de", "Abbrechen"}, {"", "Annuler"}, {"xx", "Annuler"}, {"en", "Cancel"}}) {
    useLanguage(code);
    EXPECT_EQ(localisationString("D_Annuler"), cancel) << code;
    EXPECT_TRUE(isSourceProgressive(app.table().source(0))) << code;
  }
}

}  // namespace
}  // namespace tessarin
