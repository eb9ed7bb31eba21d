// The looks of the program.
#pragma once

#include <QColor>

#include "core/controls.h"

namespace tessarin {

// How well one colour can be told from the other, 1 to 21, as the guidelines for accessible content
// have it.
double contrastOf(const QColor& one, const QColor& other);

// Makes the application follow the colour control: segment 0 is the desktop's own look, 1 is dark,
// 2 is the heads-up look, black with bright lines. The control is borrowed and outlives the
// application object.
void followColourScheme(SegmentedControl& colour);

}  // namespace tessarin
