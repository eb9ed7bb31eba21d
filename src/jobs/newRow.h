// What the analysis makes of a source: its thumbnail command and its row of the batch. Pure
// functions.
#pragma once

#include <string>

#include "classShared/TextAdditions.h"
#include "encoding/Row.h"

namespace tessarin {

// The shape of the thumbnail, width by height: the source's display aspect; without one, that of
// its frame, where 1.7 to 1.8 counts as 1.77 and 1.3 to 1.4 as 1.33; 1.77 when nothing is known. As
// a viewer sees it: ffmpeg turns the pictures of a telephone that was held upright.
double thumbnailAspect(const Source& source);

// Where in the source the thumbnail is taken, in seconds as ffmpeg takes them.
std::string thumbnailSeekPoint(const Source& source);

// The thumbnail's height where it is 160 pixels wide.
int thumbnailHeight(const Source& source);

// The command that writes the thumbnail, 160 pixels wide. `keyFramesOnly` waits for a key frame.
Arguments thumbnailCommand(const Source& source, const std::string& thumbnail, bool keyFramesOnly);

// A path in `folder` for the thumbnail of the source that does not exist yet, nor will for a source
// of the same name that is analysed at the same time in another lane (AnalysisJob).
std::string thumbnailPath(const std::string& folder, const std::string& source, int lane = 0);

// Pictures or fields a second as a row shows them: whole, half up.
int shownRate(const Source& source);

// The row of a source that was analysed; a link has the name of what it leads to.
Row newRow(Source source, const Choice& choice);
// That of one that was read: under this name, without a question to its disk.
Row newRow(Source source, const Choice& choice, const std::string& name);

}  // namespace tessarin
