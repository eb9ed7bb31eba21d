// The settings and the commands of the export that finishes a job. Pure functions of the row and of
// the plan.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/Value.h"
#include "jobs/jobPlan.h"

namespace tessarin {

// The name of the settings in "presetQt": size row, scan and rate, "Letterbox" for a 4:3 picture
// that goes into a 16:9 frame; for ProRes with "pr" and the flavour in front ("prHd1920x1080p25").
// `prefProres` is the flavour's four characters. Empty when the row has no size.
std::string exportPresetName(const Row& row, std::string_view prefProres);

// Whether the copy that ffmpeg made has to be slowed to half its speed, before the export or
// without one: slow motion of a source with 50 or 60 whole pictures a second, which ffmpeg only
// copies.
bool needsSlowing(const Row& row);

// The command that makes the slowed copy: the pictures of the plan's movie at half their speed,
// from the same moment on, and its sound as it is.
Arguments slowingCommand(const JobPlan& plan, const std::string& slowed);

// What runs for a job, in this order, for whoever wants to run it by hand, beside the movie (the
// program itself does it in a folder of its own, outputPlace.h): files are moved and removed by
// mv(1) and rm(1) where the program does that itself. Each counts only when all before it ended
// well: what is there already makes one of them fail rather than be overwritten, unless it is the
// movie and `replace` is asked for.
std::vector<Arguments> commandsOfPlan(const JobPlan& plan, bool replace);

// The source's picture shape, width by height; 16:9 when unknown.
double displayRatio(const Source& source);

}  // namespace tessarin
