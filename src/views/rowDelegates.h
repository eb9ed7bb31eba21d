// How the cells of the batch are drawn and pressed.
#pragma once

#include <QStyledItemDelegate>
#include <functional>

#include "views/BatchTableModel.h"

namespace tessarin {

// The order number above the state mark.
class OrderDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;

  // Set by the view.
  std::function<RowMark(int row)> markOfRow;
};

// The picture in the middle of its cell, whatever shape it has.
class PictureDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

// The source's caption, or why no movie was made of it, with a bar below it while its row is being
// converted. A line that is too long is cut off, and does not push the others away.
class SourceDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

// A choice of three as joined segments, of which some may not be chosen.
class ChoiceDelegate final : public QStyledItemDelegate {
 public:
  ChoiceDelegate(const BatchTableModel& model, QObject* parent);

  // The user pressed this segment.
  std::function<void(const QModelIndex&, int)> chosen;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
  bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                 const QModelIndex& index) override;

  // The place of a segment in the cell.
  QRect segmentRect(const QStyleOptionViewItem& option, int column, int segment) const;

 private:
  QList<int> segmentWidths(const QFontMetrics& metrics, int column) const;
  int segmentAt(const QStyleOptionViewItem& option, int column, const QPoint& position) const;

  const BatchTableModel& model_;
};

// A popup's closed form; the menu is the view's.
class PopUpDelegate final : public QStyledItemDelegate {
 public:
  PopUpDelegate(const BatchTableModel& model, QObject* parent);

  std::function<void(const QModelIndex&)> pressed;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
  const BatchTableModel& model_;
};

}  // namespace tessarin
