// What a start of the program with a window does before the user may act.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Alerts.h"

namespace tessarin {

// What to tell the user of a second copy that was given nothing to do.
Alert alreadyRunningAlert();

// Why the program cannot work where it is installed: the tools cannot be called by a path with a
// backslash. Nothing when it can.
std::optional<Alert> installPathRefusal();

// Why the program cannot work on this system as it is, in the user's language: its texts cannot be
// read, or too few files may be open at a time. Nothing when it can.
std::optional<std::string> systemProblem();

// The version as users are told it, "0.1.0".
std::string programVersion();

// Key of the user's domain: the path of the ffmpeg to use.
inline constexpr std::string_view ffmpegSetting = "ffmpegPath";

// Hands the ffmpeg of the user's setting, "" for none, to the tools through the environment, where
// a value that is there already wins. Answers why there is none to work with, in the user's
// language; nothing when there is one.
std::optional<std::string> chooseFfmpeg(const std::string& setting);

// Moves the logs of the run before to "Previous-…" in their folder, which is made when missing, and
// begins a new summary log.
void rotateLogs();

// Makes the working folder in our temporary folder, so that the tools find what they need. A
// failure is in the log; conversions that need no fonts work all the same.
void prepareTools();

// Writes the computer, the program and where it works to the log.
void recordEnvironment();
// What a report of a fault should say of the program and the machine, a line each.
std::string environmentFacts();

}  // namespace tessarin
