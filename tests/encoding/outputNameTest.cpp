#include <gtest/gtest.h>

#include "classShared/TextAdditions.h"
#include "encoding/BatchEntry.h"
#include "encoding/naming.h"
#include "encoding/outputName.h"
#include "support/LogCapture.h"
#include "support/sources.h"

namespace tessarin {
namespace {

TEST(OutputName, IsThatOfTheSourceAndSharedByNone) {
  const std::pair<const char*, const char*> outputs[] = {
      {"/a/Été à Köln.MTS", "/out/Été à Köln.mov"},
      {"/a/50% of.it.mts", "/out/50% of.it.mov"},
      {"/a/.hidden.mts", "/out/_hidden.mov"},
      {"/card1/00000.MTS", "/out/00000.mov"},
      {"/card2/00000.MTS", "/out/00000-2.mov"},
      {"/card3/00000.MTS", "/out/00000-3.mov"},
      {"/card1/00000.MTS", "/out/00000.mov"},
      {"/a/Clip.MTS", "/out/Clip.mov"},
      {"/a/CLIP.MTS", "/out/CLIP-2.mov"}};
  OutputNames taken;
  for (const auto& [source, output] : outputs)
    EXPECT_EQ(outputPath(test::sourceOf({{"srcPathStr", source}}), outProres, "/out", taken, {}),
              output);
}

// Whatever a source is called, its movie and what is written on the way to it lie in the folder.
TEST(OutputName, StaysInTheFolderAndShortEnoughForItsEndings) {
  const test::LogCapture log;
  std::string wide;
  while (wide.size() < 245)
    wide += "é夏";
  const std::string folder = "/a/folder/that/is/deep/enough/Tessarin";
  for (const std::string& name :
       {std::string("`.mov"), std::string("``````````````````````.MTS"), std::string(".mov"),
        std::string("..mov"), std::string("....mts"), std::string("x...mts"), std::string(" .MTS"),
        std::string("  .MTS"), std::string("-PAL.mov"), std::string("-x.MTS"),
        std::string("%d.mts"), std::string("a\nb.mts"), std::string("NAME-failure.mov"),
        std::string(":.mts"), std::string("\xff\xfe.mts"), std::string(251, 'n') + ".mts",
        std::string(251, '\xff') + ".mts", wide + ".mts", std::string(255, '.')})
    for (const Target target : {outProres, outAic}) {
      OutputNames taken;
      const std::string output =
          outputPath(test::sourceOf({{"srcPathStr", "/gone/" + name}}), target, folder, taken, {});
      for (const std::string& path : {output, masterPathStr(output)}) {
        const std::string last = fileName(path);
        EXPECT_EQ(parentFolder(path), folder) << name;
        EXPECT_EQ(path, folder + "/" + last) << name;
        EXPECT_TRUE(last.size() > 4 && last.ends_with(".mov") && last.front() != '.') << path;
        EXPECT_LE(last.size() + std::string("-failure-99").size(), 255u) << name;
      }
      EXPECT_NE(masterPathStr(output), output);
    }
}

TEST(OutputFolder, IsCalledAfterTheProgramOnce) {
  EXPECT_EQ(outputFolder("/movies"), "/movies/Tessarin");
  EXPECT_EQ(outputFolder("/movies/Tessarin"), "/movies/Tessarin");
  EXPECT_EQ(outputFolder("/movies/Tessarin/"), "/movies/Tessarin/");
}

}  // namespace
}  // namespace tessarin
