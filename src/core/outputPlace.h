// Where the movies of a batch are made, and how they come to their names.
//
// Everything that a job writes lies in a folder of its own (PrivateFolder) inside the destination:
// nobody else can put a link in its way there, what the user has in the destination is in nobody's
// way, and the finished movie comes to its name in one step, as a whole.
#pragma once

#include <optional>
#include <string>

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
void removeLeftJobFolders(const std::string& folder);
// Removes one such folder. True when it is gone.
bool removeLeftJobFolder(const std::string& path);

}  // namespace tessarin
