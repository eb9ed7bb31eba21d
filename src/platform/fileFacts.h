// What the system says of a file, by its name or of an open one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessarin {

// Whether a file is still the one that it was.
struct FileState {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;                // bytes
  std::int64_t changedNanoseconds = 0;  // time of the last change of the content, since 1970
  // The same in seconds, for a record; 0: no time that files of cameras have.
  std::int64_t changed() const;
  bool operator==(const FileState&) const = default;
};

// Whether a file may have been left as it was between these, in seconds since 1970; 0: not known.
// Cards tell even seconds of a local time, and not of which zone.
bool mayBeUnchanged(std::int64_t before, std::int64_t now);

struct FileFacts {
  enum class Kind { file, folder, link, other };
  Kind kind = Kind::other;
  bool isOwn = false;  // of this user
  FileState state;
};

// Of a link, what it leads to, or the link itself.
enum class Links { followed, themselves };

// Nothing when there is no such file; errno says why.
std::optional<FileFacts> fileFacts(const std::string& path, Links links = Links::followed);
std::optional<FileFacts> fileFacts(int descriptor);
std::optional<FileState> fileState(const std::string& path);
// Of a source; of one that is a section of a file (fileSection.h) the size is that of the bytes
// that are there of it.
std::optional<FileState> sourceState(const std::string& path);

// Whether these facts are of the file that has this name.
bool isAt(const std::string& path, const FileFacts& facts);

// Whether this user may do so; when not, errno says why.
bool mayRead(const std::string& path);
bool mayListFolder(const std::string& path);
// Whether it is a file that may be run.
bool isProgram(const std::string& path);

// Makes a folder that is this user's alone; when it cannot (EEXIST: something is there), errno says
// why.
bool makeOwnFolder(const std::string& path);

// The file that this process runs; "" when nobody knows.
std::string programPath();

}  // namespace tessarin
