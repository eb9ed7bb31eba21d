#include <filesystem>

#include "CoreFixture.h"
#include "core/BatchRecorder.h"
#include "core/recovery.h"
#include "core/rowEdits.h"
#include "core/rowOrder.h"
#include "core/stepState.h"
#include "jobs/newRow.h"
#include "support/LoopUntil.h"
#include "support/changesOf.h"
#include "support/sources.h"

namespace tessarin {
namespace {

using test::CoreFixture;

// The fixture's controller followed by a recorder. What would be recovered if the process ended
// now is read from a copy of its folder.
class BatchRecorderTest : public CoreFixture {
 protected:
  BatchRecorderTest() {
    recorder.failed.connect([this](const std::string& reason) { failures.push_back(reason); });
  }

  Row rowOf(const std::string& name) const {
    return newRow(test::sourceOf({{"srcPathStr", folder.file(name)}, {"v0_width", 1920}}),
                  {outProres, 12});
  }
  std::size_t folderCount() const {
    std::error_code failed;
    const std::filesystem::directory_iterator entries(parent, failed);
    return failed ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }
  using FileTimes = std::map<std::string, std::filesystem::file_time_type>;
  // Nothing when a file went meanwhile.
  std::optional<FileTimes> fileTimes() const {
    std::error_code failed;
    FileTimes times;
    auto entry = std::filesystem::recursive_directory_iterator(parent, failed);
    for (; !failed && entry != end(entry); entry.increment(failed))
      if (times[entry->path()] = entry->last_write_time(failed); failed)
        break;
    return failed ? std::nullopt : std::optional(times);
  }
  std::optional<FileTimes> copy(const std::string& copies) const {
    std::error_code failed;
    std::filesystem::remove_all(copies);
    std::filesystem::copy(parent, copies, std::filesystem::copy_options::recursive, failed);
    return failed ? std::nullopt : fileTimes();
  }
  StoredBatch afterACrash() {
    // Of one moment: nothing was written while it was copied.
    const std::string copies = folder.file("copies");
    for (auto before = fileTimes(); !before || copy(copies) != before; before = fileTimes()) {
    }
    InterruptedBatches found = findInterruptedBatches(copies);
    std::vector<StoreProblem> problems;
    return found.stores.empty() ? StoredBatch() : readInterruptedBatch(found.stores[0], problems);
  }
  static std::vector<std::string> sourcesOf(const StoredBatch& batch) {
    std::vector<std::string> sources;
    for (const StoredRow& row : batch.rows)
      sources.push_back(row.row.path());
    return sources;
  }
  void soon() { test::loopFor(loop, std::chrono::milliseconds(500)); }

  std::string parent = folder.file("state/batches");
  CoreServices services{loop, preferences, alerts, {}};
  BatchRecorder recorder{app, services, parent};
  std::vector<std::string> failures;
};

TEST_F(BatchRecorderTest, RowsAreStoredSoonAfterTheyChange) {
  recorder.setFrontSettings({{"target", 2}});
  app.interface.editingSoft.select(1);
  for (const char* name : {"1.mts", "2.mts", "3.mts"})
    app.table().append(rowOf(name));
  EXPECT_EQ(folderCount(), 0u) << "not once per row";
  soon();
  app.table().set(1, &Row::choice, {outAic, 12});
  app.table().select(0);
  app.table().encBatchRemove(false);
  preferences.prefWrite(StateKey::replaceFiles, "replace");
  soon();
  StoredBatch batch = afterACrash();
  EXPECT_EQ(sourcesOf(batch),
            (std::vector<std::string>{folder.file("2.mts"), folder.file("3.mts")}));
  EXPECT_EQ(batch.rows[0].row.choice.target, outAic);
  EXPECT_EQ(batch.settings.text("replaceFilesCheck"), "replace");
  EXPECT_EQ(batch.settings.dico("front")->integer("target"), 2);
  EXPECT_EQ(batch.settings.dico("choices")->integer("editingSoft"), 1);

  // Without rows there is nothing to recover.
  app.table().encBatchRemoveAll(false);
  soon();
  EXPECT_EQ(folderCount(), 0u);
  EXPECT_TRUE(failures.empty());
}

// Rows come back to where they were, in the list and on the disk, and choices, too.
TEST_F(BatchRecorderTest, WhatTheUserTakesBackIsAsItWasBefore) {
  const auto paths = [this] {
    std::vector<std::string> list;
    for (int row = 0; row < app.table().count(); ++row) {
      list.push_back(fileName(app.table().sourcePath(row)));
      EXPECT_EQ(app.table().rowOfSource(app.table().sourcePath(row)), row);
    }
    return list;
  };
  const auto remove = [this](const std::vector<int>& rows) { app.undo().remove(rows, true); };
  for (const char* name : {"1.mts", "2.mts", "3.mts", "4.mts"}) {
    Row row = rowOf(name);
    row.source.thumbnail = folder.write(std::string(name) + ".jpg", "picture");
    app.table().append(row);
  }
  const StoredBatch before = (soon(), afterACrash());
  remove({3, 1});
  remove({0});
  app.table().append(rowOf("5.mts"));
  soon();
  EXPECT_EQ(app.undo().rowCount(), 1u);
  app.undo().undo();
  EXPECT_EQ(paths(), (std::vector<std::string>{"1.mts", "3.mts", "5.mts"}));
  app.undo().undo();
  EXPECT_EQ(paths(), (std::vector<std::string>{"1.mts", "2.mts", "3.mts", "4.mts", "5.mts"}));
  EXPECT_EQ(folder.read("2.mts.jpg"), "picture");
  EXPECT_EQ(app.undo().kind(), RowUndo::Kind::nothing);
  soon();
  const StoredBatch after = afterACrash();
  ASSERT_EQ(after.rows.size(), 5u);
  for (std::size_t row = 0; row < before.rows.size(); ++row) {
    EXPECT_EQ(after.rows[row].order, before.rows[row].order);
    EXPECT_EQ(after.rows[row].row.path(), before.rows[row].row.path());
  }

  // A source that has a row again keeps it, and a row that was finished is so again.
  remove({4});
  app.table().append(rowOf("5.mts"));
  app.undo().undo();
  EXPECT_EQ(app.table().count(), 5);
  app.table().mark(2, RowMark::success);
  int told = 0;
  app.table().rowsChanged.connect([&told](const std::vector<int>&) { ++told; });
  app.undo().choose({1, 2, 3}, [this](int row) {
    if (row == 2) {
      app.table().set(2, &Row::choice, {outAic, 12});
      app.table().mark(2, RowMark::waiting);
    } else if (row == 3) {
      chooseSounds(app.table(), 3, "2");
      chooseSlowSound(app.table(), 3, SlowSound::slowed);
    }
  });
  EXPECT_EQ(told, 1) << "of many rows at once";
  EXPECT_EQ(app.undo().rowCount(), 2u);
  app.undo().undo();
  EXPECT_EQ(app.table().row(2).choice.target, outProres);
  EXPECT_TRUE(app.table().isFinished(2));
  EXPECT_EQ(app.table().source(3).soundChoice, "");
  EXPECT_EQ(app.table().source(3).slowSound, SlowSound::asRecorded);
}

// Rows are known by their sources whatever place they have, also in a folder that is recovered.
TEST_F(BatchRecorderTest, AnotherOrderIsStoredAndTakenBack) {
  const auto names = [](const std::vector<std::string>& paths) {
    std::string list;
    for (const std::string& path : paths)
      list += withoutExtension(fileName(path)) + " ";
    return list;
  };
  const auto inTable = [&] {
    std::vector<std::string> paths;
    for (int row = 0; row < app.table().count(); ++row) {
      paths.push_back(app.table().sourcePath(row));
      EXPECT_EQ(app.table().rowOfSource(paths.back()), row);
    }
    return names(paths);
  };
  const auto stored = [&] {
    soon();
    return names(sourcesOf(afterACrash()));
  };
  const auto append = [this](const char* name, const char* recorded, double seconds) {
    Row row = rowOf(name);
    row.source.recorded = recorded;
    if (seconds > 0)
      row.source.seconds = seconds;
    app.table().append(row);
  };
  append("clip 10.mts", "2012-01-01 10:00:00", 0);
  append("Clip 9.mts", "2011-01-01 10:00:00 +0100", 3);
  append("b.mts", "", 2);
  append("a.mts", "2010-01-01 10:00:00", 1);
  soon();
  const auto sort = [this](SortBy what) { app.undo().arrange(orderBy(app.table(), what)); };
  sort(SortBy::name);
  EXPECT_EQ(inTable(), "a b Clip 9 clip 10 ");
  sort(SortBy::recorded);
  EXPECT_EQ(inTable(), "a Clip 9 clip 10 b ");
  sort(SortBy::length);
  EXPECT_EQ(inTable(), "a b Clip 9 clip 10 ");
  sort(SortBy::length);
  app.undo().undo();
  EXPECT_EQ(inTable(), "a Clip 9 clip 10 b ") << "what changed nothing is no step";

  app.table().select(3);
  app.undo().arrange(orderWithMoved(4, {3, 1}, 0));
  EXPECT_EQ(inTable(), "Clip 9 b a clip 10 ");
  EXPECT_EQ(app.table().selectedRow(), 1);
  app.undo().arrange(orderWithMovedUp(4, {0, 1}));
  app.undo().arrange(orderWithMovedDown(4, {3}));
  EXPECT_FALSE(app.table().arrange({0, 1, 1, 2}));
  app.undo().arrange(orderWithMovedDown(4, {0, 1}));
  EXPECT_EQ(inTable(), "a Clip 9 b clip 10 ");
  append("last.mts", "", 0);
  EXPECT_EQ(stored(), "a Clip 9 b clip 10 last ");

  app.undo().remove({1}, true);
  app.undo().arrange({3, 2, 1, 0});
  EXPECT_EQ(stored(), "last clip 10 b a ");
  app.undo().undo();
  app.undo().undo();
  EXPECT_EQ(stored(), "a Clip 9 b clip 10 last ");
  app.undo().undo();
  EXPECT_EQ(inTable(), "Clip 9 b a clip 10 last ");
  app.undo().undo();
  app.undo().undo();
  app.undo().undo();
  EXPECT_EQ(inTable(), "clip 10 Clip 9 b a last ") << "as they came";
  EXPECT_EQ(stored(), "clip 10 Clip 9 b a last ");
  for (const std::string& file : filesBelow(parent))
    EXPECT_NE(fileName(file), "order.plist");
}

TEST_F(BatchRecorderTest, WhatIsLeftToBeDoneIsKeptWhenTheUserLeaves) {
  recorder.setFrontSettings({{std::string(BatchSetting::atRest), 1}});
  app.table().append(rowOf("1.mts"));
  app.table().append(rowOf("2.mts"));
  app.table().mark(0, RowMark::success);
  soon();
  recorder.leave();
  app.table().encBatchRemoveAll(false);
  EXPECT_EQ(afterACrash().rows.size(), 2u);
  EXPECT_TRUE(isAtRest(findInterruptedBatches(folder.file("copies")).stores.at(0)));

  BatchRecorder other(app, services, folder.file("other"));
  app.table().append(rowOf("3.mts"));
  app.table().mark(0, RowMark::success);
  soon();
  other.leave();
  EXPECT_TRUE(findInterruptedBatches(folder.file("other")).stores.empty()) << "all was done";
}

TEST_F(BatchRecorderTest, WhatIsLeftAfterABatchIsStoredUntilTheUserQuits) {
  app.table().append(rowOf("1.mts"));
  soon();
  app.driver().batchEnded.emit();
  serve();
  soon();
  EXPECT_EQ(folderCount(), 0u) << "of a batch that ended for good";
  recorder.storeUnfinished();
  soon();
  EXPECT_EQ(sourcesOf(afterACrash()), std::vector<std::string>{folder.file("1.mts")});

  recorder.forget();
  app.table().append(rowOf("2.mts"));
  soon();
  EXPECT_EQ(folderCount(), 0u);
}

TEST_F(BatchRecorderTest, EverySourceIsStoredFromTheDropToTheEnd) {
  std::vector<std::string> paths;
  for (const char* name : {"1.mts", "2.mts", "3.mts"})
    paths.push_back(folder.file(name));
  ASSERT_TRUE(test::makeInterlacedClip(paths[0]));
  std::filesystem::copy_file(paths[0], paths[1]);
  folder.write("3.mts", "no movie");
  app.draggedFiles(paths);
  EXPECT_TRUE(test::loopUntil(loop, [&] { return afterACrash().waiting == paths; }))
      << "not stored when it was taken in";
  int looked = 0;
  app.queue().rowReady.connect([&](int) {
    loop.runAfter(std::chrono::milliseconds(60), [&] {
      const StoredBatch batch = afterACrash();
      EXPECT_LE(3u, batch.rows.size() + batch.waiting.size());
      ++looked;
    });
  });
  serve();
  soon();
  EXPECT_EQ(looked, 2);
  const StoredBatch batch = afterACrash();
  EXPECT_EQ(sourcesOf(batch), (std::vector<std::string>{paths[0], paths[1]}));
  EXPECT_TRUE(batch.waiting.empty());

  // While the first movie is written, its job is known; afterwards the row is finished.
  std::vector<std::string> marks;
  bool jobWasStored = false;
  app.driver().folderBegins.connect([&](const std::string&, const std::string& own) {
    const auto job = app.table().encBatchInprogressRowIdentification() + 1;
    jobWasStored = false;
    for (const auto& entry : std::filesystem::directory_iterator(parent))
      jobWasStored |= pathExists(entry.path().string() + "/job-" + std::to_string(job) + ".plist");
    EXPECT_TRUE(jobWasStored);
    EXPECT_FALSE(pathExists(own));
  });
  app.driver().jobEnded.connect([&](const JobEnd&) {
    marks.clear();
    for (const StoredRow& row : afterACrash().rows)
      marks.emplace_back(markName(row.row.mark));
  });
  app.iba_batchGoBt();
  serve();
  EXPECT_EQ(marks, (std::vector<std::string>{"puceSuccess", "puceSuccess"}));
  soon();
  EXPECT_EQ(folderCount(), 0u) << "left behind by a batch that ended";
}

TEST_F(BatchRecorderTest, ARestoredBatchGoesOnInItsFolder) {
  StoredBatch interrupted;
  interrupted.settings = {{"choices", Dico{{"prefDefautDstPathStr", folder.file("away/movies")},
                                           {"editingSoft", 1},
                                           {"prefProres", "apch"}}},
                          {"replaceFilesCheck", "keep"}};
  interrupted.rows = {{3, rowOf("3.mts")}, {5, rowOf("5.mts")}};
  {
    auto made = BatchStore::create(parent, test::changesOf(interrupted));
    ASSERT_TRUE(made);
  }
  InterruptedBatches found = findInterruptedBatches(parent);
  std::vector<StoreProblem> problems;
  const StoredBatch batch = readInterruptedBatch(found.stores.at(0), problems);
  recorder.restore(std::move(found.stores[0]), batch);
  ASSERT_EQ(app.table().count(), 2);
  EXPECT_EQ(app.table().sourcePath(1), folder.file("5.mts"));
  EXPECT_EQ(app.interface.destination.text(), folder.file("away/movies"))
      << "a folder that is away at the moment was replaced";
  EXPECT_EQ(app.interface.editingSoft.selected(), 1);
  EXPECT_EQ(preferences.text(PrefKey::prores), "apch");
  EXPECT_EQ(preferences.prefReadString(StateKey::replaceFiles), "keep");
  EXPECT_EQ(folderCount(), 1u);
  app.table().append(rowOf("6.mts"));
  app.table().set(0, &Row::choice, {outAic, 12});
  soon();
  const StoredBatch later = afterACrash();
  ASSERT_EQ(later.rows.size(), 3u);
  EXPECT_EQ(later.rows[0].order, 3);
  EXPECT_EQ(later.rows[0].row.choice.target, outAic);
  EXPECT_EQ(later.rows[2].order, 6);

  // A second one joins it.
  {
    auto made = BatchStore::create(
        parent, test::changesOf({{}, {{1, rowOf("6.mts")}, {2, rowOf("7.mts")}}, {}}));
    ASSERT_TRUE(made);
  }
  found = findInterruptedBatches(parent);
  const StoredBatch second = readInterruptedBatch(found.stores.at(0), problems);
  recorder.restore(std::move(found.stores[0]), second);
  EXPECT_EQ(app.table().count(), 4) << "a source twice";
  EXPECT_EQ(folderCount(), 1u);
  EXPECT_EQ(sourcesOf(afterACrash()).back(), folder.file("7.mts"));
  recorder.discard();
  EXPECT_TRUE(sourcesOf(afterACrash()).empty());
  soon();
  EXPECT_EQ(folderCount(), 0u);
}

TEST_F(BatchRecorderTest, WhatIsKeptDoesNotFollowTheStop) {
  app.table().append(rowOf("1.mts"));
  recorder.keep();
  app.table().mark(0, RowMark::failure);
  app.driver().batchEnded.emit();
  soon();
  const StoredBatch batch = afterACrash();
  ASSERT_EQ(batch.rows.size(), 1u);
  EXPECT_EQ(batch.rows[0].row.mark, RowMark::waiting);
}

TEST_F(BatchRecorderTest, WithoutAPlaceToStoreTheBatchGoesOn) {
  std::filesystem::create_directories(parent);
  const std::string source = folder.file("1.mts");
  ASSERT_TRUE(test::makeInterlacedClip(source));
  std::filesystem::remove_all(folder.file("state"));
  folder.write("state", "in the way");
  analyse({source});
  convert();
  ASSERT_EQ(ended.size(), 1u);
  EXPECT_EQ(ended[0].kind, JobEnd::Kind::converted);
  EXPECT_EQ(failures.size(), 1u) << "told once";
}

}  // namespace
}  // namespace tessarin
