// The ffmpeg command line of a job.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Value.h"
#include "encoding/BatchEntry.h"

namespace tessarin {

struct EncodingCommand {
  std::vector<std::string> arguments;  // the path of the tool first
  // ffmpeg writes the final ProRes itself: no export may follow, so the step "encQtEnc" goes.
  bool writesProres = false;
};

// `job` is the job's record, `prefProres` the four
// characters of the ProRes flavour. Paths are not checked: a job without them gives a command that
// ffmpeg refuses. Nothing when "sizeOut" is no row of the size list.
std::optional<EncodingCommand> encodage(Target target, const Dico& job,
                                        std::string_view prefProres);

}  // namespace tessarin
