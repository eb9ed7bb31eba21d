// Movies that are there already under the names that a batch is about to give.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "encoding/outputName.h"
#include "platform/Alerts.h"

namespace tessarin {

// What becomes of a movie's name where something is there already.
enum class Clash {
  left,   // the name stays: to be asked about, replaced or kept
  other,  // it is another clip's, and this movie gets another name
};

// The movie that the row's clip has become before, "" for none. One that was kept may be another
// clip's.
std::string ownMovie(const Row& row);

// Where the row's movie goes to: outputPath(), or what becomes of that. With Clash::other nothing
// is there, or the row's own movie.
std::string outputOfRow(const Row& row, const std::string& folder, OutputNames& taken,
                        const NamePattern& names, Clash clash);

// Looks for them before the first movie is made, so that the user is asked while he is there. A
// name may need a look into the card of its clip, which can be slow: it is done in steps.
class ClashSearch {
 public:
  // The table is borrowed. `folder` is that of the movies, `taken` the names that are given,
  // `names` how others are, `clash` what becomes of those that are there.
  ClashSearch(const BatchTable& table, const std::vector<int>& rows, std::string folder,
              OutputNames taken, NamePattern names, Clash clash);

  // Looks at some more of the rows. True when it has looked at all.
  bool step();
  // The movies in question, in the order of their rows.
  const std::vector<std::string>& found() const { return found_; }

 private:
  void lookAt(int row);

  const BatchTable& table_;
  std::vector<std::string> sources_;  // rows may be removed meanwhile
  std::size_t next_ = 0;
  std::string folder_;
  OutputNames taken_;
  NamePattern names_;
  Clash clash_;
  std::vector<std::string> found_;
};

// The one question about all of them, and its answers. There has to be one at least.
enum ClashAnswer : std::size_t { keepAnswer, replaceAnswer, stopBatchAnswer };
Alert clashQuestion(const std::vector<std::string>& movies);

}  // namespace tessarin
