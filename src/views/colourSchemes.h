// The looks of the program.
#pragma once

#include "core/controls.h"

namespace tessarin {

// Makes the application follow the colour control: segment 0 is the desktop's own look, 1 is dark,
// 2 is the heads-up look, black with bright lines. The control is borrowed and outlives the
// application object.
void followColourScheme(SegmentedControl& colour);

}  // namespace tessarin
