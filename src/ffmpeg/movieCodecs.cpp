#include "ffmpeg/movieCodecs.h"

#include <algorithm>
#include <array>

namespace tessarin {

namespace {

constexpr std::array held = {
    "amv",        "asv1",  "asv2",      "cfhd",      "cinepak",  "cljr",     "dnxhd",  "dpx",
    "dvvideo",    "ffv1",  "ffvhuff",   "flashsv",   "flv1",     "gif",      "h261",   "h263",
    "h264",       "hevc",  "huffyuv",   "jpeg2000",  "jpegls",   "magicyuv", "mjpeg",  "mpeg1video",
    "mpeg2video", "mpeg4", "msmpeg4v2", "msmpeg4v3", "msvideo1", "png",      "prores", "qtrle",
    "r10k",       "r210",  "snow",      "speedhq",   "svq1",     "targa",    "theora", "utvideo",
    "v210",       "v308",  "v408",      "v410",      "wmv1",     "wmv2",     "y41p",   "yuv4",
    "zlib",       "zmbv"};

// ffmpeg refuses the first three (but for VP8 and VP9 in 3.1), and gives the others back as
// something else.
constexpr std::array refused = {"av1", "vp8", "vp9", "ayuv", "dirac"};

// Formats that store no time of showing: a copy of pictures that are shown in another order than
// they are stored in ends before its last one.
constexpr std::array timeless = {"avi", "asf"};
constexpr std::array reordered = {"h264", "hevc", "mpeg1video"};

template <typename Table>
bool stands(std::string_view word, const Table& table) {
  return std::find(table.begin(), table.end(), word) != table.end();
}

}  // namespace

std::optional<bool> movieHolds(std::string_view codec, std::string_view wrapper) {
  if (stands(codec, refused) || (stands(codec, reordered) && stands(wrapper, timeless)))
    return false;
  if (stands(codec, held))
    return true;
  return std::nullopt;
}

}  // namespace tessarin
