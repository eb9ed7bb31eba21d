// Files with the sound of a clip, beside the one with its pictures.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/Source.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

struct SoundsBeside {
  std::vector<Source::SoundFile> files;  // in the order of the channels
  std::size_t missing = 0;               // of which the card speaks, and which are not there
  bool isByName = false;                 // for the card does not say which there are
};

// Whether there may be such files beside this one, by its name.
bool mayHaveSoundFiles(const std::string& path);

// Takes what joinclips says of these pictures: "3 AUDIO/0001AB00.MXF", a file of the card; "3
// missing", once for each; "3 by name".
void takeSoundsLine(std::string_view words, const std::string& pictures, SoundsBeside& sounds);

// The command that describes the streams of the pictures and of these files together.
Arguments soundFilesCommand(const std::string& pictures,
                            const std::vector<Source::SoundFile>& files);
// Makes the sounds of this report those of the source, and the files its own; a source whose
// pictures are not what they count from stays as it is.
void takeSoundFiles(Source& source, const std::vector<Source::SoundFile>& files,
                    std::string_view report);
// Adds what has to be told of them.
void tellOfSounds(Source& source, const SoundsBeside& sounds);

}  // namespace tessarin
