// Takes sources in and analyses them one after the other: a step machine whose steps are flags in
// the preference store.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "analysis/SourceExamination.h"
#include "analysis/SourceInfo.h"
#include "core/BatchTable.h"
#include "core/StepFlags.h"
#include "core/ToolTasks.h"
#include "core/WaitingSources.h"

namespace tessarin {

class AnalysisQueue {
 public:
  AnalysisQueue(CoreServices& services, Interface& interface, BatchTable& table, ToolTasks& tasks);
  ~AnalysisQueue();

  // Whether a new set of sources is accepted (OPENPERM): false while a queue is analysed.
  bool isOpenPermitted() const { return openPermitted_; }
  // Has no effect while a queue is analysed, which says itself when it is over.
  void setOpenPermitted(bool permitted) { openPermitted_ = permitted && !isUnderWay_; }
  // The step flags, in their order.
  const std::vector<std::string>& analysisArray() const { return steps_.names(); }
  // While false (the start value), a source that is in the batch is not queued again.
  void setStu(bool isStu) { isStu_ = isStu; }

  // Takes dropped files or a dropped folder in: follows the first path when it is a link, and
  // replaces the list by the files of a folder.
  void draggedFiles(const std::vector<std::string>& paths);
  // Filters the files, queues what is left and starts the analysis. Links keep their own names.
  void takeSources(std::vector<std::string> paths);
  // Performs one step and arranges for the next one.
  void analysis();
  // The stop control: the source in hand and those that wait are given up.
  void iba_analysisStopBt();

  // The sources that have no row yet: the one in analysis and those that wait, in order.
  std::vector<std::string> sourcesWithoutRow() const;
  bool hasSourcesWithoutRow() const;
  // How many of them wait; costs the same however many they are.
  std::size_t waitingCount() const { return waiting_.size(); }

  // A new set of sources has been taken in; sourcesWithoutRow() names them.
  Signal<> accepted;
  // A source has become this row of the table, with valid choices.
  Signal<int> rowReady;
  // A running encoding has to wait, and may go on.
  Signal<> encodingToSuspend;
  Signal<> encodingToResume;
  // A source gave no row: its path and the reason in the user's language.
  Signal<const std::string&, const std::string&> refused;
  // A queue is over: every source is a row, was refused or was given up.
  Signal<> finished;

 private:
  void showBusy();
  void showIdle();
  void allowStart();
  std::vector<std::string> freshOf(const std::vector<std::string>& paths) const;
  void takeNextSource();
  void showCaption();
  void again();
  // What a step does with a tool's result. Of one that could not be started the status is not 0.
  using Continuation = std::function<void(ToolResult)>;

  // Runs the tool; then the step goes on, or without a continuation the next one begins. A stop
  // comes before both.
  void startTask(const Arguments& command, const ToolLimits& limits, Continuation continuation);
  void taskEnded(const TaskEnd& end);
  std::optional<std::string> takeOutput(const char* step);
  void refuse(const std::string& reason);
  void refuseForReport();

  SourceExamination& examination();
  void stepFfmpeg();
  void stepFfmpegResult();
  void stepFfmpegParse();
  void judgeReport();
  bool mayTryForcedFormat() const;
  void stepMediaInfo();
  void stepMediaInfoParse();
  void stepDico();
  void stepFin();
  void completeRecord(SourceInfo info);
  void askRecordingTime(SourceInfo info);
  void keepFirstPicture(std::optional<FramePictures>& pictures);
  bool writeThumbnail(const SourceInfo& info, const std::string& image) const;
  void startThumbnail(SourceInfo& info);
  void completeThumbnail(SourceInfo info);
  void appendRow(SourceInfo info);
  void endSource();
  void finalEnd();

  CoreServices& services_;
  Interface& interface_;
  BatchTable& table_;
  ToolTasks& tasks_;
  StepFlags steps_;
  StepFlags mediaInfoSteps_;
  WaitingSources waiting_;
  Continuation continuation_;
  bool isReportOverdue_ = false;  // the analysing run was ended for its silence
  std::optional<std::string> retainedReport_;
  std::optional<SourceExamination> examination_;  // of the source in hand
  std::optional<FramePictures> firstPicture_;     // likewise, for its thumbnail
  std::string whyNotStarted_;                     // the last tool; "" when it was started
  bool openPermitted_ = true;
  bool isUnderWay_ = false;
  bool isStu_ = false;
  bool stopAsked_ = false;  // analysisStopInt
  bool encodingSuspended_ = false;
  RunLoop::Id next_ = 0;
};

}  // namespace tessarin
