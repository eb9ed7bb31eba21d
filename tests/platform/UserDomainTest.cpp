#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/PollRunLoop.h"
#include "platform/UserDomain.h"
#include "platform/propertyList.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

using testing::HasSubstr;

class FileUserDomainTest : public testing::Test {
 protected:
  Dico stored() const {
    const auto read = readPropertyList(path_);
    return read && read.value().dico() ? *read.value().dico() : Dico();
  }
  void putAsFile(const Value& value) {
    const auto bytes = serializedPropertyList(value);
    ASSERT_TRUE(bytes);
    folder_.write("deep/preferences.plist", bytes.value());
  }

  test::LogCapture log_;
  test::ScopedTemporaryFolder folder_;
  std::string path_ = folder_.file("deep/preferences.plist");
};

TEST_F(FileUserDomainTest, KeepsValuesFromOneRunToTheNext) {
  {
    FileUserDomain domain(path_, nullptr);
    EXPECT_EQ(domain.problem(), "");
    EXPECT_EQ(domain.read("prefSpeed"), nullptr);
    domain.write("prefSpeed", 2);
    domain.write("job", Dico{{"srcPathStr", "/é.MTS"}});
    domain.write("gone", 1);
    domain.remove("gone");
  }
  FileUserDomain next(path_, nullptr);
  EXPECT_EQ(next.problem(), "");
  ASSERT_TRUE(next.read("prefSpeed"));
  EXPECT_EQ(next.read("prefSpeed")->integer(), 2);
  EXPECT_EQ(next.read("job")->dico()->text("srcPathStr"), "/é.MTS");
  EXPECT_EQ(next.read("gone"), nullptr);
}

TEST_F(FileUserDomainTest, WritesByItselfSoonAfterAChangeAndOnlyThen) {
  PollRunLoop loop;
  FileUserDomain domain(path_, &loop);
  domain.write("a", 1);
  domain.write("b", 2);
  EXPECT_TRUE(stored().empty()) << "not once per key";
  ASSERT_TRUE(test::loopUntil(loop, [this] { return !stored().empty(); }));
  ASSERT_TRUE(stored().dico("values"));
  EXPECT_EQ(*stored().dico("values"), (Dico{{"a", 1}, {"b", 2}}));
  EXPECT_EQ(stored().integer("formatVersion"), FileUserDomain::formatVersion);

  ASSERT_EQ(::unlink(path_.c_str()), 0);
  domain.write("a", 1);
  domain.remove("none");
  EXPECT_TRUE(domain.synchronize());
  EXPECT_TRUE(stored().empty()) << "nothing changed, so nothing was to be written";
}

TEST_F(FileUserDomainTest, PutsADamagedFileAsideAndStartsAfresh) {
  folder_.write("deep/preferences.plist.damaged-1", "an older one");
  for (const std::string& damaged :
       {std::string("bplist00 oops"), std::string(), serializedPropertyList(List{1}).value(),
        serializedPropertyList(Dico{{"formatVersion", 1}}).value(),
        serializedPropertyList(Dico{{"prefSpeed", 1}}).value()}) {
    const test::ScopedTemporaryFolder folder;
    const std::string path = folder.write("preferences.plist", damaged);
    folder.write("preferences.plist.damaged-1", "an older one");
    FileUserDomain domain(path, nullptr);
    EXPECT_THAT(domain.problem(), HasSubstr(path));
    EXPECT_TRUE(log_.mentions(domain.problem()));
    EXPECT_EQ(folder.read("preferences.plist.damaged-1"), "an older one");
    EXPECT_EQ(folder.read("preferences.plist.damaged-2"), damaged);
    domain.write("prefSpeed", 1);
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(FileUserDomain(path, nullptr).problem(), "");
  }
}

TEST_F(FileUserDomainTest, LeavesAFileOfANewerFormatAlone) {
  putAsFile(Dico{{"formatVersion", 2}, {"values", Dico{{"a", 1}}}});
  const std::string before = folder_.read("deep/preferences.plist");
  {
    FileUserDomain domain(path_, nullptr);
    EXPECT_THAT(domain.problem(), HasSubstr("newer"));
    domain.write("a", 3);
    EXPECT_EQ(domain.read("a")->integer(), 3) << "the program can still work";
    EXPECT_FALSE(domain.synchronize());
  }
  EXPECT_EQ(folder_.read("deep/preferences.plist"), before);
}

TEST_F(FileUserDomainTest, LeavesAlonWhatItCannotReadOrReplace) {
  ASSERT_EQ(::mkdir(folder_.file("deep").c_str(), 0700), 0);
  ASSERT_EQ(::mkdir(path_.c_str(), 0700), 0);
  FileUserDomain domain(path_, nullptr);
  EXPECT_THAT(domain.problem(), HasSubstr("cannot be read"));
  domain.write("a", 1);
  EXPECT_FALSE(domain.synchronize());
}

TEST_F(FileUserDomainTest, SaysWhenItCannotWriteAndTriesAgain) {
  folder_.write("deep", "a file where the folder should be");
  FileUserDomain domain(path_, nullptr);
  domain.write("a", 1);
  EXPECT_FALSE(domain.synchronize());
  EXPECT_TRUE(log_.mentions("cannot be written"));
  ASSERT_EQ(::unlink(folder_.file("deep").c_str()), 0);
  EXPECT_TRUE(domain.synchronize());
  EXPECT_EQ(stored().dico("values")->integer("a"), 1);
}

TEST(UserDomainPath, FollowsTheUsersConfigurationFolder) {
  const test::ScopedEnvironment home("HOME", "/home/somebody");
  const test::ScopedEnvironment none("XDG_CONFIG_HOME", std::nullopt);
  EXPECT_EQ(userDomainPath(), "/home/somebody/.config/Tessarin/preferences.plist");
  const test::ScopedEnvironment own("XDG_CONFIG_HOME", "/etc/own");
  EXPECT_EQ(userDomainPath(), "/etc/own/Tessarin/preferences.plist");
  const test::ScopedEnvironment relative("XDG_CONFIG_HOME", "own");
  EXPECT_EQ(userDomainPath(), "/home/somebody/.config/Tessarin/preferences.plist");
}

}  // namespace
}  // namespace tessarin
