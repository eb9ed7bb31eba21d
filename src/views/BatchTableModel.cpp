#include "views/BatchTableModel.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QPointer>
#include <set>

#include "classShared/TextAdditions.h"
#include "core/clipWords.h"
#include "core/rowEdits.h"
#include "encoding/outputPreset.h"
#include "jobs/remarks.h"
#include "views/desktop.h"
#include "views/images.h"
#include "views/localize.h"
#include "views/popUpTitles.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

struct Run {
  int first;
  int last;
};

// The views look at all rows for each run that goes; more of them are put together at the end
// first.
constexpr std::size_t mostRuns = 16;

// Rising rows as runs of neighbours.
std::vector<Run> runsOf(const std::vector<int>& rows) {
  std::vector<Run> runs;
  for (const int row : rows)
    if (!runs.empty() && runs.back().last + 1 == row)
      runs.back().last = row;
    else
      runs.push_back({row, row});
  return runs;
}

}  // namespace

BatchTableModel::BatchTableModel(BatchTable& table, QObject* parent)
    : QAbstractTableModel(parent),
      table_(table),
      headers_{QString(),
               QString(),
               QStringLiteral("@@columnSource"),
               QStringLiteral("@@columnTarget"),
               QStringLiteral("@@columnSpeed"),
               QStringLiteral("@@columnSize")} {
  looks_.resize(static_cast<std::size_t>(table.count()));
  const QPointer<BatchTableModel> held(this);
  table.rowAppended.connect([held](int row) {
    if (held)
      held->added({row});
  });
  table.rowsPutBack.connect([held](const std::vector<int>& rows) {
    if (held)
      held->added(rows);
  });
  table.rowsRemoved.connect([held](const std::vector<int>& rows) {
    if (held)
      held->removed(rows);
  });
  table.rowsChanged.connect([held](const std::vector<int>& rows) {
    if (held)
      held->changed(rows);
  });
  table.rowsMoved.connect([held](const std::vector<int>& order) {
    if (held)
      held->moved(order);
  });
}

// ---- Following the table

void BatchTableModel::added(const std::vector<int>& rows) {
  for (const auto& [first, last] : runsOf(rows)) {
    beginInsertRows({}, first, last);
    const std::ptrdiff_t count = std::ptrdiff_t{last} - first + 1;
    looks_.insert(looks_.begin() + first, static_cast<std::size_t>(count), Look());
    endInsertRows();
  }
  showNumbersFrom(rows.front() + 1);
}

// From the end: those in front keep their numbers.
void BatchTableModel::removed(const std::vector<int>& rows) {
  std::vector<Run> runs = runsOf(rows);
  if (runs.size() > mostRuns) {
    std::vector<bool> isGone(looks_.size());
    for (const int row : rows)
      isGone[static_cast<std::size_t>(row)] = true;
    std::vector<int> order;
    order.reserve(looks_.size());
    for (int row = 0; row < rowCount(); ++row)
      if (!isGone[static_cast<std::size_t>(row)])
        order.push_back(row);
    runs = {{static_cast<int>(order.size()), rowCount() - 1}};
    order.insert(order.end(), rows.begin(), rows.end());
    moved(order);
  }
  for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
    beginRemoveRows({}, run->first, run->last);
    looks_.erase(looks_.begin() + run->first, looks_.begin() + run->last + 1);
    endRemoveRows();
  }
  showNumbersFrom(rows.front());
}

// The selection goes with its rows.
void BatchTableModel::moved(const std::vector<int>& order) {
  Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
  std::vector<int> places(order.size());
  std::vector<Look> looks;
  looks.reserve(order.size());
  for (const int row : order) {
    places[static_cast<std::size_t>(row)] = static_cast<int>(looks.size());
    looks.push_back(std::move(look(row)));
  }
  looks_ = std::move(looks);
  const QModelIndexList before = persistentIndexList();
  QModelIndexList after;
  after.reserve(before.size());
  for (const QModelIndex& each : before)
    after.append(index(places[static_cast<std::size_t>(each.row())], each.column()));
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, VerticalSortHint);
}

// The rows behind one that came or went have new numbers.
void BatchTableModel::showNumbersFrom(int row) {
  if (row < rowCount())
    Q_EMIT dataChanged(index(row, orderColumn), index(rowCount() - 1, orderColumn));
}

void BatchTableModel::changed(const std::vector<int>& rows) {
  for (const int row : rows) {
    if (row >= rowCount())
      return;
    look(row).out.reset();
    look(row).speed.reset();
    look(row).caption.clear();
    look(row).size.clear();
  }
  for (const auto& [first, last] : runsOf(rows))
    Q_EMIT dataChanged(index(first, 0), index(last, batchColumnCount - 1));
}

void BatchTableModel::showProgress(int row) {
  if (row >= 0 && row < rowCount())
    Q_EMIT dataChanged(index(row, sourceColumn), index(row, sourceColumn), {progressRole});
}

// ---- What a row shows

const ChoiceCell& BatchTableModel::choiceCell(const QModelIndex& index) const {
  Look& cells = look(index.row());
  std::optional<ChoiceCell>& cell = index.column() == outColumn ? cells.out : cells.speed;
  if (!cell)
    cell =
        index.column() == outColumn ? table_.outCell(index.row()) : table_.speedCell(index.row());
  return *cell;
}

QStringList BatchTableModel::segmentTitles(int column) const {
  QStringList titles;
  if (column == outColumn)
    for (const TargetRow& row : targetTable)
      titles << QLatin1String(row.title);
  else
    for (const SpeedRow& row : speedTable)
      titles << localizedText(QStringLiteral("@@") + QLatin1String(row.title));
  return titles;
}

QString BatchTableModel::segmentTip(const QModelIndex& index, int segment) const {
  const bool isOut = index.column() == outColumn;
  const auto number = static_cast<std::size_t>(segment);
  const char* key = isOut ? targetTable.at(number).tip : speedTable.at(number).tip;
  const QString tip = localizedText(QStringLiteral("@@") + QLatin1String(key));
  const std::string reason = isOut ? table_.whyNotOut(index.row(), static_cast<Target>(segment))
                                   : table_.whyNotSpeed(index.row(), static_cast<Speed>(segment));
  return reason.empty() ? tip : tip + QLatin1Char('\n') + qtText(reason);
}

bool BatchTableModel::isEditable(int row) const {
  return isRowEditable(table_, row);
}

int BatchTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(looks_.size());
}

int BatchTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : batchColumnCount;
}

QVariant BatchTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || !table_.has(index.row()))
    return {};
  const int row = index.row();
  const int column = index.column();
  switch (role) {
    case Qt::DisplayRole:
      return column == pictureColumn ? QVariant() : text(row, column);
    case Qt::DecorationRole:
      return column == pictureColumn ? picture(row) : QVariant();
    case progressRole: {
      const auto progress = progressOfRow ? progressOfRow(row) : std::nullopt;
      return progress ? QVariant(*progress) : QVariant();
    }
    case reasonRole: {
      const RowMark mark = table_.row(row).mark;
      const bool isOver = mark == RowMark::success || mark == RowMark::failure;
      return isOver ? qtText(table_.row(row).reason) : QString();
    }
    case Qt::ToolTipRole:
      return toolTip(row, column);
    case Qt::AccessibleTextRole:
      return column == orderColumn ? text(row, column) + QLatin1String(" ") + toolTip(row, column)
                                   : text(row, column);
    default:
      return {};
  }
}

// A press into a choice chooses; elsewhere a row can be taken.
Qt::ItemFlags BatchTableModel::flags(const QModelIndex& index) const {
  const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
  return index.isValid() && index.column() < outColumn ? flags | Qt::ItemIsDragEnabled : flags;
}

QMimeData* BatchTableModel::mimeData(const QModelIndexList& indexes) const {
  std::set<int> rows;
  for (const QModelIndex& each : indexes)
    rows.insert(each.row());
  QList<QUrl> urls;
  QStringList paths;
  for (const int row : rows)
    if (const std::string file = table_.fileToShow(row); !file.empty()) {
      urls.append(urlOf(file));
      paths.append(qtText(file));
    }
  auto* data = new QMimeData;
  data->setUrls(urls);
  data->setText(paths.join(QLatin1Char('\n')));
  return data;
}

QString BatchTableModel::text(int row, int column) const {
  switch (column) {
    case orderColumn:
      return QString::number(row + 1);
    case sourceColumn:
      return caption(row);
    case outColumn:
    case speedColumn:
      return segmentTitles(column).value(choiceCell(index(row, column)).selected);
    case sizeColumn:
      return sizeText(row);
    default:
      return {};
  }
}

// The size that was chosen, or that the movie has all the same: ProRes keeps standard definition.
QString BatchTableModel::sizeText(int row) const {
  QString& shown = look(row).size;
  if (!shown.isEmpty())
    return shown;
  if (const SizeRow* size = sizeRow(table_.row(row).choice.sizeOut))
    shown = sizeTitle({size->label, "", ""}).text;
  const auto movie = table_.forecast(row);
  if (!movie || movie->width == 0)
    return shown;
  const QString own = QStringLiteral("%1×%2").arg(movie->width).arg(movie->height);
  if (!shown.startsWith(own))
    shown = QStringLiteral("%1 %2 (%3 fps)")
                .arg(own, movie->isInterlaced ? QStringLiteral("i") : QStringLiteral("p"))
                .arg(movie->rate, 0, 'g', 4);
  return shown;
}

// The name, and what the clip is, a line each.
QString BatchTableModel::caption(int row) const {
  QString& shown = look(row).caption;
  if (shown.isEmpty()) {
    std::vector<std::string> lines = clipWords(table_.source(row));
    lines.insert(lines.begin(), std::string(textUpTo(table_.row(row).caption, "\n")));
    shown = qtText(joinTexts(lines, "\n"));
  }
  return shown;
}

QString BatchTableModel::toolTip(int row, int column) const {
  const Row& entry = table_.row(row);
  if (column == sourceColumn || column == pictureColumn) {
    const auto movie = table_.forecast(row);
    std::vector<std::string> lines = movie ? notesOf(*movie) : remarkTexts(table_.source(row));
    if (movie)
      lines.insert(lines.begin(), "→ " + movieWords(*movie));
    lines.insert(lines.begin(), table_.sourcePath(row));
    return qtText(joinTexts(lines, "\n"));
  }
  if (column != orderColumn)
    return {};
  if (entry.mark == RowMark::success && entry.isKept)
    return qtText(entry.reason);
  const std::string state = imageText(std::string(markName(entry.mark)));
  return qtText(entry.reason.empty() ? state : state + ": " + entry.reason);
}

QPixmap BatchTableModel::picture(int row) const {
  Look& shown = look(row);
  const QString path = qtText(table_.row(row).thumbnail());
  if (path.isEmpty() || path == shown.picturePath)
    return shown.picture;
  shown.picturePath = path;
  QImageReader reader(path);
  const double ratio = qGuiApp->devicePixelRatio();
  const QSize room(qRound(pictureWidth * ratio), qRound(pictureHeight * ratio));
  reader.setScaledSize(reader.size().scaled(room, Qt::KeepAspectRatio));
  shown.picture = QPixmap::fromImageReader(&reader);
  shown.picture.setDevicePixelRatio(ratio);
  return shown.picture;
}

// ---- The headers

QVariant BatchTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal)
    return {};
  if (role == Qt::DisplayRole)
    return headers_.value(section);
  // What everybody else sees needs no title.
  if (role == Qt::AccessibleTextRole && section == orderColumn)
    return localizedText(QStringLiteral("@@columnOrder"));
  if (role == Qt::AccessibleTextRole && section == pictureColumn)
    return localizedText(QStringLiteral("@@columnPicture"));
  return {};
}

bool BatchTableModel::setHeaderData(int section, Qt::Orientation orientation, const QVariant& value,
                                    int role) {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= headers_.size())
    return false;
  headers_[section] = value.toString();
  Q_EMIT headerDataChanged(orientation, section, section);
  return true;
}

}  // namespace tessarin
