// The analysis of one source.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "analysis/Source.h"
#include "analysis/SourceExamination.h"
#include "analysis/framePictures.h"
#include "jobs/LaterStep.h"
#include "process/ToolRun.h"

namespace tessarin {

// Owns its steps, its tools and what it finds out. A step is a function of its own and is done from
// the loop; what it starts comes back there. Destroying the job ends its tools without a word.
class AnalysisJob {
 public:
  // In the order in which a job comes to them; reports are asked for until they say enough.
  enum class Step { askForReport, readReport, makeRecord, askForTime, makeThumbnail, end };

  struct Finding {
    std::optional<Source> source;  // with its path and its thumbnail, when there is one
    std::string reason;            // of a source that is none, in the user's language
  };

  // `loop` is borrowed; with `asksDiskFirst` no step waits for a disk that hangs. `sounds` are the
  // files with its sound, if it has not its own. `lane` is a number that no other job under way
  // has: the files in the temporary folder are named by it. `ended` is called once, from the loop;
  // it may not destroy the job. `changed` is called when the job comes to another step or has found
  // out more.
  AnalysisJob(RunLoop& loop, bool asksDiskFirst, std::string path,
              std::vector<Source::SoundFile> sounds, int lane, std::function<void(Finding)> ended,
              std::function<void(const AnalysisJob&)> changed);
  AnalysisJob(const AnalysisJob&) = delete;
  AnalysisJob& operator=(const AnalysisJob&) = delete;

  void start() { go(Step::askForReport); }
  // Ends it without a word.
  void abandon();

  const std::string& path() const { return path_; }
  int lane() const { return lane_; }
  Step step() const { return step_; }
  const std::string& format() const { return format_; }        // that ffmpeg is told, "" for none
  const std::string& thumbnail() const { return thumbnail_; }  // where it is to be, "" for nowhere
  // So far.
  const std::optional<Source>& found() const { return found_; }

 private:
  // What a step does with a tool's result. Of one that could not be started the status is not 0.
  using Continuation = std::function<void(ToolResult)>;

  void go(Step step);
  void perform();
  void run(const Arguments& command, const ToolLimits& limits, Continuation continuation);

  void askForReport();
  void readReport();
  bool mayTryForcedFormat() const;
  void judgeReport();
  void makeRecord();
  void completeRecord();
  void describeSounds();
  void askForTime();
  void makeThumbnail();
  void keepFirstPicture(std::optional<FramePictures>& pictures);
  bool writeThumbnail() const;
  void takeThumbnail();
  Source source() const;

  void refuse(const std::string& reason);
  void refuseForReport();
  std::string whyNotAnalysed() const;  // from the report
  void end();

  RunLoop& loop_;
  std::string path_;
  std::vector<Source::SoundFile> sounds_;
  int lane_;
  std::string framePath_;  // of the first pictures
  std::function<void(Finding)> ended_;
  std::function<void(const AnalysisJob&)> changed_;
  Step step_ = Step::askForReport;
  SourceExamination examination_;
  std::string format_;
  std::string thumbnail_;
  std::optional<Source> found_;
  std::string reason_;
  std::string output_;                         // of the last report that was asked for
  std::optional<FramePictureReader> frames_;   // of the same run
  std::optional<FramePictures> firstPicture_;  // for the thumbnail
  bool isReportOverdue_ = false;               // its run was ended for its silence
  std::string whyNotStarted_;                  // the last tool; "" when it was started
  ToolRun tool_;
  LaterStep next_;
};

}  // namespace tessarin
