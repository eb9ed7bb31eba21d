// A resources folder of the test's own, whose tools the test writes or borrows.
#pragma once

#include <filesystem>
#include <string>

#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin::test {

// While it lives, Bundle::main() has the words "Top", "Bottom" and "Progressive" for the field
// orders and the tools given to it.
class AnalysisTools {
 public:
  AnalysisTools() : bundle_((writeTexts(), folder_.path()), "en") {}

  // A shell script as the tool.
  void script(const std::string& tool, const std::string& body) const {
    folder_.writeScript("tools/" + tool, body);
  }
  // The installed program of that name as the tool.
  void installed(const std::string& tool) const { script(tool, "exec " + tool + " \"$@\""); }

  const ScopedTemporaryFolder& folder() const { return folder_; }

 private:
  void writeTexts() const {
    folder_.write("en.lproj/fields.strings",
                  "\"TFF\" = \"Top\";\n\"BFF\" = \"Bottom\";\n\"PFF\" = \"Progressive\";\n");
  }

  ScopedTemporaryFolder folder_;
  TestBundle bundle_;
};

// Runs ffmpeg with these arguments, quietly; fails the test when ffmpeg fails.
inline void runFfmpeg(const std::string& arguments) {
  const std::string line = "ffmpeg -v error -y " + arguments + " </dev/null";
  EXPECT_EQ(std::system(line.c_str()), 0) << line;  // NOLINT(cert-env33-c)
}

}  // namespace tessarin::test
