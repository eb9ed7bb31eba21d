// One run of the command line: the controller, driven by the options.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "cli/Reporter.h"
#include "cli/options.h"
#include "core/appDelegate.h"
#include "core/timeLeft.h"

namespace tessarin::cli {

class Session {
 public:
  // All borrowed.
  Session(const Options& options, CoreServices services, Reporter& reporter);

  // Starts the work; the loop is stopped with the exit status when it is done.
  void start();
  // The user wants to stop: children end and the partial output goes. More calls change nothing:
  // they would only keep the partial output from going.
  void interrupt();
  // Stops the running conversion with this process, until the user wants both to go on.
  void suspend();

 private:
  void applyOptions();
  void problem(const std::string& path, const std::string& reason);
  void chooseForRow(int row);
  void analysisFinished();
  void plan();
  // Reports the plan for the row, or answers why its movie cannot be made.
  std::optional<std::string> planRow(const Dico& row, const std::string& output);
  void showProgress();
  void end();

  const Options& options_;
  CoreServices services_;
  Reporter& reporter_;
  appDelegate app_;
  bool failed_ = false;
  bool interrupted_ = false;
  std::string current_;  // source of the job in hand
  int number_ = 0;       // jobs so far
  int rows_ = 0;         // rows at the start of the batch
  TimeLeft timeLeft_;
  std::chrono::steady_clock::time_point jobStart_;
  std::chrono::steady_clock::time_point lastShown_;
};

}  // namespace tessarin::cli
