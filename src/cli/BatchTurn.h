// A run's right to work on a batch file, or on one of its rows beside others.
#pragma once

#include <variant>
#include <vector>

#include "cli/Reporter.h"
#include "cli/options.h"
#include "core/BatchFile.h"
#include "platform/Descriptor.h"

namespace tessarin::cli {

struct BatchTurn {
  Descriptor file;
  Descriptor row;
  // Of the run that converts one row: the rows above it, whose movies have their names.
  std::vector<Row> before;
};

// For a run that works on a batch file as a whole, or on its row. The exit status where another
// process does, where there is no such file or row, or where the row has become a movie already;
// the user has been told. The rows that the run is to work on come to `batch`, with what became of
// them by themselves.
std::variant<BatchTurn, Exit> takeTurn(const Options& options, Reporter& reporter,
                                       StoredBatch& batch);

// Tells of each row of the batch file what became of it; the result is the exit status.
int reportBatch(const std::string& path, Reporter& reporter);

}  // namespace tessarin::cli
