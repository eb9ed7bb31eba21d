// The objects of the program with a window, made, handed to each other and started in their order.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/CodecSurvey.h"
#include "core/RecoveryOffer.h"
#include "core/RefusedSources.h"
#include "core/appDelegate.h"
#include "core/batchSummary.h"
#include "platform/Signals.h"
#include "platform/UserDomain.h"
#include "prefs/utilsAlert.h"
#include "updates/UpdateInterface.h"
#include "views/AfterBatch.h"
#include "views/DesktopMessage.h"
#include "views/MainWindow.h"
#include "views/QtAlerts.h"
#include "views/QtRunLoop.h"
#include "views/SessionEnd.h"
#include "views/SingleInstance.h"
#include "views/StayAwake.h"
#include "views/TaskBarEntry.h"

namespace tessarin {

class WindowProgram {
 public:
  // All are borrowed and outlive the program.
  WindowProgram(QtRunLoop& loop, FileUserDomain& domain, SingleInstance& instance);
  ~WindowProgram();
  WindowProgram(const WindowProgram&) = delete;
  WindowProgram& operator=(const WindowProgram&) = delete;

  // Shows the window, takes the files in and serves the user until he leaves; the result is the
  // exit status.
  int run(const std::vector<std::string>& paths);

 private:
  bool awakeFromNib();
  void askForCodecs();
  void finishStart();
  void completeStart(DestinationFolder folder);
  void openFiles(const std::vector<std::string>& paths);
  void leave();
  void leaveUnused(int status);
  void applicationDidFinishLaunching();
  void tellAtStart();
  void makeWindow();
  void applyPreferences(DestinationFolder folder);
  void reveal(const std::string& path);
  bool findTools();
  void watchOutside();
  void watchBatch();
  void watchLanguage();
  void changeTheLanguage();
  void iba_checkForUpdates();
  void quitAtOnce();
  void stopLoop();

  QtRunLoop& loop_;
  FileUserDomain& domain_;
  SingleInstance& instance_;
  PreferenceStore preferences_;
  QtAlerts alerts_;
  CoreServices services_;
  appDelegate app_;
  CodecSurvey survey_;
  RefusedSources refused_;
  BatchSummary summary_;
  BatchRecorder recorder_;
  RecoveryOffer recovery_;
  Updates updates_;
  UpdateInterface updateInterface_;
  std::unique_ptr<MainWindow> window_;
  DesktopMessage message_{[this] { window_->bringToFront(); }};
  StayAwake awake_;
  TaskBarEntry taskBar_;
  AfterBatch afterBatch_{
      loop_,
      {[this] { return window_.get(); },
       [this](const std::string& what, const std::string& how) { message_.show(what, how); },
       [this](const std::string& what, const std::string& why) {
         alerts_.show({what, why});
       }}};
  std::unique_ptr<SignalWatch> signals_;
  std::unique_ptr<SessionEnd> session_;
  bool isReady_ = false;                          // the start has ended
  std::vector<std::vector<std::string>> toOpen_;  // files handed over before
  bool isLeaving_ = false;
  int status_ = 0;
};

// Shows the alert and serves the loop until the user has seen it.
void showAndWait(QtRunLoop& loop, const Alert& alert);

}  // namespace tessarin
