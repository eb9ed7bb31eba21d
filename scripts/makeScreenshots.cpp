// Makes pictures of the window's main states for the documents. Works with the real tools on clips
// that it makes itself; see scripts/screenshots.sh.
//
//   makeScreenshots [--all] FOLDER LANGUAGE-SCHEME...    writes FOLDER/LANGUAGE-SCHEME-STATE.png
//
// SCHEME: light, dark or hud. The first of them gets pictures of the documents' states, the others
// of those that show the most; with --all each gets all that there are.
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <clocale>
#include <cstdio>
#include <filesystem>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/RefusedSources.h"
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
     "-f lavfi -i sine=440:r=48000 -f lavfi -i sine=660:r=48000 -t 3 -pix_fmt yuv420p "
     "-map 0 -map 1 -map 2 -c:v libx264 -preset ultrafast -crf 32 -c:a aac"},
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
    // Movies of an earlier window would be asked about.
    ::setenv("HOME", home_.path().c_str(), 1);
    translateQt();
    Dico stored;
    stored.set(PrefKey::alertEnd, 0);
    app_.prefs2GuiApp(stored);
    listLanguages(app_.interface.language, preferences_);
    app_.interface.colour.select(scheme == "hud" ? 2 : scheme == "dark" ? 1 : 0);
    // As where no address was set.
    app_.interface.updateCheck.setEnabled(false);
    followColourScheme(app_.interface.colour);
    window_ = std::make_unique<MainWindow>(
        app_, WindowActions{[this] { app_.iba_menuQuit([] {}); }, [](const std::string&) {},
                            [](const std::string&) {}, [] {}});
    alerts_.setWindow(window_.get());
  }

  enum class States { most, documents, all };

  void make(States states) {
    const bool isForDocuments = states != States::most;
    const bool isAll = states == States::all;
    window_->show();
    settle();
    take("empty", *window_);
    app_.draggedFiles(paths_);
    until([this] { return !app_.interface.analysisCaptionStr.text().empty(); });
    loopFor(loop_, 20ms);  // the layout follows
    if (isForDocuments)
      take("analysis", *window_);
    until([this] { return app_.queue().isOpenPermitted(); });
    settle();
    take("batch", *window_);
    if (isForDocuments)
      takeSizes();
    if (isAll)
      takeChoices();
    app_.iba_batchGoBt();
    until([this] { return !app_.interface.encoding.left.text().empty(); });
    settle();
    take("converting", *window_);
    if (isForDocuments)
      takeQuestion("quit", [this] { app_.iba_menuQuit([] {}); });
    if (isAll)
      takePause();
    app_.driver().stop();
    until([this] { return !app_.driver().isBatchRunning(); });
    settle();
    if (isForDocuments)
      take("stopped", *window_);
    takePreview();
    if (isAll)
      takeTroubles();
    window_->showPreferences();
    settle();
    takeDialog("preferences");
    if (!isForDocuments)
      return;
    takeAssistant();
    window_->showLocalization();
    settle();
    nameInstalledTexts();
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
  // Where they are once the program is installed.
  void nameInstalledTexts() {
    for (QLabel* label : dialog()->findChildren<QLabel*>())
      if (const auto place = label->text().indexOf("/resources/"); place >= 0)
        label->setText("/usr/lib/tessarin" + label->text().mid(place));
    settle();
  }
  void closeQuestions() {
    for (QMessageBox* box : window_->findChildren<QMessageBox*>())
      box->close();
    settle();
  }
  void takeQuestion(const std::string& state, const std::function<void()>& ask) {
    ask();
    until([this] { return dialog() != nullptr; });
    settle();
    takeDialog(state);
    closeQuestions();
  }
  BatchView& table() { return *window_->findChild<BatchView*>("batch"); }

  // Selected rows, menus, what a choice leaves grey, the preview before a conversion.
  void takeChoices() {
    table().setFocus();
    table().selectRow(1);
    table().setCurrentIndex(table().model()->index(1, outColumn));
    settle();
    take("selected", *window_);
    takeMenus();
    window_->showPreview(true);
    until([this] { return !app_.preview().sourcePicture().empty(); });
    settle();
    take("preview-before", *window_);
    window_->showPreview(false);
    table().selectRow(2);
    table().removeSelected();
    settle();
    take("removed", *window_);
    table().undo();
    takeQuestion("remove-all", [this] { table().removeAll(); });
    table().clearSelection();
    table().setCurrentIndex({});
  }
  void takeMenu(const std::string& state, QMenu* menu) {
    menu->popup(window_->mapToGlobal(QPoint(20, 20)));
    settle();
    take(state, *menu);
    menu->close();
  }
  void takeMenus() {
    int number = 0;
    for (QMenu* menu : window_->findChildren<QMenu*>())
      takeMenu("menu-" + std::to_string(++number), menu);
    const QPoint place = table().visualRect(table().currentIndex()).center();
    QContextMenuEvent press(QContextMenuEvent::Mouse, place, table().mapToGlobal(place));
    QApplication::sendEvent(table().viewport(), &press);
    settle();
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu)
      return;
    take("menu-row", *menu);
    const QList<QMenu*> parts = menu->findChildren<QMenu*>();
    if (!parts.isEmpty())
      takeMenu("menu-row-sound", parts.front());
    menu->close();
    settle();
  }
  // What is asked, and left out, of clips that became movies before.
  void takeOnlyNew() {
    table().selectRow(1);
    table().removeSelected();
    app_.known().converted({{paths_[1], fileState(paths_[1])}});
    app_.interface.onlyNew.setChecked(true);
    app_.draggedFiles({paths_[1]});
    until([this] { return !app_.interface.leftOut.text().empty(); });
    settle();
    take("only-new", *window_);
    app_.interface.onlyNew.setChecked(false);
    app_.interface.names.setText("{date} {tilte}");
    settle();
    take("names-wrong", *window_);
    app_.interface.names.setText("");
  }
  void takePause() {
    app_.interface.encoding.stopBt.select(pauseSegment);
    app_.iba_taskStopBt();
    settle();
    take("paused", *window_);
    app_.interface.encoding.stopBt.select(pauseSegment);
    app_.iba_taskStopBt();
  }
  // A row that fails, a movie that is there, sources that are gone or refused, what is left.
  void takeTroubles() {
    const std::string lost = joinPath(parentFolder(paths_.front()), "card/Lost.mp4");
    static_cast<void>(mkdir(parentFolder(lost)));
    std::filesystem::copy_file(paths_[1], lost, std::filesystem::copy_options::overwrite_existing);
    app_.draggedFiles({lost});
    until([this] { return app_.queue().isOpenPermitted(); });
    const int last = app_.table().count() - 1;
    const auto whole = std::filesystem::file_size(lost);
    std::filesystem::resize_file(lost, whole / 2);
    app_.driver().convertRows({last});
    until([this] { return !app_.driver().isBatchRunning() || dialog(); });
    settle();
    take("failed", *window_);
    if (dialog())
      takeDialog("failed-question");
    closeQuestions();
    takeQuestion("clash", [this] { app_.driver().convertRows({1}); });
    until([this] { return !app_.driver().isBatchRunning(); });
    std::filesystem::remove_all(parentFolder(lost));
    takeQuestion("gone", [this, last] { app_.driver().convertRows({last}); });
    until([this] { return !app_.driver().isBatchRunning(); });
    settle();
    take("left-out", *window_);
    preferences_.prefWrite(PrefKey::alertEnd, 1);
    takeQuestion("ended", [this] { app_.driver().convertRows({2}); });
    take("finished", *window_);
    preferences_.prefWrite(PrefKey::alertEnd, 0);
    takeOnlyNew();
    const std::string text = joinPath(parentFolder(paths_.front()), "Letter.mp4");
    static_cast<void>(writeFileAtomically(text, "Dear Anna,"));
    takeQuestion("refused", [this, text] { app_.draggedFiles({text}); });
    takeQuestion("recovery", [this] {
      alerts_.show({localisationString("D_recover_1"),
                    localisationString("D_recover_2", "", "12"),
                    {localisationString("D_recover_goOn"), localisationString("D_recover_later"),
                     localisationString("D_recover_forget")}});
    });
    takeQuestion("list", [this] {
      alerts_.show({localisationString("D_list_1"),
                    localisationString("D_list_2", "", "12"),
                    {localisationString("D_list_open"), localisationString("D_recover_later"),
                     localisationString("D_recover_forget")}});
    });
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

  ScopedTemporaryFolder home_;
  TestBundle bundle_;
  std::string prefix_;
  std::vector<std::string> paths_;
  QtRunLoop loop_;
  QtAlerts alerts_;
  MemoryUserDomain domain_;
  PreferenceStore preferences_{domain_};
  appDelegate app_{{loop_, preferences_, alerts_, {}, {}, home_.file("converted")}};
  RefusedSources refused_{app_.queue(), alerts_};
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
  const bool isAll = count > 1 && std::string(arguments[1]) == "--all";
  const int folder = isAll ? 2 : 1;
  for (int each = folder + 1; each < count; ++each) {
    const std::string kind = arguments[each];
    const std::string language(textUpTo(kind, "-"));
    const std::string scheme(textAfter(kind, "-").value_or(""));
    Screenshots(paths, std::string(arguments[folder]) + "/" + kind + "-", language, scheme)
        .make(isAll                ? Screenshots::States::all
              : each == folder + 1 ? Screenshots::States::documents
                                   : Screenshots::States::most);
  }
  return 0;
}
