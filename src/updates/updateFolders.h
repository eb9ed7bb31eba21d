// The folders in which updates are fetched and kept.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Outcome.h"

namespace tessarin {

// $XDG_DATA_HOME/Tessarin/updates, else below ~/.local/share. Not made here.
std::string userUpdatesFolder();

// A new folder for this user alone in `parent`, which is made when missing; what earlier runs that
// crashed left there goes. One program at a time may use a parent.
Outcome<std::string> makeUpdateWorkFolder(const std::string& parent);
// Removes it with everything in it. An empty path is ignored.
void removeUpdateWorkFolder(const std::string& folder);

// Moves the folder `content` into `parent` under this name, with a number when that is taken.
// Answers the new path.
Outcome<std::string> keepUpdate(const std::string& content, const std::string& parent,
                                const std::string& name);

}  // namespace tessarin
