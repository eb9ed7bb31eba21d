// Looks for the files with the sound of others.
#pragma once

#include <string>
#include <vector>

namespace tessarin::joining {

// Prints a line for each file with sound that belongs to one of these, as main.cpp says.
void tellSoundFiles(const std::vector<std::string>& files);

}  // namespace tessarin::joining
