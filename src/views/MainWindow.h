// The main window: sources and settings above, the batch in a drawer below.
#pragma once

#include <QMainWindow>
#include <QPointer>

#include "core/appDelegate.h"
#include "process/logs.h"
#include "views/BatchDrawer.h"
#include "views/SettingsView.h"
#include "views/SourcesView.h"
#include "views/WindowActions.h"

namespace tessarin {

class MainWindow final : public QMainWindow {
 public:
  // The controller is borrowed and outlives the window.
  MainWindow(appDelegate& app, WindowActions actions);

  void bringToFront();
  void showPreferences();
  void showAssistant();
  void showLocalization();
  void showReport();
  // Beside the list.
  void showPreview(bool shown);
  void chooseDestination() { settings_->chooseDestination(); }

  // Where the window is and how large, and back to that at the next start. What is stored may be
  // anything: what makes no sense is not followed.
  void rememberPlace();

  // Called once, when the window has been painted for the first time.
  std::function<void()> firstPainted;

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void makeContent();
  void makeMenus();
  void makeFileMenu();
  void makeBatchMenu();
  QMenu* newAfterBatchMenu();
  QMenu* newSortMenu();
  void makeViewMenu();
  void makeHelpMenu();
  void restorePlace();
  void showDrawer(bool shown);
  void stayOnScreen();
  int grownBy() const;
  void openPanel(const QString& start, bool folder);
  void showProgressInTitle();
  void openSources(bool folder);
  // Until the program knows ffmpeg's codecs nothing can be taken in.
  bool isReady() const { return centralWidget()->isEnabled(); }
  using TakeIn = void (appDelegate::*)(const std::vector<std::string>& paths);
  void takeIn(const std::vector<std::string>& paths, TakeIn now);
  void pasteSources();
  void toggleDebug(QAction* item);
  void showAbout();

  appDelegate& app_;
  WindowActions actions_;
  SourcesView* sources_ = nullptr;
  SettingsView* settings_ = nullptr;
  BatchDrawer* drawer_ = nullptr;
  QAction* previewItem_ = nullptr;
  int previewWidth_ = 340;
  int drawerHeight_ = 360;  // by which the window grows for it
  int closedHeight_ = 0;    // of the window without it
};

}  // namespace tessarin
