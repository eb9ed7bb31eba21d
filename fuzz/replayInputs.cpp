// replayInputs FOLDER...: runs every file FOLDER/NAME/… through the harness NAME. Each harness has
// to have one. Ends with the status 0, or as the harness that finds something ends it.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "Input.h"

namespace fs = std::filesystem;
using Harness = int(const std::uint8_t*, std::size_t);
#include "harnesses.inc"

namespace {

std::size_t replay(const std::string& name, const fs::path& folder) {
  std::size_t count = 0;
  if (!fs::is_directory(folder))
    return 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    // What was last named is what ended the program.
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    // Memory of its own, exactly as large: a sanitizer sees who reads on.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    harnesses.at(name)(input.data(), input.size());
    ++count;
  }
  return count;
}

}  // namespace

int main(int count, char** values) {
  for (const auto& [name, harness] : harnesses) {
    std::size_t inputs = 0;
    for (int place = 1; place < count; ++place)
      inputs += replay(name, fs::path(values[place]) / name);
    if (inputs == 0) {
      std::fprintf(stderr, "there is no input for %s\n", name.c_str());
      return 1;
    }
  }
  return 0;
}
