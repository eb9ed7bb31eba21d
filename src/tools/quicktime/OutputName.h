// Names for files that are not complete yet.
#pragma once

#include <string>

#include "classShared/Outcome.h"

namespace tessarin::quicktime {

// The file that an output of this name really is: where a link points to. A failure when
// something is there that is no file.
Outcome<std::string> replaceableTarget(const std::string& target);

// ".NAME.XXXXXX" in the same folder, with letters that differ at each call.
std::string nameBeside(const std::string& target);

// Gives a complete file its name. With `replace` an existing one goes at once and as a whole,
// without it an existing one is a failure (errno EEXIST). False when it fails, with errno.
bool giveName(const std::string& temporary, const std::string& target, bool replace);

// A temporary file for a program that writes by name. Gone on destruction unless committed.
class OutputName {
 public:
  // Makes the empty file beside the target.
  static Outcome<OutputName> reserve(const std::string& target);

  OutputName(OutputName&& other) noexcept;
  OutputName& operator=(OutputName&&) = delete;
  ~OutputName();

  const std::string& temporary() const { return temporary_; }
  Outcome<bool> commit(bool replace);

 private:
  OutputName(std::string target, std::string temporary);

  std::string target_;
  std::string temporary_;  // "": none any more
};

}  // namespace tessarin::quicktime
