// Titles and destination paths out of source paths (naming.cpp), and the names of clips by their
// recording time (clipNames.cpp).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"
#include "classShared/Outcome.h"

namespace tessarin {

// The title of a source: its file name without the extension, without the endings in
// `extraSuffixes` and "-PAL", "-NV" and "-NF", and without blanks around it. A title that ends with
// such an ending is cut where the ending first occurs in it. Never empty unless the name is.
std::string pathes2Titles(std::string_view path,
                          const std::vector<std::string>& extraSuffixes = {});

// The path of the movie that is waiting for its export: the same with "_MASTER" before the
// extension. Unless the path is very short, the file name is cut to 20 characters and its dots
// become "_".
std::string masterPathStr(std::string_view path);

// The name of a clip, by which imported clips sort by their recording time: on a camcorder's card
// "TIME-NAME", elsewhere "clip-DATE TIME-NAME" with ";" for ":", by the time that is known of
// the source. The file name, extension included, where none is.
std::string dateCreation2iMovieN(std::string_view path, const Source& source);

// The name of a clip by a date, such as "2010-12-24 14:05:33 +0100".
std::string clipNameOfDate(std::string_view dateText, std::string_view clip);

// What the name of the folder begins with by which isFolderWritable() tries: a PrivateFolder.
inline constexpr std::string_view trialPrefix = "_QRdir";
// Whether files can be made in the folder, or in the folder of a file: tried with a folder that is
// removed again. The failure is the system's.
Outcome<void> isFolderWritable(std::string_view path);

}  // namespace tessarin
