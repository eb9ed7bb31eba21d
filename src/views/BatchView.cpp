#include "views/BatchView.h"

#include <QActionGroup>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDrag>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <algorithm>
#include <array>
#include <utility>

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "core/clipWords.h"
#include "core/rowEdits.h"
#include "utils/fileSection.h"
#include "views/LogWindow.h"
#include "views/localize.h"
#include "views/mnemonics.h"
#include "views/popUpTitles.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int heightOfRow = 66;
constexpr int rowMargin = 4;
constexpr int leastNameLength = 20;  // letters of a source's name that are to be seen

// Told apart by more than the colour, and seen on the chosen entry, too.
QIcon sign(const std::string& colourName) {
  if (colourName == "black")
    return {};
  constexpr int size = 64;
  const bool isGood = colourName == "green";
  QPixmap pixmap(size, size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Qt::white, 4));
  painter.setBrush(isGood ? QColor(31, 128, 50) : QColor(200, 40, 40));
  painter.drawEllipse(6, 6, size - 12, size - 12);
  painter.setPen(QPen(Qt::white, 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  if (isGood) {
    painter.drawPolyline(QPolygon({QPoint(20, 33), QPoint(29, 43), QPoint(45, 22)}));
  } else {
    painter.drawLine(32, 18, 32, 34);
    painter.drawPoint(32, 46);
  }
  return pixmap;
}

}  // namespace

BatchView::BatchView(appDelegate& app, const WindowActions& actions, QWidget* parent)
    : QTableView(parent),
      app_(app),
      actions_(actions),
      model_(new BatchTableModel(app.table(), this)) {
  setModel(model_);
  // Its own rows; the window takes what comes from elsewhere.
  setDragEnabled(true);
  setAcceptDrops(true);
  setDropIndicatorShown(false);
  setDefaultDropAction(Qt::CopyAction);
  setAccessibleName(QStringLiteral("@@batchList"));
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setShowGrid(false);
  setAlternatingRowColors(true);
  setHorizontalScrollMode(ScrollPerPixel);
  setVerticalScrollMode(ScrollPerPixel);
  setTabKeyNavigation(false);  // Tab leaves the table
  setUpColumns();

  auto* order = new OrderDelegate(this);
  order->markOfRow = [this](int row) { return app_.table().row(row).mark; };
  auto* choices = new ChoiceDelegate(*model_, this);
  choices->chosen = [this](const QModelIndex& index, int segment) { choose(index, segment); };
  auto* sizes = new PopUpDelegate(*model_, this);
  sizes->pressed = [this](const QModelIndex& index) { openSizes(index); };
  model_->progressOfRow = [this](int row) -> std::optional<double> {
    const auto known = inHand_.find(app_.table().sourcePath(row));
    return known == inHand_.end() ? std::nullopt : std::optional(known->second);
  };
  setItemDelegateForColumn(orderColumn, order);
  setItemDelegateForColumn(pictureColumn, new PictureDelegate(this));
  setItemDelegateForColumn(sourceColumn, new SourceDelegate(this));
  setItemDelegateForColumn(outColumn, choices);
  setItemDelegateForColumn(speedColumn, choices);
  setItemDelegateForColumn(sizeColumn, sizes);
  connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this] { tellCurrentRow(); });
  connect(model_, &QAbstractItemModel::rowsRemoved, this, [this] { tellCurrentRow(); });
  const QPointer<BatchView> held(this);
  app_.table().rowsPutBack.connect([held](const std::vector<int>& rows) {
    if (held && !rows.empty())
      held->selectRows(rows);
  });
  const auto show = [held] {
    if (held)
      held->showProgress();
  };
  app_.driver().progressed.connect(show);
  app_.driver().batchEnded.connect(show);
  app_.driver().jobStarted.connect([held](const std::string&, const std::string&) {
    if (!held)
      return;
    held->showProgress();
    held->follow();
  });
  connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
    const int row = app_.table().encBatchInprogressRowIdentification();
    if (!isScrolling_ && row >= 0)
      isFollowing_ = viewport()->rect().intersects(visualRect(model_->index(row, sourceColumn)));
  });
}

// While rows go the numbers of the model are not yet those of the table.
void BatchView::tellCurrentRow() {
  if (model_->rowCount() != app_.table().count())
    return;
  app_.table().select(currentIndex().row());
  app_.preview().show(currentIndex().row());
}

// ---- The rows that are being converted

void BatchView::showProgress() {
  std::map<std::string, double> before;
  before.swap(inHand_);
  for (const BatchProgress::Clip& clip : app_.driver().progress().inHand)
    inHand_[clip.source] = clip.fraction;
  for (const auto& [source, fraction] : before)
    if (!inHand_.contains(source))
      model_->showProgress(app_.table().rowOfSource(source));
  for (const auto& [source, fraction] : inHand_)
    if (const auto former = before.find(source);
        former == before.end() || former->second != fraction)
      model_->showProgress(app_.table().rowOfSource(source));
}

void BatchView::follow() {
  const int row = app_.table().encBatchInprogressRowIdentification();
  if (!isFollowing_ || row < 0)
    return;
  isScrolling_ = true;
  scrollTo(model_->index(row, sourceColumn));
  isScrolling_ = false;
}

void BatchView::setUpColumns() {
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  QHeaderView* header = horizontalHeader();
  header->setHighlightSections(false);
  header->setSectionsClickable(false);
  header->setStretchLastSection(false);
  header->setSectionResizeMode(QHeaderView::ResizeToContents);
  // Measuring all rows of a long batch at each change would take long.
  header->setResizeContentsPrecision(20);
  header->setSectionResizeMode(orderColumn, QHeaderView::Fixed);
  header->setSectionResizeMode(pictureColumn, QHeaderView::Fixed);
  header->resizeSection(pictureColumn, BatchTableModel::pictureWidth + 12);
  header->setSectionResizeMode(sourceColumn, QHeaderView::Stretch);
  header->setMinimumSectionSize(40);
  header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  setUpRows();
}

// The caption of a source has three lines.
void BatchView::setUpRows() {
  const int captions = 3 * fontMetrics().lineSpacing() + 2 * rowMargin;
  verticalHeader()->setDefaultSectionSize(qMax(heightOfRow, captions));
  const int number = fontMetrics().horizontalAdvance("9999") + 2 * rowMargin;
  horizontalHeader()->resizeSection(orderColumn, qMax(40, number));
}

void BatchView::changeEvent(QEvent* event) {
  QTableView::changeEvent(event);
  if (event->type() == QEvent::FontChange)
    setUpRows();
}

// Where there is too little room the list is scrolled, so that one can still tell the sources.
void BatchView::updateGeometries() {
  QTableView::updateGeometries();
  QHeaderView* header = horizontalHeader();
  const int least = leastNameLength * fontMetrics().averageCharWidth();
  const int others = header->length() - header->sectionSize(sourceColumn);
  const bool isNarrow = viewport()->width() - others < least;
  const auto mode = isNarrow ? QHeaderView::Fixed : QHeaderView::Stretch;
  if (header->count() <= sourceColumn || header->sectionResizeMode(sourceColumn) == mode)
    return;
  header->setSectionResizeMode(sourceColumn, mode);
  if (isNarrow)
    header->resizeSection(sourceColumn, least);
}

// ---- Choosing

// Rows are selected as a whole, so that their ranges say everything.
std::vector<int> BatchView::selectedRows() const {
  std::vector<bool> isSelected(static_cast<std::size_t>(model_->rowCount()));
  for (const QItemSelectionRange& range : selectionModel()->selection())
    std::fill(isSelected.begin() + range.top(), isSelected.begin() + range.bottom() + 1, true);
  std::vector<int> rows;
  for (std::size_t row = 0; row < isSelected.size(); ++row)
    if (isSelected[row])
      rows.push_back(static_cast<int>(row));
  return rows;
}

void BatchView::changeRows(int row, const std::function<void(int row)>& change) {
  std::vector<int> rows = selectedRows();
  if (!std::binary_search(rows.begin(), rows.end(), row))
    rows = {row};
  app_.undo().choose(rows, change);
}

void BatchView::choose(const QModelIndex& index, int choice) {
  changeRows(index.row(), [&](int row) { chooseInRow(row, index.column(), choice); });
}

void BatchView::chooseInRow(int row, int column, int choice) {
  if (column == outColumn)
    chooseTarget(app_.table(), row, choice);
  else if (column == speedColumn)
    chooseSpeed(app_.table(), row, choice);
  else if (column == sizeColumn)
    chooseSize(app_.table(), row, choice);
}

void BatchView::chooseNext(const QModelIndex& index) {
  const ChoiceCell& cell = model_->choiceCell(index);
  const auto count = static_cast<int>(cell.segments.size());
  for (int step = 1; step < count; ++step) {
    const int next = (std::max(cell.selected, 0) + step) % count;
    if (cell.segments[static_cast<std::size_t>(next)].allowed) {
      choose(index, next);
      return;
    }
  }
}

void BatchView::openSizes(const QModelIndex& index) {
  if (!model_->isEditable(index.row()))
    return;
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setToolTipsVisible(true);
  const auto items = app_.table().sizeItems(index.row());
  const auto selected = app_.table().row(index.row()).choice.sizeOut;
  const QPersistentModelIndex cell(index);
  for (int size = 0; size < static_cast<int>(items.size()); ++size) {
    const PopUpButton::Item& item = items[static_cast<std::size_t>(size)];
    const PopUpTitle title = sizeTitle(item);
    if (title.text.isEmpty()) {
      menu->addSeparator();
      continue;
    }
    QAction* action = menu->addAction(title.text);
    action->setToolTip(title.toolTip);
    action->setEnabled(title.mayBeChosen);
    if (!title.toolTip.isEmpty())
      action->setIcon(sign(item.colour));
    if (size == selected) {
      QFont font = action->font();
      font.setBold(true);
      action->setFont(font);
      menu->setActiveAction(action);
    }
    connect(action, &QAction::triggered, this, [this, cell, size] {
      if (cell.isValid())
        choose(cell, size);
    });
  }
  menu->popup(viewport()->mapToGlobal(visualRect(index).bottomLeft()));
}

void BatchView::convertSelected() {
  app_.driver().convertRows(selectedRows());
}

// ---- Removing

void BatchView::removeSelected() {
  const std::vector<int> rows = selectedRows();
  std::vector<int> leaving;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(leaving),
               [this](int row) { return !app_.table().isInProgress(row); });
  leaveRows(leaving);
  app_.undo().remove(rows, true);
}

// The keys go on with what takes their place, or else with the last row that stays.
void BatchView::leaveRows(const std::vector<int>& rows) {
  const auto isLeft = [&rows](int row) {
    return !std::binary_search(rows.begin(), rows.end(), row);
  };
  const int current = currentIndex().row();
  int row = current;
  while (row < model_->rowCount() && !isLeft(row))
    ++row;
  if (row == model_->rowCount())
    for (row = current; row >= 0 && !isLeft(row);)
      --row;
  if (row >= 0 && row != current)
    selectionModel()->setCurrentIndex(
        model_->index(row, currentIndex().column()),
        QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

// What a step back has brought is seen, and can be acted on.
void BatchView::selectRows(const std::vector<int>& rows) {
  QItemSelection selection;
  for (std::size_t first = 0; first < rows.size();) {
    std::size_t last = first;
    while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1)
      ++last;
    selection.append(QItemSelectionRange(model_->index(rows[first], 0),
                                         model_->index(rows[last], batchColumnCount - 1)));
    first = last + 1;
  }
  const int column = currentIndex().isValid() ? currentIndex().column() : int{sourceColumn};
  selectionModel()->setCurrentIndex(model_->index(rows.front(), column),
                                    QItemSelectionModel::NoUpdate);
  selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  scrollTo(currentIndex());
}

void BatchView::removeAll() {
  app_.table().askToRemoveAll([&app = app_](bool isWanted) {
    if (isWanted)
      app.undo().remove(app.table().allRows(), false);
  });
}

void BatchView::showStory() {
  if (!app_.table().has(currentIndex().row()))
    return;
  const std::string source = app_.table().sourcePath(currentIndex().row());
  const std::string file = app_.table().fileToShow(currentIndex().row());
  app_.whenDiskAnswers(file, [held = QPointer<BatchView>(this), source](bool isAnswered) {
    const int row = held ? held->app_.table().rowOfSource(source) : -1;
    if (isAnswered && row >= 0)
      LogWindow::openText("@@story",
                          qtText(clipStory(held->app_.table(), row, held->app_.history())),
                          held->window());
  });
}

// ---- Moving

void BatchView::moveSelectedUp() {
  app_.undo().arrange(orderWithMovedUp(app_.table().count(), selectedRows()));
  scrollTo(currentIndex());
}

void BatchView::moveSelectedDown() {
  app_.undo().arrange(orderWithMovedDown(app_.table().count(), selectedRows()));
  scrollTo(currentIndex());
}

void BatchView::sortRows(SortBy what) {
  app_.undo().arrange(orderBy(app_.table(), what));
  scrollTo(currentIndex());
}

void BatchView::copySelected() const {
  if (const QModelIndexList taken = selectionModel()->selectedRows(); !taken.isEmpty())
    QGuiApplication::clipboard()->setMimeData(model_->mimeData(taken));
}

// With the picture of the row that was taken.
void BatchView::startDrag(Qt::DropActions) {
  const QModelIndexList taken = selectionModel()->selectedRows();
  if (taken.isEmpty())
    return;
  auto* drag = new QDrag(this);
  drag->setMimeData(model_->mimeData(taken));
  const QModelIndex picture = currentIndex().siblingAtColumn(pictureColumn);
  drag->setPixmap(picture.data(Qt::DecorationRole).value<QPixmap>());
  // Whoever takes a file must not take it away.
  drag->exec(Qt::CopyAction | Qt::LinkAction, Qt::CopyAction);
  showDropAt(-1);
}

// Of what is dragged only the rows of this list are taken here.
void BatchView::dragEnterEvent(QDragEnterEvent* event) {
  event->setAccepted(event->source() == this);
}

void BatchView::dragMoveEvent(QDragMoveEvent* event) {
  QTableView::dragMoveEvent(event);  // scrolls at the edges
  event->setDropAction(Qt::CopyAction);
  event->setAccepted(event->source() == this);
  if (event->isAccepted())
    showDropAt(rowAtDrop(event->position().toPoint()));
}

void BatchView::dragLeaveEvent(QDragLeaveEvent* event) {
  QTableView::dragLeaveEvent(event);
  showDropAt(-1);
}

void BatchView::dropEvent(QDropEvent* event) {
  stopAutoScroll();
  setState(NoState);
  event->setAccepted(event->source() == this);
  showDropAt(-1);
  if (event->isAccepted())
    app_.undo().arrange(orderWithMoved(app_.table().count(), selectedRows(),
                                       rowAtDrop(event->position().toPoint())));
}

// The row whose upper edge is nearest, the number of all rows for the end.
int BatchView::rowAtDrop(const QPoint& position) const {
  const int row = rowAt(position.y());
  if (row < 0)
    return model_->rowCount();
  return position.y() > rowViewportPosition(row) + rowHeight(row) / 2 ? row + 1 : row;
}

void BatchView::showDropAt(int row) {
  if (std::exchange(dropRow_, row) != row)
    viewport()->update();
}

void BatchView::paintDropLine() {
  const int last = model_->rowCount() - 1;
  const int edge = dropRow_ <= last ? rowViewportPosition(dropRow_)
                                    : rowViewportPosition(last) + rowHeight(last) - 1;
  QPainter painter(viewport());
  painter.setPen(QPen(palette().color(QPalette::Highlight), 3));
  painter.drawLine(0, qMax(1, edge), viewport()->width(), qMax(1, edge));
}

void BatchView::undo() {
  app_.undo().undo();
  app_.showBatch();
}

// ---- Keys and the context menu

void BatchView::keyPressEvent(QKeyEvent* event) {
  const QModelIndex current = currentIndex();
  const int column = current.isValid() ? current.column() : -1;
  const bool isChoice = column == outColumn || column == speedColumn;
  const int number = event->key() - Qt::Key_1;
  const bool isOpen = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
                      event->key() == Qt::Key_Enter;
  const bool isPlain = !event->modifiers().testFlag(Qt::ControlModifier);
  if (isPlain && isChoice && number >= 0 && number < model_->segmentTitles(column).size())
    choose(current, number);
  else if (isPlain && isChoice && isOpen)
    chooseNext(current);
  else if (isPlain && column == sizeColumn && isOpen)
    openSizes(current);
  else if (isPlain && column >= 0 && column < outColumn && isOpen)
    play(current.row());
  else
    QTableView::keyPressEvent(event);
}

// Who comes with the keys acts on the row that they are on.
void BatchView::focusInEvent(QFocusEvent* event) {
  QTableView::focusInEvent(event);
  if (event->reason() != Qt::MouseFocusReason && currentIndex().isValid() &&
      !selectionModel()->hasSelection())
    selectionModel()->select(currentIndex(),
                             QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

// Home and End lead to the first and the last row; a row has the arrows.
QModelIndex BatchView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
  const bool isEnd = action == MoveEnd;
  if ((!isEnd && action != MoveHome) || model_->rowCount() == 0)
    return QTableView::moveCursor(action, modifiers);
  return model_->index(isEnd ? model_->rowCount() - 1 : 0, qMax(0, currentIndex().column()));
}

void BatchView::paintEvent(QPaintEvent* event) {
  QTableView::paintEvent(event);
  if (model_->rowCount() > 0) {
    if (dropRow_ >= 0)
      paintDropLine();
    return;
  }
  QPainter painter(viewport());
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(viewport()->rect().adjusted(20, 0, -20, 0), Qt::AlignCenter | Qt::TextWordWrap,
                   localizedText(QStringLiteral("@@emptyList")));
}

// A press into a choice of one of several selected rows would leave that row selected alone; the
// choice is for all of them.
QItemSelectionModel::SelectionFlags BatchView::selectionCommand(const QModelIndex& index,
                                                                const QEvent* event) const {
  const bool isPress = event && event->type() == QEvent::MouseButtonPress;
  const bool keepsSelection =
      isPress && index.isValid() && index.column() >= outColumn &&
      static_cast<const QMouseEvent*>(event)->modifiers() == Qt::NoModifier &&
      selectionModel()->isRowSelected(index.row(), {});
  return keepsSelection ? QItemSelectionModel::NoUpdate
                        : QTableView::selectionCommand(index, event);
}

// With the user's player for such files: the movie as soon as there is one.
void BatchView::play(int row) {
  if (app_.table().has(row))
    actions_.open(app_.table().fileToShow(row));
}

void BatchView::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (index.isValid() && index.column() < outColumn && event->button() == Qt::LeftButton)
    play(index.row());
  else
    QTableView::mouseDoubleClickEvent(event);
}

// For the row with the focus: what it was made from, and what has become of it.
void BatchView::addReveals(QMenu* menu) {
  const int row = currentIndex().row();
  const std::string source =
      app_.table().has(row) ? fileOfSource(app_.table().sourcePath(row)) : "";
  const std::string movie = app_.table().has(row) ? app_.table().movieOf(row) : "";
  menu->addAction(QStringLiteral("@@playSource"), this, [this, source] { actions_.open(source); })
      ->setEnabled(!source.empty());
  menu->addAction(QStringLiteral("@@playMovie"), this, [this, movie] { actions_.open(movie); })
      ->setEnabled(!movie.empty());
  menu->addSeparator();
  menu->addAction(QStringLiteral("@@showSource"), this, [this, source] { actions_.reveal(source); })
      ->setEnabled(!source.empty());
  menu->addAction(QStringLiteral("@@showMovie"), this, [this, movie] { actions_.reveal(movie); })
      ->setEnabled(!movie.empty());
  menu->addAction(QStringLiteral("@@story"), this, [this] { showStory(); })
      ->setEnabled(!source.empty());
  menu->addSeparator();
}

// Which sounds of the row with the focus its movie gets. A track that is taken away or added goes
// by the numbers that the details show.
void BatchView::addSoundChoices(QMenu* menu) {
  const int row = currentIndex().row();
  QMenu* sounds = menu->addMenu(QStringLiteral("@@rowSound"));
  sounds->setEnabled(isRowEditable(app_.table(), row) && app_.table().source(row).sound.id);
  if (!sounds->isEnabled())
    return;
  const Source& source = app_.table().source(row);
  // One of those that are told apart by a group is chosen.
  const auto add = [sounds](const QString& title, bool isChosen, auto act,
                            QActionGroup* group = nullptr) {
    QAction* action = sounds->addAction(title);
    action->setCheckable(true);
    action->setActionGroup(group);
    action->setChecked(isChosen);
    connect(action, &QAction::triggered, sounds, act);
  };
  // Rows may go or move while the menu is open.
  const auto change = [this, path = source.path](const std::function<void(int row)>& act) {
    if (const int now = app_.table().rowOfSource(path); isRowEditable(app_.table(), now))
      changeRows(now, act);
  };
  const auto chooser = [this, change](const std::string& choice) {
    return [this, change, choice] {
      change([&](int each) { chooseSounds(app_.table(), each, choice); });
    };
  };
  add(QStringLiteral("@@soundAll"), source.soundChoice.empty(), chooser(""));
  const std::vector<std::string> titles = soundsInWords(source);
  // However it came about.
  bool isFirstAlone = titles.size() > 1 && isSoundUsed(source, 0);
  for (std::size_t place = 1; place < titles.size(); ++place)
    isFirstAlone = isFirstAlone && !isSoundUsed(source, place);
  add(QStringLiteral("@@soundFirst"), isFirstAlone || source.soundChoice == firstSoundAlone,
      chooser(std::string(firstSoundAlone)));
  for (std::size_t place = 0; titles.size() > 1 && place < titles.size(); ++place) {
    const auto toggle = [this, place](int each) {
      const Source& changed = app_.table().source(each);
      if (place < soundsInWords(changed).size())
        chooseSounds(app_.table(), each, choiceWithToggled(changed, place));
    };
    add(qtText(titles[place]).replace("&", "&&"), isSoundUsed(source, place),
        [change, toggle] { change(toggle); });
  }
  sounds->addSeparator();
  auto* oneOf = new QActionGroup(sounds);
  constexpr std::array slow = {"@@slowSoundKeep", "@@slowSoundSilent", "@@slowSoundSlowed"};
  for (std::size_t word = 0; word < slow.size(); ++word) {
    const auto choice = static_cast<SlowSound>(word);
    add(
        QString::fromLatin1(slow[word]), source.slowSound == choice,
        [this, change, choice] {
          change([&](int each) { chooseSlowSound(app_.table(), each, choice); });
        },
        oneOf);
  }
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the menu owns the group

void BatchView::contextMenuEvent(QContextMenuEvent* event) {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  addReveals(menu);
  addSoundChoices(menu);
  menu->addAction(QStringLiteral("@@menuCopy"), this, [this] { copySelected(); })
      ->setEnabled(selectionModel()->hasSelection());
  menu->addAction(QStringLiteral("@@startSelected"), this, [this] { convertSelected(); })
      ->setEnabled(selectionModel()->hasSelection() && app_.interface.batchGoBt.isEnabled());
  menu->addSeparator();
  QAction* removeOne =
      menu->addAction(QStringLiteral("@@remove"), this, [this] { removeSelected(); });
  removeOne->setEnabled(selectionModel()->hasSelection());
  QAction* all = menu->addAction(QStringLiteral("@@removeAll"), this, [this] { removeAll(); });
  all->setEnabled(model_->rowCount() > 0);
  localizeMenu(menu);
  giveMnemonics(menu);
  menu->popup(event->globalPos());
}

}  // namespace tessarin
