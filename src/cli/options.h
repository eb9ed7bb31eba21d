// The command line's options.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/Preset.h"

namespace tessarin::cli {

enum class Command {
  convert,
  analyse,
  plan,
  prepare,  // analyse, and write the batch to a file
};
enum class Overwrite { ask, keep, replace };

struct Options {
  Command command = Command::convert;
  std::vector<std::string> paths;
  Preset choices;
  std::optional<std::string> destination;
  std::optional<std::string> batchFile;  // absolute; the rows are written to it or come from it
  std::optional<int> row;                // of the batch file, from 1: that one alone is converted
  bool report = false;                   // tell what became of the rows of the batch file
  bool recover = false;                  // finish interrupted runs; nothing else is named
  bool forget = false;                   // give them up
  Overwrite overwrite = Overwrite::ask;
  bool keepsPartsApart = false;
  bool splitsTapes = false;
  bool onlyNew = false;     // leave out what was converted before; with `forget`: forget what was
  std::optional<int> jobs;  // clips at the same time; nothing: as many as the machine takes
  bool json = false;
  bool verbose = false;
};

// The program should end with this exit status; what is to be said has been said.
struct Exit {
  int status = 0;
};

// Reads the arguments. Help and version are printed, a mistake as one line on standard error.
std::variant<Options, Exit> readOptions(int count, char** arguments, const std::string& version);

}  // namespace tessarin::cli
