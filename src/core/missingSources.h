// Sources that are not there any more when the batch comes to them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "platform/Alerts.h"

namespace tessarin {

// The folder that is away with the row's source: one that is not there, the highest of them, or
// the empty one above it, as a disk leaves that was taken out; or one that is there, but of whose
// clips that come next none is left. Nothing when only the source itself is missing.
std::optional<std::string> goneFolder(const BatchTable& table, int row);

// The rows from this one on that are not finished, whose sources are in the folder or below it and
// not there.
std::vector<int> missingRowsBelow(const BatchTable& table, int firstRow, const std::string& folder);

// What to do about a folder that is away: the question, and its answers.
enum GoneAnswer : std::size_t { connectedAnswer, leaveOutAnswer, stopAnswer };
Alert goneFolderQuestion(const std::string& folder, std::size_t clips);

}  // namespace tessarin
