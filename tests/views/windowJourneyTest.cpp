// Whole journeys of a user through the window.
#include <QAbstractScrollArea>
#include <QAccessible>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFileInfo>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSlider>
#include <memory>
#include <set>

#include "core/language.h"
#include "core/rowEdits.h"
#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "views/SessionEnd.h"
#include "views/WindowFixture.h"
#include "views/colourSchemes.h"
#include "views/localize.h"

namespace tessarin::test {
namespace {

// Long enough to be paused and stopped in the middle.
bool makeLongClip(const std::string& path) {
  return makeClip(interlacedPicture("1440x1080", "12") + tone("12") +
                      "-c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 12 -c:a mp2 -f mpegts",
                  path);
}

// Its rows may be halved or slowed, but not kept as they are.
bool makeFastClip(const std::string& path) {
  return makeClip(progressivePicture("1280x720", "0.4", "50") + tone("0.4") +
                      "-c:v mpeg2video -q:v 4 -c:a mp2 -f mpegts",
                  path);
}

TEST_F(WindowFixture, ThreeClipsAreDroppedChangedAndConverted) {
  const std::vector<std::string> clips = {folder.file("One.MTS"), folder.file("Two.MTS"),
                                          folder.file("Three.MTS")};
  ASSERT_TRUE(makeInterlacedClip(clips[0]));
  ASSERT_TRUE(makeInterlacedClip(clips[1]));
  ASSERT_TRUE(makeFastClip(clips[2]));
  EXPECT_FALSE(startButton()->isEnabled());
  EXPECT_FALSE(table().isVisible());
  analyse(clips);
  ASSERT_EQ(table().model()->rowCount(), 3);
  EXPECT_TRUE(table().isVisible());
  EXPECT_EQ(cell(0, sourceColumn).section("\n", 0, 1),
            "One.MTS\n720×576, 25 pictures/s interlaced");
  EXPECT_FALSE(
      table().model()->index(1, pictureColumn).data(Qt::DecorationRole).value<QPixmap>().isNull());

  table().setFocus();
  table().setCurrentIndex(table().model()->index(2, speedColumn));
  QTest::keyClick(&table(), Qt::Key_3);
  EXPECT_EQ(cell(2, speedColumn), "Slow");
  EXPECT_EQ(cell(0, speedColumn), "Full");

  // The third one is not wanted.
  table().setCurrentIndex(table().model()->index(2, sourceColumn));
  window.findChild<BatchView*>("batch")->removeSelected();
  ASSERT_EQ(table().model()->rowCount(), 2);
  ASSERT_EQ(app.table().count(), 2);
  // Nor are the others, for a moment.
  table().selectAll();
  table().removeSelected();
  EXPECT_FALSE(startButton()->isEnabled());
  QTest::keySequence(&window, QKeySequence::Undo);
  ASSERT_EQ(app.table().count(), 2);
  EXPECT_TRUE(cell(0, sourceColumn).startsWith("One.MTS"));

  QTest::mouseClick(startButton(), Qt::LeftButton);
  EXPECT_FALSE(startButton()->isEnabled());
  ASSERT_TRUE(until([this] { return startButton()->isEnabled(); }));
  EXPECT_EQ(mark(0), RowMark::success);
  EXPECT_EQ(mark(1), RowMark::success);
  EXPECT_TRUE(pathExists(movie("One.mov")));
  EXPECT_TRUE(pathExists(movie("Two.mov")));
  EXPECT_EQ(revealed, std::vector<std::string>{folder.file("movies/Tessarin")});
}

TEST_F(WindowFixture, AMousePressChoosesForAllSelectedRowsAndNeverWhatIsRefused) {
  ASSERT_TRUE(makeFastClip(folder.file("A.MTS")));
  ASSERT_TRUE(makeFastClip(folder.file("B.MTS")));
  analyse({folder.file("A.MTS"), folder.file("B.MTS")});
  ASSERT_EQ(app.table().count(), 2);
  const auto pressSegment = [this](int row, int segment) {
    QStyleOptionViewItem option;
    option.initFrom(&table());
    option.rect = table().visualRect(table().model()->index(row, speedColumn));
    const auto* delegate = static_cast<ChoiceDelegate*>(table().itemDelegateForColumn(speedColumn));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {},
                      delegate->segmentRect(option, speedColumn, segment).center());
  };
  pressSegment(0, speedSlow);
  EXPECT_EQ(cell(0, speedColumn), "Slow");
  EXPECT_EQ(cell(1, speedColumn), "Half");
  table().selectAll();
  pressSegment(1, speedSlow);
  pressSegment(1, speedHalf);
  EXPECT_EQ(cell(0, speedColumn), "Half");
  EXPECT_EQ(cell(1, speedColumn), "Half");
  pressSegment(0, speedKeep);
  EXPECT_EQ(cell(0, speedColumn), "Half");

  // The same with the keys.
  const auto space = [this](int column) {
    table().setCurrentIndex(table().model()->index(0, column));
    QTest::keyClick(&table(), Qt::Key_Space);
  };
  space(speedColumn);
  EXPECT_EQ(cell(0, speedColumn), "Slow");
  space(sourceColumn);
  EXPECT_EQ(opened, std::vector<std::string>{folder.file("A.MTS")});
  space(sizeColumn);
  auto* sizes = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_NE(sizes, nullptr);
  for (QAction* action : sizes->actions())
    if (action->isEnabled() && action->text().contains("1920"))
      action->trigger();
  sizes->close();
  EXPECT_EQ(sizeRow(app.table().row(0).choice.sizeOut)->frame, (FrameSize{1920, 1080}));
  EXPECT_EQ(sizeRow(app.table().row(1).choice.sizeOut)->frame, (FrameSize{1280, 720}));
}

TEST_F(WindowFixture, WhatIsDroppedDuringAnAnalysisIsTakenInBehindIt) {
  std::vector<std::string> clips;
  for (const char* name : {"A.MTS", "B.MTS", "C.MTS"}) {
    clips.push_back(folder.file(name));
    ASSERT_TRUE(makeFastClip(clips.back()));
  }
  drop({clips[0]});
  ASSERT_FALSE(app.queue().isOpenPermitted());
  drop({clips[2]});
  drop({clips[1]});
  ASSERT_TRUE(until([this] { return app.table().count() == 3; }));
  EXPECT_TRUE(cell(0, sourceColumn).startsWith("A.MTS"));
}

TEST_F(WindowFixture, ARunningBatchIsPausedResumedAndStopped) {
  ASSERT_TRUE(makeLongClip(folder.file("Long.MPG")));
  analyse({folder.file("Long.MPG")});
  ASSERT_EQ(app.table().count(), 1);
  EXPECT_FALSE(stopSegmentButton(0)->isVisible());
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return stopSegmentButton(0)->isVisible(); }));
  EXPECT_EQ(stopSegmentButton(0)->accessibleName(), "Pause");
  EXPECT_EQ(mark(0), RowMark::current);
  EXPECT_EQ(window.focusWidget(), &table());
  EXPECT_EQ(window.findChild<QLabel*>("number")->text(), "1 of 1");
  EXPECT_TRUE(window.windowTitle().endsWith(" % (1 of 1) – Tessarin"))
      << window.windowTitle().toStdString();
  EXPECT_TRUE(table().model()->index(0, sourceColumn).data(progressRole).isValid());
  // One of them at a time, whatever changes.
  app.interface.batchSummary.setText("something");
  EXPECT_TRUE(window.findChild<QLabel*>("action")->isVisible());
  EXPECT_FALSE(window.findChild<QLabel*>("summary")->isVisible());

  // What is being converted is not changed under the converter's hands.
  EXPECT_FALSE(chooseSize(app.table(), 0, firstConcreteRow));

  QTest::mouseClick(stopSegmentButton(0), Qt::LeftButton);
  EXPECT_EQ(stopSegmentButton(0)->accessibleName(), "Go On");
  EXPECT_EQ(window.findChild<QLabel*>("action")->text(), "Paused");
  QTest::mouseClick(stopSegmentButton(0), Qt::LeftButton);
  EXPECT_EQ(stopSegmentButton(0)->accessibleName(), "Pause");

  QTest::mouseClick(stopSegmentButton(1), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return startButton()->isEnabled(); }));
  EXPECT_EQ(mark(0), RowMark::failure);
  EXPECT_FALSE(pathExists(movie("Long.mov")));
  EXPECT_EQ(window.findChild<QLabel*>("report")->text(), "The conversion was stopped.");
  EXPECT_TRUE(window.findChild<QLabel*>("report")->isVisible());

  table().selectAll();
  table().removeSelected();
  EXPECT_FALSE(startButton()->isEnabled()) << "nothing is left to be converted";
}

TEST_F(WindowFixture, TheRowInHandStaysInSightUntilTheUserScrollsAway) {
  std::vector<std::string> clips;
  for (int number = 10; number < 22; ++number) {
    clips.push_back(folder.file(std::to_string(number) + ".MTS"));
    if (number == 10)
      ASSERT_TRUE(makeFastClip(clips[0]));
    else
      std::filesystem::copy_file(clips[0], clips.back());
  }
  analyse(clips);
  ASSERT_EQ(app.table().count(), 12);
  QScrollBar* bar = table().verticalScrollBar();
  ASSERT_GT(bar->maximum(), 0);
  int seen = 0;
  app.driver().jobStarted.connect([&](const std::string& source, const std::string&) {
    const QModelIndex row = table().model()->index(app.table().rowOfSource(source), sourceColumn);
    if (++seen <= 8) {
      EXPECT_TRUE(table().viewport()->rect().contains(table().visualRect(row))) << seen;
      EXPECT_EQ(window.findChild<QLabel*>("number")->text(), QString("%1 of 12").arg(seen));
    }
    if (seen == 8)
      bar->setValue(0);
  });
  table().setFocus();
  QTest::keyClick(&table(), Qt::Key_End);
  EXPECT_EQ(table().currentIndex().row(), 11);
  QTest::keyClick(&table(), Qt::Key_Home);
  EXPECT_EQ(table().currentIndex().row(), 0);
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return startButton()->isEnabled(); }));
  EXPECT_EQ(seen, 12);
  EXPECT_EQ(bar->value(), 0);
  EXPECT_EQ(window.windowTitle(), "Tessarin");
}

TEST_F(WindowFixture, ClosingDuringABatchAsksAndLeavesNothingUnfinished) {
  ASSERT_TRUE(makeLongClip(folder.file("Long.MPG")));
  analyse({folder.file("Long.MPG")});
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return isBeingMade("Long.mov"); }));

  window.close();
  ASSERT_NE(dialog(), nullptr);
  window.bringToFront();  // as a second start does
  EXPECT_TRUE(until([this] { return QApplication::activeWindow() == dialog(); }));
  press(dialog(), "Cancel");
  until([this] { return dialog() == nullptr; });
  EXPECT_FALSE(hasQuit);
  EXPECT_TRUE(app.driver().isBatchRunning());

  window.close();
  ASSERT_NE(dialog(), nullptr);
  press(dialog(), "Quit");
  ASSERT_TRUE(until([this] { return hasQuit; }));
  EXPECT_FALSE(app.driver().isBatchRunning());
  EXPECT_EQ(app.table().count(), 0);
  EXPECT_FALSE(pathExists(movie("Long.mov")));
  EXPECT_THAT(revealed, testing::IsEmpty());
}

TEST_F(WindowFixture, TheEndOfTheSessionIsAskedForAndStopsNothingYet) {
  int ends = 0;
  SessionEnd session(app, [&ends] { ++ends; });
  EXPECT_TRUE(session.isAllowed());  // nothing runs: nobody is asked

  ASSERT_TRUE(makeLongClip(folder.file("Long.MPG")));
  analyse({folder.file("Long.MPG")});
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return isBeingMade("Long.mov"); }));
  for (const bool isAllowed : {false, true}) {
    loop.runSoon([this, isAllowed] { press(dialog(), isAllowed ? "Quit" : "Cancel"); });
    EXPECT_EQ(session.isAllowed(), isAllowed);
    EXPECT_TRUE(app.driver().isBatchRunning());
  }
  // A signal while the question is open: it is not answered any more.
  loop.runSoon([this] { app.quitAtOnce([this] { hasQuit = true; }); });
  EXPECT_TRUE(session.isAllowed());
  ASSERT_TRUE(until([this] { return hasQuit; }));

  // The manager's own end asks no more and closes no window.
  QEvent quit(QEvent::Quit);
  QApplication::sendEvent(qApp, &quit);
  EXPECT_EQ(ends, 1);
  EXPECT_TRUE(window.isVisible());
}

TEST_F(WindowFixture, RefusedSourcesAreToldOnceWithTheirReasons) {
  ASSERT_TRUE(writeFileAtomically(folder.file("Empty.MTS"), ""));
  ASSERT_TRUE(writeFileAtomically(folder.file("Noise.MTS"), "no movie at all"));
  analyse({folder.file("Empty.MTS"), folder.file("Noise.MTS")});
  ASSERT_NE(dialog(), nullptr);
  const QString told = dialog()->informativeText();
  EXPECT_TRUE(told.startsWith("Empty.MTS: the file is empty\nNoise.MTS: ")) << told.toStdString();
  EXPECT_EQ(window.findChildren<QMessageBox*>().size(), 1);
}

TEST_F(WindowFixture, ChoicesAreStoredAsTheyAreMade) {
  auto* surround = window.findChild<QCheckBox*>("surround");
  QTest::mouseClick(surround, Qt::LeftButton, {}, QPoint(8, surround->height() / 2));
  EXPECT_EQ(preferences.integer(PrefKey::surround), 1);
  QTest::mouseClick(window.findChild<SegmentedBar*>("editingSoft")->at(1), Qt::LeftButton);
  EXPECT_EQ(preferences.integer(PrefKey::editingSoft), 1);
  // The speed counts only for those who asked for it.
  auto* speed = window.findChild<SegmentedBar*>("speed");
  EXPECT_FALSE(speed->at(0)->isEnabled());
  QTest::mouseClick(window.findChild<SegmentedBar*>("mode")->at(0), Qt::LeftButton);
  EXPECT_TRUE(speed->at(0)->isEnabled());
}

TEST_F(WindowFixture, TheAssistantIsWalkedThroughAndNotShownAgainOnWish) {
  window.showAssistant();
  auto* next = window.findChild<QPushButton*>("assistantNext");
  auto* soft = window.findChild<SegmentedBar*>("assistantSoft");
  ASSERT_TRUE(next && soft);
  QTest::mouseClick(next, Qt::LeftButton);
  ASSERT_TRUE(soft->isVisible());
  QTest::mouseClick(soft->at(1), Qt::LeftButton);
  EXPECT_EQ(window.findChild<SegmentedBar*>("editingSoft")->selected(), 1);
  auto* skip = window.findChild<QCheckBox*>("assistantSkip");
  QTest::mouseClick(skip, Qt::LeftButton, {}, QPoint(8, skip->height() / 2));
  EXPECT_EQ(preferences.integer(PrefKey::assistantSkip), 1);
  for (int page = 1; page < 4; ++page)
    QTest::mouseClick(next, Qt::LeftButton);
  EXPECT_FALSE(window.findChild<QDialog*>("assistant")->isVisible());
}

// The window is made anew in the other language: everything it shows is the controller's.
TEST_F(WindowFixture, AnotherLanguageKeepsTheBatch) {
  ASSERT_TRUE(makeFastClip(folder.file("A.MTS")));
  analyse({folder.file("A.MTS")});
  ASSERT_EQ(app.table().count(), 1);
  listLanguages(app.interface.language, preferences);
  window.showPreferences();
  auto* languages = window.findChild<QComboBox*>("language");
  ASSERT_TRUE(languages);
  const int german = languages->findText("Deutsch");
  languages->setFocus();
  while (languages->currentIndex() < german)
    QTest::keyClick(languages, Qt::Key_Down);
  const PopUpButton& popup = app.interface.language;
  ASSERT_EQ(popup.items().at(static_cast<std::size_t>(popup.selected())).title, "de");
  useLanguage("de");
  MainWindow other(app, {[] {}, [](const std::string&) {}, [](const std::string&) {}});
  other.show();
  EXPECT_EQ(other.findChild<QPushButton*>("start")->text().remove('&'), "Umwandeln");
  auto* rows = other.findChild<BatchView*>("batch");
  EXPECT_TRUE(rows->isVisible());
  EXPECT_EQ(rows->model()->index(0, speedColumn).data().toString(), "Halb");
  // Still taken for progressive.
  EXPECT_FALSE(app.table().speedCell(0).segments[0].allowed);
}

// The stored scheme is applied when the window is there already.
TEST_F(WindowFixture, AColourSchemeReachesWhatHasAStyleSheet) {
  const auto lightness = [this] {
    return window.findChild<QWidget*>("editingSoft")->grab().toImage().pixelColor(6, 6).lightness();
  };
  followColourScheme(app.interface.colour);
  for (const int scheme : {2, 0, 1, 0}) {
    app.interface.colour.select(scheme);
    EXPECT_EQ(lightness() < 100, scheme != 0) << scheme << ": " << lightness();
  }
}

TEST_F(WindowFixture, AMovieIsShownAndPlayedFromItsRow) {
  ASSERT_TRUE(makeInterlacedClip(folder.file("A.MTS")));
  analyse({folder.file("A.MTS")});
  table().setCurrentIndex(table().model()->index(0, sourceColumn));
  const auto reveal = [this](const char* title) {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), QPoint(5, 5));
    QApplication::sendEvent(&table(), &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    for (QAction* action : menu ? menu->actions() : QList<QAction*>())
      if (action->text().remove('&') == title && action->isEnabled())
        action->trigger();
    if (menu)
      menu->close();
  };
  reveal("Show the Movie in Its Folder");
  EXPECT_THAT(revealed, testing::IsEmpty()) << "there is none yet";
  QTest::keyClick(&table(), Qt::Key_Space);
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return startButton()->isEnabled(); }));
  revealed.clear();
  reveal("Show the Movie in Its Folder");
  reveal("Show the Source in Its Folder");
  EXPECT_EQ(revealed, (std::vector<std::string>{movie("A.mov"), folder.file("A.MTS")}));
  const QRect picture = table().visualRect(table().model()->index(0, pictureColumn));
  QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, picture.center());
  EXPECT_EQ(opened, (std::vector<std::string>{folder.file("A.MTS"), movie("A.mov")}));
}

TEST_F(WindowFixture, RowsAreMovedSortedAndCarriedToOtherPrograms) {
  for (const char* name : {"C.MTS", "A.MTS", "B.MTS"})
    ASSERT_TRUE(makeFastClip(folder.file(name)));
  analyse({folder.file("C.MTS")});
  analyse({folder.file("A.MTS")});
  analyse({folder.file("B.MTS")});
  const auto names = [this] {
    QString list;
    for (int row = 0; row < app.table().count(); ++row)
      list += cell(row, sourceColumn).left(1);
    return list.toStdString();
  };
  table().setFocus();
  table().setCurrentIndex(table().model()->index(0, sourceColumn));
  QTest::keySequence(&window, QKeySequence("Alt+Down"));
  EXPECT_EQ(names(), "ACB");
  EXPECT_EQ(table().currentIndex().row(), 1) << "the row that was moved stays selected";
  QTest::keySequence(&window, QKeySequence("Alt+Down"));
  EXPECT_EQ(names(), "ABC");
  QTest::keySequence(&window, QKeySequence("Alt+Up"));
  table().sortRows(SortBy::name);
  EXPECT_EQ(names(), "ABC");
  QTest::keySequence(&window, QKeySequence::Undo);
  EXPECT_EQ(names(), "ACB");

  app.table().set(1, &Row::movie, movie("C.mov"));
  app.table().mark(1, RowMark::success);
  table().selectAll();
  QTest::keySequence(&window, QKeySequence::Copy);
  const QMimeData* copied = QGuiApplication::clipboard()->mimeData();
  EXPECT_EQ(copied->text().count(QLatin1Char('\n')), 2);
  QStringList files;
  for (const QUrl& url : copied->urls())
    files.append(QFileInfo(url.toLocalFile()).fileName());
  EXPECT_EQ(files, (QStringList{"A.MTS", "C.mov", "B.MTS"}));
  EXPECT_FALSE(table().model()->flags(table().model()->index(0, speedColumn)) &
               Qt::ItemIsDragEnabled);

  const auto selected = [this] {
    QString rows;
    for (const QModelIndex& row : table().selectionModel()->selectedRows())
      rows += QString::number(row.row());
    return rows;
  };
  // Two that are no neighbours go and come back; the row with the focus is that of the controller.
  table().selectionModel()->setCurrentIndex(
      table().model()->index(0, sourceColumn),
      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  table().selectionModel()->select(table().model()->index(2, sourceColumn),
                                   QItemSelectionModel::Select | QItemSelectionModel::Rows);
  table().removeSelected();
  EXPECT_EQ(names(), "C");
  EXPECT_EQ(app.table().selectedRow(), table().currentIndex().row());
  QTest::keySequence(&window, QKeySequence::Undo);
  EXPECT_EQ(names(), "ACB");
  EXPECT_EQ(app.table().selectedRow(), table().currentIndex().row());
  EXPECT_EQ(selected(), "02") << "those that came back";

  // The keys go on with the row that takes the place of the removed one.
  QTest::keyClick(&table(), Qt::Key_End);
  QTest::keyClick(&table(), Qt::Key_Home);
  QTest::keyClick(&window, Qt::Key_Delete);
  EXPECT_EQ(names(), "CB");
  EXPECT_EQ(selected(), "0");
  QTest::keyClick(&table(), Qt::Key_End);
  QTest::keyClick(&window, Qt::Key_Delete);
  EXPECT_EQ(names(), "C");
  EXPECT_EQ(selected(), "0");
}

TEST_F(WindowFixture, AClipIsLookedAtBeforeAndAfterItsConversion) {
  ASSERT_TRUE(makeInterlacedClip(folder.file("A.MTS")));
  analyse({folder.file("A.MTS")});
  table().setFocus();
  table().setCurrentIndex(table().model()->index(0, sourceColumn));
  const int width = window.width();
  auto* preview = window.findChild<QWidget*>("preview");
  auto* details = window.findChild<QPlainTextEdit*>("details");
  EXPECT_FALSE(preview->isVisible());
  loopFor(loop, std::chrono::milliseconds(300));
  EXPECT_EQ(app.preview().sourcePicture(), "") << "nobody looks";
  QTest::keySequence(&window, QKeySequence("F3"));
  EXPECT_TRUE(preview->isVisible());
  EXPECT_GT(window.width(), width);
  EXPECT_TRUE(details->toPlainText().startsWith("A.MTS\n720×576, 25 pictures/s interlaced, 0:"));
  ASSERT_TRUE(until([this] { return !app.preview().sourcePicture().empty(); }));
  const std::string first = app.preview().sourcePicture();
  const auto aspect = [](const std::string& jpeg) {
    const QImage image = QImage::fromData(QByteArray::fromStdString(jpeg));
    return image.isNull() ? 0.0 : 1.0 * image.width() / image.height();
  };
  EXPECT_NEAR(aspect(first), thumbnailAspect(app.table().source(0)), 0.05);
  auto* moment = window.findChild<QSlider*>("moment");
  moment->setFocus();
  QTest::keyClick(moment, Qt::Key_End);
  EXPECT_TRUE(until([&] { return app.preview().sourcePicture() != first; }));
  EXPECT_FALSE(app.preview().sourcePicture().empty());

  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_TRUE(until([this] { return startButton()->isEnabled(); }));
  EXPECT_TRUE(until([this] { return !app.preview().moviePicture().empty(); }));
  EXPECT_NEAR(aspect(app.preview().moviePicture()), aspect(first), 0.05);

  table().setFocus();
  QTest::keySequence(&window, QKeySequence("Ctrl+I"));
  auto* story = window.findChild<QDialog*>("log");
  ASSERT_NE(story, nullptr);
  const QString told = story->findChild<QPlainTextEdit*>()->toPlainText();
  for (const char* part : {"A.MTS", "examined", "converted in ", "A.mov", "format              : "})
    EXPECT_TRUE(told.contains(part)) << part << "\n" << told.toStdString();

  QTest::keySequence(&window, QKeySequence("F3"));
  EXPECT_EQ(window.width(), width);
  table().selectAll();
  table().removeSelected();
  EXPECT_EQ(app.preview().row(), -1);
}

TEST_F(WindowFixture, ARefusedDestinationLeadsToTheChoiceOfAnother) {
  ASSERT_TRUE(makeInterlacedClip(folder.file("A.MTS")));
  analyse({folder.file("A.MTS")});
  ASSERT_TRUE(writeFileAtomically(folder.file("file"), "no folder"));
  app.interface.destination.setText(folder.file("file"));
  QTest::mouseClick(startButton(), Qt::LeftButton);
  ASSERT_NE(dialog(), nullptr);
  press(dialog(), "Choose…");
  EXPECT_TRUE(until([this] { return isFolderWanted; }));
  EXPECT_TRUE(startButton()->isEnabled());
}

TEST_F(WindowFixture, EverythingCanBeReachedWithTheTabKey) {
  app.interface.batchDrawer.setShown(true);
  window.activateWindow();
  std::set<QWidget*> reached;
  QWidget* focus = window.findChild<QWidget*>("dropView");
  focus->setFocus();
  for (int step = 0; step < 40; ++step) {
    reached.insert(window.focusWidget());
    QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
  }
  for (const char* name : {"dropView", "sizeOut", "surround", "destination", "batch"})
    EXPECT_TRUE(reached.contains(window.findChild<QWidget*>(name))) << name;
  const auto* applications = window.findChild<QWidget*>("editingSoft");
  for (QToolButton* segment : applications->findChildren<QToolButton*>())
    EXPECT_EQ(reached.contains(segment), segment->isChecked()) << segment->text().toStdString();
  for (QWidget* each : reached)
    EXPECT_TRUE(!each->accessibleName().isEmpty() || each->property("text").isValid() ||
                qobject_cast<QComboBox*>(each))
        << each->objectName().toStdString();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  int letters = 0;
  for (const QLabel* label : window.findChildren<QLabel*>()) {
    const auto place = label->text().indexOf(QLatin1Char('&'));
    if (label->buddy() == nullptr || place < 0)
      continue;
    ++letters;
    focus->setFocus();
    QTest::keyClick(&window, label->text().at(place + 1).toLatin1(), Qt::AltModifier);
    EXPECT_TRUE(label->buddy() == window.focusWidget() ||
                label->buddy()->isAncestorOf(window.focusWidget()))
        << label->text().toStdString();
  }
  EXPECT_GE(letters, 5);
}

// What a program that reads the screen aloud says: every control has a role and a name, every cell
// its content.
TEST_F(WindowFixture, EverythingIsToldToThoseWhoHear) {
  ASSERT_TRUE(makeInterlacedClip(folder.file("A.MTS")));
  analyse({folder.file("A.MTS")});
  window.showPreferences();
  window.showAssistant();
  for (QWidget* each : window.findChildren<QWidget*>()) {
    if (each->focusPolicy() == Qt::NoFocus || !each->isVisible())
      continue;
    QAccessibleInterface* told = QAccessible::queryAccessibleInterface(each);
    ASSERT_NE(told, nullptr);
    const std::string what =
        each->metaObject()->className() + (" " + each->objectName()).toStdString();
    EXPECT_TRUE(qobject_cast<QAbstractScrollArea*>(each->parentWidget()) ||
                !told->text(QAccessible::Name).isEmpty())
        << what;
    EXPECT_NE(told->role(), QAccessible::Client) << what;
    if (const auto* choice = qobject_cast<QComboBox*>(each)) {
      ASSERT_NE(told->textInterface(), nullptr) << what;
      EXPECT_EQ(told->textInterface()->text(0, 1000), choice->currentText()) << what;
    }
    if (const auto* segment = qobject_cast<QToolButton*>(each); segment && segment->isCheckable()) {
      EXPECT_EQ(told->role(), QAccessible::RadioButton) << what;
      EXPECT_EQ(told->state().checked, segment->isChecked()) << what;
    }
    EXPECT_NE(told->role(), QAccessible::Border) << what;
  }
  QAccessibleTableInterface* cells =
      QAccessible::queryAccessibleInterface(&table())->tableInterface();
  ASSERT_EQ(cells->rowCount(), 1);
  for (int column = 0; column < cells->columnCount(); ++column) {
    const auto headers = cells->cellAt(0, column)->tableCellInterface()->columnHeaderCells();
    ASSERT_EQ(headers.size(), 1) << column;
    EXPECT_FALSE(headers[0]->text(QAccessible::Name).isEmpty()) << column;
    // A new one each time, which goes by its number only.
    QAccessible::deleteAccessibleInterface(QAccessible::registerAccessibleInterface(headers[0]));
    EXPECT_TRUE(column == pictureColumn ||
                !cells->cellAt(0, column)->text(QAccessible::Name).isEmpty())
        << column;
  }

  bool isPressed = false;
  auto* place = window.findChild<DropView*>("dropView");
  place->pressed = [&isPressed] { isPressed = true; };
  QAccessible::queryAccessibleInterface(place)->actionInterface()->doAction(
      QAccessibleActionInterface::pressAction());
  EXPECT_TRUE(isPressed);
}

TEST_F(WindowFixture, TheNextWindowIsWhereTheLastOneWas) {
  WindowActions actions;
  actions.remembered = &preferences;
  const auto sizeOfNext = [&](bool isOpen) {
    app.interface.batchDrawer.setShown(isOpen);
    MainWindow next(app, actions);
    next.show();
    return next.size();
  };
  const QSize fresh = sizeOfNext(false);
  {
    MainWindow first(app, actions);
    first.show();
    first.resize(fresh.width() + 40, fresh.height() + 20);
    app.interface.batchDrawer.setShown(true);
    first.resize(first.width(), first.height() + 100);
    first.rememberPlace();
    app.interface.batchDrawer.setShown(false);
    EXPECT_EQ(first.size(), fresh + QSize(40, 20));
  }
  EXPECT_EQ(sizeOfNext(false), fresh + QSize(40, 20));
  EXPECT_EQ(sizeOfNext(true).height() - sizeOfNext(false).height(), 460);
  preferences.prefWrite("windowPlace", "bm9uc2Vuc2U=");
  EXPECT_EQ(sizeOfNext(false), fresh);
}

}  // namespace
}  // namespace tessarin::test
