// Where the movies of a batch are made, how they come to their names, what is left of failed ones,
// and what is stored of a job while it writes.
//
// Everything that a job writes lies in a folder of its own (PrivateFolder) inside the destination:
// nobody else can put a link in its way there, what the user has in the destination is in nobody's
// way, and the finished movie comes to its name in one step, as a whole.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "classShared/Value.h"
#include "platform/fileFacts.h"
#include "utils/PrivateFolder.h"

namespace tessarin {

// That what has this name is in the way, in the user's language.
std::string whyInTheWay(const std::string& path);
// Why nothing could be written to this folder of movies: something else may have the name of it or
// of a folder above it. The cause is the system's, "" when it is not known.
std::string whyNothingIsWritten(const std::string& folder, const std::string& cause);

// Why no movies can be made in a folder.
struct FolderRefusal {
  std::string folder;
  std::string reason;      // in the user's language
  bool isForeign = false;  // it is another user's; else nothing can be written to it
};
// Nothing when movies can be made in the outputFolder() of this destination of the user's, which is
// made when it is not there.
std::optional<FolderRefusal> refusalOfDestination(const std::string& destination);

// A path for the folder of a job that makes `output`; nothing is there yet.
std::string newJobFolder(const std::string& output);
// Makes it. Fails as PrivateFolder::create() does.
Outcome<PrivateFolder> makeJobFolder(const std::string& path);
// The path in the folder under which the movie is made: with the name that it is to have.
std::string workPath(const std::string& jobFolder, const std::string& output);

// Whether the file is large enough to hold a movie.
bool mayHoldMovie(const std::string& path);

// Removes what runs that were killed have left in this folder of movies, where they have no record
// of it (recovery.h).
void removeLeftFolders(const std::string& folder);
// Removes one such folder. True when it is gone.
bool removeLeftJobFolder(const std::string& path);

// Moves the file to a free name that says what it is: "NAME-failure.EXT", after the movie `output`
// that it was to become, with a number when that is taken. The result is that name; "" when there
// is no such file or it cannot be moved.
std::string setAsideFailure(const std::string& file, const std::string& output);

// What is stored of a job while it writes.
struct StoredJob {
  std::string source;
  std::string folder;  // into which it writes everything
  std::string boot;    // runningSystem() of the job
  // Of a movie that was whole when this was stored, and then moved to its name.
  std::string output = {};
  std::optional<FileState> movie = {};
  bool isUndamaged = false;
};

Dico recordOfJob(const StoredJob& job);
StoredJob jobOfRecord(const Dico& record);

// A name for the time from one start of the system to the next: what was written in the same one
// cannot have been lost with the power. "" when the system does not tell.
std::string runningSystem();

}  // namespace tessarin
