// Where the ffmpeg of this computer is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin {

// The environment variable that names the ffmpeg to use; set from the user's setting.
inline constexpr const char* ffmpegVariable = "TESSARIN_FFMPEG";

// What to say when there is none: one sentence that names the Debian package, no line end.
std::string noFfmpegMessage();

// A file whatever its name: device and inode.
struct FileIdentity {
  unsigned long long device = 0;
  unsigned long long inode = 0;
  bool operator==(const FileIdentity&) const = default;
};
// Nothing when the path (links are followed) names nothing.
std::optional<FileIdentity> fileIdentity(const std::string& path);

struct FfmpegSearch {
  std::string setting;                 // a path, or a name to look for in searchPath; may be empty
  std::string searchPath;              // folders as in PATH; only absolute ones are looked into
  std::vector<FileIdentity> adapters;  // never the answer: our own programs of that name
};

// The search that the environment asks for. `adapter` is our own program in the tools folder.
FfmpegSearch ffmpegSearchOfEnvironment(const std::string& adapter);

// The absolute path (or the setting's own) of the ffmpeg to run, or a sentence for the user. A
// setting that names no program is a failure; what stands in the search path is then not tried, as
// the user asked for another one.
Outcome<std::string> findFfmpeg(const FfmpegSearch& search);

}  // namespace tessarin
