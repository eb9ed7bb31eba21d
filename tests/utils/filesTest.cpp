#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::Optional;
using testing::UnorderedElementsAre;

class Files : public testing::Test {
 protected:
  std::string link(const std::string& target, std::string_view name) const {
    std::filesystem::create_symlink(target, folder_.file(name));
    return folder_.file(name);
  }
  std::string makeFolder(std::string_view name) const {
    std::filesystem::create_directories(folder_.file(name));
    return folder_.file(name);
  }

  test::ScopedTemporaryFolder folder_;
  test::LogCapture log_{false};
};

TEST_F(Files, tildeIsTheHomeFolder) {
  const test::ScopedEnvironment home("HOME", "/home/é x");
  EXPECT_EQ(expandTilde("~"), "/home/é x");
  EXPECT_EQ(expandTilde("~/Movies/a~b"), "/home/é x/Movies/a~b");
  EXPECT_EQ(expandTilde("/a/~"), "/a/~");
  EXPECT_EQ(expandTilde("~no such user/x"), "~no such user/x");
  EXPECT_EQ(expandTilde(""), "");
  const passwd* root = ::getpwnam("root");
  EXPECT_EQ(expandTilde("~root/x"), root ? std::string(root->pw_dir) + "/x" : "~root/x");
}

TEST_F(Files, existenceMeansReadableOrALink) {
  EXPECT_TRUE(pathExists(folder_.write("a b\n'\"-%s\xFF.mov", "")));
  EXPECT_TRUE(pathExists(folder_.path()));
  EXPECT_TRUE(pathExists(link("nowhere", "dangling")));
  EXPECT_FALSE(pathExists(folder_.file("none")));
  EXPECT_FALSE(pathExists(""));
  const test::ScopedEnvironment home("HOME", folder_.path());
  folder_.write("in home", "");
  EXPECT_TRUE(pathExists("~/in home"));
}

TEST_F(Files, existenceOfAPipeDoesNotWaitForItsWriter) {
  ASSERT_EQ(::mkfifo(folder_.file("pipe").c_str(), 0600), 0);
  EXPECT_TRUE(pathExists(folder_.file("pipe")));
  EXPECT_EQ(readFileStart(folder_.file("pipe"), 10), std::nullopt);
}

TEST_F(Files, unreadableFilesDoNotExist) {
  const std::string secret = folder_.write("secret", "x");
  ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
  if (::geteuid() == 0)
    GTEST_SKIP() << "root reads everything";
  EXPECT_FALSE(pathExists(secret));
  EXPECT_TRUE(pathExists(link(secret, "link to secret")));
}

TEST_F(Files, listsDirectEntries) {
  const std::string card = makeFolder("card");
  EXPECT_EQ(lsCocoa(card), std::nullopt) << "an empty folder";
  EXPECT_EQ(lsCocoa(folder_.file("none")), std::nullopt);
  EXPECT_EQ(lsCocoa(""), std::nullopt);
  const std::string hidden = folder_.write("card/.hidden.mts", "");
  const std::string capitals = folder_.write("card/A.MTS", "");
  const std::string other = folder_.write("card/b.mt", "");
  const std::string none = folder_.write("card/mts", "");
  folder_.write("card/below/c.mts", "");
  EXPECT_EQ(lsCocoa(folder_.write("file", "")), std::nullopt);
  EXPECT_THAT(lsCocoa(card), Optional(UnorderedElementsAre(hidden, capitals, other, none,
                                                           folder_.file("card/below"))));
  EXPECT_THAT(lsGrepCocoa(card, "mTs"), Optional(UnorderedElementsAre(hidden, capitals)));
  EXPECT_THAT(lsGrepCocoa(card, ""),
              Optional(UnorderedElementsAre(none, folder_.file("card/below"))));
  EXPECT_EQ(lsGrepCocoa(card, "mov"), std::nullopt);
}

TEST_F(Files, listsFilesBelowInAStableOrderWithoutFollowingLinks) {
  const std::string z = folder_.write("tree/z.mts", "");
  const std::string c = folder_.write("tree/b/c.mts", "");
  const std::string hidden = folder_.write("tree/b/.d", "");
  const std::string a = folder_.write("tree/a.mts", "");
  link(folder_.file("tree"), "tree/b/loop");
  const std::string fileLink = link(z, "tree/e.mts");
  EXPECT_THAT(filesBelow(folder_.file("tree")), ElementsAre(a, hidden, c, fileLink, z));
  EXPECT_TRUE(filesBelow(z).empty());
  EXPECT_TRUE(filesBelow("").empty());
}

TEST_F(Files, freeSpaceIsUnknownWhereThereIsNothing) {
  const std::int32_t free = freeDiskSpaceMo(folder_.path());
  EXPECT_GE(free, 0);
  EXPECT_LT(
      std::abs(static_cast<double>(std::filesystem::space(folder_.path()).available >> 20U) - free),
      1024)
      << "in megabytes";
  EXPECT_EQ(freeDiskSpaceMo(folder_.file("none")), -1);
  EXPECT_EQ(freeDiskSpaceMo(""), -1);
  EXPECT_EQ(freeDiskSpaceMo(link("nowhere", "dangling")), -1);
  EXPECT_TRUE(log_.mentions("error               :-( "));
}

TEST_F(Files, weighsFilesInUnits) {
  const std::string file = folder_.write("file", std::string(1572864, '.'));
  EXPECT_EQ(poidsFile(file, "M"), 1.5);
  EXPECT_EQ(poidsFile(file, "k"), 1536);
  EXPECT_EQ(poidsFile(file, "o"), 1572864);
  EXPECT_EQ(poidsFile(file, std::nullopt), 1572864);
  EXPECT_EQ(poidsFile(file, "x"), 1572864);
  EXPECT_EQ(poidsFile(link(file, "link"), "M"), 1.5);
  EXPECT_EQ(poidsFile(folder_.file("none"), "M"), -1);
  EXPECT_EQ(poidsFile(link("nowhere", "dangling"), "M"), -1);
  EXPECT_EQ(poidsFile("", "M"), -1);
}

TEST_F(Files, weighsFoldersInWholeMegabytes) {
  folder_.write("tree/a", std::string(1048576, '.'));
  folder_.write("tree/below/b", std::string(524288, '.'));
  const std::string tree = folder_.file("tree");
  EXPECT_EQ(poidsFile(tree, "M"), 1);
  EXPECT_EQ(poidsFile(tree, "k"), 1024);
  EXPECT_EQ(poidsFile(tree, "O"), 1048576);
  EXPECT_EQ(poidsFile(tree, "g"), 1.0 / 1024);
  struct stat entry = {};
  ASSERT_EQ(::stat(tree.c_str(), &entry), 0);
  EXPECT_EQ(poidsFile(tree, "x"), static_cast<double>(entry.st_size)) << "the folder's own entry";
}

TEST_F(Files, resolvesLinksThatLeadSomewhere) {
  const std::string file = std::filesystem::canonical(folder_.write("file", "")).string();
  const std::string first = link(file, "first");
  EXPECT_EQ(resolveAlias(link(first, "second")), file);
  EXPECT_EQ(resolveAlias(link("file", "relative")), file);
  EXPECT_EQ(resolveAlias(folder_.file("file")), folder_.file("file"));
  const std::string broken = link("nowhere", "broken");
  EXPECT_EQ(resolveAlias(broken), broken);
  const std::string loop = link("loop", "loop");
  EXPECT_EQ(resolveAlias(loop), loop);
  EXPECT_EQ(resolveAlias(""), "");
}

}  // namespace
}  // namespace tessarin
