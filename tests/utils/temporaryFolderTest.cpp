#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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
  EXPECT_TRUE(startsWith(folder, fmt::format("{}/Tessarin-{}-", parent_.path(), ::getpid())))
      << folder;
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
  std::filesystem::remove(temporaryFolder());
  EXPECT_TRUE(isDirectory(temporaryFolder())) << "a cleaner took it";
}

TEST_F(TemporaryFolder, fallsBackWhenTmpdirIsOfNoUse) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.file("none"));
  const std::string folder = temporaryFolder();
  EXPECT_TRUE(startsWith(folder, "/tmp/Tessarin-")) << folder;
  EXPECT_TRUE(isDirectory(folder));
  EXPECT_TRUE(log_.mentions(parent_.file("none")));
}

// The number of a process that has ended.
pid_t endedProcess() {
  const pid_t child = ::fork();
  if (child == 0)
    ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

TEST_F(TemporaryFolder, clearsAwayWhatCrashedProcessesLeft) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.path());
  const pid_t ended = endedProcess();
  const auto name = [](pid_t process, const char* rest) {
    return fmt::format("Tessarin-{}-{}", process, rest);
  };
  const std::string kept = parent_.write("kept/file", "");
  parent_.write(name(ended, "aaaaaa") + "/frame.yuv", "stale");
  std::filesystem::create_directory_symlink(parent_.file("kept"),
                                            parent_.file(name(ended, "aaaaaa")) + "/link");
  std::filesystem::create_directory_symlink(parent_.file("kept"),
                                            parent_.file(name(ended, "bbbbbb")));
  parent_.write(name(::getppid(), "cccccc") + "/frame.yuv", "of a process that runs");
  parent_.write(name(ended, "long-er") + "/file", "of somebody else");
  parent_.write(name(ended, "dddddd"), "no folder");
  parent_.write("Tessarin-x-eeeeee/file", "no number");
  // Of a process in a container that shares the folder: its number says nothing here.
  parent_.write(name(ended, "ffffff") + "/frame.yuv", "in use");
  const int lock = ::open(parent_.file(name(ended, "ffffff")).c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);

  const std::string foreign = name(ended, "gggggg");
  parent_.write(foreign + "/file", "of another user");
  const bool isForeign = ::chown(parent_.file(foreign).c_str(), 1, 1) == 0;  // as root only

  temporaryFolder();
  EXPECT_FALSE(pathExists(parent_.file(name(ended, "aaaaaa"))));
  for (const std::string& left :
       {std::string("kept/file"), name(ended, "bbbbbb"), name(::getppid(), "cccccc"),
        name(ended, "long-er"), name(ended, "dddddd"), std::string("Tessarin-x-eeeeee"),
        name(ended, "ffffff")})
    EXPECT_TRUE(pathExists(parent_.file(left))) << left;
  EXPECT_EQ(pathExists(parent_.file(foreign)), isForeign);
  ::close(lock);
}

TEST_F(TemporaryFolder, isLockedWhileItIsInUse) {
  const test::ScopedEnvironment temporary("TMPDIR", parent_.path());
  const int other = ::open(temporaryFolder().c_str(), O_RDONLY | O_DIRECTORY);
  EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), -1);
  ::close(other);
}

}  // namespace
}  // namespace tessarin
