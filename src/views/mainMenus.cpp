// The main window's menus.
#include <QAction>
#include <QActionGroup>
#include <QMenuBar>
#include <QMessageBox>

#include "classShared/log.h"
#include "core/startUp.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "views/AssistantWindow.h"
#include "views/LocalizationWindow.h"
#include "views/LogWindow.h"
#include "views/MainWindow.h"
#include "views/PreferencesWindow.h"
#include "views/PresetsMenu.h"
#include "views/ReportWindow.h"
#include "views/images.h"
#include "views/localize.h"
#include "views/qtText.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int aboutImageSize = 64;

}  // namespace

void MainWindow::makeMenus() {
  makeFileMenu();
  makeBatchMenu();
  makeViewMenu();
  makeHelpMenu();
}

void MainWindow::makeFileMenu() {
  QMenu* menu = menuBar()->addMenu("@@menuFile");
  menu->addAction("@@menuFileOpen", QKeySequence::Open, this, [this] { openSources(false); });
  menu->addAction("@@menuFileOpenFolder", QKeySequence("Ctrl+Shift+O"), this,
                  [this] { openSources(true); });
  menu->addAction("@@menuCopy", QKeySequence::Copy, this,
                  [this] { drawer_->table().copySelected(); });
  menu->addAction("@@menuPaste", QKeySequence::Paste, this, [this] { pasteSources(); });
  for (const auto& [title, box] : {std::pair{"@@menuParts", &app_.interface.partsApart},
                                   std::pair{"@@menuSplitTapes", &app_.interface.splitsTapes},
                                   std::pair{"@@menuOnlyNew", &app_.interface.onlyNew}}) {
    QAction* item =
        menu->addAction(title, this, [box = box](bool isChecked) { box->setChecked(isChecked); });
    item->setCheckable(true);
    item->setChecked(box->isChecked());
  }
  menu->addSeparator();
  menu->addAction("@@menuPreferences", QKeySequence("Ctrl+,"), this, [this] { showPreferences(); });
  menu->addSeparator();
  menu->addAction("@@menuFileQuit", QKeySequence("Ctrl+Q"), this, [this] { actions_.quit(); });
}

void MainWindow::makeBatchMenu() {
  QMenu* menu = menuBar()->addMenu("@@menuBatch");
  SegmentedControl& stopBt = app_.interface.encoding.stopBt;
  const auto press = [this, &stopBt](int segment) {
    stopBt.select(segment);
    app_.iba_taskStopBt();
  };
  QAction* start = menu->addAction("@@start", QKeySequence("Ctrl+Return"), this,
                                   [this] { app_.iba_batchGoBt(); });
  QAction* startSelected = menu->addAction("@@startSelected", QKeySequence("Ctrl+Shift+Return"),
                                           this, [this] { drawer_->table().convertSelected(); });
  QAction* pause =
      menu->addAction("@@pause", QKeySequence("Ctrl+P"), this, [press] { press(pauseSegment); });
  QAction* stop =
      menu->addAction("@@stop", QKeySequence("Ctrl+."), this, [press] { press(stopSegment); });
  if (actions_.afterBatch)
    menu->addMenu(newAfterBatchMenu());
  menu->addSeparator();
  menu->addMenu(new PresetsMenu(app_.presets(), this));
  menu->addSeparator();
  QAction* undo =
      menu->addAction("@@menuUndo", QKeySequence::Undo, this, [this] { drawer_->table().undo(); });
  QAction* remove = menu->addAction("@@remove", QKeySequence::Delete, this,
                                    [this] { drawer_->table().removeSelected(); });
  QAction* removeAll = menu->addAction("@@removeAll", QKeySequence("Ctrl+Delete"), this,
                                       [this] { drawer_->table().removeAll(); });

  menu->addSeparator();
  QAction* up = menu->addAction("@@moveUp", QKeySequence("Alt+Up"), this,
                                [this] { drawer_->table().moveSelectedUp(); });
  QAction* down = menu->addAction("@@moveDown", QKeySequence("Alt+Down"), this,
                                  [this] { drawer_->table().moveSelectedDown(); });
  QMenu* sort = newSortMenu();
  menu->addMenu(sort);
  menu->addSeparator();
  QAction* story = menu->addAction("@@story", QKeySequence("Ctrl+I"), this,
                                   [this] { drawer_->table().showStory(); });

  const QPointer<MainWindow> held(this);
  const auto showStart = [held, this, start, startSelected] {
    if (!held)
      return;
    start->setEnabled(app_.interface.batchGoBt.isEnabled());
    startSelected->setEnabled(app_.interface.batchGoBt.isEnabled());
  };
  const auto showStop = [held, pause, stop, &stopBt] {
    if (!held)
      return;
    const bool usable = stopBt.isEnabled() && !stopBt.isHidden();
    pause->setEnabled(usable);
    stop->setEnabled(usable);
    pause->setText(qtText(imageText(stopBt.segments()[pauseSegment].image)));
  };
  const auto showRemovals = [held, this, remove, removeAll, up, down, sort, story] {
    if (!held)
      return;
    // Rows in progress are never removed.
    const bool areSome = app_.table().count() > app_.table().inProgressCount();
    remove->setEnabled(areSome);
    removeAll->setEnabled(areSome);
    story->setEnabled(app_.table().count() > 0);
    for (QAction* order : {up, down, sort->menuAction()})
      order->setEnabled(app_.table().count() > 1);
  };
  const auto showUndo = [held, this, undo] {
    if (!held)
      return;
    const RowUndo::Kind kind = app_.undo().kind();
    undo->setEnabled(kind != RowUndo::Kind::nothing);
    undo->setText(localizedText(kind == RowUndo::Kind::removal  ? "@@menuUndoRemoval"
                                : kind == RowUndo::Kind::choice ? "@@menuUndoChoice"
                                : kind == RowUndo::Kind::order  ? "@@menuUndoOrder"
                                                                : "@@menuUndo"));
  };
  app_.undo().changed.connect(showUndo);
  app_.interface.batchGoBt.changed.connect(showStart);
  stopBt.changed.connect(showStop);
  app_.table().rowAppended.connect([showRemovals](int) { showRemovals(); });
  for (auto* change :
       {&app_.table().rowsRemoved, &app_.table().rowsPutBack, &app_.table().rowsChanged})
    change->connect([showRemovals](const std::vector<int>&) { showRemovals(); });
  showUndo();
  showStart();
  showStop();
  showRemovals();
}

QMenu* MainWindow::newSortMenu() {
  auto* menu = new QMenu("@@sortBy", this);
  for (const auto& [title, what] :
       {std::pair{"@@sortByName", SortBy::name}, std::pair{"@@sortByRecorded", SortBy::recorded},
        std::pair{"@@sortByLength", SortBy::length}})
    menu->addAction(title, this, [this, what = what] { drawer_->table().sortRows(what); });
  return menu;
}

// What becomes of the computer.
QMenu* MainWindow::newAfterBatchMenu() {
  auto* menu = new QMenu("@@afterBatch", this);
  auto* group = new QActionGroup(menu);
  AfterBatch& after = *actions_.afterBatch;
  const QPointer<MainWindow> held(this);
  for (const auto& [title, act] : {std::pair{"@@afterNothing", AfterBatch::Act::nothing},
                                   std::pair{"@@afterSleep", AfterBatch::Act::sleep},
                                   std::pair{"@@afterPowerOff", AfterBatch::Act::powerOff}}) {
    QAction* choice = menu->addAction(title, this, [&after, act = act] { after.choose(act); });
    choice->setCheckable(true);
    group->addAction(choice);
    const auto show = [held, choice, &after, act = act] {
      if (held)
        choice->setChecked(after.act() == act);
    };
    after.changed.connect(show);
    show();
  }
  return menu;  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the menu owns the group
}

void MainWindow::makeViewMenu() {
  QMenu* menu = menuBar()->addMenu("@@menuView");
  previewItem_ = menu->addAction("@@preview", QKeySequence(Qt::Key_F3), this,
                                 [this](bool isShown) { showPreview(isShown); });
  previewItem_->setCheckable(true);
}

void MainWindow::makeHelpMenu() {
  QMenu* menu = menuBar()->addMenu("@@menuHelp");
  menu->addAction("@@menuAssistant", QKeySequence::HelpContents, this, [this] { showAssistant(); });
  if (actions_.checkForUpdates)
    menu->addAction("@@menuUpdates", this, [this] { actions_.checkForUpdates(); });
  menu->addSeparator();
  menu->addAction("@@menuDetailsLog", this, [this] {
    LogWindow::open("@@menuDetailsLog", detailLogPath(), actions_.reveal, this);
  });
  menu->addAction("@@menuResumeLog", this, [this] {
    LogWindow::open("@@menuResumeLog", resumeLogPath(), actions_.reveal, this);
  });
  QAction* debug =
      menu->addAction(qtText(localisationString(debugMode() ? "menuDebug0" : "menuDebug1")));
  connect(debug, &QAction::triggered, this, [this, debug] { toggleDebug(debug); });
  menu->addAction("@@menuReport", this, [this] { showReport(); });
  menu->addAction("@@menuLocalization", this, [this] { showLocalization(); });
  menu->addSeparator();
  menu->addAction("@@menuAbout", this, [this] { showAbout(); });
}

void MainWindow::showPreferences() {
  PreferencesWindow::open(
      app_, [this] { chooseDestination(); }, this);
}

void MainWindow::showAssistant() {
  AssistantWindow::open(app_, this);
}

void MainWindow::showLocalization() {
  LocalizationWindow::open(actions_.reveal, this);
}

void MainWindow::showReport() {
  ReportWindow::open(actions_.reveal, this);
}

void MainWindow::toggleDebug(QAction* item) {
  const DebugMenuItem flipped = iba_menuDebugToggle({debugMode(), item->text().toStdString()});
  item->setText(qtText(flipped.title));
}

void MainWindow::showAbout() {
  auto* box = new QMessageBox(this);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setIconPixmap(drawing("tessarin", aboutImageSize, palette().color(QPalette::WindowText),
                             devicePixelRatioF()));
  box->setText(qtText(Bundle::main().name() + " " + programVersion()));
  box->setInformativeText(qtText(localisationString("aboutText")));
  box->addButton(qtText(localisationString("D_ok")), QMessageBox::AcceptRole);
  giveRoom(box);
  box->open();
}

}  // namespace tessarin
