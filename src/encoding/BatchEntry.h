// The keys of one row of the batch, a Dico, and of the job that is made of it.
#pragma once

#include <string_view>

namespace tessarin {

namespace BatchKey {
inline constexpr std::string_view order = "order";        // integer, one-based position
inline constexpr std::string_view resultat = "resultat";  // text, image name of the state mark
inline constexpr std::string_view out = "out";            // integer, OutputTarget
inline constexpr std::string_view fps = "fps";            // integer, OutputSpeed
inline constexpr std::string_view fpsSrc = "fpsSrc";      // text, "\n" + rate + "p" or "i"
inline constexpr std::string_view sizeOut = "sizeOut";    // integer, row of presetSizesList
inline constexpr std::string_view dico = "dico";          // record, the SourceInfo
inline constexpr std::string_view src = "src";            // text, caption of three lines
inline constexpr std::string_view img = "img";            // text, path of the thumbnail
}  // namespace BatchKey

// Added to the SourceInfo of a row.
namespace RowInfoKey {
inline constexpr std::string_view srcPathStr = "srcPathStr";            // text, the source
inline constexpr std::string_view imgPathStr = "imgPathStr";            // text, the thumbnail
inline constexpr std::string_view intraFailure = "intraFailure";        // integer, 1 or absent
inline constexpr std::string_view prefSurrond = "prefSurrond";          // integer, 1: keep surround
inline constexpr std::string_view sizeOutPrevious = "sizeOutPrevious";  // integer, last size row
inline constexpr std::string_view softPrevious = "softPrevious";        // integer, last application
}  // namespace RowInfoKey

// The job in hand: a row's SourceInfo and these.
namespace JobKey {
inline constexpr std::string_view srcPathStr = RowInfoKey::srcPathStr;
inline constexpr std::string_view dstPathStr = "dstPathStr";  // text, the destination
inline constexpr std::string_view out = BatchKey::out;
inline constexpr std::string_view speed = "speed";  // integer, OutputSpeed (the row's "fps")
inline constexpr std::string_view sizeOut = BatchKey::sizeOut;
inline constexpr std::string_view prefSurrond = RowInfoKey::prefSurrond;
}  // namespace JobKey

// The values of "out".
enum OutputTarget { outQuickTime = 0, outAic = 1, outProres = 2 };

// The values of "speed" and of a row's "fps". 1 deinterlaces at the same rate.
enum OutputSpeed { speedKeep = 0, speedHalf = 1, speedSlow = 2 };

// The values of "resultat".
namespace ResultMark {
inline constexpr std::string_view waiting = "puce";
inline constexpr std::string_view current = "puceCurrent";
inline constexpr std::string_view success = "puceSuccess";
inline constexpr std::string_view failure = "puceFailure";
}  // namespace ResultMark

}  // namespace tessarin
