// The command line's own texts.
#pragma once

namespace tessarin::cli {

// Their table in resources/*.lproj.
inline constexpr const char* textTable = "CommandLine";

}  // namespace tessarin::cli
