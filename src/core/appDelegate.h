// The controller: owns the interface's state and the collaborators that work on it.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "core/AnalysisQueue.h"
#include "core/BatchTable.h"
#include "core/ClipPreview.h"
#include "core/CoreServices.h"
#include "core/EncodingDriver.h"
#include "core/Interface.h"
#include "core/KnownClips.h"
#include "core/RowHistory.h"
#include "core/RowUndo.h"
#include "core/UserPresets.h"

namespace tessarin {

// What applying the choices does about a destination that is not there.
enum class DestinationFolder {
  made,
  leftAlone,  // the usual one takes its place
  unasked     // it stays: its disk does not answer
};

// More clips than this are not worked on at the same time.
inline constexpr int mostJobs = 64;
// How many are on a machine of so many processors where the user leaves it open
// (docs/performance.md).
int suitableJobs(unsigned processors);

class appDelegate {
 public:
  explicit appDelegate(CoreServices services);
  ~appDelegate();
  appDelegate(const appDelegate&) = delete;
  appDelegate& operator=(const appDelegate&) = delete;

  Interface interface;

  // How many clips are analysed and converted at the same time, from the next one on: one at the
  // start; this many; as many as the user has chosen (Interface::jobs), and what he chooses later.
  void setJobs(int jobs);
  void followChosenJobs();

  // Whether clips that were converted before are left out. What is there already is theirs then,
  // and stays beside the movies of new clips.
  void takeOnlyNew(bool areOnlyNew);

  BatchTable& table() { return table_; }
  AnalysisQueue& queue() { return queue_; }
  EncodingDriver& driver() { return driver_; }
  RowUndo& undo() { return undo_; }
  UserPresets& presets() { return presets_; }
  const RowHistory& history() const { return history_; }
  ClipPreview& preview() { return preview_; }
  KnownClips& known() { return known_; }

  // Sources dropped on the application's icon, or handed over by another copy: taken in once the
  // start-up, or an analysis that is under way, has finished.
  void applicationOpenFiles(const std::vector<std::string>& paths);
  // Sources dropped on the drop view.
  void dragNDropPerformDrag(const std::vector<std::string>& paths);
  void draggedFiles(const std::vector<std::string>& paths) { queue_.draggedFiles(paths); }
  // Several files and folders as one set: at once, or behind the analysis that is under way.
  void takeTogether(const std::vector<std::string>& paths);
  void iba_analysisStopBt() { queue_.iba_analysisStopBt(); }

  void iba_batchGoBt() { driver_.iba_batchGoBt(); }
  void iba_taskStopBt() { driver_.iba_taskStopBt(); }

  // Moves the stored choices into the controls; what is missing or unusable takes its default.
  // The destination folder is made when asked for; a batch makes it in any case.
  void prefs2GuiApp(const Dico& stored, DestinationFolder folder = DestinationFolder::made);
  // The choices that the controls hold, to be written with prefWrite per key.
  Dico prefs2GuiApp() const;

  // Collects the choices and writes them to the store.
  void storePreferences();

  // Rows have come from elsewhere: shows them and lets the user start.
  void showBatch();

  // Whether the user would leave now: asks while a batch runs, and stops nothing. Answers now or
  // later.
  void askToLeave(std::function<void(bool)> answered);
  // The same, and stops the batch before it answers that the program may be left.
  void isCloseQuit(const std::function<void(bool)>& answered);
  // The user wants to leave: `ready` is called once everything is stopped, cleaned up and stored;
  // never when the user would rather stay.
  void iba_menuQuit(std::function<void()> ready);
  // The same without asking: the session ends.
  void quitAtOnce(std::function<void()> ready);
  void applicationWillTerminate();

  // Acts when the disk with this path has answered, or has not for so long that somebody who waits
  // would wonder; at once where disks are not asked (CoreServices). Instead of a former act.
  void whenDiskAnswers(const std::string& path, std::function<void(bool isAnswered)> act);
  // Nothing is to be shown to the user any more.
  Signal<> quitAccepted;

  // Ends every task without continuing anything. The controller is of no further use.
  void endTasks();

 private:
  void takeHandedOver();
  void openLater(const std::vector<std::string>& paths, bool isFolder);
  void scheduleOpenFiles();
  void performOpenFiles();
  void listFlavours();
  void remember(CheckBox& box, std::string_view key, std::function<void(bool)> use);
  void tellLeftOut(const KnownClips::Finding& finding);
  void stopBatch(std::function<void()> stopped);
  void endAndCleanUp();

  CoreServices services_;
  BatchTable table_;
  RowUndo undo_{table_};
  KnownClips known_;
  AnalysisQueue queue_;
  EncodingDriver driver_;
  UserPresets presets_{services_, interface};
  RowHistory history_;
  ClipPreview preview_;
  std::deque<std::vector<std::string>> handedOver_;  // whether they are folders is being asked
  DiskQuestion handedOverDisk_{services_.loop};
  DiskQuestion disk_{services_.loop};
  struct OpenSet {
    std::vector<std::string> paths;
    bool areTogether = false;
  };
  std::deque<OpenSet> filesToOpen_;  // one after the other
  bool isLastClosed_ = false;        // nothing is added to the last one
  RunLoop::Id openFiles_ = 0;
  std::function<void()> batchStopped_;  // while the batch is stopped in order to quit
  bool isQuitting_ = false;
};

}  // namespace tessarin
