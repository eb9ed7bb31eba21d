// A folder of the test's own that is gone afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace tessarin::test {

// Made on construction (0700) below TMPDIR or /tmp, removed with all its content on destruction.
class ScopedTemporaryFolder {
 public:
  ScopedTemporaryFolder() {
    const char* parent = std::getenv("TMPDIR");
    path_ = std::string(parent != nullptr && *parent != '\0' ? parent : "/tmp") +
            "/tessarin-test-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
      ADD_FAILURE() << "no temporary folder: " << path_;
      path_.clear();
    }
  }
  ScopedTemporaryFolder(const ScopedTemporaryFolder&) = delete;
  ScopedTemporaryFolder& operator=(const ScopedTemporaryFolder&) = delete;
  ~ScopedTemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty())
      std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  // The path of an entry of the folder, present or not; `name` may hold "/".
  std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

  // Writes a file, replacing it, with the folders above it; returns its path.
  std::string write(std::string_view name, std::string_view content) const {
    const std::filesystem::path target = file(name);
    std::error_code ignored;
    std::filesystem::create_directories(target.parent_path(), ignored);
    std::ofstream stream(target, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    EXPECT_TRUE(stream.good()) << target;
    return target.string();
  }

  // Likewise a program for the shell, whose lines these are.
  std::string writeScript(std::string_view name, const std::string& lines) const {
    std::string path = write(name, "#!/bin/sh\n" + lines + "\n");
    std::error_code ignored;
    std::filesystem::permissions(path, std::filesystem::perms(0755), ignored);
    return path;
  }

  // The folder's entry as bytes, "" when it cannot be read.
  std::string read(std::string_view name) const {
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

 private:
  std::string path_;
};

}  // namespace tessarin::test
