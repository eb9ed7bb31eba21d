// Files and folders: tests, lists, sizes, reading, writing, moving and removing.
//
// Every function expands a leading "~" of its paths. An empty path is no path: it is answered like
// a missing file. Nothing here throws; what fails says so in its result and in the log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"
#include "classShared/Value.h"

namespace tessarin {

// ---- What is there (files.cpp)

// "~" and "~/…" with the home folder ($HOME, else the user's entry in the system's list),
// "~name/…" with that user's; any other path as it is.
std::string expandTilde(std::string_view path);

// The program's own folders of the user, for its choices, what it has fetched, what it can make
// anew and what it has in hand. They need not exist.
enum class UserFolder { configuration, data, cache, state };
// "Tessarin" in the folder that XDG_CONFIG_HOME and its like name, by the XDG Base Directory
// Specification, or in the usual one: ~/.config and so on.
std::string userFolder(UserFolder which);

// Whether the path can be opened for reading, or is a symbolic link, even a broken one.
bool pathExists(std::string_view path);
// Whether something has this name; of a link its own name counts, wherever it leads.
bool isNameTaken(std::string_view path);
// Whether the path is a folder or a link to one.
bool isDirectory(std::string_view path);

// The full paths of the folder's direct entries, hidden ones included, in the order of the file
// system; nothing when there are none.
std::optional<std::vector<std::string>> lsCocoa(std::string_view folder);
// Those whose extension is this one, in capitals or small letters; "" is no extension.
std::optional<std::vector<std::string>> lsGrepCocoa(std::string_view folder,
                                                    std::string_view extension);
// Every file below the folder, hidden ones included, sorted by name within each folder. Links to
// files count as files; links to folders are neither followed nor listed.
std::vector<std::string> filesBelow(std::string_view folder);

// The free space for this user on the file system that holds the path, in whole megabytes of
// 1024 x 1024 bytes; -1 when the path does not exist or the size is unknown.
std::int32_t freeDiskSpaceMo(std::string_view path);
// The size of a file, or of all the files below a folder, in a unit of 1024 ("k", "m", "g") or in
// bytes ("o", or no unit; a folder without one of the four units is its own entry's size). A
// folder's size is cut to whole megabytes first. -1 when there is no such file.
double poidsFile(std::string_view path, std::optional<std::string_view> unit);
// When the file was made or last modified, whichever was earlier: a copy is made anew, and keeps
// the date of its contents.
std::optional<Date> fileCreationDate(std::string_view path);

// The path that a symbolic link leads to in the end; the path itself when it is no link or a
// broken one.
std::string resolveAlias(std::string_view path);

// ---- Reading (fileReading.cpp). Only of regular files: a pipe would block.

// The first `count` bytes, or as many as there are.
std::optional<std::string> readFileStart(std::string_view path, std::size_t count);
// No more than `most` bytes, for what refuses a larger file anyway.
Outcome<std::string> readWholeFile(std::string_view path,
                                   std::size_t most = std::numeric_limits<std::size_t>::max());

// ---- Writing (fileWriting.cpp)

// Makes the folder and those above it, with all permissions that the user's mask leaves. True also
// when it is there already. When it is false, errno says why.
bool mkdir(std::string_view path);

// Replaces the file by the text, with LF for every CRLF and CR. Not atomic. The number goes into
// the log. No text is false.
bool ecritureFichier(std::string_view path, std::optional<std::string_view> text, int number = 0);

// Adds the text at the end of the file. A missing file is made, with the UTF-8 mark EF BB BF when
// `addMark` asks for it. False without a path, for an empty or missing text, and when writing
// fails.
bool appendTextToFile(std::string_view path, std::optional<std::string_view> text, bool addMark);

// Whether a new name is made to survive a power cut at once, or by a syncFolder() of the caller's
// after several of them.
enum class FolderSync { now, later };

// Writes to a temporary name beside the file, syncs and renames, so that the file is always whole.
// A link keeps pointing where it does; an existing file keeps its permissions.
Outcome<void> writeFileAtomically(std::string_view path, std::string_view bytes,
                                  FolderSync folderSync = FolderSync::now);

// The hidden name beside this path under which a file of ours is written that is not complete yet;
// with a number from 2 on when that is taken. Who ends a tool that writes so removes it.
std::string partialName(std::string_view path, int number = 1);

// Makes what was renamed, made and removed in this folder survive a power cut. A file system that
// cannot is left alone.
void syncFolder(const std::string& folder);

// ---- Moving and removing (fileMoving.cpp)

// Moves a file or a folder, across file systems only a file. An existing destination is replaced
// when the option is exactly "y", else kept, and the source too; a folder that is not empty is
// always kept. False when the source is not at the destination afterwards.
bool moveFile(std::string_view source, std::string_view destination,
              std::optional<std::string_view> overwriteOption);

// Gives a file another name on its file system, in one step. 0 or the error (errno): without
// `replace` EEXIST when something has that name, also when it appears only now.
int renameTo(const std::string& source, const std::string& destination, bool replace);

// Removes a file, a link (never what it points to) or an empty folder. Never more, and never the
// root or the home folder. True when it was there and is gone.
bool removeFile(std::string_view path);

// Tells file browsers that something changed there. Those of this platform watch by themselves:
// nothing is done.
void noteFileSystemChanged(std::string_view path);

// ---- The process's own folder (temporaryFolder.cpp)

// "Tessarin-PID-" and six letters below $TMPDIR (else /tmp), for this user alone; made on first
// use. Folders that crashed processes of this user left there go at the same time. Empty when it
// cannot be made.
std::string temporaryFolder();
// Removes it with everything in it; the next call of temporaryFolder() makes another one.
void removeTemporaryFolder();

}  // namespace tessarin
