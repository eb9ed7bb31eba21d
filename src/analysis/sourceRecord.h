// A source as a record: what is stored of it, and what is told of it to other programs.
//
// The keys are those of the streams ("v0_width": the first video stream's; "v3_offsetMs": that of
// ffmpeg's stream 3) and of the file ("wrapper", "w_duration", "srcPathStr"). An absent key means
// unknown. A record that was stored may have an integer where a number is meant.
#pragma once

#include <optional>
#include <string_view>

#include "analysis/Source.h"
#include "classShared/Value.h"

namespace tessarin {

// All that is known.
Dico recordOfSource(const Source& source);

// What is stored: without the thumbnail, which only lasts while the program runs, and without
// values that sourceOfRecord would not take.
Dico storedSource(const Source& source);

// The source of a record that may come from anywhere: what is no key of a source is passed over,
// and nothing is made of a record with a value that no source can have.
std::optional<Source> sourceOfRecord(const Dico& record);

// Whether a stored text may be a path: absolute, without zero bytes, no longer than the system
// takes.
bool isStoredPath(std::string_view path);

// How a record spells it; a key of the table "Localized" for the user.
std::string_view remarkKey(Source::Remark::Kind kind);
// "card", as the tool that tells times says it.
std::optional<RecordedBy> recordedByOfWord(std::string_view word);

}  // namespace tessarin
