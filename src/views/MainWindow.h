// The main window: sources and settings above, the batch in a drawer below.
#pragma once

#include <QMainWindow>
#include <QPointer>

#include "core/appDelegate.h"
#include "process/logs.h"
#include "views/BatchDrawer.h"
#include "views/SettingsView.h"
#include "views/SourcesView.h"

namespace tessarin {

// What the window asks of the program around it.
struct WindowActions {
  // The user wants to leave.
  std::function<void()> quit;
  // Shows a file or folder in the desktop's file browser.
  std::function<void(const std::string&)> reveal;
  // Opens a file with the desktop's program for its kind.
  std::function<void(const std::string&)> open;
  // Looks for a newer version of the program; empty: there is no such menu entry.
  std::function<void()> checkForUpdates = {};
  // Keeps the last folder and the window's place until the next start, and outlives the window;
  // null: they are forgotten.
  PreferenceStore* remembered = nullptr;
};

class MainWindow final : public QMainWindow {
 public:
  // The controller is borrowed and outlives the window.
  MainWindow(appDelegate& app, WindowActions actions);

  void bringToFront();
  void showPreferences();
  void showAssistant();
  void showLocalization();
  void showReport();
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
  void makeHelpMenu();
  void restorePlace();
  void showDrawer(bool shown);
  int grownBy() const;
  QString lastFolder() const;
  void showProgressInTitle();
  void openSources(bool folder);
  void pasteSources();
  void toggleDebug(QAction* item);
  void showAbout();

  appDelegate& app_;
  WindowActions actions_;
  SourcesView* sources_ = nullptr;
  SettingsView* settings_ = nullptr;
  BatchDrawer* drawer_ = nullptr;
  int drawerHeight_ = 360;  // by which the window grows for it
  int closedHeight_ = 0;    // of the window without it
};

}  // namespace tessarin
