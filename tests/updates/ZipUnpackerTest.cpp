#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/zips.h"
#include "updates/ZipUnpacker.h"

namespace tessarin {
namespace {

namespace fs = std::filesystem;
using test::ZipEntry;
using test::zipOf;
using testing::HasSubstr;

class Unpacking : public testing::Test {
 protected:
  Unpacking() { fs::create_directory(content()); }

  std::string content() const { return folder.file("content"); }

  // "" when all went well, else the reason.
  std::string unpack(const std::string& bytes, UnpackLimits limits = {}) {
    auto unpacker = ZipUnpacker::open(folder.write("a.zip", bytes), content(), limits);
    if (!unpacker)
      return unpacker.reason();
    for (;;) {
      const auto isDone = unpacker->step();
      if (!isDone)
        return isDone.reason();
      EXPECT_GE(unpacker->progress(), 0);
      EXPECT_LE(unpacker->progress(), 1);
      if (isDone.value())
        return {};
    }
  }

  // Nothing but the archive and the content lies in the test's folder, whatever the archive held.
  void TearDown() override {
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 2);
  }

  test::TestBundle bundle;
  test::ScopedTemporaryFolder folder;
};

TEST_F(Unpacking, MakesFilesAndFolders) {
  std::string large;
  for (int number = 0; number < 200'000; ++number)
    large += std::to_string(number * 7919);
  ASSERT_EQ(unpack(zipOf({{"tessarin/", "", AE_IFDIR, 0755},
                          {"tessarin/bin/tessarin", "program", AE_IFREG, 04755},
                          {"tessarin/Été à Köln.txt", "text"},
                          {"empty", ""},
                          {"large", large}})),
            "");
  EXPECT_EQ(folder.read("content/tessarin/Été à Köln.txt"), "text");
  EXPECT_EQ(folder.read("content/large"), large);
  EXPECT_TRUE(fs::exists(content() + "/empty"));
  struct stat status {};
  ASSERT_EQ(::stat((content() + "/tessarin/bin/tessarin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 04100, 0100u) << "to be executed, but not as somebody else";
  ASSERT_EQ(::stat((content() + "/large").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0111, 0u);
}

TEST_F(Unpacking, RefusesNamesThatLeadElsewhere) {
  for (const char* name :
       {"../out", "a/../../out", "/tmp/out", "a//b", "./a", "a\\..\\b", "a/./b", "..", "a\nb"})
    EXPECT_THAT(unpack(zipOf({{name, "x"}})), HasSubstr("does not belong")) << name;
  EXPECT_FALSE(isEntryName(std::string_view("a\0b", 3)));
  EXPECT_FALSE(isEntryName("\xff"));
  EXPECT_FALSE(isEntryName(std::string(5000, 'a')));
  EXPECT_TRUE(isEntryName("a..b/...c/"));
}

TEST_F(Unpacking, RefusesLinks) {
  EXPECT_THAT(unpack(zipOf({{"link", "", AE_IFLNK, 0777, "/etc"}, {"link/passwd", "x"}})),
              HasSubstr("“link”"));
}

TEST_F(Unpacking, ReplacesNothing) {
  EXPECT_THAT(unpack(zipOf({{"a", "first"}, {"a", "second"}})), HasSubstr("“a”"));
  EXPECT_EQ(folder.read("content/a"), "first");
  EXPECT_THAT(unpack(zipOf({{"b", "file"}, {"b/c", "below a file"}})), HasSubstr("be written"));
}

TEST_F(Unpacking, RefusesWhatGrowsTooLarge) {
  const std::string zeros(8 * 1024 * 1024, '\0');
  EXPECT_THAT(unpack(zipOf({{"ratio", zeros}})), HasSubstr("out of all proportion"));
  EXPECT_LT(fs::file_size(content() + "/ratio"), 3u * 1024 * 1024) << "stopped on the way";
  EXPECT_THAT(unpack(zipOf({{"large", "0123456789"}}), {.largest = 9}),
              HasSubstr("out of all proportion"));
  EXPECT_THAT(unpack(zipOf({{"x", ""}, {"y", ""}, {"z", ""}}), {.mostEntries = 2}),
              HasSubstr("out of all proportion"));
}

// Whatever byte is damaged: nothing is written outside the folder, which every test looks at, and
// what counts as unpacked is what was packed, under whatever name.
TEST_F(Unpacking, DamageOfAnyByteIsToldOrDoesNoHarm) {
  const std::string packed = "some content";
  const std::string whole = zipOf({{"a/b", packed}});
  int refused = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int damage : {0xFF, 0x01, 0x20}) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ damage);
      if (!unpack(changed).empty()) {
        ++refused;
      } else {
        for (const auto& entry : fs::recursive_directory_iterator(content())) {
          ASSERT_FALSE(entry.is_symlink()) << at;
          if (entry.is_regular_file()) {
            ASSERT_EQ(folder.read(fs::relative(entry.path(), folder.path()).string()), packed)
                << at;
          }
        }
      }
      ASSERT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 2) << at;
      fs::remove_all(content());
      fs::create_directory(content());
    }
  }
  EXPECT_GT(refused, 200);
}

}  // namespace
}  // namespace tessarin
