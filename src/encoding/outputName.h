// Where the movies of a batch are written to, and what they are called.
#pragma once

#include <map>
#include <string>

#include "analysis/Source.h"
#include "encoding/BatchEntry.h"
#include "encoding/namePattern.h"

namespace tessarin {

// The outputs of a batch so far, by path, with the source of each: two sources of the same name
// (00000.MTS of two cards) must not write the same movie. Capitals and small letters count as the
// same, for the disks that cameras and cards are read on tell them no more apart.
struct IgnoringCase {
  bool operator()(const std::string& one, const std::string& other) const;
};
using OutputNames = std::map<std::string, std::string, IgnoringCase>;

// The folder that movies are written to: the destination itself when it is called "Tessarin", or
// else its subfolder of that name. "~" is expanded.
std::string outputFolder(const std::string& destination);

// The movie that the source becomes with this target: a QuickTime movie directly in `folder`, named
// by the pattern, or else after the source; for Apple Intermediate Codec after the recording too. A
// name that another source of `taken` has gets a number. The result is added to `taken`. Whatever
// the source is called and says of itself, the name is visible, and it leaves room in the 255 bytes
// that file systems take for the endings that a job adds ("-failure", numbers, "_MASTER").
std::string outputPath(const Source& source, Target target, const std::string& folder,
                       OutputNames& taken, const NamePattern& names);

// The name that the movie takes instead when something else has come to `path` by the time that it
// is finished: with the next number that neither a file nor an output of `taken` has. Replaces
// `path` in `taken`. `own` is a movie of this very source, "" for none: its name may be taken.
std::string otherOutputPath(const std::string& path, OutputNames& taken,
                            const std::string& own = "");

}  // namespace tessarin
