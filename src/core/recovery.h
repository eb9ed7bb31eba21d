// Batches that a crash, a kill or a power cut has interrupted.
#pragma once

#include <string>
#include <vector>

#include "core/BatchStore.h"

namespace tessarin {

// A movie that a power cut may have damaged, and the name under which it is kept now.
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
// up behind their jobs: the folder that a job wrote into is removed, and its row waits again. A row
// whose movie is at its place is finished, unless the system was started anew since then: such a
// movie is put aside under another name. What the job has not made is left alone. To be called at
// every start, before anything is converted.
//
// Batches of a newer version of the program are left as they are.
InterruptedBatches findInterruptedBatches(const std::string& parent);
// The same in parts, for who does not wait for disks: finds and holds them; tells the folders that
// their jobs worked in, whose disks may hang; and cleans up.
InterruptedBatches claimInterruptedBatches(const std::string& parent);
std::vector<std::string> foldersOfJobs(const InterruptedBatches& batches);
void cleanUpBehindJobs(InterruptedBatches& batches);

// Whether it is a list of the window that was kept when the user left, and not a conversion that
// was interrupted.
bool isAtRest(const BatchStore& store);

// Reads a whole batch. Rows that were being worked on wait again; damaged rows are moved out of the
// folder and reported. Thumbnails are written into our temporary folder.
StoredBatch readInterruptedBatch(BatchStore& store, std::vector<StoreProblem>& problems);

}  // namespace tessarin
