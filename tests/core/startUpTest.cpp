#include <gmock/gmock.h>

#include "core/startUp.h"
#include "platform/Bundle.h"
#include "process/logs.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

TEST(StartUp, TheLogsOfTheRunBeforeAreKeptAndNewOnesBegun) {
  const test::ScopedTemporaryFolder home;
  const test::ScopedEnvironment environment("HOME", home.path());
  const test::TestBundle bundle;
  const test::LogCapture log;
  const std::string logs = "Library/Logs/Tessarin/";
  rotateLogs();  // makes the folder
  EXPECT_THAT(home.read(logs + "Resume.log"), testing::HasSubstr("start date    : "));
  home.write(logs + "Details.log", "new");
  home.write(logs + "Previous-Details.log", "old");
  rotateLogs();
  EXPECT_EQ(home.read(logs + "Previous-Details.log"), "new");
  EXPECT_THAT(home.read(logs + "Previous-Resume.log"), testing::HasSubstr("start date"));
}

TEST(StartUp, AMissingFfmpegIsToldInTheLanguageOfTheUser) {
  const test::TestBundle bundle("de");
  {
    const test::ScopedEnvironment setting("TESSARIN_FFMPEG", "/nowhere/ffmpeg");
    EXPECT_THAT(chooseFfmpeg("").value_or(""), testing::StartsWith("„/nowhere/ffmpeg“ ist"));
  }
  const test::ScopedEnvironment setting("TESSARIN_FFMPEG", "");
  EXPECT_FALSE(chooseFfmpeg(""));
  const test::ScopedEnvironment path("PATH", "/nowhere");
  EXPECT_THAT(chooseFfmpeg("").value_or(""), testing::HasSubstr("kein ffmpeg"));
}

}  // namespace
}  // namespace tessarin
