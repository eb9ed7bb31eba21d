// Movies that are parts of one recording: chapters of action cameras, takes of memory camcorders,
// and what still cameras count on.
#pragma once

#include <memory>

#include "tools/joinclips/partKinds.h"

namespace tessarin::joining {

std::shared_ptr<PartKind> movieParts();

}  // namespace tessarin::joining
