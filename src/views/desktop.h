// What the desktop does for the program.
#pragma once

#include <string>

namespace tessarin {

// Shows a file, selected in its folder, or the content of a folder in the desktop's file browser.
// Nothing is waited for.
void revealInFileBrowser(const std::string& path);

// Opens the file with the program that the desktop uses for its kind.
void iba_OpenFile(const std::string& path);

}  // namespace tessarin
