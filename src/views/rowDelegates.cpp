#include "views/rowDelegates.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>

#include "views/images.h"
#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr int markSize = 18;
constexpr int segmentPadding = 9;
constexpr int cellMargin = 6;
constexpr int textMargin = 3;
constexpr double selectionRadius = 4;
constexpr double barHeight = 4;

// Background, selection and focus as the style draws them; the content is ours.
void paintEmptyCell(QPainter* painter, QStyleOptionViewItem option) {
  option.text.clear();
  option.icon = QIcon();
  option.features &= ~(QStyleOptionViewItem::HasDisplay | QStyleOptionViewItem::HasDecoration);
  const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &option, painter, option.widget);
  if (!option.state.testFlag(QStyle::State_HasFocus))
    return;
  // Where the keys are; the style's own mark can hardly be seen in a selected row.
  const bool selected = option.state.testFlag(QStyle::State_Selected);
  painter->setPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
  painter->drawRect(option.rect.adjusted(1, 1, -2, -2));
}

bool isLeftRelease(QEvent* event) {
  return event->type() == QEvent::MouseButtonRelease &&
         static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton;
}

// The text in two lines of this width; what the second has no room for is cut off later.
QStringList inTwoLines(const QString& text, const QFontMetrics& metrics, int width) {
  qsizetype end = 0;
  for (qsizetype space = text.indexOf(QLatin1Char(' '));
       space >= 0 && metrics.horizontalAdvance(text.left(space)) <= width;
       space = text.indexOf(QLatin1Char(' '), space + 1))
    end = space;
  if (end == 0 || metrics.horizontalAdvance(text) <= width)
    return {text};
  return {text.left(end), text.mid(end + 1)};
}

// What a row says of its clip, in so many lines at the most: the name, what the clip is, and why
// there is no movie of it.
QStringList linesOf(const QString& caption, const QStringList& reason, qsizetype most) {
  QStringList lines = caption.split(QLatin1Char('\n'));
  if (lines.size() + reason.size() <= most)
    return lines + reason;
  const QString name = lines.takeFirst();
  // What is cut off is at the end, and never the length, which is the last.
  std::reverse(lines.begin(), lines.end());
  return QStringList{name, lines.join(QStringLiteral(", "))} + reason;
}

QPoint positionOf(QEvent* event) {
  return static_cast<QMouseEvent*>(event)->position().toPoint();
}

}  // namespace

// ---- Order and state

void OrderDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  const QString number = cell.text;
  paintEmptyCell(painter, cell);
  const bool selected = cell.state.testFlag(QStyle::State_Selected);
  const QColor colour = cell.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
  painter->save();
  painter->setPen(colour);
  const QRect upper(cell.rect.x(), cell.rect.y(), cell.rect.width(), cell.rect.height() / 2);
  painter->drawText(upper.adjusted(0, 0, 0, -2), Qt::AlignHCenter | Qt::AlignBottom, number);
  const double ratio = painter->device()->devicePixelRatioF();
  painter->drawPixmap(
      cell.rect.center().x() - markSize / 2, upper.bottom() + 3,
      drawing(std::string(markName(markOfRow(index.row()))), markSize, colour, ratio));
  painter->restore();
}

// ---- The picture

void PictureDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  paintEmptyCell(painter, cell);
  const auto picture = index.data(Qt::DecorationRole).value<QPixmap>();
  if (picture.isNull())
    return;
  QRectF place(QPointF(), picture.deviceIndependentSize());
  place.moveCenter(QRectF(cell.rect).center());
  painter->drawPixmap(place.topLeft(), picture);
}

// ---- The source

void SourceDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  const int spacing = cell.fontMetrics.lineSpacing();
  const int most = cell.rect.height() / spacing;
  const QString why = index.data(reasonRole).toString();
  const QStringList reason =
      why.isEmpty() || most < 4
          ? why.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
          : inTwoLines(why, cell.fontMetrics, cell.rect.width() - 2 * textMargin);
  const QStringList lines = linesOf(index.data().toString(), reason, most);
  paintEmptyCell(painter, cell);
  const bool selected = cell.state.testFlag(QStyle::State_Selected);
  QRect line(cell.rect.x() + textMargin,
             cell.rect.center().y() - static_cast<int>(lines.size()) * spacing / 2,
             cell.rect.width() - 2 * textMargin, spacing);
  painter->save();
  painter->setFont(cell.font);
  painter->setPen(cell.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
  for (qsizetype number = 0; number < lines.size(); ++number) {
    // The end of a name tells clips of a card from each other.
    const auto mode = number == 0 ? Qt::ElideMiddle : Qt::ElideRight;
    painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                      cell.fontMetrics.elidedText(lines[number], mode, line.width()));
    line.translate(0, spacing);
  }
  painter->restore();
  const QVariant progress = index.data(progressRole);
  if (!progress.isValid())
    return;
  const QRectF whole(option.rect.x() + cellMargin, option.rect.bottom() - barHeight - 1,
                     option.rect.width() - 2 * cellMargin, barHeight);
  QRectF done = whole;
  done.setWidth(whole.width() * progress.toDouble());
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(Qt::NoPen);
  painter->setBrush(option.palette.color(QPalette::Mid));
  painter->drawRoundedRect(whole, barHeight / 2, barHeight / 2);
  painter->setBrush(
      option.palette.color(selected ? QPalette::HighlightedText : QPalette::Highlight));
  painter->drawRoundedRect(done, barHeight / 2, barHeight / 2);
  painter->restore();
}

// ---- Segments

ChoiceDelegate::ChoiceDelegate(const BatchTableModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

QList<int> ChoiceDelegate::segmentWidths(const QFontMetrics& metrics, int column) const {
  QList<int> widths;
  for (const QString& title : model_.segmentTitles(column))
    widths.append(metrics.horizontalAdvance(title) + 2 * segmentPadding);
  return widths;
}

QRect ChoiceDelegate::segmentRect(const QStyleOptionViewItem& option, int column,
                                  int segment) const {
  const QList<int> widths = segmentWidths(option.fontMetrics, column);
  int total = 0;
  int left = 0;
  for (int number = 0; number < widths.size(); ++number) {
    left += number < segment ? widths[number] : 0;
    total += widths[number];
  }
  const int height = qMax(leastTarget, option.fontMetrics.height() + 10);
  return {option.rect.x() + (option.rect.width() - total) / 2 + left,
          option.rect.center().y() - height / 2, widths[segment], height};
}

int ChoiceDelegate::segmentAt(const QStyleOptionViewItem& option, int column,
                              const QPoint& position) const {
  const auto count = static_cast<int>(model_.segmentTitles(column).size());
  for (int segment = 0; segment < count; ++segment)
    if (segmentRect(option, column, segment).contains(position))
      return segment;
  return -1;
}

void ChoiceDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  paintEmptyCell(painter, cell);
  const ChoiceCell& choice = model_.choiceCell(index);
  const QStringList titles = model_.segmentTitles(index.column());
  const bool editable = model_.isEditable(index.row());
  const QRect first = segmentRect(cell, index.column(), 0);
  const QRect last = segmentRect(cell, index.column(), static_cast<int>(titles.size()) - 1);

  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  QPainterPath outline;
  outline.addRoundedRect(QRectF(first.united(last)).adjusted(0.5, 0.5, -0.5, -0.5), selectionRadius,
                         selectionRadius);
  painter->fillPath(outline, cell.palette.color(QPalette::Button));
  for (int segment = 0; segment < titles.size(); ++segment) {
    const QRect place = segmentRect(cell, index.column(), segment);
    const bool selected = segment == choice.selected;
    const bool allowed = editable && choice.segments.at(static_cast<std::size_t>(segment)).allowed;
    const auto group = allowed || selected ? QPalette::Active : QPalette::Disabled;
    if (selected) {
      painter->save();
      painter->setClipRect(place);
      painter->fillPath(
          outline,
          cell.palette.color(editable ? QPalette::Active : QPalette::Inactive, QPalette::Highlight)
              .darker(editable ? 100 : 125));
      painter->restore();
      // In a selected row it would look like a hole in the bar.
      if (cell.state.testFlag(QStyle::State_Selected)) {
        painter->setPen(QPen(cell.palette.color(QPalette::HighlightedText), 2));
        painter->drawRect(place.adjusted(2, 2, -3, -3));
      }
    }
    painter->setPen(
        cell.palette.color(group, selected ? QPalette::HighlightedText : QPalette::ButtonText));
    painter->drawText(place, Qt::AlignCenter, titles[segment]);
    if (segment > 0) {
      painter->setPen(cell.palette.color(QPalette::Mid));
      painter->drawLine(place.topLeft() + QPoint(0, 1), place.bottomLeft() - QPoint(0, 1));
    }
  }
  painter->setPen(cell.palette.color(QPalette::Mid));
  painter->drawPath(outline);
  painter->restore();
}

QSize ChoiceDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  int width = 2 * cellMargin;
  for (const int segment : segmentWidths(option.fontMetrics, index.column()))
    width += segment;
  return {width, option.fontMetrics.height() + 2 * cellMargin};
}

bool ChoiceDelegate::editorEvent(QEvent* event, QAbstractItemModel*,
                                 const QStyleOptionViewItem& option, const QModelIndex& index) {
  if (!isLeftRelease(event))
    return false;
  const int segment = segmentAt(option, index.column(), positionOf(event));
  const auto& segments = model_.choiceCell(index).segments;
  // Who presses what he cannot choose is told why.
  if (segment >= 0 && !segments.at(static_cast<std::size_t>(segment)).allowed)
    QToolTip::showText(static_cast<QMouseEvent*>(event)->globalPosition().toPoint(),
                       model_.segmentTip(index, segment));
  else if (segment >= 0 && chosen)
    chosen(index, segment);
  return segment >= 0;
}

bool ChoiceDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                               const QStyleOptionViewItem& option, const QModelIndex& index) {
  const int segment = index.isValid() ? segmentAt(option, index.column(), event->pos()) : -1;
  if (event->type() != QEvent::ToolTip || segment < 0)
    return QStyledItemDelegate::helpEvent(event, view, option, index);
  QToolTip::showText(event->globalPos(), model_.segmentTip(index, segment), view);
  return true;
}

// ---- The popup

PopUpDelegate::PopUpDelegate(const BatchTableModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

void PopUpDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  const QString text = cell.text;
  paintEmptyCell(painter, cell);
  const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
  QStyleOptionComboBox popup;
  const int height = qMax(leastTarget, cell.fontMetrics.height() + 12);
  popup.rect = QRect(cell.rect.x() + cellMargin, cell.rect.center().y() - height / 2,
                     cell.rect.width() - 2 * cellMargin, height);
  popup.palette = cell.palette;
  popup.fontMetrics = cell.fontMetrics;
  popup.direction = cell.direction;
  popup.currentText = text;
  if (model_.isEditable(index.row()))
    popup.state = QStyle::State_Enabled;
  style->drawComplexControl(QStyle::CC_ComboBox, &popup, painter, cell.widget);
  style->drawControl(QStyle::CE_ComboBoxLabel, &popup, painter, cell.widget);
}

QSize PopUpDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const int arrow = 34;
  return {option.fontMetrics.horizontalAdvance(index.data().toString()) + arrow + 2 * cellMargin,
          option.fontMetrics.height() + 12};
}

bool PopUpDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem&,
                                const QModelIndex& index) {
  if (!isLeftRelease(event))
    return false;
  if (pressed)
    pressed(index);
  return true;
}

}  // namespace tessarin
