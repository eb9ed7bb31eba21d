// Pictures of a clip and of its movie at the same moment, taken in the background.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "core/BatchTable.h"
#include "encoding/sizes.h"
#include "process/ToolRun.h"

namespace tessarin {

// The command that writes the picture of this moment to its standard output, as a JPEG that fits
// into the room, in the shape in which it is to be seen, of interlaced pictures both fields made
// into one. `seconds` from the begin of the file.
Arguments pictureCommand(const Source& source, double seconds, FrameSize room);
Arguments pictureCommand(const std::string& movie, bool isInterlaced, double seconds,
                         FrameSize room);
// Where the movie of the row shows what its source shows at this moment, both in seconds.
double momentInMovie(const Row& row, const std::optional<Forecast>& movie, double seconds);

// Of one row, the one that was shown last; follows it through the table, and what becomes of it.
// One picture is taken at a time, with limits of time and size. Of several wishes that come
// meanwhile the latest counts. Nothing is taken while there is no room.
class ClipPreview {
 public:
  // Both are borrowed.
  ClipPreview(RunLoop& loop, BatchTable& table);
  ~ClipPreview() { abandon(); }
  ClipPreview(const ClipPreview&) = delete;
  ClipPreview& operator=(const ClipPreview&) = delete;

  // -1 for none. The moment of another clip is its begin.
  void show(int row);
  // 0 for the begin to 1 for the end.
  void setMoment(double fraction);
  // For one picture, in pixels of the screen; nothing when nobody looks.
  void setRoom(std::optional<FrameSize> room);
  // Ends a run that is under way.
  void abandon();

  // The row that is shown, -1 for none.
  int row() const { return table_.rowOfSource(path_); }
  // Of the clip, in seconds.
  double length() const;
  double seconds() const { return moment_ * length(); }
  bool hasMovie() const { return !movie_.empty(); }
  // JPEGs; "" until there is one, or when none can be had.
  const std::string& sourcePicture() const { return sourcePicture_; }
  const std::string& moviePicture() const { return moviePicture_; }
  // Another row, another picture, or another state of the row.
  Signal<> changed;

 private:
  void rowChanged();
  void want();
  void next();
  void take(bool isOfMovie);

  RunLoop& loop_;
  BatchTable& table_;
  std::string path_;   // of the clip, "" for none
  std::string movie_;  // of its row, "" for none
  double moment_ = 0;
  std::optional<FrameSize> room_;
  std::deque<bool> wanted_;  // of the movie? in their order
  bool isNew_ = false;       // the wish is a newer one than `wanted_`
  std::string sourcePicture_;
  std::string moviePicture_;
  RunLoop::Id timer_ = 0;
  ToolRun run_;
};

}  // namespace tessarin
