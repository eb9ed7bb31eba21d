// How cameras name the files of one recording. Pure functions.
#pragma once

#include <optional>
#include <string>

namespace tessarin::joining {

// The name with the number at its end one higher: "/card/STREAM/00008.MTS" for "…/00007.MTS".
// Nothing for a name that has no number.
std::optional<std::string> nextName(const std::string& path);

// "MOV00A.MOD" behind "MOV009.MOD": these count in hexadecimal. Nothing for other names.
std::optional<std::string> nextHexadecimalName(const std::string& path);

// "GP010042.MP4" behind "GOPR0042.MP4", "GX020042.MP4" behind "GX010042.MP4": the number of the
// part comes before that of the recording. Nothing for other names, and for loop recordings.
std::optional<std::string> nextChapterName(const std::string& path);
bool isChapterName(const std::string& path);

// "AA0001/AA000102.MXF" behind "AA0001/AA000101.MXF": the folder has the name of the recording.
std::optional<std::string> nextNameInFolder(const std::string& path);

// "CLPR/709_0001_02/709_0001_02.MP4" behind "CLPR/709_0001_01/709_0001_01.MP4": each part has a
// folder of its own name.
std::optional<std::string> nextTakeName(const std::string& path);
bool isTakeName(const std::string& path);

// Which part of its recording it is by one of these three kinds of names, from 1 on; 0 by others.
std::size_t partNumber(const std::string& path);

// "00_0001_2007-08-06_165555.M2T": camera, clip and start. Whether both are of one camera, the
// second behind the first and of the same clip or the one behind.
bool mayFollowOnRecorder(const std::string& path, const std::string& next);

}  // namespace tessarin::joining
