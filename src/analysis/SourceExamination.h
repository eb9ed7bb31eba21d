// Finds out, run by run of ffmpeg, whether a file is a source and what its pictures are like. Holds
// no process: the owner starts each command and hands in what came of it.
//
// The first run describes the source. What ffmpeg decodes pictures of is a source, whatever else
// it complains about. Where it has not read enough to know the streams that are converted, the run
// is made again with more to read, in bounded steps. Where the pictures do not show the order of
// their fields, other places are looked at. Where they may not begin at 0, it is asked when; where
// the sound may be none, it is tried.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "analysis/Source.h"
#include "analysis/fieldOrder.h"
#include "analysis/framePictures.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

class SourceExamination {
 public:
  // `pictures` is the file that each run writes its pictures to.
  SourceExamination(std::string source, std::int64_t sourceSize, std::string pictures);

  // Begins anew with a format that ffmpeg has to be told; "" lets it find out.
  void setFormat(std::string format);

  // The arguments of the next run; nothing when enough is known.
  std::optional<Arguments> nextCommand() const;
  // What came of that run: what it printed, with the source's path taken out, and wrote.
  void take(std::string report, std::optional<FramePictures> pictures);

  // Why the system could not read the source, in a run after which no other is made; "" when it
  // could. What was found out by then may lack streams.
  const std::string& readError() const { return readError_; }
  // The report that facts are to be taken from; empty when no run printed anything.
  const std::string& report() const { return best_.report; }
  // Whether pictures of a moving picture were decoded.
  bool isSource() const { return best_.score > 0; }
  // Whether the file is described, and as one without moving pictures but with sound.
  bool hasOnlySound() const { return best_.hasOnlySound; }
  // Whether it is described as a still picture or as text, which ffmpeg shows as a movie, too.
  bool isStillOrText() const { return best_.isStillOrText; }
  // The order of the fields; nothing when no picture was decoded.
  std::optional<FieldOrder> fields() const;
  // Adds to what the report tells what the examination found out beside it: which streams are
  // used, how far ffmpeg has to read, the order that the fields claim, and remarks.
  void complete(Source& source) const;

 private:
  // One run of the first kind.
  struct Description {
    std::string report;
    std::optional<FramePictures> pictures;
    int reading = 0;  // index of how much was read
    int score = -1;   // 0: no source; 1: a source; 2: and nothing is missing
    bool hasOnlySound = false;
    bool isStillOrText = false;
  };

  void takeDescription(Description description);
  std::optional<PicturePlace> place() const;
  std::optional<Arguments> beginCommand() const;
  std::optional<Arguments> soundCommand() const;

  std::string source_;
  std::int64_t sourceSize_;
  std::string pictures_;
  std::string format_;
  std::string readError_;
  Description best_;
  int reading_ = 0;
  bool isDescribed_ = false;
  Source described_;  // of the best report, for the commands that follow
  FieldClues clues_;
  int places_ = 0;
  bool asksBegin_ = false;            // when the pictures begin
  std::optional<int> doubtfulSound_;  // likewise whether it can be heard
  std::optional<int> mute_;
  std::optional<double> begin_;  // seconds to the first picture
};

}  // namespace tessarin
