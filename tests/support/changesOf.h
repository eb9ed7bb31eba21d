// A stored batch as the changes that make it.
#pragma once

#include "core/BatchStore.h"

namespace tessarin::test {

inline BatchChanges changesOf(const StoredBatch& batch) {
  BatchChanges changes;
  changes.settings = batch.settings;
  changes.rows = batch.rows;
  changes.waiting = batch.waiting;
  return changes;
}

}  // namespace tessarin::test
