#include <gtest/gtest.h>

#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using namespace std::string_literals;

TEST(FileReading, readsTheStartOrAsMuchAsThereIs) {
  const test::ScopedTemporaryFolder folder;
  const std::string file = folder.write("file", "ab\0\xFF"s);
  EXPECT_EQ(readFileStart(file, 3), "ab\0"s);
  EXPECT_EQ(readFileStart(file, 1000), "ab\0\xFF"s);
  EXPECT_EQ(readFileStart(file, 0), "");
  EXPECT_EQ(readFileStart(folder.write("empty", ""), 10), "");
}

TEST(FileReading, readsLargeFilesWhole) {
  const test::ScopedTemporaryFolder folder;
  std::string content;
  for (int number = 0; number < 60000; ++number)
    content += std::to_string(number);
  EXPECT_TRUE(readWholeFile(folder.write("large", content)).value() == content);
}

TEST(FileReading, tellsWhyAFileCannotBeRead) {
  const test::ScopedTemporaryFolder folder;
  const std::string none = folder.file("none %s");
  EXPECT_EQ(readFileStart(none, 10), std::nullopt);
  ASSERT_FALSE(readWholeFile(none).ok());
  EXPECT_EQ(readWholeFile(none).reason(), none + ": No such file or directory");
  EXPECT_EQ(readWholeFile(folder.path()).reason(), folder.path() + ": Is a directory");
  EXPECT_FALSE(readWholeFile("").ok());
}

// Files of the system say that their size is 0 and have content all the same.
TEST(FileReading, doesNotTrustTheSizeThatAFileClaims) {
  EXPECT_FALSE(readWholeFile("/proc/self/status").value().empty());
}

}  // namespace
}  // namespace tessarin
