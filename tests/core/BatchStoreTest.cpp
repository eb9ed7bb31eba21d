#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "core/BatchStore.h"
#include "core/recovery.h"
#include "encoding/BatchEntry.h"
#include "encoding/naming.h"
#include "jobs/newRow.h"
#include "jobs/outputPlace.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/changesOf.h"
#include "support/sources.h"
#include "utils/files.h"

namespace tessarin {
namespace {

namespace fs = std::filesystem;

// A name of a file as an old camera wrote it: Latin-1.
const std::string oldName = "/card/\xC9t\xE9.mts";

Row row(const std::string& source, RowMark mark = RowMark::waiting) {
  Row made = newRow(test::sourceOf({{"srcPathStr", source}, {"v0_fps", 25.0}, {"v0_width", 1920}}),
                    {outProres});
  made.mark = mark;
  return made;
}

class BatchStoreTest : public testing::Test {
 protected:
  BatchStore made(const StoredBatch& content) {
    auto store = BatchStore::create(parent, test::changesOf(content));
    EXPECT_TRUE(store) << store.reason();
    return std::move(*store);
  }
  // As a crash leaves it: nobody holds the lock.
  std::string abandoned(const StoredBatch& content) { return made(content).folder(); }
  // What is read back of the only batch, and what was wrong with it.
  StoredBatch readBack() {
    found = findInterruptedBatches(parent);
    EXPECT_EQ(found.stores.size(), 1u);
    return readInterruptedBatch(found.stores.at(0), problems);
  }

  test::TestBundle bundle;
  test::LogCapture log;
  test::ScopedTemporaryFolder folder;
  std::string parent = folder.file("state/Tessarin/batches");
  InterruptedBatches found;
  std::vector<StoreProblem> problems;
};

TEST_F(BatchStoreTest, BringsBackWhatWasStored) {
  StoredBatch content;
  content.settings = {{"front", Dico{{"target", 2}}}};
  content.rows = {{1, row("/card/1.mts")}, {2, row(oldName)}};
  content.waiting = {"/card/3.mts", "/card/\xFF.mts"};
  std::string path;
  {
    BatchStore store = made(content);
    path = store.folder();
    BatchChanges changes;
    changes.rows.push_back({7, row("/card/7.mts", RowMark::success)});
    changes.rows.push_back({10, row("/card/10.mts", RowMark::current)});
    changes.rows.push_back({1, row("/card/1.mts", RowMark::failure)});
    changes.removedRows = {2};
    ASSERT_TRUE(store.write(changes));
  }
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);

  const StoredBatch read = readBack();
  EXPECT_TRUE(problems.empty());
  EXPECT_EQ(read.settings, content.settings);
  EXPECT_EQ(read.waiting, content.waiting);
  ASSERT_EQ(read.rows.size(), 3u);
  EXPECT_EQ(read.rows[0].order, 1);
  EXPECT_EQ(read.rows[0].row, row("/card/1.mts", RowMark::failure));
  EXPECT_EQ(read.rows[1].row, row("/card/7.mts", RowMark::success));
  EXPECT_EQ(read.rows[2].order, 10) << "in the order of the numbers, not of their digits";
  EXPECT_EQ(read.rows[2].row, row("/card/10.mts", RowMark::waiting));
}

TEST_F(BatchStoreTest, KeepsNamesThatAreNoUtf8) {
  const Dico record{{"path", oldName},
                    {"text", "Été"},
                    {"inside", Dico{{"list", List{Value(oldName), Value(3)}}}},
                    {"zero", std::string("a\0b", 3)}};
  const Dico stored = storableRecord(record);
  const auto bytes = serializedPropertyList(stored);
  ASSERT_TRUE(bytes);
  const auto read = parsePropertyList(bytes.value());
  ASSERT_TRUE(read);
  EXPECT_EQ(recordOfStorable(*read.value().dico()), record);
}

TEST_F(BatchStoreTest, BelongsToItsOwnerAloneWhileThatLives) {
  auto store = std::make_optional(made({{}, {{1, row("/card/1.mts")}}, {}}));
  const std::string path = store->folder();
  EXPECT_FALSE(BatchStore::claim(path));
  EXPECT_TRUE(findInterruptedBatches(parent).stores.empty());
  EXPECT_TRUE(pathExists(path));
  store.reset();
  auto claimed = BatchStore::claim(path);
  ASSERT_TRUE(claimed);
  EXPECT_FALSE(BatchStore::claim(path)) << "two owners";
  claimed->discard();
  EXPECT_FALSE(pathExists(path));
  EXPECT_FALSE(BatchStore::claim(path));
  EXPECT_TRUE(fs::is_empty(parent));
}

TEST_F(BatchStoreTest, SweepsRemainsButNotWhatIsBeingMade) {
  // Killed while it was being removed, and one that is being made this moment.
  const std::string left = abandoned({});
  fs::rename(left, parent + "/.old-1");
  fs::create_directory(parent + "/.old-4");
  fs::create_directory(parent + "/.new-2");
  std::optional<BatchStore> living = made({});
  fs::rename(living->folder(), parent + "/.new-3");
  const int making = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(::flock(making, LOCK_SH), 0);
  // No batch of ours.
  folder.write("state/Tessarin/batches/stray.txt", "text");
  fs::create_directory(parent + "/no-lock");
  EXPECT_TRUE(findInterruptedBatches(parent).stores.empty());
  EXPECT_FALSE(pathExists(parent + "/.old-1"));
  EXPECT_FALSE(pathExists(parent + "/.old-4"));
  EXPECT_TRUE(pathExists(parent + "/.new-2"));
  EXPECT_TRUE(pathExists(parent + "/.new-3"));
  EXPECT_TRUE(pathExists(parent + "/no-lock"));
  // A kill at any moment of making one: at once, whatever it had come to.
  ::close(making);
  living.reset();
  findInterruptedBatches(parent);
  EXPECT_FALSE(pathExists(parent + "/.new-2"));
  EXPECT_FALSE(pathExists(parent + "/.new-3"));
  EXPECT_TRUE(findInterruptedBatches(folder.file("missing")).stores.empty());
}

TEST_F(BatchStoreTest, ADamagedRowIsPutAsideAndTheRestIsRead) {
  const std::string path = abandoned(
      {{}, {{1, row("/card/1.mts")}, {2, row("/card/2.mts")}, {3, row("/card/3.mts")}}, {}});
  fs::resize_file(path + "/row-1.plist", 20);
  const auto noRow = batchPartBytes({{"order", 3}, {"row", "text"}});
  ASSERT_TRUE(writeFileAtomically(path + "/row-3.plist", noRow.value()));
  const StoredBatch read = readBack();
  ASSERT_EQ(read.rows.size(), 1u);
  EXPECT_EQ(read.rows[0].row, row("/card/2.mts"));
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0].reason, localisationString("why_damagedRow"));
  // Kept beyond the end of the batch.
  found.stores[0].discard();
  EXPECT_EQ(fs::file_size(problems[0].path), 20u);
}

TEST_F(BatchStoreTest, ADamagedListOrDamagedSettingsAreReported) {
  const std::string path = abandoned({{}, {{1, row("/card/1.mts")}}, {"/card/2.mts"}});
  fs::resize_file(path + "/waiting.plist", 3);
  fs::resize_file(path + "/batch.plist", 0);
  const StoredBatch read = readBack();
  EXPECT_EQ(read.rows.size(), 1u);
  EXPECT_EQ(problems.size(), 2u);
}

TEST_F(BatchStoreTest, ABatchOfANewerVersionIsLeftAlone) {
  const std::string path = abandoned({{}, {{1, row("/card/1.mts", RowMark::current)}}, {}});
  ASSERT_TRUE(writePropertyList(path + "/batch.plist", Dico{{"formatVersion", 999}}));
  found = findInterruptedBatches(parent);
  EXPECT_TRUE(found.stores.empty());
  ASSERT_EQ(found.problems.size(), 1u);
  EXPECT_EQ(found.problems[0].reason, localisationString("why_newerBatch"));
  EXPECT_TRUE(BatchStore::claim(path)->row(1));
}

TEST(BatchFormat, OlderVersionsAreUpgradedStepByStep) {
  constexpr FormatStep steps[] = {[](Dico older) {
                                    older.set("b", older.integer("a").value_or(0) + 1);
                                    older.remove("a");
                                    return older;
                                  },
                                  [](Dico older) {
                                    older.set("c", older.integer("b").value_or(0) * 10);
                                    older.remove("b");
                                    return older;
                                  }};
  EXPECT_EQ(upgradedPart({{"formatVersion", 1}, {"a", 1}}, steps).content, (Dico{{"c", 20}}));
  EXPECT_EQ(upgradedPart({{"formatVersion", 2}, {"b", 1}}, steps).content, (Dico{{"c", 10}}));
  EXPECT_EQ(upgradedPart({{"formatVersion", 3}, {"c", 1}}, steps).content, (Dico{{"c", 1}}));
  EXPECT_EQ(upgradedPart({{"formatVersion", 4}}, steps).state, BatchPart::State::newer);
  for (const Dico& wrong : {Dico{}, Dico{{"formatVersion", 0}}, Dico{{"formatVersion", "1"}}})
    EXPECT_EQ(upgradedPart(wrong, steps).state, BatchPart::State::damaged) << wrong.description();
}

// ---- Jobs that were interrupted

class InterruptedJobTest : public BatchStoreTest {
 protected:
  InterruptedJobTest() {
    folder.write("Tessarin/.tessarin-1-abcdef/1.mov", "partial");
    folder.write("Tessarin/1-failure.mov", "of an earlier time");
  }
  // A batch of one row whose job has made its folder, and perhaps a whole movie, which then got its
  // name; then the process was gone.
  void interrupt(bool isWhole, bool isUndamaged = true, const std::string& boot = runningSystem()) {
    BatchStore store = made({{}, {{1, row("/card/1.mts", RowMark::current)}}, {}});
    StoredJob job{"/card/1.mts", own, boot};
    if (isWhole) {
      folder.write("Tessarin/1.mov", "whole");
      job.output = output;
      job.movie = fileState(output);
      job.isUndamaged = isUndamaged;
    }
    ASSERT_TRUE(store.writeJob(1, recordOfJob(job)));
  }
  // The row after the batch was found.
  Row rowAfter() {
    found = {};
    found = findInterruptedBatches(parent);
    return found.stores.at(0).row(1).value().row;
  }
  RowMark markAfter() { return rowAfter().mark; }

  std::string output = folder.file("Tessarin/1.mov");
  std::string own = folder.file("Tessarin/.tessarin-1-abcdef");
};

TEST_F(InterruptedJobTest, ItsFolderGoesAndItsRowWaits) {
  interrupt(false);
  folder.write("Tessarin/1.mov", "the user's movie");
  EXPECT_EQ(markAfter(), RowMark::waiting);
  EXPECT_FALSE(pathExists(own));
  EXPECT_EQ(folder.read("Tessarin/1.mov"), "the user's movie");
  EXPECT_TRUE(found.putAside.empty());
  EXPECT_TRUE(found.stores[0].jobNumbers().empty());
}

TEST_F(InterruptedJobTest, AMovieThatHadJustGotItsNameIsFinished) {
  interrupt(true);
  const Row row = rowAfter();
  EXPECT_EQ(row.mark, RowMark::success);
  EXPECT_EQ(row.movie, output);
  EXPECT_EQ(folder.read("Tessarin/1.mov"), "whole");
  EXPECT_FALSE(pathExists(own));
  EXPECT_TRUE(found.stores[0].jobNumbers().empty());
}

TEST_F(InterruptedJobTest, AMovieThatMayHaveBeenLostWithThePowerIsMadeAgain) {
  interrupt(true, true, "before the power cut");
  EXPECT_EQ(markAfter(), RowMark::waiting);
  EXPECT_EQ(folder.read("Tessarin/1-failure.mov"), "of an earlier time");
  EXPECT_EQ(folder.read("Tessarin/1-failure-2.mov"), "whole");
  ASSERT_EQ(found.putAside.size(), 1u);
  EXPECT_EQ(found.putAside[0].source, "/card/1.mts");
  EXPECT_EQ(found.putAside[0].aside, folder.file("Tessarin/1-failure-2.mov"));

  // Once: what stands there later is somebody else's.
  folder.write("Tessarin/1.mov", "converted anew");
  markAfter();
  EXPECT_EQ(folder.read("Tessarin/1.mov"), "converted anew");
}

TEST_F(InterruptedJobTest, OneThatWasNotToldToBeDamagedIsMadeAgain) {
  interrupt(true, false);
  EXPECT_EQ(markAfter(), RowMark::waiting);
  EXPECT_EQ(folder.read("Tessarin/1-failure-2.mov"), "whole");
}

TEST_F(InterruptedJobTest, WhatIsOnADiskThatIsAwayGoesLater) {
  interrupt(false);
  fs::rename(folder.file("Tessarin"), folder.file("away"));
  EXPECT_EQ(markAfter(), RowMark::waiting);
  fs::rename(folder.file("away"), folder.file("Tessarin"));
  markAfter();
  EXPECT_FALSE(pathExists(own));
  EXPECT_TRUE(found.stores.at(0).jobNumbers().empty());
}

// By a process that was killed between making what it tried with and removing it, and by one that
// lives.
TEST_F(InterruptedJobTest, WhatADestinationWasTriedWithGoes) {
  const std::string place = folder.file("Tessarin");
  const pid_t killed = ::fork();
  if (killed == 0) {
    const auto trial = PrivateFolder::create(PrivateFolder::newPath(place, trialPrefix));
    ::raise(SIGKILL);
  }
  ::waitpid(killed, nullptr, 0);
  const auto isLeft = [&] {
    return std::any_of(fs::directory_iterator(place), {}, [&](const fs::directory_entry& entry) {
      return startsWith(entry.path().filename().native(),
                        std::string(trialPrefix) + std::to_string(killed));
    });
  };
  const std::string owner = "/.owner-" + std::to_string(killed) + "-abcdef";
  for (const std::string& gone : {place + owner, folder.path() + owner})
    ASSERT_TRUE(mkdir(gone));
  const auto kept = PrivateFolder::create(PrivateFolder::newPath(place, trialPrefix));
  mkdir(place + "/_QRdir of mine");
  ASSERT_TRUE(isLeft());
  removeLeftFolders(place);
  EXPECT_FALSE(isLeft());
  for (const std::string& gone : {place + owner, folder.path() + owner})
    EXPECT_FALSE(pathExists(gone)) << gone;
  EXPECT_TRUE(isDirectory(kept.value().path()));
  EXPECT_TRUE(isDirectory(place + "/_QRdir of mine"));
}

TEST_F(InterruptedJobTest, OnlyFoldersOfJobsAreRemoved) {
  for (const char* other :
       {"Tessarin", "Tessarin/.tessarin-1-abcde", "Tessarin/.tessarin-abcdef"}) {
    own = folder.file(other);
    mkdir(own);
    interrupt(false);
    markAfter();
    EXPECT_TRUE(isDirectory(own)) << other;
    found.stores[0].discard();
  }
  EXPECT_EQ(folder.read("Tessarin/1-failure.mov"), "of an earlier time");
}

TEST_F(BatchStoreTest, ThumbnailsOutliveTheirProcess) {
  const std::string picture("\xFF\xD8\xFF a picture\0", 14);
  Row withImage = row("/card/1.mts");
  withImage.source.thumbnail = "/gone/1.jpg";
  abandoned({{}, {{1, withImage, picture}, {2, withImage}}, {}});
  const StoredBatch read = readBack();
  const std::string image = read.rows.at(0).row.thumbnail();
  EXPECT_EQ(parentFolder(image), temporaryFolder());
  EXPECT_EQ(readFileStart(image, 100), picture);
  EXPECT_EQ(read.rows.at(1).row.thumbnail(), "");
  removeFile(image);
}

}  // namespace
}  // namespace tessarin
