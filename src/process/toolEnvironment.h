// The working folder, and the environment in which tools run.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/Bundle.h"

namespace tessarin {

// The folder below which the tools and fonts are reached by a path without blanks, whatever the
// application's own path is. "/private/tmp/NAME" with the bundle's name until start-up sets one.
std::string workFolderPath();
// Nothing puts the default back.
void setWorkFolderPath(std::optional<std::string> path);

// The tools as shell command lines name them: below the working folder.
std::string workToolsFolder();

// Makes the working folder (0700) with links to the bundle's tools and fonts in it, so that the
// paths above and the environment below lead somewhere. Refuses a folder of somebody else, or a
// link in its place: the default lies where every user may write.
Outcome<void> prepareWorkFolder(const Bundle& bundle);

// The environment of every tool, as "NAME=value": the application's own, with LC_CTYPE (tools
// print UTF-8) set, and FONTCONFIG_FILE and FONTCONFIG_PATH (the application's fonts) where those
// are.
std::vector<std::string> toolEnvironment();

}  // namespace tessarin
