// What may stand in a SourceInfo: every key of it, with the kind and the range of its value.
//
// A record that was stored comes back from a file, and a file may come from anywhere. What is not
// on this list is no fact of a source: a key that the analysis learns to write has to be put here,
// or it is lost with the first time that its row is stored.
#pragma once

#include <string_view>

#include "analysis/SourceInfo.h"

namespace tessarin {

enum class Fact {
  unknown,  // no key of a source
  wrong,    // a value that no source can have under this key
  good,
};

// `value` under `key`.
Fact judgeFact(std::string_view key, const Value& value);

}  // namespace tessarin
