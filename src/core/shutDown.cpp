// The controller's way out.
#include "classShared/log.h"
#include "core/appDelegate.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

void appDelegate::askToLeave(std::function<void(bool)> answered) {
  if (!driver_.isBatchRunning()) {
    answered(true);
    return;
  }
  logLine("Process in progress !");
  services_.alerts.show(
      {localisationString("D_quit_1"),
       localisationString("D_quit_2"),
       {localisationString("D_Annuler"), localisationString("menuQuit")},
       "",
       Alert::Style::warning},
      [answered = std::move(answered)](AlertAnswer reply) { answered(reply.button != 0); });
}

void appDelegate::isCloseQuit(const std::function<void(bool)>& answered) {
  const bool isRunning = driver_.isBatchRunning();
  askToLeave([this, answered, isRunning](bool mayLeave) {
    if (mayLeave && isRunning)
      stopBatch([answered] { answered(true); });
    else
      answered(mayLeave);
  });
}

// The batch may have ended while the question was open. Otherwise the steps that clean up behind
// the job come first: they remove the unfinished movie.
void appDelegate::stopBatch(std::function<void()> stopped) {
  quitAccepted.emit();
  services_.reveal = {};
  if (!driver_.isBatchRunning()) {
    stopped();
    return;
  }
  batchStopped_ = std::move(stopped);
  driver_.stop();
}

void appDelegate::iba_menuQuit(std::function<void()> ready) {
  if (isQuitting_)
    return;
  logLine("iba_menuQuit");
  isQuitting_ = true;
  isCloseQuit([this, ready = std::move(ready)](bool mayQuit) {
    isQuitting_ = mayQuit;
    if (!mayQuit) {
      scheduleOpenFiles();
      return;
    }
    quitAccepted.emit();
    endAndCleanUp();
    ready();
  });
}

void appDelegate::quitAtOnce(std::function<void()> ready) {
  isQuitting_ = true;
  stopBatch([this, ready = std::move(ready)] {
    endAndCleanUp();
    ready();
  });
}

void appDelegate::endTasks() {
  queue_.abandon();
  driver_.abandon();
  preview_.abandon();
}

void appDelegate::endAndCleanUp() {
  endTasks();
  table_.encBatchRemoveAll(false);
  storePreferences();
  services_.preferences.synchronize();
  removeTemporaryFolder();
}

void appDelegate::applicationWillTerminate() {
  logLine("applicationWillTerminate:");
  endTasks();
}

}  // namespace tessarin
