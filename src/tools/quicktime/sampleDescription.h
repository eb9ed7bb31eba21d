// The "stsd" atoms: what kind of samples a track has.
#pragma once

#include "tools/quicktime/atoms.h"
#include "tools/quicktime/movieHeader.h"

namespace tessarin::quicktime {

void putVideoDescription(AtomWriter& out, const VideoFormat& format);
void putSoundDescription(AtomWriter& out, const SoundFormat& format);

}  // namespace tessarin::quicktime
