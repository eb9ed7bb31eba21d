// How long the window keeps its user waiting: rows that come to a long batch, scrolling, and the
// longest moment in which nothing else could happen while real clips are analysed and converted.
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench/windowBench
//
// The first paint is in the detail log of every start ("first paint").
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTimer>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <memory>

#include "analysis/codecInventory.h"
#include "analysis/sourceRecord.h"
#include "classShared/log.h"
#include "core/BatchRecorder.h"
#include "core/batchSummary.h"
#include "jobs/newRow.h"
#include "platform/Bundle.h"
#include "process/logs.h"
#include "utils/files.h"
#include "views/BatchView.h"
#include "views/MainWindow.h"
#include "views/QtAlerts.h"
#include "views/QtRunLoop.h"
#include "views/qtText.h"

namespace tessarin {
namespace {

constexpr int manyRows = 1000;

// The window as the program makes it, with a batch that is stored below our temporary folder.
class Window {
 public:
  Window() {
    preferences_.prefWrite(PrefKey::alertEnd, 0);
    Dico stored;
    stored.set(PrefKey::destination, folder_);
    app.prefs2GuiApp(stored);
    window.show();
  }

  QTableView& table() { return *window.findChild<QTableView*>("batch"); }

  void appendRow() {
    Source source = *sourceOfRecord({{"v0_width", 1920},
                                     {"v0_height", 1080},
                                     {"v0_fps", 25.0},
                                     {"v0_fields", "TFF"},
                                     {"w_duration", 12}});
    source.path = "/card/" + std::to_string(app.table().count()) + ".MTS";
    source.thumbnail = newPicture();
    const int row = app.table().append(newRow(std::move(source), {outProres, 0}));
    app.table().iba_outSpeedCell(row);
    app.interface.batchDrawer.setShown(true);
  }

  // Lets what was begun come to its end: the batch is on the disk, the rows are painted.
  void settle() {
    loop.runAfter(std::chrono::seconds(3), [this] { loop.stop(0); });
    loop.run();
  }

  const std::string& folder() const { return folder_; }

 private:
  // A thumbnail for one row.
  std::string newPicture() {
    if (picture_.empty()) {
      picture_ = joinPath(folder_, "picture.jpg");
      QImage image(160, 90, QImage::Format_RGB32);
      image.fill(Qt::darkGreen);
      image.save(qtText(picture_));
    }
    const std::string path = joinPath(folder_, std::to_string(app.table().count()) + ".jpg");
    std::filesystem::copy_file(picture_, path, std::filesystem::copy_options::overwrite_existing);
    return path;
  }

  std::string folder_ = temporaryFolder();
  std::string picture_;
  MemoryUserDomain domain_;
  PreferenceStore preferences_{domain_};
  QtAlerts alerts_;

 public:
  QtRunLoop loop;

 private:
  CoreServices services_{loop, preferences_, alerts_, {}};

 public:
  appDelegate app{services_};

 private:
  BatchSummary summary_{app.table(), app.interface.batchSummary, loop};
  BatchRecorder recorder_{app, services_, joinPath(folder_, "batches")};

 public:
  MainWindow window{app, {[] {}, [](const std::string&) {}, [](const std::string&) {}}};
};

double milliseconds(const QElapsedTimer& timer) {
  return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

// Milliseconds that this thread could have run but had no core, as other programs had it.
double waitedForCore() {
  std::ifstream stream("/proc/thread-self/schedstat");
  double ran = 0;
  double waited = 0;
  stream >> ran >> waited;
  return waited / 1e6;
}

// What is due: painting above all.
void serveEvents() {
  QCoreApplication::sendPostedEvents();
  QCoreApplication::processEvents();
}

// A row comes to the end of a thousand and is painted.
void AddRowAndRepaint(benchmark::State& state) {
  Window window;
  for (int row = 0; row < manyRows; ++row)
    window.appendRow();
  window.table().scrollToBottom();
  window.settle();
  double longest = 0;
  for (auto step : state) {
    QElapsedTimer timer;
    timer.start();
    const double waited = waitedForCore();
    window.appendRow();
    window.table().scrollToBottom();
    serveEvents();
    longest = std::max(longest, milliseconds(timer) - (waitedForCore() - waited));
  }
  state.counters["longest_ms"] = longest;
}
BENCHMARK(AddRowAndRepaint)->Iterations(100)->Unit(benchmark::kMillisecond);

// A page further down: every row on it is painted for the first time.
void ScrollToNewRows(benchmark::State& state) {
  Window window;
  for (int row = 0; row < manyRows; ++row)
    window.appendRow();
  serveEvents();
  QScrollBar* bar = window.table().verticalScrollBar();
  for (auto step : state) {
    bar->setValue((bar->value() + bar->pageStep()) % std::max(1, bar->maximum()));
    serveEvents();
  }
}
BENCHMARK(ScrollToNewRows)->Iterations(100)->Unit(benchmark::kMillisecond);

// The same rows again: nothing is scaled any more.
void RepaintKnownRows(benchmark::State& state) {
  Window window;
  for (int row = 0; row < manyRows; ++row)
    window.appendRow();
  serveEvents();
  for (auto step : state) {
    window.table().viewport()->update();
    serveEvents();
  }
}
BENCHMARK(RepaintKnownRows)->Iterations(100)->Unit(benchmark::kMillisecond);

// A beat that wants to come every millisecond; the longest gap is the longest stall. Times without
// a core do not count: the machine may be busy with other things.
class Heartbeat {
 public:
  explicit Heartbeat(QtRunLoop& loop) : loop_(loop) { beat(); }
  ~Heartbeat() { loop_.cancel(next_); }
  Heartbeat(const Heartbeat&) = delete;
  Heartbeat& operator=(const Heartbeat&) = delete;

  double longest() const { return longest_; }

 private:
  void beat() {
    const double waited = waitedForCore();
    if (last_.isValid())
      longest_ = std::max(longest_, milliseconds(last_) - (waited - waited_));
    last_.start();
    waited_ = waited;
    next_ = loop_.runAfter(std::chrono::milliseconds(1), [this] { beat(); });
  }

  QtRunLoop& loop_;
  QElapsedTimer last_;
  double waited_ = 0;
  double longest_ = 0;
  RunLoop::Id next_ = 0;
};

bool makeClip(const std::string& path) {
  const std::string command =
      "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=1920x1080:r=50:d=4,format=yuv420p,"
      "tinterlace=interleave_top,setfield=tff -f lavfi -i sine=1000:r=48000:d=4 -c:v libx264 "
      "-preset ultrafast -flags +ildct+ilme -top 1 -c:a ac3 -f mpegts " +
      path;
  return std::system(command.c_str()) == 0;
}

// All of these rows are removed with the keys, and it is taken back; then they get another target
// and another order. Each is let settle, so that what waits behind the act counts as well.
void RemoveAndUndo(benchmark::State& state) {
  Window window;
  for (auto row = state.range(0); row > 0; --row)
    window.appendRow();
  window.settle();
  auto& view = static_cast<BatchView&>(window.table());
  const auto stall = [&](const char* name, const auto& act) {
    const Heartbeat heartbeat(window.loop);
    window.loop.runSoon(act);
    window.settle();
    state.counters[name] = heartbeat.longest();
  };
  const auto press = [&](Qt::Key key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(QChar(key)));
    QApplication::sendEvent(&view, &event);
  };
  view.setCurrentIndex(view.model()->index(0, outColumn));
  for (auto step : state) {
    stall("select_ms", [&] { view.selectAll(); });
    stall("choose_ms", [&] { press(Qt::Key_2); });
    stall("undoChoice_ms", [&] { view.undo(); });
    stall("remove_ms", [&] { view.removeSelected(); });
    stall("undoRemoval_ms", [&] { view.undo(); });
    stall("sort_ms", [&] { view.sortRows(SortBy::name); });
    stall("undoOrder_ms", [&] { view.undo(); });
    // Every other row: none of them is the neighbour of another.
    QItemSelection others;
    for (int row = 0; row < view.model()->rowCount(); row += 2)
      others.select(view.model()->index(row, 0), view.model()->index(row, batchColumnCount - 1));
    stall("selectOthers_ms",
          [&] { view.selectionModel()->select(others, QItemSelectionModel::ClearAndSelect); });
    stall("removeOthers_ms", [&] { view.removeSelected(); });
    stall("undoOthers_ms", [&] { view.undo(); });
  }
}
BENCHMARK(RemoveAndUndo)
    ->Arg(manyRows)
    ->Arg(10 * manyRows)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

// Twenty clips on top of a thousand rows are analysed, and three of them converted.
void AnalyseAndConvert(benchmark::State& state) {
  Window window;
  for (int row = 0; row < manyRows; ++row)
    window.appendRow();
  const std::string first = joinPath(window.folder(), "0.MTS");
  if (!makeClip(first)) {
    state.SkipWithError("no clip");
    return;
  }
  std::vector<std::string> clips{first};
  for (int clip = 1; clip < 20; ++clip) {
    clips.push_back(joinPath(window.folder(), std::to_string(clip) + ".MTS"));
    std::filesystem::copy_file(first, clips.back());
  }
  window.settle();
  double analysis = 0;
  double conversion = 0;
  window.app.queue().finished.connect([&] { window.loop.stop(0); });
  window.app.driver().batchEnded.connect([&] { window.loop.stop(0); });
  for (auto step : state) {
    {
      const Heartbeat heartbeat(window.loop);
      window.app.draggedFiles(clips);
      window.loop.run();
      analysis = heartbeat.longest();
    }
    // The rows without a source and all clips but three go first.
    std::vector<int> rows = window.app.table().allRows();
    rows.resize(rows.size() - 3);
    window.app.table().remove(rows);
    window.settle();
    const Heartbeat heartbeat(window.loop);
    window.app.iba_batchGoBt();
    window.loop.run();
    conversion = heartbeat.longest();
  }
  state.counters["longestStallAnalysis_ms"] = analysis;
  state.counters["longestStallConversion_ms"] = conversion;
}
BENCHMARK(AnalyseAndConvert)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace tessarin

int main(int count, char** arguments) {
  QApplication application(count, arguments);
  std::setlocale(LC_NUMERIC, "C");
  static_cast<void>(tessarin::sendLogToFile("/dev/null"));
  tessarin::Bundle::setMain(tessarin::Bundle(TESSARIN_BUILD "/resources", {"en"}));
  tessarin::takeCodecInventory();
  benchmark::Initialize(&count, arguments);
  benchmark::RunSpecifiedBenchmarks();
  tessarin::removeTemporaryFolder();
  return 0;
}
