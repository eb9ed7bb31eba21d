// Carrying an export out.
#pragma once

#include <string>

#include "classShared/Outcome.h"
#include "tools/movtool/ExportSettings.h"
#include "tools/movtool/exportPlan.h"

namespace tessarin::movtool {

struct ExportJob {
  std::string settings;  // path of the settings file
  ExportInput input;
  std::string output;
  bool replace = false;  // an existing output
};

// Makes the movie, and tells its progress on standard output. The output appears when all went
// well, else there is a sentence for the user.
Outcome<bool> runExport(const ExportJob& wanted);

}  // namespace tessarin::movtool
