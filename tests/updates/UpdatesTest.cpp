// The whole way, from the question for a version file to the unpacked folder, with servers that are
// slow, broken or lie.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/UserDomain.h"
#include "support/HttpServer.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/zips.h"
#include "updates/UpdateInterface.h"
#include "updates/Updates.h"
#include "views/QtRunLoop.h"

namespace tessarin {
namespace {

namespace fs = std::filesystem;
using test::HttpAnswer;
using testing::HasSubstr;

std::string sha256Of(const std::string& bytes) {
  return QCryptographicHash::hash(QByteArray::fromStdString(bytes), QCryptographicHash::Sha256)
      .toHex()
      .toStdString();
}

class UpdateWay : public testing::Test {
 protected:
  UpdateWay() {
    settings.address = server.address("/version.json");
    settings.currentVersion = "0.1.0";
    settings.language = "en";
    settings.folder = folder.file("updates");
    offer(archive);
  }

  // The server has this archive and says about it what is true.
  void offer(const std::string& bytes) {
    server.answers["/version.json"] = {versionFile(bytes.size(), sha256Of(bytes))};
    server.answers["/new.zip"] = {bytes};
  }

  static std::string versionFile(std::uint64_t size, const std::string& hash,
                                 const std::string& version = "0.2.0") {
    return fmt::format(
        R"({{"format":1,"version":"{}","address":"new.zip","size":{},"sha256":"{}","notes":"New."}})",
        version, size, hash);
  }

  bool comesTo(UpdateState state) {
    return test::loopUntil(loop, [&] { return updates.state() == state; });
  }

  std::string failure() {
    EXPECT_TRUE(comesTo(UpdateState::failed));
    return updates.reason();
  }

  std::string failureOfLookUp() {
    updates.lookUp();
    return failure();
  }

  void beginDownload() {
    updates.lookUp();
    EXPECT_TRUE(comesTo(UpdateState::available)) << updates.reason();
    updates.download();
  }

  std::string failureOfDownload() {
    beginDownload();
    return failure();
  }

  // What is left of downloads, finished and others.
  std::vector<std::string> kept() const {
    std::vector<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(settings.folder, none))
      names.push_back(entry.path().filename().string());
    return names;
  }

  const std::string archive =
      test::zipOf({{"tessarin.deb", std::string(300'000, 'd')}, {"README", "Install it."}});
  // A proxy would be asked for the loopback, too.
  test::ScopedEnvironment noProxy{"no_proxy", "127.0.0.1"};
  test::TestBundle bundle;
  test::LogCapture log;
  test::ScopedTemporaryFolder folder;
  QtRunLoop loop;
  test::HttpServer server{loop};
  UpdateSettings settings;
  std::vector<std::string> revealed;
  Updates updates{loop, [this] { return settings; }};
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  UpdateInterface interface {
    updates, preferences, [this](const std::string& path) { revealed.push_back(path); }
  };
};

TEST_F(UpdateWay, LeadsToAnUnpackedFolder) {
  interface.iba_updateGo();
  EXPECT_EQ(updates.state(), UpdateState::asking);
  EXPECT_TRUE(interface.bar.isIndeterminate());
  ASSERT_TRUE(comesTo(UpdateState::available)) << updates.reason();
  EXPECT_THAT(interface.headline.text(), HasSubstr("0.2.0"));
  EXPECT_EQ(interface.details.text(), "New.");
  EXPECT_TRUE(interface.bar.isHidden());
  EXPECT_EQ(server.requests, std::vector<std::string>{"/version.json"}) << "nobody asked for more";

  std::vector<double> seen;
  updates.changed.connect([&] { seen.push_back(interface.bar.value()); });
  interface.iba_updateGo();
  EXPECT_FALSE(interface.go.isEnabled());
  ASSERT_TRUE(comesTo(UpdateState::ready)) << updates.reason();
  EXPECT_EQ(updates.path(), settings.folder + "/Tessarin-0.2.0");
  EXPECT_EQ(folder.read("updates/Tessarin-0.2.0/README"), "Install it.");
  EXPECT_EQ(kept(), std::vector<std::string>{"Tessarin-0.2.0"});
  EXPECT_THAT(seen, testing::Each(testing::AllOf(testing::Ge(0), testing::Le(1))));
  interface.iba_updateGo();
  EXPECT_EQ(revealed, std::vector<std::string>{updates.path()});

  // Once more: what is there stays.
  beginDownload();
  ASSERT_TRUE(comesTo(UpdateState::ready));
  EXPECT_EQ(updates.path(), settings.folder + "/Tessarin-0.2.0-2");
}

TEST_F(UpdateWay, EndsWhereNothingIsNewer) {
  for (const char* version : {"0.1", "0.0.9", "0.1.0-beta"}) {
    server.answers["/version.json"] = {versionFile(5, sha256Of(""), version)};
    updates.lookUp();
    EXPECT_TRUE(comesTo(UpdateState::upToDate)) << version;
    updates.download();
    EXPECT_EQ(updates.state(), UpdateState::upToDate);
  }
  EXPECT_THAT(interface.headline.text(), HasSubstr("0.1.0 is the newest"));
}

TEST_F(UpdateWay, AsksNothingWithoutAnAddress) {
  EXPECT_EQ(updateSettings(preferences).address, "") << "a build of its own asks nobody";
  settings.address = "";
  EXPECT_THAT(failureOfLookUp(), HasSubstr("no address is set"));
  settings.address = "file:///etc/passwd";
  EXPECT_THAT(failureOfLookUp(), HasSubstr("file:///etc/passwd"));
  EXPECT_TRUE(server.requests.empty());
}

TEST_F(UpdateWay, IsSilentAtTheStart) {
  int news = 0;
  updates.newsFound.connect([&] { ++news; });

  preferences.prefWrite(PrefKey::update, 0);
  updates.lookUpAtStart(preferences);
  EXPECT_EQ(updates.state(), UpdateState::idle);
  preferences.prefWrite(PrefKey::update, 1);
  settings.address = "";
  updates.lookUpAtStart(preferences);
  EXPECT_EQ(updates.state(), UpdateState::idle);

  settings.address = server.address("/gone.json");
  updates.lookUpAtStart(preferences);
  ASSERT_EQ(updates.state(), UpdateState::asking);
  ASSERT_TRUE(comesTo(UpdateState::idle)) << "a failure shows only to who asked";
  EXPECT_EQ(server.requests.size(), 1u);

  // Somebody asks while the silent look-up is under way.
  updates.lookUpAtStart(preferences);
  updates.lookUp();
  EXPECT_THAT(failure(), HasSubstr("404"));
  EXPECT_EQ(server.requests.size(), 2u);

  settings.address = server.address("/version.json");
  Updates other(loop, [this] { return settings; });
  other.newsFound.connect([&] { ++news; });
  other.lookUpAtStart(preferences);
  EXPECT_TRUE(test::loopUntil(loop, [&] { return news == 1; }));
}

TEST_F(UpdateWay, TellsWhyAskingFailed) {
  const std::pair<const char*, HttpAnswer> answers[] = {
      {"500", {.status = 500}},
      {"204", {.status = 204}},
      {"no version file", {"<html>Welcome to the hotel</html>"}},
      {"more arrives", {std::string(largestVersionFile + 1, ' ')}},
      {"more arrives", {.body = std::string(largestVersionFile + 1, ' '), .tellsLength = false}},
      {"lost before the end", {.body = "{}", .announced = 100}}};
  for (const auto& [reason, answer] : answers) {
    server.answers["/version.json"] = answer;
    EXPECT_THAT(failureOfLookUp(), HasSubstr(reason));
  }
  settings.address = "http://127.0.0.1:1/version.json";
  EXPECT_THAT(failureOfLookUp(), HasSubstr("cannot be reached"));
  settings.address = "https" + server.address("/version.json").substr(4);
  EXPECT_THAT(failureOfLookUp(), HasSubstr("certificate"));
}

TEST_F(UpdateWay, FollowsSomeRedirections) {
  server.answers["/moved.json"] = {.status = 302, .location = "/version.json"};
  settings.address = server.address("/moved.json");
  updates.lookUp();
  EXPECT_TRUE(comesTo(UpdateState::available)) << updates.reason();

  server.answers["/loop.json"] = {.status = 302, .location = "/loop.json"};
  settings.address = server.address("/loop.json");
  EXPECT_THAT(failureOfLookUp(), HasSubstr("without an end"));

  const std::string secret = folder.write("secret", versionFile(5, sha256Of("")));
  server.answers["/file.json"] = {.status = 302, .location = "file://" + secret};
  settings.address = server.address("/file.json");
  EXPECT_THAT(failureOfLookUp(), HasSubstr("file://"));
}

TEST_F(UpdateWay, DoesNotWaitForEver) {
  settings.asking.whole = std::chrono::seconds(1);
  server.answers["/version.json"].isSilent = true;
  EXPECT_THAT(failureOfLookUp(), HasSubstr("does not answer"));

  offer(archive);
  settings.downloading.stalled = std::chrono::seconds(1);
  server.answers["/new.zip"].isSilent = true;
  EXPECT_THAT(failureOfDownload(), HasSubstr("does not answer"));
  EXPECT_TRUE(kept().empty());
}

TEST_F(UpdateWay, TakesOnlyWhatWasAnnounced) {
  std::string changed = archive;
  changed.back() ^= 1;
  const std::pair<const char*, HttpAnswer> answers[] = {
      {"less arrived", {archive.substr(0, 100)}},
      {"lost before the end", {.body = archive, .cutAt = 100}},
      {"less arrived", {.body = archive, .tellsLength = false, .cutAt = 100}},
      {"more arrives", {archive + "!"}},
      {"more arrives", {.body = archive + "!", .tellsLength = false}},
      {"checksum", {changed}}};
  for (const auto& [reason, answer] : answers) {
    server.answers["/new.zip"] = answer;
    EXPECT_THAT(failureOfDownload(), HasSubstr(reason));
  }
  server.answers.erase("/new.zip");
  EXPECT_THAT(failureOfDownload(), HasSubstr("404"));
  EXPECT_TRUE(kept().empty()) << "nothing half stays";
}

TEST_F(UpdateWay, UnpacksNothingThatDoesNotBelong) {
  offer(test::zipOf({{"fine", "x"}, {"../../out", "x"}}));
  EXPECT_THAT(failureOfDownload(), HasSubstr("../../out"));
  EXPECT_FALSE(fs::exists(folder.file("out")));
  offer("an announced file that is no archive");
  EXPECT_THAT(failureOfDownload(), HasSubstr("damaged"));
  EXPECT_TRUE(kept().empty());
  settings.folder = folder.write("a file", "") + "/updates";
  EXPECT_THAT(failureOfDownload(), HasSubstr("cannot be written"));
}

TEST_F(UpdateWay, IsCancelledAtEveryStage) {
  server.answers["/version.json"].isSilent = true;
  updates.lookUp();
  ASSERT_TRUE(test::loopUntil(loop, [&] { return !server.requests.empty(); }));
  interface.iba_updateStop();
  EXPECT_EQ(updates.state(), UpdateState::idle);
  EXPECT_TRUE(test::loopUntil(loop, [&] { return server.open() == 0; })) << "still connected";

  offer(archive);
  server.answers["/new.zip"].pieceSize = 64;
  beginDownload();
  ASSERT_TRUE(test::loopUntil(loop, [&] { return updates.progress() > 0; }));
  updates.lookUp();
  EXPECT_EQ(updates.state(), UpdateState::downloading) << "a download is not disturbed";
  EXPECT_EQ(kept().size(), 1u);
  interface.iba_updateStop();
  EXPECT_EQ(updates.state(), UpdateState::available) << "and can be begun again";
  EXPECT_TRUE(kept().empty());
  EXPECT_TRUE(test::loopUntil(loop, [&] { return server.open() == 0; })) << "still connected";

  server.answers["/new.zip"] = {archive};
  updates.download();
  bool isStopped = false;
  updates.changed.connect([&] {
    if (!isStopped && updates.state() == UpdateState::unpacking) {
      isStopped = true;
      updates.cancel();
    }
  });
  EXPECT_TRUE(comesTo(UpdateState::available));
  EXPECT_TRUE(kept().empty());
  updates.download();
  EXPECT_TRUE(comesTo(UpdateState::ready)) << updates.reason();
}

TEST_F(UpdateWay, LeavesNothingWhenTheProgramEnds) {
  server.answers["/new.zip"].pieceSize = 64;
  {
    Updates short_(loop, [this] { return settings; });
    short_.lookUp();
    ASSERT_TRUE(test::loopUntil(loop, [&] { return short_.state() == UpdateState::available; }));
    short_.download();
    ASSERT_TRUE(test::loopUntil(loop, [&] { return short_.progress() > 0; }));
  }
  EXPECT_TRUE(kept().empty());
  // And what a crash left goes with the next download.
  folder.write("updates/.update-abcdef/archive.zip", "half");
  folder.write("updates/mine.txt", "the user's");
  beginDownload();
  ASSERT_TRUE(comesTo(UpdateState::ready)) << updates.reason();
  EXPECT_THAT(kept(), testing::UnorderedElementsAre("Tessarin-0.2.0", "mine.txt"));
}

}  // namespace
}  // namespace tessarin
