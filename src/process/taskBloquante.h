// A shell line that is run on a thread of its own while the caller waits.
#pragma once

#include <optional>
#include <string>

#include "classShared/TextAdditions.h"

namespace tessarin {

class taskBloquante {
 public:
  // Runs "/bin/sh -c" with the arguments: the first is the line, the others are its positional
  // parameters from $0 on. The answer is all that it writes on standard output and standard error,
  // without one line end at the end; as with the runners of pipelines.h, nothing for an empty
  // list or output. Each piece that is read counts up to its first zero byte.
  std::optional<std::string> verbose(const Arguments& arguments);
};

}  // namespace tessarin
