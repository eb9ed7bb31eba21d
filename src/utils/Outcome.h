// Outcome and Failure, for the rooms that know them as helpers.
#pragma once

#include "classShared/Outcome.h"  // IWYU pragma: export
