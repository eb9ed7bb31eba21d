#include "cli/batchFileStart.h"

#include "core/BatchFile.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

std::optional<RunStart> startOfBatchFile(const Options& options, Reporter& reporter) {
  RunStart start;
  if (!options.batchFile)
    return start;
  const std::string& path = *options.batchFile;
  BatchFile file = readBatchFile(path);
  if (options.command == Command::prepare) {
    if (file.state == BatchPart::State::missing ||
        (file.state == BatchPart::State::good && options.overwrite == Overwrite::replace))
      return start;
    // Never a file of another kind, whatever is wished.
    reporter.problem(path, file.state == BatchPart::State::good
                               ? localisationString("why_batchThere")
                               : localisationString("why_fileThere"));
    return std::nullopt;
  }
  if (file.state != BatchPart::State::good) {
    reporter.problem(path, file.reason);
    return std::nullopt;
  }
  start.batch = std::move(file.batch);
  return start;
}

}  // namespace tessarin::cli
