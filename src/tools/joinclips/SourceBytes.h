// The bytes of a source: of a file, or of a section of one (fileSection.h).
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "platform/Descriptor.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

struct SourceBytes {
  Descriptor file;                                                 // stands at the first of them
  std::uint64_t begin = 0;                                         // in the file
  std::uint64_t most = std::numeric_limits<std::uint64_t>::max();  // that are the source's
};

// When the file is not open, errno says why.
SourceBytes openSource(const std::string& path, OpenFor what);

}  // namespace tessarin::joining
