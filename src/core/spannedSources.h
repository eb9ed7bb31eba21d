// Recordings that the camera cut into several files, and the files with the sound of others, found
// among the sources that are taken in.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"
#include "jobs/soundFiles.h"

namespace tessarin {

// Files that belong together by what the tool joinclips has read of them.
struct SpannedSources {
  struct Recording {
    std::vector<Source::Part> furtherParts;
    double seconds = 0;  // of all
  };
  std::map<std::string, Recording> recordings;  // by the path of the first file
  std::map<std::string, SoundsBeside> sounds;   // by the path of the file with the pictures
  std::vector<std::string>
      doubtful;  // seem to go on in a next file that is not there, or does not fit
  std::vector<std::string> unread;   // may go on: one of those to be compared could not be read
  std::vector<std::string> later;    // are no first parts, and the one before is not there
  std::vector<std::string> unsplit;  // may hold more recordings than were found (tapeRecordings.h)
};

// The command that looks for such recordings among these paths; empty when there can be none.
Arguments partSearch(const std::vector<std::string>& paths);
// What it has found; `search` is the command.
SpannedSources foundParts(const Arguments& search, std::string_view output);

// The files with the sound of these pictures, if they lie beside them.
std::vector<Source::SoundFile> soundFilesOf(const SpannedSources& found, const std::string& path);

// Leaves out of the paths what is a further part of a recording, or the sound of another file.
void leaveOutParts(std::vector<std::string>& paths, const SpannedSources& found);
// Makes the first file of a recording the whole recording.
void takeFurtherParts(Source& source, const SpannedSources& found);

}  // namespace tessarin
