// The log functions, for the rooms that know them as helpers.
#pragma once

#include "classShared/log.h"  // IWYU pragma: export
