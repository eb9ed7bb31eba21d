#include <gtest/gtest.h>

#include "platform/SystemFacts.h"

namespace tessarin {
namespace {

TEST(SystemFactsTest, theDistributionNamesItselfWithOrWithoutQuotes) {
  EXPECT_EQ(operatingSystemText("NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n"),
            "Version 12 (Debian GNU/Linux)");
  EXPECT_EQ(operatingSystemText("VERSION_ID=39\nNAME='Fedora Linux'"), "Version 39 (Fedora Linux)");
  // A rolling distribution has no version.
  EXPECT_EQ(operatingSystemText("NAME=\"Arch Linux\"\nPRETTY_NAME=\"Arch Linux\"\n"), "");
  EXPECT_EQ(operatingSystemText(""), "");
}

}  // namespace
}  // namespace tessarin
