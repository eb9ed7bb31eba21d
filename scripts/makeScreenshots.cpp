// Makes pictures of the window's main states for the documents. Works with the real tools on clips
// that it makes itself; see scripts/screenshots.sh.
//
//   makeScreenshots FOLDER LANGUAGE-SCHEME...    writes FOLDER/LANGUAGE-SCHEME-STATE.png
//
// SCHEME: light, dark or hud. The first of them gets pictures of all states, the others of those
// that show the most.
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <clocale>
#include <cstdio>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/batchSummary.h"
#include "core/language.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "support/LoopUntil.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/clips.h"
#include "utils/files.h"
#include "views/MainWindow.h"
#include "views/QtAlerts.h"
#include "views/QtRunLoop.h"
#include "views/colourSchemes.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin::test {
namespace {

using namespace std::chrono_literals;

// What people film, as far as ffmpeg can draw it.
const std::vector<std::pair<std::string, std::string>> clips = {
    {"00012.MTS",
     "-f lavfi -i mandelbrot=s=1920x1080:r=50:start_scale=0.6,trim=end_frame=24,loop=40:24,"
     "format=yuv420p,tinterlace=interleave_top,setfield=tff -f lavfi -i sine=440:r=48000 -t 18 "
     "-c:v libx264 -preset ultrafast -crf 32 -flags +ildct+ilme -top 1 -c:a ac3 -ac 2 -f mpegts"},
    {"Birthday 2009.mp4",
     "-f lavfi -i gradients=s=1280x720:r=50:c0=0xf2b84b:c1=0xc2415c:c2=0x3b5aa3:n=3:seed=7 "
     "-f lavfi -i sine=440:r=48000 -t 3 -pix_fmt yuv420p -c:v libx264 -preset ultrafast -crf 32 "
     "-c:a aac"},
    {"Tape 04.MPG",
     "-f lavfi -i gradients=s=720x576:r=25:c0=0x31492f:c1=0xd8e2a0:c2=0x4f8fc0:n=3:seed=11 "
     "-f lavfi -i sine=440:r=48000 -t 3 -pix_fmt yuv420p "
     "-c:v mpeg2video -q:v 8 -aspect 16:9 -c:a mp2 -f mpegts"},
};

class Screenshots {
 public:
  Screenshots(std::vector<std::string> paths, std::string prefix, const std::string& language,
              const std::string& scheme)
      : bundle_(language), prefix_(std::move(prefix)), paths_(std::move(paths)) {
    translateQt();
    Dico stored;
    stored.set(PrefKey::alertEnd, 0);
    app_.prefs2GuiApp(stored);
    listLanguages(app_.interface.language, preferences_);
    app_.interface.colour.select(scheme == "hud" ? 2 : scheme == "dark" ? 1 : 0);
    followColourScheme(app_.interface.colour);
    window_ = std::make_unique<MainWindow>(
        app_, WindowActions{[this] { app_.iba_menuQuit([] {}); }, [](const std::string&) {},
                            [](const std::string&) {}, [] {}});
    alerts_.setWindow(window_.get());
  }

  void make(bool allStates) {
    window_->show();
    settle();
    take("empty", *window_);
    app_.draggedFiles(paths_);
    until([this] { return !app_.interface.analysisCaptionStr.text().empty(); });
    if (allStates)
      take("analysis", *window_);
    until([this] { return app_.queue().isOpenPermitted(); });
    settle();
    take("batch", *window_);
    if (allStates)
      takeSizes();
    app_.iba_batchGoBt();
    until([this] { return !app_.interface.encoding.left.text().empty(); });
    settle();
    take("converting", *window_);
    if (allStates)
      takeQuestion();
    app_.driver().stop();
    until([this] { return !app_.driver().isBatchRunning(); });
    settle();
    if (allStates)
      take("stopped", *window_);
    takePreview();
    window_->showPreferences();
    settle();
    takeDialog("preferences");
    if (!allStates)
      return;
    takeAssistant();
    window_->showLocalization();
    settle();
    takeDialog("localization");
    dialog()->close();
    settle();
    window_->showReport();
    settle();
    takeDialog("report");
  }

 private:
  bool until(const std::function<bool()>& condition) { return loopUntil(loop_, condition, 60s); }
  void settle() { loopFor(loop_, 150ms); }

  void take(const std::string& state, QWidget& widget) {
    const QString path = qtText(prefix_ + state + ".png");
    if (!widget.grab().save(path))
      std::fprintf(stderr, "not written: %s\n", qPrintable(path));
  }

  QWidget* dialog() {
    QWidget* found = nullptr;
    for (QDialog* each : window_->findChildren<QDialog*>())
      if (each->isVisible())
        found = each;
    return found;
  }
  void takeDialog(const std::string& state) {
    if (QWidget* shown = dialog())
      take(state, *shown);
    else
      std::fprintf(stderr, "no dialog: %s\n", state.c_str());
  }
  void takeSizes() {
    auto* table = window_->findChild<BatchView*>("batch");
    table->setFocus();
    table->setCurrentIndex(table->model()->index(0, sizeColumn));
    QTest::keyClick(table, Qt::Key_Space);
    settle();
    if (QWidget* menu = QApplication::activePopupWidget()) {
      take("sizes", *menu);
      menu->close();
    }
    table->clearSelection();
    table->setCurrentIndex({});
  }
  // Of a clip whose movie is there.
  void takePreview() {
    app_.driver().convertRows({1});
    until([this] { return !app_.driver().isBatchRunning(); });
    auto* table = window_->findChild<BatchView*>("batch");
    table->setCurrentIndex(table->model()->index(1, sourceColumn));
    window_->showPreview(true);
    app_.preview().setMoment(0.5);
    until([this] { return !app_.preview().moviePicture().empty(); });
    settle();
    take("preview", *window_);
    table->showStory();
    until([this] { return dialog() != nullptr; });
    settle();
    takeDialog("story");
    if (QWidget* shown = dialog())
      shown->close();
    window_->showPreview(false);
    settle();
  }
  void takeQuestion() {
    app_.iba_menuQuit([] {});
    settle();
    takeDialog("quit");
    for (QMessageBox* box : window_->findChildren<QMessageBox*>())
      box->close();
    settle();
  }
  void takeAssistant() {
    window_->showAssistant();
    settle();
    takeDialog("assistant-1");
    for (const char* page : {"2", "3", "4"}) {
      QTest::mouseClick(window_->findChild<QPushButton*>("assistantNext"), Qt::LeftButton);
      settle();
      takeDialog(std::string("assistant-") + page);
    }
    if (QWidget* shown = dialog())
      shown->close();
    settle();
  }

  TestBundle bundle_;
  std::string prefix_;
  std::vector<std::string> paths_;
  QtRunLoop loop_;
  QtAlerts alerts_;
  MemoryUserDomain domain_;
  PreferenceStore preferences_{domain_};
  appDelegate app_{{loop_, preferences_, alerts_, {}}};
  BatchSummary summary_{app_.table(), app_.interface.batchSummary, loop_};
  std::unique_ptr<MainWindow> window_;
};

}  // namespace
}  // namespace tessarin::test

int main(int count, char** arguments) {
  using namespace tessarin;
  using namespace tessarin::test;
  QApplication application(count, arguments);
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setQuitOnLastWindowClosed(false);
  static_cast<void>(sendLogToFile("/dev/null"));
  takeCodecInventory();
  const ScopedTemporaryFolder work;
  std::vector<std::string> paths;
  for (const auto& [name, options] : clips)
    if (makeClip(options, work.file(name)))
      paths.push_back(work.file(name));
  for (int each = 2; each < count; ++each) {
    const std::string kind = arguments[each];
    const std::string language(textUpTo(kind, "-"));
    const std::string scheme(textAfter(kind, "-").value_or(""));
    Screenshots(paths, std::string(arguments[1]) + "/" + kind + "-", language, scheme)
        .make(each == 2);
  }
  return 0;
}
