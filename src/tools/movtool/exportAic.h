// Apple Intermediate Codec: ffmpeg decodes and scales, the encoder and the movie are ours.
#pragma once

#include <string>

#include "tools/movtool/ProgressLines.h"
#include "tools/movtool/exportPlan.h"
#include "tools/movtool/exportRun.h"

namespace tessarin::movtool {

Outcome<bool> exportAic(const std::string& ffmpeg, const ExportJob& job,
                        const ExportSettings& settings, const SourceFacts& source,
                        const ExportPlan& plan);

}  // namespace tessarin::movtool
