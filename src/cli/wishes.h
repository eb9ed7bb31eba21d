// What was wished and cannot be, in the words that the options take.
#pragma once

#include <string>

#include "jobs/rowChoices.h"

namespace tessarin::cli {

// Why the row cannot be what is wished, and what would be possible instead: "…; possible here: aic;
// prores with --size 720p25".
std::string refusalOfWish(const Row& row, const Wish& wish, Application application);

}  // namespace tessarin::cli
