#include <gtest/gtest.h>

#include "encoding/naming.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

TEST(Titles, loseTheirEndings) {
  EXPECT_EQ(pathes2Titles("/a/Holiday-PAL.mov"), "Holiday");
  EXPECT_EQ(pathes2Titles("/a/A-NV-NV.mov"), "A") << "cut at the first one";
  EXPECT_EQ(pathes2Titles("/a/A-NV-PAL.mov"), "A") << "one after the other";
  EXPECT_EQ(pathes2Titles("/a/A-PAL-NV.mov"), "A-PAL") << "in their order, each once";
  EXPECT_EQ(pathes2Titles("/a/A-NV b.mov"), "A-NV b");
  EXPECT_EQ(pathes2Titles("/a/Trip_x-PAL.mov", {"-PAL", "_x"}), "Trip");
  EXPECT_EQ(pathes2Titles("/a/Trip.mov", {""}), "Trip");
  EXPECT_EQ(pathes2Titles("/a/-PAL.mov"), "-PAL") << "never empty";
  EXPECT_EQ(pathes2Titles("/a/100% Été.MTS"), "100% Été");
  EXPECT_EQ(pathes2Titles(""), "");
}

TEST(Titles, loseBlanksAtTheirEnds) {
  EXPECT_EQ(pathes2Titles("Trip  x .mov"), "Trip");
  EXPECT_EQ(pathes2Titles("  Trip.mov"), "Trip");
  EXPECT_EQ(pathes2Titles("Kölné .mov"), "Köln") << "the character before the blank, whole";
  EXPECT_EQ(pathes2Titles(std::string(12, ' ') + "x.mov"), "  x") << "ten rounds and no more";
  EXPECT_EQ(pathes2Titles("   .mov"), "   ");
}

TEST(MasterPath, keepsShortPathsAndCutsOthers) {
  EXPECT_EQ(masterPathStr("/a/clip.mov"), "/a/clip_MASTER.mov");
  EXPECT_EQ(masterPathStr("/a/my.clip.mov"), "/a/my.clip_MASTER.mov");
  EXPECT_EQ(masterPathStr("/deep/folder.x/of/movies/my.holiday.clip.mov"),
            "/deep/folder.x/of/movies/my_holiday_clip_MASTER.mov");
  EXPECT_EQ(masterPathStr("/deep/folder/of/movies/" + std::string(19, 'n') + ".second.mov"),
            "/deep/folder/of/movies/" + std::string(19, 'n') + "__MASTER.mov");
  EXPECT_EQ(masterPathStr("/deep/folder/of/movies/a:b`c"), "/deep/folder/of/movies/a-bc_MASTER");
  // 27 characters with "_MASTER", then 28.
  EXPECT_EQ(masterPathStr("/a.b/" + std::string(13, 'n') + "`" + "x.mov"),
            "/a.b/" + std::string(13, 'n') + "`x_MASTER.mov");
  EXPECT_EQ(masterPathStr("/a.b/" + std::string(14, 'n') + "`" + "x.mov"),
            "/a.b/" + std::string(14, 'n') + "x_MASTER.mov");
}

TEST(FolderWritable, isTriedAndLeavesNothingBehind) {
  const test::ScopedTemporaryFolder folder;
  const test::LogCapture log(false);
  EXPECT_TRUE(isFolderWritable(folder.path()).ok());
  EXPECT_TRUE(log.has("droitsAcces         ? 1 (" + folder.path() + ")"));
  const std::string file = folder.write("file.mov", "");
  EXPECT_TRUE(isFolderWritable(file).ok()) << "the folder of a file";
  EXPECT_EQ(lsCocoa(folder.path())->size(), 1U);
  EXPECT_EQ(isFolderWritable(file + "/below").reason(), systemReason(ENOTDIR));
  EXPECT_TRUE(log.has("droitsAcces         ? 0 (" + file + ")"));
}

}  // namespace
}  // namespace tessarin
