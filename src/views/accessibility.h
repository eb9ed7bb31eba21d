// What programs that read the screen aloud are told about the widgets that are ours.
#pragma once

namespace tessarin {

// To be called before there is a window; once is enough, more does no harm.
void describeWidgets();

}  // namespace tessarin
