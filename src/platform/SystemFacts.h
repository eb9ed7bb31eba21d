// What the log wants to know about the machine.
#pragma once

#include <string>
#include <vector>

namespace tessarin {

// The kernel's release as the system gives it, such as "6.1.0-18-amd64"; "" when unknown.
std::string kernelRelease();

// The kind of processor, such as "x86_64"; "" when unknown.
std::string machineName();

// "Version 12 (Debian GNU/Linux)": the distribution's version and name from os-release(5); "" when
// the distribution does not say both.
std::string operatingSystemText();
// The same from the content of an os-release file.
std::string operatingSystemText(const std::string& osRelease);

// Processors that are switched on; at least 1.
int processorCount();

// Milliseconds since the kernel started this process, -1 when it does not say.
double processAge();

// "NAME=value" of this process.
std::vector<std::string> processEnvironment();

}  // namespace tessarin
