// The takes on cards of XDCAM EX: TAKR has an SMI for each that lists the files of its recording.
#pragma once

#include <string>
#include <vector>

namespace tessarin {

// What the take has of a file: time codes that count from the beginning of the file, "" for none.
struct TakePart {
  std::string begin;
  std::string end;
};
// In order, of the take that CLPR/709_0001_02/709_0001_02.MP4 belongs to: TAKR/709_0001. Empty
// where the card has no such list.
std::vector<TakePart> partsOfTake(const std::string& clip);

}  // namespace tessarin
