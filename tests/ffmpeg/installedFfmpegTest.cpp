#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "ffmpeg/installedFfmpeg.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

using testing::HasSubstr;

struct InstalledFfmpeg : testing::Test {
  std::string program(const std::string& name, mode_t mode = 0755) const {
    std::string path = folder.write(name, "#!/bin/sh\n");
    ::chmod(path.c_str(), mode);
    return path;
  }
  std::string found(const std::string& setting, const std::string& searchPath,
                    std::vector<FileIdentity> adapters = {}) const {
    const Outcome<std::string> ffmpeg = findFfmpeg({setting, searchPath, std::move(adapters)});
    return ffmpeg.ok() ? ffmpeg.value() : "failure: " + ffmpeg.reason();
  }

  test::ScopedTemporaryFolder folder;
};

TEST_F(InstalledFfmpeg, IsTheFirstProgramOfTheSearchPath) {
  program("noRight/ffmpeg", 0644);
  std::filesystem::create_directories(folder.file("isFolder/ffmpeg"));
  const std::string first = program("first/ffmpeg");
  program("second/ffmpeg");
  const std::string path = folder.file("missing") + "::.:" + folder.file("noRight") + ":" +
                           folder.file("isFolder") + ":" + folder.file("first") + ":" +
                           folder.file("second") + ":";
  EXPECT_EQ(found("", path), first);
}

TEST_F(InstalledFfmpeg, IsNeverTheAdapterItselfByWhateverName) {
  const std::string adapter = program("tools/ffmpeg");
  const std::string real = program("bin/ffmpeg");
  std::filesystem::create_directories(folder.file("linked"));
  std::filesystem::create_symlink(adapter, folder.file("linked/ffmpeg"));
  const FileIdentity own = fileIdentity(adapter).value_or(FileIdentity{});
  const std::string path = folder.file("tools") + ":" + folder.file("linked");
  EXPECT_EQ(found("", path + ":" + folder.file("bin"), {own}), real);
  EXPECT_EQ(found("", path, {own}), "failure: " + noFfmpegMessage());
  EXPECT_THAT(found(folder.file("linked/ffmpeg"), folder.file("bin"), {own}),
              HasSubstr("linked/ffmpeg"));
}

TEST_F(InstalledFfmpeg, IsWhatTheSettingNamesOrNothing) {
  const std::string other = program("opt/ffmpeg-7");
  program("bin/ffmpeg");
  EXPECT_EQ(found(other, folder.file("bin")), other);
  EXPECT_EQ(found("ffmpeg-7", folder.file("bin") + ":" + folder.file("opt")), other);
  for (const std::string& wrong :
       {folder.file("opt/gone"), folder.file("opt"), std::string("gone")})
    EXPECT_THAT(found(wrong, folder.file("bin")),
                AllOf(HasSubstr("\"" + wrong + "\""), HasSubstr("package \"ffmpeg\"")));
}

}  // namespace
}  // namespace tessarin
