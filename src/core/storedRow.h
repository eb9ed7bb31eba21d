// A row of the batch as files hold it.
//
// A batch may come from anywhere: nothing of a stored row counts that is not on the list of what a
// row has, and a row with a value that no row can have is none. What only holds while the program
// runs (the thumbnail's path, the caption) is not stored, and what a job needs never comes from a
// row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Value.h"
#include "core/BatchFile.h"

namespace tessarin {

// The keys of a row's record.
namespace BatchKey {
inline constexpr std::string_view resultat = "resultat";      // text, markName()
inline constexpr std::string_view out = JobKey::out;          // integer, outQuickTime …
inline constexpr std::string_view fps = "fps";                // integer, speedKeep …
inline constexpr std::string_view fpsSrc = "fpsSrc";          // text, "\n" + rate + "p" or "i"
inline constexpr std::string_view sizeOut = JobKey::sizeOut;  // integer, of the table of sizes
inline constexpr std::string_view dico = "dico";              // record, the source
inline constexpr std::string_view src = "src";                // text, caption of three lines
inline constexpr std::string_view img = "img";                // text, path of the thumbnail
inline constexpr std::string_view dstPathStr = "dstPathStr";  // text, the movie
inline constexpr std::string_view kept = "kept";              // integer, 1 (Row::isKept) or absent
inline constexpr std::string_view reason = "reason";          // text, why there is none
}  // namespace BatchKey

// The largest picture that is stored, in bytes. Thumbnails are 160 pixels wide.
inline constexpr std::size_t largestPicture = std::size_t{64} * 1024;

// The highest order number of a row.
inline constexpr int highestOrder = 1'000'000'000;

// All of a row.
Dico recordOfRow(const Row& row);

// What is written of a row, and the row that is read. Nothing when it is no row.
Dico storedForm(const Row& row);
std::optional<Row> rowOfStored(const Dico& stored);

// The same with the row's place and picture, as a file of its own holds it; of the number `order`
// alone.
Dico contentOfRow(const StoredRow& row);
std::optional<StoredRow> rowOfContent(const Dico& content, std::int64_t order);

}  // namespace tessarin
