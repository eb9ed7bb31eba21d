// What a row may be made into, and the keys of the job that is made of it.
#pragma once

#include <string_view>

namespace tessarin {

// The job in hand: a row's source and these.
namespace JobKey {
inline constexpr std::string_view srcPathStr = "srcPathStr";
inline constexpr std::string_view dstPathStr = "dstPathStr";  // text, the destination
inline constexpr std::string_view out = "out";                // integer, outQuickTime …
inline constexpr std::string_view speed = "speed";            // integer, speedKeep …
inline constexpr std::string_view sizeOut = "sizeOut";        // integer, of the table of sizes
inline constexpr std::string_view durationDouble =
    "durationDouble";  // number, seconds of the movie
inline constexpr std::string_view prefSurrond = "prefSurrond";
// Texts, files that are deleted when the job ends.
inline constexpr std::string_view intermediate = "postProcessPurge";  // a slowed copy
inline constexpr std::string_view master = "purgePathStr1";           // what the export reads
}  // namespace JobKey

// The values of "out".
enum Target : int {
  outQuickTime = 0,
  outAic = 1,
  outProres = 2,
  outNone = 3,  // of a row whose application has no target of its own
};

// The values of "speed".
enum Speed : int {
  speedKeep = 0,
  speedHalf = 1,  // deinterlaced, one frame for two fields
  speedSlow = 2,  // one frame for each field, at half the speed
};

}  // namespace tessarin
