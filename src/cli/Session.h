// One run of the command line: the controller, driven by the options.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "cli/BatchTurn.h"
#include "cli/Reporter.h"
#include "cli/options.h"
#include "core/BatchRecorder.h"
#include "core/appDelegate.h"
#include "core/rowResults.h"
#include "encoding/outputName.h"
#include "platform/Descriptor.h"
#include "process/ToolRun.h"

namespace tessarin::cli {

// What a run goes on with, instead of clips that are named.
struct RunStart {
  std::optional<BatchStore> store = {};   // the folder of an interrupted batch
  std::optional<StoredBatch> batch = {};  // its rows, or those of a batch file
  BatchTurn turn = {};                    // what is held of that file
};

// Why a run is to stop.
enum class Stop {
  byUser,    // who gives the batch up
  bySystem,  // which ends the session: the batch is to be finished later
};

class Session {
 public:
  // All borrowed.
  Session(const Options& options, CoreServices services, Reporter& reporter, RunStart start = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Starts the work; the loop is stopped with the exit status when it is done.
  void start();
  // The run is to stop: children end and the partial output goes. More calls change nothing:
  // they would only keep the partial output from going.
  void interrupt(Stop reason);
  bool isInterrupted() const { return interrupted_; }
  // Stops the running conversion with this process, until the user wants both to go on.
  void suspend();

 private:
  void follow();
  void applyPreferences();
  void applyOptions();
  void resume();
  bool isRefused();
  void endRefused();
  void problem(const std::string& path, const std::string& reason);
  void movieRefused(const std::string& source, const std::string& reason);
  void chooseForRow(int row);
  void tellOfFailures(const Row& row);
  bool hasTarget(int row);
  void analysisFinished();
  void endWithoutRows();
  void begin();
  void planFrom(int row);
  void plan(const Row& row);
  const StoredRow* rowOfBatch(const std::string& source) const;
  std::int64_t numberOf(const StoredRow& row) const;
  RowResults results() const;
  void writeBatch();
  void writeRow(const JobEnd& end);
  void tellWritten(const Outcome<void>& written);
  void reserveNames();
  // Reports the plan for the row, or answers why its movie cannot be made.
  std::optional<std::string> planRow(const Row& row, const std::string& output);
  void showProgress();
  void tellOfRest();
  void end();

  const Options& options_;
  CoreServices services_;
  Reporter& reporter_;
  RunStart start_;
  // Of a run over a whole batch file: the rights to its rows in hand, by source, and those whose
  // results the file has at the end.
  std::map<std::string, Descriptor> inHand_;
  std::set<std::int64_t> written_;
  bool failed_ = false;
  bool interrupted_ = false;
  bool hasEnded_ = false;  // the batch has; its movies may be on their way to the disk
  bool isKept_ = false;    // of an interrupted run: it can be recovered
  std::chrono::steady_clock::time_point lastShown_;
  RunLoop::Id next_ = 0;
  // Behind what its signals reach; the recorder follows it to its own end.
  appDelegate app_;
  std::optional<BatchRecorder> recorder_;  // of runs that make something
  OutputNames planned_;                    // of a plan so far
  ToolRun joints_{services_.loop};         // looks for them, for a plan
};

}  // namespace tessarin::cli
