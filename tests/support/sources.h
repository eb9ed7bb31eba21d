// Sources by their records, for tests.
#pragma once

#include "analysis/sourceRecord.h"

namespace tessarin::test {

// The record has to be one of a source; its path may be any text.
inline Source sourceOf(Dico record) {
  const std::string path = record.textOrEmpty("srcPathStr");
  record.remove("srcPathStr");
  Source source = sourceOfRecord(record).value();
  source.path = path;
  return source;
}

}  // namespace tessarin::test
