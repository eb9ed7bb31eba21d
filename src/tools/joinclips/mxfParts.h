// MXF files that are parts of one recording: clips of P2 cards, and those of cameras that give each
// recording a folder.
#pragma once

#include <memory>
#include <string>

#include "tools/joinclips/partKinds.h"

namespace tessarin::joining {

// One object for all files of a kind.
std::shared_ptr<PartKind> mxfPartsOf(const std::string& file);

}  // namespace tessarin::joining
