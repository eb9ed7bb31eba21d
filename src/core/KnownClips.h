// Tells the clips that were converted before from new ones, and keeps the record of them.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "jobs/convertedRecord.h"
#include "platform/DiskWork.h"
#include "utils/Signal.h"

namespace tessarin {

// Cards are read and the record is written on a thread of its own; one piece of work after the
// other, so that what was converted is known to whoever asks later.
class KnownClips {
 public:
  // The files of a clip, in order.
  using Files = std::vector<std::string>;
  struct Finding {
    std::vector<std::string> known = {};  // of the clips converted before, the first files
    // Where this is not `good` less, or nothing, is known of the clips.
    ConvertedRecord::State record = ConvertedRecord::State::good;
  };

  // The loop is borrowed. Without a path there is no record: every clip is new.
  KnownClips(RunLoop& loop, std::string path) : path_(std::move(path)), disk_(loop) {}
  // What was converted is in the record when this returns.
  ~KnownClips() { cancel(); }
  KnownClips(const KnownClips&) = delete;
  KnownClips& operator=(const KnownClips&) = delete;

  // The record takes no clips in; why, in the user's language. Once, and not where what was found
  // in it has told so.
  Signal<const std::string&> refused;

  // Looks at the clips, and tells it from the loop.
  void find(std::vector<Files> clips, std::function<void(const Finding&)> told);
  // Nothing is told any more.
  void cancel();

  // The clip of these files has become a whole movie, which is on the disk: what is remembered is
  // not converted again.
  void converted(std::vector<ClipFile> files);
  // Waits until the record has what was converted.
  void finish() { disk_.finish(); }

 private:
  std::string path_;
  bool isRefusalTold_ = false;
  std::shared_ptr<std::atomic<bool>> isWanted_;  // of the search under way
  DiskThread disk_;
};

// Why the record at this path says nothing, or not all, in the user's language; "" when it does.
std::string troubleOfRecord(ConvertedRecord::State state, const std::string& path);

}  // namespace tessarin
