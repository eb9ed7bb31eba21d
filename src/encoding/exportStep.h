// The second step of a job whose movie ffmpeg does not finish: the export tool.
#pragma once

#include <optional>
#include <string>

#include "classShared/TextAdditions.h"

namespace tessarin {

struct ExportStep {
  Arguments arguments;     // the tool "movtool" first
  std::string masterPath;  // what ffmpeg wrote; to be deleted when the job ends
};

// The command that exports the movie `masterPath` to `dstPath`, with settings as encQt takes them.
Arguments exportCommand(const std::string& masterPath, const std::string& dstPath,
                        const std::string& presetName, double displayRatio);

// Moves the file at `dstPath` to its master name, replacing an older master, and answers the
// command that exports it to `dstPath`. `presetName` names the settings ("presetQt" of the
// resources); empty: 1280x720, with letterbox when `displayRatio` (width by height) is near 4:3.
// Nothing when the file cannot be moved, or when the volume of the master has less room than a
// movie of `duration` seconds needs; the file has been moved then, too.
std::optional<ExportStep> encQt(const std::string& dstPath, double duration,
                                const std::string& presetName, double displayRatio);

}  // namespace tessarin
