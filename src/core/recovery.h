// Batches that a crash, a kill or a power cut has interrupted.
#pragma once

#include <string>
#include <vector>

#include "core/BatchStore.h"

namespace tessarin {

// What an interrupted job had written of its output, and the name under which it is kept now.
struct PutAside {
  std::string source;
  std::string output;
  std::string aside;
};

// Something that is wrong with a stored batch.
struct StoreProblem {
  std::string path;
  std::string reason;  // in the user's language
};

struct InterruptedBatches {
  std::vector<BatchStore> stores;  // oldest first
  std::vector<PutAside> putAside;
  std::vector<StoreProblem> problems;
};

// Finds the batches below `parent` (batchesFolder()) whose process is gone, holds them, and cleans
// up behind their jobs: what a job had written of its output is put aside under another name, and
// its row waits again. A file that the job had not begun to write is left alone, and so is the
// movie of a row that is finished. To be called at every start, before anything is converted:
// later the output's name may belong to another movie.
//
// Batches of a newer version of the program are left as they are.
InterruptedBatches findInterruptedBatches(const std::string& parent);

// Reads a whole batch. Rows that were being worked on wait again; damaged rows are moved out of the
// folder and reported. Thumbnails are written into our temporary folder.
StoredBatch readInterruptedBatch(BatchStore& store, std::vector<StoreProblem>& problems);

}  // namespace tessarin
