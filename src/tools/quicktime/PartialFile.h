// A file that appears under its name only when it is complete.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::quicktime {

// Written without a name where the file system can do that, so that even a kill leaves nothing
// behind; else under its partialName(). Gone on destruction unless it was committed.
class PartialFile {
 public:
  // Nothing is made under `target` yet; its folder has to be there.
  static Outcome<PartialFile> create(const std::string& target);
  // Written under its name from the beginning, and what is written of it stays, for whoever wants
  // to see how far it came. What is there already is overwritten.
  static Outcome<PartialFile> createInPlace(const std::string& target);

  PartialFile(PartialFile&& other) noexcept;
  PartialFile& operator=(PartialFile&&) = delete;
  ~PartialFile();

  // Position of the next byte.
  std::uint64_t size() const { return written_ + buffer_.size(); }

  // Appends. False after any failure, then and ever after; failure() says why.
  bool append(std::span<const std::uint8_t> bytes);
  // Replaces bytes that were appended before.
  bool overwrite(std::uint64_t position, std::span<const std::uint8_t> bytes);
  // Puts zeros between the bytes, which nothing has to be moved for: both are multiples of
  // roomUnit. False where the file system cannot do that; it is no failure.
  static constexpr std::uint64_t roomUnit = 1U << 16;
  bool insertRoom(std::uint64_t position, std::uint64_t length);
  const std::string& failure() const { return failure_; }

  // Gives the file its name. With `replace` an existing file is replaced at once and as a whole,
  // without it an existing file is a failure. The disk is not waited for: a movie of an hour would
  // take minutes more.
  Outcome<bool> commit(bool replace);

  // The name beside the target, "" when there is none; for a handler that ends the program.
  const std::string& temporaryName() const { return temporaryName_; }

 private:
  PartialFile() = default;
  bool flush();
  bool fail(const std::string& what);
  bool giveTemporaryName();
  void discard();

  std::string target_;
  bool isInPlace_ = false;
  std::string temporaryName_;
  int descriptor_ = -1;
  std::uint64_t written_ = 0;
  std::vector<std::uint8_t> buffer_;
  std::string failure_;
};

}  // namespace tessarin::quicktime
