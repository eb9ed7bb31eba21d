// A batch in one file, to be worked on later.
#pragma once

#include <string>

#include "core/batchFormat.h"

namespace tessarin {

// One property list of the format with the settings and all rows; without thumbnails, which end
// with the process. Replaces the file. Fails with the reason.
Outcome<void> writeBatchFile(const std::string& path, const StoredBatch& batch);

struct BatchFile {
  BatchPart::State state = BatchPart::State::missing;
  std::string reason;  // unless good, in the user's language
  StoredBatch batch;   // rows numbered from 1, those that were being worked on waiting
};

BatchFile readBatchFile(const std::string& path);

}  // namespace tessarin
