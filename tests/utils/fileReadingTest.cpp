#include <gtest/gtest.h>

#include "support/ScopedTemporaryFolder.h"
#include "utils/files.h"

namespace tessarin {
namespace {

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
