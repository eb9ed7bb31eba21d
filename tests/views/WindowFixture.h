// The whole window over real tools, driven through its widgets.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QUrl>
#include <filesystem>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "core/RefusedSources.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/clips.h"
#include "utils/files.h"
#include "views/MainWindow.h"
#include "views/QtAlerts.h"
#include "views/QtRunLoop.h"
#include "views/SegmentedBar.h"
#include "views/qtText.h"

namespace tessarin::test {

class WindowFixture : public testing::Test {
 protected:
  WindowFixture() {
    if (!codecInventory().prores)
      takeCodecInventory();
    preferences.prefWrite(PrefKey::alertEnd, 0);
    Dico stored;
    mkdir(folder.file("movies"));
    stored.set(PrefKey::destination, folder.file("movies"));
    app.prefs2GuiApp(stored);
    app.quitAccepted.connect([this] { alerts.close(); });
    alerts.setWindow(&window);
    window.show();
  }

  bool until(const std::function<bool()>& condition) {
    return loopUntil(loop, condition, std::chrono::seconds(60));
  }

  // As the user drops them, somewhere in the window.
  void drop(const std::vector<std::string>& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths)
      urls.append(QUrl::fromLocalFile(qtText(path)));
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(20, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &enter);
    QDropEvent event(QPointF(20, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &event);
  }

  // Drops them and waits for their rows.
  void analyse(const std::vector<std::string>& paths) {
    drop(paths);
    EXPECT_TRUE(until([this] { return app.queue().isOpenPermitted(); }));
  }

  BatchView& table() { return *window.findChild<BatchView*>("batch"); }
  QString cell(int row, int column) {
    return table().model()->index(row, column).data().toString();
  }
  QPushButton* startButton() { return window.findChild<QPushButton*>("start"); }
  QToolButton* stopSegmentButton(int segment) {
    return window.findChild<SegmentedBar*>("stop")->at(segment);
  }
  RowMark mark(int row) { return app.table().row(row).mark; }
  std::string movie(const std::string& name) const {
    return folder.file("movies/Tessarin/" + name);
  }

  // Whether the movie of this name is being written, in a folder of its job's own.
  bool isBeingMade(const std::string& name) const {
    std::error_code failed;
    for (const auto& entry : std::filesystem::directory_iterator(movie(""), failed))
      if (startsWith(entry.path().filename().string(), ".tessarin-") &&
          pathExists(entry.path().string() + "/" + name))
        return true;
    return false;
  }

  // The dialog that is open, null when none is.
  QMessageBox* dialog() {
    for (QMessageBox* box : window.findChildren<QMessageBox*>())
      if (box->isVisible())
        return box;
    return nullptr;
  }
  void press(QMessageBox* box, const QString& title) {
    for (QAbstractButton* button : box->buttons())
      if (button->text().remove('&') == title)
        QTest::mouseClick(button, Qt::LeftButton);
  }

  ScopedTemporaryFolder folder;
  TestBundle bundle;
  LogCapture log;
  QtRunLoop loop;
  QtAlerts alerts;
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  std::vector<std::string> revealed;
  std::vector<std::string> opened;
  bool isFolderWanted = false;
  appDelegate app{{loop, preferences, alerts,
                   [this](const std::string& path) { revealed.push_back(path); },
                   [this] { isFolderWanted = true; }}};
  RefusedSources refused{app.queue(), alerts};
  bool hasQuit = false;
  MainWindow window{app,
                    {[this] { app.iba_menuQuit([this] { hasQuit = true; }); },
                     [this](const std::string& path) { revealed.push_back(path); },
                     [this](const std::string& path) { opened.push_back(path); }}};
};

}  // namespace tessarin::test
