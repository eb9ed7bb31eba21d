#include "CoreFixture.h"
#include "core/BatchTable.h"
#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "prefs/utilsAlert.h"
#include "support/sources.h"

namespace tessarin {
namespace {

class BatchTableTest : public test::CoreFixture {
 protected:
  // Rows of full-HD clips of 25 pictures a second.
  void rows(int count) {
    for (int number = 1; number <= count; ++number) {
      const std::string path = folder.write(std::to_string(number) + ".jpg", "thumbnail");
      const Dico info{{"v0_width", 1920},
                      {"v0_height", 1080},
                      {"v0_fps", 25.0},
                      {"v0_fields", "PFF"},
                      {"srcPathStr", "/card/" + std::to_string(number) + ".mts"}};
      Source source = test::sourceOf(info);
      source.thumbnail = path;
      table.append(newRow(source, {outProres, 10, speedKeep}));
    }
  }
  std::vector<std::string> paths() {
    std::vector<std::string> list;
    for (int row = 0; row < table.count(); ++row) {
      list.push_back(table.sourcePath(row));
      EXPECT_EQ(table.rowOfSource(list.back()), row);
    }
    return list;
  }

  BatchTable& table = app.table();
};

TEST_F(BatchTableTest, ARemovedRowLeavesTheOthersInOrder) {
  rows(4);
  table.select(1);
  table.encBatchRemove(true);
  EXPECT_EQ(paths(), (std::vector<std::string>{"/card/1.mts", "/card/3.mts", "/card/4.mts"}));
  EXPECT_FALSE(pathExists(folder.file("2.jpg"))) << "its thumbnail";
  EXPECT_EQ(table.rowOfSource("/card/2.mts"), -1);
  EXPECT_EQ(table.selectedRow(), -1);
  table.encBatchRemove(true);  // nothing is selected
  EXPECT_EQ(table.count(), 3);
}

TEST_F(BatchTableTest, TheRowInProgressIsNeverRemoved) {
  rows(3);
  table.setInProgress({"/card/2.mts"});
  table.select(1);
  table.encBatchRemove(true);
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].message, localisationString("D_batch_1"));
  EXPECT_EQ(table.count(), 3);

  // The user thinks better of it, and then not.
  alerts.answers = {{0, false}, {1, false}};
  table.encBatchRemoveAll(true);
  EXPECT_EQ(table.count(), 3);
  table.encBatchRemoveAll(true);
  EXPECT_EQ(paths(), std::vector<std::string>{"/card/2.mts"});
}

TEST_F(BatchTableTest, SizesAreColouredByWhatSourceAndApplicationTake) {
  rows(1);
  app.interface.editingSoft.select(0);  // takes 720p and HDV alone
  const auto items = table.sizeItems(0);
  ASSERT_EQ(items.size(), presetSizesList(false).size());
  EXPECT_EQ(items[7].colour, "green");
  EXPECT_EQ(items[5].colour, "black");
  EXPECT_EQ(items[10].colour, "red");
  EXPECT_EQ(items[10].background, "silver");
}

TEST_F(BatchTableTest, AChangeOfSizeOrApplicationIsRemembered) {
  rows(1);
  table.set(0, &Row::choice, {outProres, 0, speedKeep});
  ASSERT_TRUE(table.iba_outSpeedCell(0));
  EXPECT_EQ(table.row(0).choice.sizeOut, 10);
  EXPECT_EQ(table.source(0).sizeOutPrevious, 10);
  EXPECT_EQ(table.source(0).softPrevious, 2);
  // Two pictures for each that there is cannot be had: the other family of rates takes over.
  table.set(0, &Row::choice, {outProres, 11, speedKeep});
  ASSERT_TRUE(table.iba_outSpeedCell(0));
  EXPECT_EQ(table.row(0).choice.sizeOut, 10);
}

}  // namespace
}  // namespace tessarin
