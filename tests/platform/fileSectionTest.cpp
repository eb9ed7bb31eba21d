#include <gtest/gtest.h>

#include "platform/fileFacts.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/fileSection.h"

namespace tessarin {
namespace {

TEST(FileSection, HasAPathBelowThatOfItsFile) {
  const FileSection section{"/Bänder 1/a b.c/Sommer '03.dv", 144000, 288001};
  const std::string path = pathOfSection(section, "Sommer-02.dv");
  EXPECT_EQ(path, "/Bänder 1/a b.c/Sommer '03.dv/bytes 144000-288001/Sommer-02.dv");
  EXPECT_EQ(sectionOf(path), section);
  EXPECT_EQ(fileOfSource(path), section.file);
}

TEST(FileSection, OtherPathsAreThoseOfFiles) {
  for (const std::string path :
       {"", "/", "a.dv", "/a.dv", "/a.dv/b.dv", "bytes 0-1/a.dv", "/bytes 0-1/a.dv",
        "/folder/bytes 0-1/a.dv", "/a.dv/bytes 0-1/b.mov", "/a.dv/bytes 0-1/b", "/a.dv/bytes 0-1/",
        "/.dv/bytes 0-1/a.dv", "/a.dv/bytes 1-1/b.dv", "/a.dv/bytes 01-2/b.dv",
        "/a.dv/bytes -1-2/b.dv", "/a.dv/bytes 0-1 /b.dv", "/a.dv/bytes 0-99999999999999999/b.dv",
        "/a.dv/bytes 0-99999999999999999999999/b.dv"}) {
    EXPECT_FALSE(sectionOf(path)) << path;
    EXPECT_EQ(fileOfSource(path), path);
  }
}

TEST(FileSection, IsAsLargeAsWhatIsThereOfIt) {
  const test::ScopedTemporaryFolder folder;
  const std::string file = folder.write("a.dv", std::string(100, 'x'));
  const auto size = [&file](std::uint64_t begin, std::uint64_t end) {
    const auto state = sourceState(pathOfSection({file, begin, end}, "b.dv"));
    return state ? state->size : -1;
  };
  EXPECT_EQ(size(10, 30), 20);
  EXPECT_EQ(size(90, 120), 10);
  EXPECT_EQ(size(100, 120), 0);
  EXPECT_EQ(size(200, 220), 0);
  EXPECT_EQ(sourceState(file), fileState(file));
}

}  // namespace
}  // namespace tessarin
