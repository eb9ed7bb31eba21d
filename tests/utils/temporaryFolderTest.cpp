#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "classShared/TextAdditions.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

class TemporaryFolder : public testing::Test {
 protected:
  ~TemporaryFolder() override { removeTemporaryFolder(); }

  test::ScopedTemporaryFolder parent_;
  test::LogCapture log_;
};

TEST_F(TemporaryFolder, isMadeOnceForThisUserAlone) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.path());
  const std::string folder = temporaryFolder();
  EXPECT_TRUE(startsWith(folder, parent_.path() + "/Tessarin-")) << folder;
  struct stat status = {};
  ASSERT_EQ(::stat(folder.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  EXPECT_EQ(temporaryFolder(), folder);
}

TEST_F(TemporaryFolder, goesWithItsContentButNotWithWhatLinksLeadTo) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.path());
  const std::string kept = parent_.write("kept/file", "");
  const std::string folder = temporaryFolder();
  ASSERT_TRUE(mkdir(folder + "/a/b"));
  std::filesystem::create_directory_symlink(parent_.file("kept"), folder + "/a/link");
  removeTemporaryFolder();
  EXPECT_FALSE(pathExists(folder));
  EXPECT_TRUE(pathExists(kept));
  removeTemporaryFolder();
  EXPECT_TRUE(isDirectory(temporaryFolder())) << "another one on the next use";
}

TEST_F(TemporaryFolder, isMadeAnewWhenACleanerTookIt) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.path());
  std::filesystem::remove(temporaryFolder());
  EXPECT_TRUE(isDirectory(temporaryFolder()));
}

TEST_F(TemporaryFolder, fallsBackWhenTmpdirIsOfNoUse) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.file("none"));
  const std::string folder = temporaryFolder();
  EXPECT_TRUE(startsWith(folder, "/tmp/Tessarin-")) << folder;
  EXPECT_TRUE(isDirectory(folder));
  EXPECT_TRUE(log_.mentions(parent_.file("none")));
}

}  // namespace
}  // namespace tessarin
