// A folder for this process alone.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Outcome.h"

namespace tessarin {

// "PREFIX" + process id + "-" + six letters, readable and writable by this user alone where the
// file system knows permissions. Its lock (flock) is gone with the process however it ends; it
// tells other processes, those in containers with process ids of their own too, that the folder is
// in use. The folder goes with the object, with everything in it; links are not followed.
class PrivateFolder {
 public:
  // A path for a new folder below the parent: nothing is there yet.
  static std::string newPath(const std::string& parent, std::string_view prefix);
  // Makes the folder of such a path. Fails when anything is there, and when what was made cannot be
  // opened as a folder.
  static Outcome<PrivateFolder> create(std::string path);

  // Removes the folders with this prefix that processes of this user have left in the parent. Where
  // the file system knows no locks, as between machines, they are left alone.
  static void removeAbandoned(const std::string& parent, std::string_view prefix);
  // Removes one folder, of a process that is known to be gone, with its content, if its path is of
  // that form and it is of this user and in nobody's use. True when nothing is left at the path.
  static bool removeOne(const std::string& path, std::string_view prefix);

  PrivateFolder() = default;  // none
  PrivateFolder(PrivateFolder&& other) noexcept;
  PrivateFolder& operator=(PrivateFolder&& other) noexcept;
  ~PrivateFolder() { remove(); }

  const std::string& path() const { return path_; }  // "" of none
  // Whether the path still leads to this folder: nobody has put another in its place.
  bool isInPlace() const;
  // Whether the folder has only the permissions that were asked for. On file systems that know
  // none the modes of files mean nothing.
  bool knowsPermissions() const { return knowsPermissions_; }
  void remove();

 private:
  std::string path_;
  int lock_ = -1;
  bool knowsPermissions_ = true;
};

// Whether the folder is of another user, who may at any time put something else in the place of
// what is in it. Folders of the system's own (root) are nobody's in this sense, and for root those
// of the user who called sudo. File systems without owners (those of cards, some of networks) show
// one for all: there a folder is another user's when what we make in it has another owner.
bool isOfAnotherUser(const std::string& folder);

}  // namespace tessarin
