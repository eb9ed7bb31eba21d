// Recordings that were put behind each other in one source.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// Whether the tool joinclips reads sources of this format.
bool mayHoldParts(const Source& source);

// The command that lists the recordings of a source, a line for each.
Arguments jointList(const std::string& path);
// How long the pictures of the line's recording are; nothing for other lines.
std::optional<double> partSeconds(std::string_view line);

// Has the source read as one recording of that many seconds, where there are several.
void takeParts(Source& source, const std::vector<double>& seconds);
// The same of a whole list.
void takeParts(Source& source, std::string_view list);

}  // namespace tessarin
