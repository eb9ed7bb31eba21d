// ProRes: ffmpeg writes the whole movie, in one run.
#pragma once

#include <string>

#include "tools/movtool/exportPlan.h"
#include "tools/movtool/exportRun.h"

namespace tessarin::movtool {

Outcome<bool> exportProres(const std::string& ffmpeg, const ExportJob& job,
                           const ExportSettings& settings, const SourceFacts& source,
                           const ExportPlan& plan);

}  // namespace tessarin::movtool
