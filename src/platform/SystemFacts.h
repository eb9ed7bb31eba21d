// What the log wants to know about the machine.
#pragma once

#include <string>

namespace tessarin {

// The kernel's release as the system gives it, such as "6.1.0-18-amd64"; "" when unknown.
std::string kernelRelease();

// "Version 12 (Debian GNU/Linux)": the distribution's version and name from os-release(5); "" when
// the distribution does not say both.
std::string operatingSystemText();
// The same from the content of an os-release file.
std::string operatingSystemText(const std::string& osRelease);

// Processors that are switched on; at least 1.
int processorCount();

}  // namespace tessarin
