// A section of a file that is a source of its own, as a recording of a tape that was captured into
// one file with others. Pure functions.
//
// Its path lies below that of the file, as if the file were a folder, where nothing else can be:
// "/tapes/Summer.dv/bytes 144000-288000/Summer-02.dv". So whoever names, stores or compares sources
// need not know of sections; who asks the system for their bytes does. (A folder "Summer.dv" with a
// folder "bytes 144000-288000" in it is taken for such a file, and found not to be one.)
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

struct FileSection {
  std::string file;
  std::uint64_t begin = 0;  // bytes of the file
  std::uint64_t end = 0;    // behind the last one
  bool operator==(const FileSection&) const = default;
};

// Nothing for the path of anything else.
std::optional<FileSection> sectionOf(std::string_view path);
// The name has the extension of the file.
std::string pathOfSection(const FileSection& section, std::string_view name);
// What has the bytes of this source: the file that it is a section of, or itself.
std::string fileOfSource(const std::string& path);

}  // namespace tessarin
