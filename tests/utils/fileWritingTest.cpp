#include <fcntl.h>
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

class FileWriting : public testing::Test {
 protected:
  std::size_t entryCount() const {
    const auto entries = lsCocoa(folder_.path());
    return entries ? entries->size() : 0;
  }
  static mode_t permissions(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
  }

  test::ScopedTemporaryFolder folder_;
  test::LogCapture log_{false};
};

TEST_F(FileWriting, makesFoldersWithThoseAbove) {
  const mode_t before = ::umask(0027);
  EXPECT_TRUE(mkdir(folder_.file("a/b\n%s/c/")));
  ::umask(before);
  EXPECT_EQ(permissions(folder_.file("a")), 0750U);
  EXPECT_EQ(permissions(folder_.file("a/b\n%s/c")), 0750U);
  EXPECT_TRUE(mkdir(folder_.file("a"))) << "there already";
  std::filesystem::create_symlink(folder_.file("a"), folder_.file("link"));
  EXPECT_TRUE(mkdir(folder_.file("link")));
  EXPECT_TRUE(mkdir(folder_.file("link/d")));
  EXPECT_TRUE(isDirectory(folder_.file("a/d")));
  const test::ScopedEnvironment home("HOME", folder_.path());
  EXPECT_TRUE(mkdir("~/in home"));
  EXPECT_TRUE(isDirectory(folder_.file("in home")));
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(FileWriting, refusesAHomeThatNobodyKnows) {
  const std::string below = "~/nobody-tessarin";
  const test::ScopedEnvironment home("HOME", "~");  // as if there were none: "~" stays
  EXPECT_FALSE(mkdir(below));
  EXPECT_FALSE(appendTextToFile(below, "x", false));
  EXPECT_FALSE(writeFileAtomically(below, "x"));
}

TEST_F(FileWriting, normalisesLineEnds) {
  const std::string file = folder_.write("file", "something longer than the new text");
  EXPECT_TRUE(ecritureFichier(file, "a\r\nb\rc\n\r\r\nd", 7));
  EXPECT_EQ(folder_.read("file"), "a\nb\nc\n\n\nd");
  EXPECT_TRUE(log_.has("7"));
  EXPECT_TRUE(ecritureFichier(file, ""));
  EXPECT_EQ(folder_.read("file"), "");
}

TEST_F(FileWriting, tellsWhyATextCannotBeWritten) {
  const std::string file = folder_.file("no folder/file %d");
  EXPECT_FALSE(ecritureFichier(file, "text"));
  EXPECT_TRUE(log_.has("Error writing file at " + file + "\nNo such file or directory"));
  EXPECT_FALSE(ecritureFichier("", "text"));
  EXPECT_FALSE(ecritureFichier(folder_.file("file"), std::nullopt));
  EXPECT_EQ(entryCount(), 0U);
  EXPECT_FALSE(ecritureFichier("/dev/full", "text")) << "no room, told only when writing";
}

TEST_F(FileWriting, replacesAtomicallyAndKeepsPermissionsAndLinks) {
  const std::string file = folder_.write("preferences", "old");
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  std::filesystem::create_symlink("preferences", folder_.file("link"));
  // Whoever has the old file open keeps reading it whole.
  const int reader = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_TRUE(writeFileAtomically(folder_.file("link"), "new").ok());
  char old[4] = {};
  EXPECT_EQ(::read(reader, old, 3), 3);
  ::close(reader);
  EXPECT_STREQ(old, "old");
  EXPECT_EQ(folder_.read("preferences"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(folder_.file("link")));
  EXPECT_EQ(permissions(file), 0640U);
  EXPECT_EQ(entryCount(), 2U) << "no temporary file stays";
  EXPECT_TRUE(writeFileAtomically(folder_.file("first"), "").ok());
  EXPECT_TRUE(pathExists(folder_.file("first")));
}

TEST_F(FileWriting, leavesNothingBehindWhenItCannotReplace) {
  ASSERT_TRUE(mkdir(folder_.file("folder")));
  const auto refused = writeFileAtomically(folder_.file("folder"), "text");
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.reason(), folder_.file("folder") + ": Is a directory");
  EXPECT_EQ(entryCount(), 1U);
  EXPECT_FALSE(writeFileAtomically(folder_.file("none/file"), "text").ok());
  EXPECT_FALSE(writeFileAtomically("", "text").ok());
}

}  // namespace
}  // namespace tessarin
