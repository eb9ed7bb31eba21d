// An ffmpeg command line taken apart the way ffmpeg does it: options belong to the input or output
// file that follows them. Pure functions; no file is touched and no program run.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

struct FfmpegOption {
  std::string name;                  // without the hyphen, with its stream specifier: "c:v"
  std::optional<std::string> value;  // absent for a switch ("an"), and where the value is missing

  // The name without stream specifier.
  std::string_view baseName() const;
  bool operator==(const FfmpegOption&) const = default;
};

// The options before a file, and the file.
struct FfmpegOptionGroup {
  enum class Kind { input, output, trailing };  // trailing: options with no file behind them

  Kind kind = Kind::trailing;
  std::vector<FfmpegOption> options;
  std::string file;              // empty when trailing
  bool fileAfterDashes = false;  // an output written as "--" "-name", or "--" at the end

  // The last option of one of these full names, which is the one that counts; null when there is
  // none. The pointer is good until the options change.
  const FfmpegOption* last(std::initializer_list<std::string_view> names) const;
};

// The arguments without the program. Values are never taken for options or files: which options
// are switches is a table, and all others take a value, as in ffmpeg.
std::vector<FfmpegOptionGroup> parseFfmpegArguments(const std::vector<std::string>& arguments);

// The opposite of parseFfmpegArguments: what was not changed comes out as it went in.
std::vector<std::string> ffmpegArguments(const std::vector<FfmpegOptionGroup>& groups);

// The names of the filters of a filter chain or graph, in order ("scale=640:480,yadif" gives
// "scale", "yadif"). Text inside quotes and behind a backslash separates nothing; link labels and
// instance names ("@name") are left out.
std::vector<std::string> filterNames(std::string_view graph);

// True when the pictures of this chain do not come with the source's fields in them any more: it
// takes them apart into progressive pictures, or weaves fields from progressive pictures.
bool leavesSourceFields(std::string_view chain);

// Whether the path ends like this, in capitals or small letters; `ending` is in small ones.
bool hasEnding(std::string_view path, std::string_view ending);

}  // namespace tessarin
