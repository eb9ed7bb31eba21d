#include "app/WindowProgram.h"

#include <QApplication>
#include <fstream>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/language.h"
#include "core/startUp.h"
#include "jobs/convertedRecord.h"
#include "platform/Bundle.h"
#include "platform/SystemFacts.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "utils/files.h"
#include "views/UpdateWindow.h"
#include "views/colourSchemes.h"
#include "views/desktop.h"
#include "views/localize.h"

namespace tessarin {

namespace {

// What the controller's choices are made from: the keys that are stored.
Dico storedChoices(const PreferenceStore& preferences) {
  Dico stored;
  for (const auto& [key, value] : prefDefaults())
    if (const Value* own = preferences.prefRead(key))
      stored.set(key, *own);
  if (const Value* target = preferences.prefRead(PrefKey::target))
    stored.set(PrefKey::target, *target);
  return stored;
}

}  // namespace

void showAndWait(QtRunLoop& loop, const Alert& alert) {
  QtAlerts alerts;
  alerts.show(alert, [&loop](AlertAnswer) { loop.stop(0); });
  loop.run();
}

WindowProgram::WindowProgram(QtRunLoop& loop, FileUserDomain& domain, SingleInstance& instance)
    : loop_(loop),
      domain_(domain),
      instance_(instance),
      preferences_(domain),
      services_{loop,
                preferences_,
                alerts_,
                [this](const std::string& path) { reveal(path); },
                [this] { window_->chooseDestination(); },
                ConvertedRecord::userPath(),
                true,
                [this] { return afterBatch_.act() != AfterBatch::Act::nothing; }},
      app_(services_),
      survey_(loop),
      refused_(app_.queue(), alerts_),
      summary_(app_.table(), app_.interface.batchSummary, loop),
      recorder_(app_, services_, batchesFolder()),
      recovery_(app_, recorder_, alerts_, loop),
      updates_(loop, [this] { return updateSettings(preferences_); }),
      updateInterface_(updates_, preferences_, revealInFileBrowser) {
  setUserAlerts(&alerts_);
  // Who looks elsewhere learns that he is waited for.
  alerts_.asked = [this](const Alert& alert) {
    if (QApplication::applicationState() == Qt::ApplicationActive)
      return;
    QApplication::alert(window_.get());
    message_.show(alert.message, alert.informative);
  };
  updates_.newsFound.connect([this] { UpdateWindow::open(updateInterface_, window_.get()); });
}

WindowProgram::~WindowProgram() {
  setUserAlerts(nullptr);
}

int WindowProgram::run(const std::vector<std::string>& paths) {
  if (!awakeFromNib())
    return 1;
  if (!paths.empty())
    openFiles(paths);
  loop_.run();
  app_.applicationWillTerminate();
  return status_;
}

// ---- The start

// False when the program cannot work here; the user has been told.
bool WindowProgram::awakeFromNib() {
  logLine("only one opened app :-)");
  if (const auto refusal = installPathRefusal()) {
    showAndWait(loop_, *refusal);
    return false;
  }
  logLine("post old processes  :-)");
  logLine("dnd                 - post");
  listLanguages(app_.interface.language, preferences_);
  makeWindow();
  logLine("localisations       - post");
  if (!hasLocalization("D_Langue"))
    languageGuardAlert(Bundle::main().resourcePath());
  rotateLogs();
  redirectStdoutToFile(detailLogPath());
  if (!findTools())
    return false;
  prepareTools();
  recordEnvironment();
  setLogBeginning(recordEnvironment);
  watchOutside();
  askForCodecs();
  return true;
}

bool WindowProgram::findTools() {
  const auto problem = chooseFfmpeg(preferences_.prefReadString(ffmpegSetting));
  if (problem)
    showAndWait(loop_, {*problem, "", {}, "", Alert::Style::critical});
  return !problem;
}

// What waits for ffmpeg's answer. Normally nobody notices; when it takes long the user sees a
// window that can do nothing yet, and can be closed.
void WindowProgram::askForCodecs() {
  app_.queue().setOpenPermitted(false);
  window_->centralWidget()->setEnabled(false);
  const RunLoop::Id late =
      loop_.runAfter(std::chrono::seconds(1), [this] { window_->bringToFront(); });
  survey_.begin([this, late](const std::optional<std::string>& problem) {
    loop_.cancel(late);
    if (!problem) {
      finishStart();
      return;
    }
    window_->bringToFront();
    alerts_.show({*problem, "", {}, "", Alert::Style::critical},
                 [this](AlertAnswer) { leaveUnused(1); });
  });
}

void WindowProgram::finishStart() {
  const std::string destination = preferences_.text(PrefKey::destination);
  app_.whenDiskAnswers(destination, [this, destination](bool isAnswered) {
    if (!isAnswered)
      logFormat("destination         :-( no answer: {}", destination);
    completeStart(isAnswered ? DestinationFolder::made : DestinationFolder::unasked);
  });
}

void WindowProgram::completeStart(DestinationFolder folder) {
  isReady_ = true;
  app_.queue().setOpenPermitted(true);
  window_->centralWidget()->setEnabled(true);
  applyPreferences(folder);
  logLine("\n\n----------\nawakeFromNib        - end\n----------\n\n");
  applicationDidFinishLaunching();
  for (const auto& paths : std::exchange(toOpen_, {}))
    app_.applicationOpenFiles(paths);
}

void WindowProgram::openFiles(const std::vector<std::string>& paths) {
  if (isReady_)
    app_.applicationOpenFiles(paths);
  else
    toOpen_.push_back(paths);
}

void WindowProgram::leave() {
  if (isReady_)
    app_.iba_menuQuit([this] { stopLoop(); });
  else
    leaveUnused(0);
}

// Nothing has been done, and the controls do not hold the user's choices yet: nothing is stored.
void WindowProgram::leaveUnused(int status) {
  status_ = status;
  window_->hide();
  removeTemporaryFolder();
  stopLoop();
}

void WindowProgram::applyPreferences(DestinationFolder folder) {
  logLine("PREFERENCES         - begin");
  app_.prefs2GuiApp(storedChoices(preferences_), folder);
  app_.followChosenJobs();
  followColourScheme(app_.interface.colour);
  logLine("PREFERENCES         - end");
}

void WindowProgram::iba_checkForUpdates() {
  UpdateWindow::open(updateInterface_, window_.get());
  if (!updates_.address().empty())  // which the window asks for
    updates_.lookUp();
}

void WindowProgram::makeWindow() {
  window_ = std::make_unique<MainWindow>(
      app_, WindowActions{[this] { leave(); }, [this](const std::string& path) { reveal(path); },
                          [this](const std::string& path) {
                            app_.whenDiskAnswers(path, [path](bool isAnswered) {
                              if (isAnswered)
                                iba_OpenFile(path);
                            });
                          },
                          [this] { iba_checkForUpdates(); }, &preferences_, &afterBatch_});
  alerts_.setWindow(window_.get());
}

void WindowProgram::reveal(const std::string& path) {
  app_.whenDiskAnswers(path, [path](bool isAnswered) {
    if (isAnswered)
      revealInFileBrowser(path);
  });
}

void WindowProgram::applicationDidFinishLaunching() {
  logLine("\n\n----------\nappDidFinishLaunchin- begin\n----------\n\n");
  watchBatch();
  watchLanguage();
  window_->firstPainted = [this] {
    logFormat("first paint         : {:.0f} ms", processAge());
    // Not before: until the desktop has placed the window nothing can be centred above it.
    loop_.runSoon([this] { tellAtStart(); });
  };
  window_->bringToFront();
  if (localisationString("localizationToCorrect") == "1")
    window_->showLocalization();
  logFormat("updatePrefBt        ? {:d}", app_.interface.updateCheck.isChecked());
  const auto allowUpdates = [this] {
    app_.interface.updateCheck.setEnabled(!updates_.address().empty());
  };
  allowUpdates();
  updates_.changed.connect(allowUpdates);
  updates_.lookUpAtStart(preferences_);
  // Whoever switches it on need not wait for the next start. After the choice has been stored.
  app_.interface.updateCheck.changed.connect(
      [this] { loop_.runSoon([this] { updates_.lookUpAtStart(preferences_); }); });
}

void WindowProgram::tellAtStart() {
  if (!domain_.problem().empty())
    alerts_.show({domain_.problem(), ""});
  // A question takes the keys, so that the assistant waits for another start; it comes once by
  // itself.
  recovery_.begin(batchesFolder());
  if (alerts_.isOpen() || recovery_.isWaiting() || app_.interface.assistantSkip.isChecked())
    return;
  app_.interface.assistantSkip.setChecked(true);
  window_->showAssistant();
}

// What comes from outside the window: signals, the end of the session, other copies.
void WindowProgram::watchOutside() {
  signals_ = std::make_unique<SignalWatch>(loop_, std::vector<int>{SIGINT, SIGTERM, SIGHUP},
                                           [this](int) { quitAtOnce(); });
  session_ = std::make_unique<SessionEnd>(app_, [this] { quitAtOnce(); });
  instance_.serve([this](const std::vector<std::string>& handed) {
    window_->bringToFront();
    if (!handed.empty())
      openFiles(handed);
  });
  app_.quitAccepted.connect([this] {
    // What is left to be done is offered at the next start.
    recorder_.leave();
    isLeaving_ = true;
    window_->rememberPlace();
    debugFormat("applicationShouldTerminateAfterLastWindowClosed ?");
    window_->hide();
    alerts_.close();
  });
}

void WindowProgram::watchBatch() {
  const auto tellRest = [this] {
    recorder_.setFrontSettings(
        {{std::string(BatchSetting::atRest), app_.driver().isBatchRunning() ? 0 : 1}});
  };
  tellRest();
  app_.interface.batchGoBt.changed.connect(tellRest);
  // What is not converted stays in the list, and so on the disk.
  recorder_.cleared.connect([this] { recorder_.storeUnfinished(); });
  recorder_.failed.connect([this](const std::string& reason) {
    alerts_.show({localisationString("D_recover_failed", "", reason), ""});
  });
  app_.driver().jobStarted.connect([this](const std::string&, const std::string&) {
    awake_.hold(localisationString("D_stayAwake"));
  });
  app_.driver().batchEnded.connect([this] { awake_.release(); });
  app_.driver().progressed.connect([this] { taskBar_.show(app_.driver().progress().fraction); });
  app_.driver().batchEnded.connect([this] { taskBar_.show(std::nullopt); });
  app_.driver().jobStarted.connect(
      [this](const std::string&, const std::string&) { afterBatch_.cancel(); });
  // Who looks at one of our windows sees it there.
  app_.driver().batchEnded.connect([this] {
    if (isLeaving_)
      return;
    const bool wasStopped = app_.driver().wasStopped();
    const std::string summary = endText(countRows(app_.table()), app_.driver().troubles());
    afterBatch_.batchEnded(wasStopped, summary);
    if (!wasStopped && !afterBatch_.isWarning() &&
        QApplication::applicationState() != Qt::ApplicationActive)
      message_.show(localisationString("D_fin_GUI"), summary);
  });
}

// ---- The language

// Texts of records are in the user's language, so that it cannot change under a step's hands.
void WindowProgram::watchLanguage() {
  const auto allow = [this] {
    app_.interface.language.setEnabled(app_.queue().isOpenPermitted() &&
                                       !app_.driver().isBatchRunning());
  };
  app_.interface.batchGoBt.changed.connect(allow);
  app_.interface.analysisPanel.changed.connect(allow);
  app_.queue().finished.connect(allow);
  app_.driver().batchEnded.connect(allow);
  // The widget that the user chose it with goes with the window.
  app_.interface.language.changed.connect(
      [this] { loop_.runSoon([this] { changeTheLanguage(); }); });
}

void WindowProgram::changeTheLanguage() {
  const PopUpButton& popup = app_.interface.language;
  const std::string code = popup.items().at(static_cast<std::size_t>(popup.selected())).title;
  if (code == preferences_.prefReadString(languageKey) || !popup.isEnabled())
    return;
  logFormat("language            = {}", code);
  preferences_.prefWrite(languageKey, code);
  useLanguage(code);
  app_.interface.batchReport.setText("");
  app_.interface.setTarget(app_.interface.target);
  translateQt();
  updates_.changed.emit();  // its texts, too
  const QByteArray place = window_->saveGeometry();
  makeWindow();
  window_->restoreGeometry(place);
  window_->bringToFront();
  window_->showPreferences();
}

// ---- The end

// The session ends, or somebody asks this process to: the batch is to be recovered.
void WindowProgram::quitAtOnce() {
  if (!isReady_) {
    leaveUnused(0);
    return;
  }
  recorder_.keep();
  window_->rememberPlace();
  app_.quitAtOnce([this] { stopLoop(); });
}

void WindowProgram::stopLoop() {
  for (const char* attempt : {"pas encore quitté ?!? …on recommence: et 1…", "…et 2", "…et 3"}) {
    logLine(attempt);
    loop_.stop(0);
    if (!loop_.isRunning())
      return;
  }
  logLine("…et 3 :-( echec");
}

}  // namespace tessarin
