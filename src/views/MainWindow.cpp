#include "views/MainWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <filesystem>

#include "classShared/log.h"
#include "jobs/admittedSources.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"
#include "views/accessibility.h"
#include "views/filePanel.h"
#include "views/images.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int windowWidth = 960;
constexpr int leastDrawer = 160;
constexpr int greatestDrawer = 4000;
constexpr int leastPreview = 100;
constexpr int greatestPreview = 4000;

// Stored keys: as QWidget::saveGeometry gives it, in base64; the height of the open drawer, the
// width of the preview in it, 0 for none; a path.
constexpr std::string_view placeKey = "windowPlace";
constexpr std::string_view drawerKey = "windowDrawer";
constexpr std::string_view previewKey = "windowPreview";
constexpr std::string_view lastFolderKey = "windowLastFolder";

// What the open panel can show: movies as they are taken in, or everything.
QStringList openPanelFilters() {
  const AdmittedExtensions admitted;
  QStringList patterns;
  for (const std::string& spelling : admitted.spellings())
    patterns.append("*." + qtText(spelling));
  patterns.sort();
  return {localizedText("@@filterMovies") + " (" + patterns.join(' ') + ")",
          localizedText("@@filterAll") + " (*)"};
}

}  // namespace

MainWindow::MainWindow(appDelegate& app, WindowActions actions)
    : app_(app), actions_(std::move(actions)) {
  describeWidgets();
  setWindowTitle(qtText(Bundle::main().name()));
  setAcceptDrops(true);
  makeContent();
  makeMenus();
  localizeWindow(this);
  giveMnemonics(menuBar());
  giveMnemonics(this);
  resize(windowWidth, sizeHint().height());
  restorePlace();
  const QPointer<MainWindow> held(this);
  app_.interface.batchDrawer.changed.connect([held] {
    if (held)
      held->showDrawer(held->app_.interface.batchDrawer.isShown());
  });
  const auto showProgress = [held] {
    if (held)
      held->showProgressInTitle();
  };
  app_.driver().progressed.connect(showProgress);
  app_.driver().jobStarted.connect(
      [showProgress](const std::string&, const std::string&) { showProgress(); });
  app_.interface.batchGoBt.changed.connect(showProgress);
  if (app_.interface.batchDrawer.isShown())
    showDrawer(true);
}

// Where only the desktop's list of windows can be seen the progress can, too.
void MainWindow::showProgressInTitle() {
  const QString name = qtText(Bundle::main().name());
  const BatchProgress batch = app_.driver().progress();
  const QString number = numberText(batch);
  setWindowTitle(number.isEmpty() ? name
                                  : percentText(batch) + QStringLiteral(" (") + number +
                                        QStringLiteral(") – ") + name);
}

bool MainWindow::event(QEvent* event) {
  const bool isHandled = QMainWindow::event(event);
  if (event->type() == QEvent::Paint)
    if (const auto painted = std::exchange(firstPainted, {}))
      painted();
  return isHandled;
}

void MainWindow::makeContent() {
  auto* content = new QWidget;
  auto* column = new QVBoxLayout(content);
  column->setContentsMargins(16, 16, 16, 16);
  column->setSpacing(14);
  auto* upper = new QHBoxLayout;
  upper->setSpacing(20);
  sources_ = new SourcesView(app_, [this] { openSources(false); });
  upper->addWidget(sources_, 1);
  settings_ = new SettingsView(app_, actions_.reveal);
  upper->addWidget(settings_, 2);
  drawer_ = new BatchDrawer(app_, actions_);
  drawer_->hide();
  column->addLayout(upper);
  column->addWidget(drawer_, 1);
  setCentralWidget(content);
}

// The window grows by its drawer, and shrinks again without it.
void MainWindow::showDrawer(bool shown) {
  if (shown == !drawer_->isHidden())
    return;
  const bool mayResize = !isMaximized() && !isFullScreen();
  if (shown)
    closedHeight_ = mayResize ? height() : sizeHint().height();
  else if (mayResize)
    drawerHeight_ = grownBy();
  drawer_->setVisible(shown);
  if (!mayResize)
    return;
  // Until the layouts know of it the window cannot become smaller than it had to be before.
  centralWidget()->layout()->activate();
  layout()->activate();
  resize(width(), closedHeight_ + (shown ? drawerHeight_ : 0));
  stayOnScreen();
}

// What has grown beyond an edge moves back, as far as the desktop lets a window say where it is.
void MainWindow::stayOnScreen() {
  const QRect screen = this->screen()->availableGeometry();
  const QRect frame = frameGeometry();
  const QSize size = this->size() + frame.size() - geometry().size();
  const QPoint place(
      std::max(screen.left(), std::min(frame.left(), screen.right() - size.width())),
      std::max(screen.top(), std::min(frame.top(), screen.bottom() - size.height())));
  if (isVisible() && place != frame.topLeft() && screen.contains(frame.topLeft()))
    move(place);
}

// What the open drawer takes of the window now, as the user has drawn it.
int MainWindow::grownBy() const {
  return std::clamp(height() - closedHeight_, leastDrawer, greatestDrawer);
}

// The window grows by it, and shrinks again; the list keeps its width.
void MainWindow::showPreview(bool shown) {
  previewItem_->setChecked(shown);
  const bool mayResize = !isMaximized() && !isFullScreen() && !drawer_->isHidden();
  if (!shown && drawer_->previewWidth() > 0)
    previewWidth_ = drawer_->previewWidth();
  if (shown && mayResize) {
    resize(width() + previewWidth_, height());
    stayOnScreen();
  }
  drawer_->showPreview(shown ? previewWidth_ : 0);
  if (shown || !mayResize)
    return;
  centralWidget()->layout()->activate();
  layout()->activate();
  resize(width() - previewWidth_, height());
}

void MainWindow::rememberPlace() {
  if (!actions_.remembered)
    return;
  actions_.remembered->prefWrite(placeKey, saveGeometry().toBase64().toStdString());
  const bool hasGrown = !drawer_->isHidden() && !isMaximized() && !isFullScreen();
  actions_.remembered->prefWrite(drawerKey, hasGrown ? grownBy() : 0);
  actions_.remembered->prefWrite(previewKey, drawer_->previewWidth());
}

void MainWindow::restorePlace() {
  if (!actions_.remembered)
    return;
  const std::string place = actions_.remembered->prefReadString(placeKey);
  if (!restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(place))))
    return;
  if (const auto preview = actions_.remembered->integer(previewKey);
      preview >= leastPreview && preview <= greatestPreview) {
    previewWidth_ = static_cast<int>(preview);
    previewItem_->setChecked(true);
    drawer_->showPreview(previewWidth_);
  }
  const auto drawer = actions_.remembered->integer(drawerKey);
  if (drawer < leastDrawer || drawer > greatestDrawer || isMaximized() || isFullScreen())
    return;
  drawerHeight_ = static_cast<int>(drawer);
  resize(width(), height() - drawerHeight_);
}

void MainWindow::bringToFront() {
  if (isMinimized())
    showNormal();
  else
    show();
  // A question that is open takes the keys, which the window behind it would not.
  QWidget* question = QApplication::activeModalWidget();
  QWidget* front = question ? question : this;
  raise();
  front->raise();
  front->activateWindow();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  debugFormat("windowShouldClose ?");
  // The answer may come later; the program hides the window when it ends.
  event->ignore();
  actions_.quit();
}

// ---- Sources

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  // Rows of the list that the user carries about are no new sources.
  if (!isReady() || event->source() || pathsOf(event->mimeData()).empty())
    return;
  event->setDropAction(Qt::CopyAction);
  event->accept();
  sources_->setHighlighted(true);
}

void MainWindow::dragLeaveEvent(QDragLeaveEvent*) {
  sources_->setHighlighted(false);
}

void MainWindow::dropEvent(QDropEvent* event) {
  sources_->setHighlighted(false);
  event->setDropAction(Qt::CopyAction);
  event->accept();
  takeIn(pathsOf(event->mimeData()), &appDelegate::dragNDropPerformDrag);
}

// At once, or behind the analysis that is under way.
void MainWindow::takeIn(const std::vector<std::string>& paths, TakeIn now) {
  if (paths.size() > 1)
    app_.takeTogether(paths);
  else if (app_.queue().isOpenPermitted())
    (app_.*now)(paths);
  else
    app_.applicationOpenFiles(paths);
}

void MainWindow::pasteSources() {
  const auto paths = pathsOf(QGuiApplication::clipboard()->mimeData());
  if (!paths.empty() && isReady())
    takeIn(paths, &appDelegate::dragNDropPerformDrag);
}

void MainWindow::openSources(bool folder) {
  logLine("(drag'n'drop) menu open…");
  if (!isReady())
    return;
  // Where the user opened sources last, as long as it is there.
  const std::string last =
      actions_.remembered ? actions_.remembered->prefReadString(lastFolderKey) : "";
  app_.whenDiskAnswers(last, [held = QPointer<MainWindow>(this), last, folder](bool isAnswered) {
    if (held)
      held->openPanel(isAnswered && isDirectory(last) ? qtText(last) : QDir::homePath(), folder);
  });
}

void MainWindow::openPanel(const QString& start, bool folder) {
  auto* panel = newFilePanel(this, qtText(localisationString("menuOpen")), start,
                             folder ? QFileDialog::Directory : QFileDialog::ExistingFiles);
  panel->setOption(QFileDialog::HideNameFilterDetails);
  if (!folder)
    panel->setNameFilters(openPanelFilters());
  connect(panel, &QFileDialog::filesSelected, this, [this](const QStringList& files) {
    std::vector<std::string> paths;
    for (const QString& file : files)
      paths.push_back(file.toStdString());
    if (actions_.remembered && !paths.empty())
      actions_.remembered->prefWrite(lastFolderKey,
                                     std::filesystem::path(paths.front()).parent_path().string());
    takeIn(paths, &appDelegate::draggedFiles);
  });
  panel->open();
}

}  // namespace tessarin
