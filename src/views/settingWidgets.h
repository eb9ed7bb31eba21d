// Widgets for choices that stand in more than one place.
#pragma once

#include "views/SegmentedBar.h"

namespace tessarin {

// A bar whose segments say in their tool tips what they mean.
SegmentedBar* newChoice(const QStringList& titles, const QStringList& tips);

// The editing applications, with what each suits.
SegmentedBar* newApplicationBar();

}  // namespace tessarin
