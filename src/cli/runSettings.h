// What the command line needs to go on with an interrupted run, stored with its batch.
#pragma once

#include "classShared/Value.h"
#include "cli/options.h"

namespace tessarin::cli {

// The options that are no choices of the controller's (those are stored anyway).
Dico storedOptions(const Options& options);

// The options of a run that goes on: what was stored, with what `given` says about the output of
// the program and, where it says so, about movies that are there already.
Options optionsOfStored(const Dico& stored, const Options& given);

}  // namespace tessarin::cli
