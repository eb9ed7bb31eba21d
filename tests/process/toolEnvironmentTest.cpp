#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "process/toolEnvironment.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

using testing::Contains;
using testing::StartsWith;

class ToolEnvironmentTest : public testing::Test {
 protected:
  ~ToolEnvironmentTest() override { setWorkFolderPath(std::nullopt); }

  const test::TestBundle bundle_;
  const test::ScopedTemporaryFolder folder_;
};

TEST_F(ToolEnvironmentTest, theToolsEntriesReplaceThoseOfTheApplication) {
  const test::ScopedEnvironment home("HOME", folder_.path());
  const test::ScopedEnvironment language("LC_CTYPE", "fr_FR.UTF-8");
  const test::ScopedEnvironment similar("LC_CTYPES", "kept");
  const test::ScopedEnvironment fonts("FONTCONFIG_PATH", "/etc/fonts");
  setWorkFolderPath(folder_.file("work"));
  std::vector<std::string> environment = toolEnvironment();
  EXPECT_THAT(environment, Contains("LC_CTYPE=en_US.UTF-8").Times(1));
  EXPECT_THAT(environment, Contains(StartsWith("LC_CTYPE=")).Times(1));
  EXPECT_THAT(environment, Contains("LC_CTYPES=kept"));
  EXPECT_THAT(environment, Contains("HOME=" + folder_.path()));
  // There are no fonts of the application's own: a tool takes those of the system.
  EXPECT_THAT(environment, Contains("FONTCONFIG_PATH=/etc/fonts"));
  EXPECT_THAT(environment, Contains(StartsWith("FONTCONFIG_FILE=")).Times(0));

  const std::string file = "Library/Application Support/" + Bundle::main().name() + "/fonts.conf";
  folder_.write(file, "");
  const std::string place = "work/app.app/Contents/Resources/fonts";
  folder_.write(place + "/one.ttf", "");
  environment = toolEnvironment();
  EXPECT_THAT(environment, Contains("FONTCONFIG_FILE=" + folder_.file(file)));
  EXPECT_THAT(environment, Contains(StartsWith("FONTCONFIG_PATH=")).Times(1));
  EXPECT_THAT(environment, Contains("FONTCONFIG_PATH=" + folder_.file(place)));
}

TEST_F(ToolEnvironmentTest, theWorkingFolderIsPrivateAndLeadsToTheResources) {
  setWorkFolderPath(folder_.file("new/work"));
  const auto tools = [] { return std::filesystem::read_symlink(workToolsFolder()).string(); };
  ASSERT_TRUE(prepareWorkFolder(Bundle::main()));
  EXPECT_EQ(tools(), Bundle::main().resourcePath() + "/tools");
  struct stat status {};
  ASSERT_EQ(::stat(folder_.file("new/work").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);

  // What an earlier run left is used again: opened to others, and leading to an old place.
  ::chmod(folder_.file("new/work").c_str(), 0777);
  ::unlink(workToolsFolder().c_str());
  ASSERT_EQ(::symlink("/old/tools", workToolsFolder().c_str()), 0);
  ASSERT_TRUE(prepareWorkFolder(Bundle::main()));
  EXPECT_EQ(tools(), Bundle::main().resourcePath() + "/tools");
  ASSERT_EQ(::stat(folder_.file("new/work").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(ToolEnvironmentTest, aWorkingFolderThatIsNotOursIsRefused) {
  const auto reason = [this](const std::string& name) {
    setWorkFolderPath(folder_.file(name));
    const Outcome<void> prepared = prepareWorkFolder(Bundle::main());
    return prepared ? std::string() : prepared.reason();
  };
  // A link that somebody laid in its place, a file, and a folder of another user.
  ASSERT_EQ(::symlink("/tmp", folder_.file("link").c_str()), 0);
  EXPECT_EQ(reason("link"), "'" + folder_.file("link") + "': Not a directory");
  folder_.write("file", "");
  EXPECT_EQ(reason("file"), "'" + folder_.file("file") + "': Not a directory");
  if (::geteuid() == 0) {  // only root can give a folder away
    std::filesystem::create_directory(folder_.file("theirs"));
    ASSERT_EQ(::chown(folder_.file("theirs").c_str(), 12345, 12345), 0);
    EXPECT_EQ(reason("theirs"), "'" + folder_.file("theirs") + "': Operation not permitted");
  }
}

}  // namespace
}  // namespace tessarin
