#include <gtest/gtest.h>

#include "core/BatchFile.h"
#include "encoding/BatchEntry.h"
#include "jobs/newRow.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

class BatchFileTest : public testing::Test {
 protected:
  test::TestBundle bundle;
  test::ScopedTemporaryFolder folder;
  std::string path = folder.file("clips.batch");
};

TEST_F(BatchFileTest, BringsBackRowsAndChoices) {
  StoredBatch batch;
  const Dico choices{{"prefProres", "apch"}};
  batch.settings = {{"choices", choices}, {"replaceFilesCheck", "replace"}, {"front", Dico{}}};
  const Dico info{{"srcPathStr", "/card/\xC9.mts"}, {"v0_fps", 25.0}};
  const auto rowOf = [](const Dico& source, RowMark mark) {
    Row row = newRow(test::sourceOf(source), {outAic, 12, speedHalf});
    row.mark = mark;
    row.movie = mark == RowMark::success ? "/movies/1.mov" : "";
    row.reason = mark == RowMark::success ? "" : "why";
    return row;
  };
  batch.rows = {{4, rowOf(info, RowMark::success)}, {9, rowOf(info, RowMark::current)}};
  batch.rows[0].row.source.thumbnail = "/tmp/1.jpg";
  ASSERT_TRUE(writeBatchFile(path, batch));
  const BatchFile file = readBatchFile(path);
  ASSERT_EQ(file.state, BatchPart::State::good) << file.reason;
  EXPECT_EQ(file.batch.settings, (Dico{{"choices", choices}})) << "a file's own wish to replace";
  ASSERT_EQ(file.batch.rows.size(), 2u);
  EXPECT_EQ(file.batch.rows[0].row, rowOf(info, RowMark::success));
  EXPECT_EQ(file.batch.rows[1].order, 2);
  EXPECT_EQ(file.batch.rows[1].row, rowOf(info, RowMark::waiting));
}

TEST_F(BatchFileTest, WhatIsNoBatchIsRefused) {
  EXPECT_EQ(readBatchFile(path).state, BatchPart::State::missing);
  folder.write("clips.batch", "a text of the user's own");
  EXPECT_EQ(readBatchFile(path).state, BatchPart::State::damaged);
  EXPECT_EQ(readBatchFile(path).reason, localisationString("why_noBatch"));
  // Other property lists, and a row that would be lost when the file is written again.
  for (const Dico& content :
       {Dico{{"rows", List{}}}, Dico{{"formatVersion", 1}, {"rows", List{}}},
        Dico{{"formatVersion", 1}, {"settings", Dico{}}},
        Dico{
            {"formatVersion", 1}, {"settings", Dico{}}, {"rows", List{Value(Dico{{"out", 1}})}}}}) {
    ASSERT_TRUE(writePropertyList(path, content));
    EXPECT_EQ(readBatchFile(path).state, BatchPart::State::damaged) << content.description();
  }
  ASSERT_TRUE(writePropertyList(path, Dico{{"formatVersion", 99}}));
  EXPECT_EQ(readBatchFile(path).state, BatchPart::State::newer);
}

}  // namespace
}  // namespace tessarin
