#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

class FileMoving : public testing::Test {
 protected:
  test::ScopedTemporaryFolder folder_;
  test::LogCapture log_{false};
};

TEST_F(FileMoving, replacesOnlyWithExactlyY) {
  const std::string from = folder_.write("from", "new");
  const std::string to = folder_.write("to", "old");
  for (const char* option : {"-y", "", "Y", "yes", "n"}) {
    EXPECT_FALSE(moveFile(from, to, option)) << option;
    EXPECT_EQ(folder_.read("from"), "new") << option;
    EXPECT_EQ(folder_.read("to"), "old") << option;
  }
  EXPECT_FALSE(moveFile(from, to, std::nullopt));
  EXPECT_TRUE(log_.mentions(to));
  EXPECT_TRUE(moveFile(from, to, "y"));
  EXPECT_EQ(folder_.read("to"), "new");
  EXPECT_FALSE(pathExists(from));
}

TEST_F(FileMoving, refusesAMissingSourceAndKeepsTheDestination) {
  const std::string to = folder_.write("to", "old");
  EXPECT_FALSE(moveFile(folder_.file("none"), to, "y"));
  EXPECT_TRUE(log_.mentions(folder_.file("none")));
  EXPECT_FALSE(moveFile("", to, "y"));
  EXPECT_FALSE(moveFile(to, "", "y"));
  EXPECT_FALSE(moveFile(to, folder_.file("no folder/file"), "y"));
  EXPECT_EQ(folder_.read("to"), "old");
}

TEST_F(FileMoving, neverLosesAFileThatIsMovedOntoItself) {
  const std::string file = folder_.write("file", "content");
  EXPECT_TRUE(moveFile(file, folder_.path() + "/./file", "y"));
  EXPECT_EQ(folder_.read("file"), "content");
  std::filesystem::create_hard_link(file, folder_.file("other name"));
  EXPECT_TRUE(moveFile(file, folder_.file("other name"), "y"));
  EXPECT_FALSE(pathExists(file));
  EXPECT_EQ(folder_.read("other name"), "content");
}

TEST_F(FileMoving, movesFoldersButNeverOverAFullOne) {
  folder_.write("from/a", "a");
  folder_.write("full/b", "b");
  EXPECT_FALSE(moveFile(folder_.file("from"), folder_.file("full"), "y"));
  EXPECT_FALSE(moveFile(folder_.write("file", ""), folder_.file("full"), "y"));
  EXPECT_EQ(folder_.read("full/b"), "b");
  EXPECT_EQ(folder_.read("from/a"), "a");
  std::filesystem::create_directory(folder_.file("empty"));
  EXPECT_TRUE(moveFile(folder_.file("from"), folder_.file("empty"), "y"));
  EXPECT_EQ(folder_.read("empty/a"), "a");
}

TEST_F(FileMoving, copiesAcrossFileSystems) {
  struct stat here = {};
  struct stat there = {};
  if (::stat(folder_.path().c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 ||
      here.st_dev == there.st_dev || ::access("/dev/shm", W_OK) != 0)
    GTEST_SKIP() << "/dev/shm is no other file system";
  const test::ScopedEnvironment temporary("TMPDIR", "/dev/shm");
  const test::ScopedTemporaryFolder other;
  const std::string from = folder_.write("from", std::string(300000, 'x'));
  ASSERT_EQ(::chmod(from.c_str(), 0604), 0);
  const timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
  ASSERT_EQ(::utimensat(0, from.c_str(), times, 0), 0);
  EXPECT_FALSE(moveFile(from, other.write("to", "old"), "n"));
  EXPECT_TRUE(moveFile(from, other.file("to"), "y"));
  EXPECT_FALSE(pathExists(from));
  EXPECT_EQ(other.read("to"), std::string(300000, 'x'));
  struct stat moved = {};
  ASSERT_EQ(::stat(other.file("to").c_str(), &moved), 0);
  EXPECT_EQ(moved.st_mode & 07777U, 0604U);
  EXPECT_EQ(moved.st_mtim.tv_sec, 1000000000);
  EXPECT_EQ(lsCocoa(other.path())->size(), 1U) << "no temporary file stays";

  folder_.write("folder/file", "");
  EXPECT_FALSE(moveFile(folder_.file("folder"), other.file("folder"), "y"));
  EXPECT_TRUE(pathExists(folder_.file("folder/file")));
  EXPECT_EQ(lsCocoa(other.path())->size(), 1U);
}

TEST_F(FileMoving, removesOneThingAndNeverMore) {
  EXPECT_TRUE(removeFile(folder_.write("file", "")));
  EXPECT_FALSE(removeFile(folder_.file("file"))) << "gone already";
  folder_.write("full/file", "");
  EXPECT_FALSE(removeFile(folder_.file("full")));
  EXPECT_TRUE(log_.mentions(folder_.file("full")));
  std::filesystem::create_directory_symlink("full", folder_.file("link"));
  EXPECT_TRUE(removeFile(folder_.file("link")));
  EXPECT_TRUE(pathExists(folder_.file("full/file")));
  std::filesystem::create_symlink("nowhere", folder_.file("dangling"));
  EXPECT_TRUE(removeFile(folder_.file("dangling")));
  EXPECT_FALSE(removeFile(""));
  EXPECT_FALSE(removeFile("/"));
  std::filesystem::create_directory(folder_.file("home"));
  const test::ScopedEnvironment home("HOME", folder_.file("home"));
  EXPECT_FALSE(removeFile("~"));
  EXPECT_TRUE(isDirectory(folder_.file("home")));
  EXPECT_TRUE(mkdir("~/empty"));
  EXPECT_TRUE(removeFile("~/empty"));
}

}  // namespace
}  // namespace tessarin
