// Unpacking a zip archive from the network, of which nothing is believed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"

struct archive;

namespace tessarin {

struct UnpackLimits {
  std::uint64_t largest = 4UL * 1024 * 1024 * 1024;  // bytes of all files together
  // How many times the archive's size the files may have together, apart from the first megabyte.
  // Programs and pictures come to less than 10.
  std::uint64_t largestRatio = 100;
  std::uint64_t mostEntries = 20'000;
};

// Whether an archive may have an entry of this name: a path below the folder in plain words,
// without "..", "//", backslashes, control characters or a root.
bool isEntryName(std::string_view name);

// Works in small steps, so that a loop can do other things between them. Files and folders are
// made, nothing is replaced; links, devices, encrypted entries and names that lead elsewhere refuse
// the whole archive. Files get the user's usual permissions, and may be executed when the archive
// says so.
class ZipUnpacker {
 public:
  // The folder exists, is empty and nobody else's.
  static Outcome<ZipUnpacker> open(const std::string& archivePath, const std::string& folder,
                                   UnpackLimits limits = {});
  ZipUnpacker(ZipUnpacker&&) noexcept;
  ZipUnpacker& operator=(ZipUnpacker&&) noexcept;
  ~ZipUnpacker();

  // Goes on with the next piece: true when the archive is unpacked, false when there is more. The
  // reason of a failure is in the user's words; what was written stays behind.
  Outcome<bool> step();

  // How much of the archive was read, 0 to 1.
  double progress() const;

 private:
  struct Free {
    void operator()(archive* one) const;
  };

  ZipUnpacker() = default;
  Outcome<bool> beginEntry();
  Outcome<bool> continueEntry();
  Failure damaged() const;
  Failure notWritten() const;

  std::unique_ptr<archive, Free> reader_;
  std::unique_ptr<archive, Free> writer_;
  std::string folder_;
  UnpackLimits limits_;
  std::uint64_t archiveSize_ = 0;
  std::uint64_t entries_ = 0;
  std::uint64_t written_ = 0;  // of all files
  bool isInEntry_ = false;
  std::string name_;  // of the entry
};

}  // namespace tessarin
