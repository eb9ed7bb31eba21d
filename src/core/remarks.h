// What the user has to be told of a source that is converted all the same.
#pragma once

#include <string>
#include <vector>

#include "analysis/SourceInfo.h"

namespace tessarin {

// The record's remarks as sentences in the user's language, without full stops. What is no remark
// of ours, as a stored row may hold, is passed over.
std::vector<std::string> remarkTexts(const SourceInfo& record);

}  // namespace tessarin
