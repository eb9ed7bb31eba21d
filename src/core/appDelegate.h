// The controller: owns the interface's state and the collaborators that work on it.
#pragma once

#include <string>
#include <vector>

#include "core/AnalysisQueue.h"
#include "core/BatchTable.h"
#include "core/CoreServices.h"
#include "core/EncodingDriver.h"
#include "core/Interface.h"
#include "core/ToolTasks.h"

namespace tessarin {

class appDelegate {
 public:
  explicit appDelegate(CoreServices services);
  ~appDelegate();
  appDelegate(const appDelegate&) = delete;
  appDelegate& operator=(const appDelegate&) = delete;

  Interface interface;

  BatchTable& table() { return table_; }
  AnalysisQueue& queue() { return queue_; }
  EncodingDriver& driver() { return driver_; }

  // Sources dropped on the application's icon: taken in once the start-up has finished.
  void applicationOpenFiles(const std::vector<std::string>& paths);
  // Sources dropped on the drop view.
  void dragNDropPerformDrag(const std::vector<std::string>& paths);
  void draggedFiles(const std::vector<std::string>& paths) { queue_.draggedFiles(paths); }
  void iba_analysisStopBt() { queue_.iba_analysisStopBt(); }

  void iba_batchGoBt() { driver_.iba_batchGoBt(); }
  void iba_taskStopBt() { driver_.iba_taskStopBt(); }

  // Moves the stored choices into the controls; what is missing or unusable takes its default.
  void prefs2GuiApp(const Dico& stored);
  // The choices that the controls hold, to be written with prefWrite per key.
  Dico prefs2GuiApp() const;

  // Ends every task without continuing anything. The controller is of no further use.
  void endTasks() { tasks_.endAll(); }

 private:
  void performOpenFiles();

  CoreServices services_;
  BatchTable table_;
  ToolTasks tasks_;
  AnalysisQueue queue_;
  EncodingDriver driver_;
  std::vector<std::string> filesToOpen_;
  RunLoop::Id openFiles_ = 0;
};

}  // namespace tessarin
