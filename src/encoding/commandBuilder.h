// The ffmpeg command line of a job.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Value.h"
#include "encoding/Row.h"
#include "ffmpeg/pictureColours.h"

namespace tessarin {

struct EncodingCommand {
  std::vector<std::string> arguments;  // the path of the tool first
  // The final ProRes is written at once: no export may follow.
  bool writesProres = false;
};

// `prefProres` is the four characters of the ProRes flavour. Paths are not checked: without them
// the command is one that ffmpeg refuses. Nothing when the chosen size is no row of the table.
std::optional<EncodingCommand> encodage(const Row& row, const std::string& destination,
                                        std::string_view prefProres);

// The same command as it is run, with what makes the movie right besides: fields and colours as the
// pictures have them, the moment of the first one, an encoder that can take them. All filters of a
// conversion are chosen here; what comes behind only puts them in the words of an ffmpeg's version,
// or leaves the encoding to a program of ours.
std::optional<EncodingCommand> movieCommand(const Row& row, const std::string& destination,
                                            std::string_view prefProres);

// Has all sounds of the movie go through this filter, too, behind those that they have.
void addSoundFilter(EncodingCommand& command, const std::string& filter);

// The colours of a source: what it says, and what is usual where it does not.
PictureColours sourceColours(const Source& source);

// The job of a row as the preference store and the log show it: the record of the source with the
// choices and, where it is known, the destination.
Dico jobRecord(const Row& row, const std::string& destination);

}  // namespace tessarin
