// A test program ends as the programs do: without leaving its temporary folder behind.
#include <gtest/gtest.h>

#include "utils/files.h"

namespace {

class TemporaryFolderEnd : public testing::Environment {
 public:
  void TearDown() override { tessarin::removeTemporaryFolder(); }
};

// Owned by the test framework.
[[maybe_unused]] const testing::Environment* const temporaryFolderEnd =
    testing::AddGlobalTestEnvironment(new TemporaryFolderEnd);

}  // namespace
