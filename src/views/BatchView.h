// The table of the batch.
#pragma once

#include <QMenu>
#include <QTableView>
#include <functional>
#include <map>
#include <string>

#include "core/appDelegate.h"
#include "core/rowOrder.h"
#include "views/BatchTableModel.h"
#include "views/WindowActions.h"
#include "views/rowDelegates.h"

namespace tessarin {

// Rows are changed with the mouse, or with the keys in the current cell: 1 to 3 choose a segment,
// Space takes the next one or opens the sizes, Delete removes the selected rows. A choice goes to
// all selected rows when the row that it was made in is one of them. A double click in front of the
// choices, and Space there, plays the row; a row is taken there, too, and dragged to another place
// of the list, or to another program, which gets the movies, or the sources of which there are
// none. The row that is converted stays in sight until the user scrolls it out, and again once he
// has scrolled it in.
class BatchView final : public QTableView {
 public:
  // Both are borrowed and outlive the view.
  BatchView(appDelegate& app, const WindowActions& actions, QWidget* parent = nullptr);

  // The selected rows, those that are finished again.
  void convertSelected();
  void removeSelected();
  void removeAll();
  // As blocks, by a row, or behind the drag to another place.
  void moveSelectedUp();
  void moveSelectedDown();
  void sortRows(SortBy what);
  // For a file manager or an editing program, as a drag is: movies, or clips where there are none.
  void copySelected() const;
  // What happened to the clip of the row with the focus.
  void showStory();
  // Takes back the last removal, choice or order.
  void undo();

 protected:
  void changeEvent(QEvent* event) override;
  void updateGeometries() override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void startDrag(Qt::DropActions actions) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                       const QEvent* event) const override;

 private:
  void tellCurrentRow();
  void leaveRows(const std::vector<int>& rows);
  void selectRows(const std::vector<int>& rows);
  void setUpColumns();
  void setUpRows();
  void showProgress();
  void follow();
  // Changes this row, or all selected ones when it is one of them, so that it can be undone.
  void changeRows(int row, const std::function<void(int row)>& change);
  void choose(const QModelIndex& index, int choice);
  void chooseInRow(int row, int column, int choice);
  void chooseNext(const QModelIndex& index);
  void openSizes(const QModelIndex& index);
  std::vector<int> selectedRows() const;
  int rowAtDrop(const QPoint& position) const;
  void showDropAt(int row);
  void paintDropLine();
  void play(int row);
  void addReveals(QMenu* menu);
  void addSoundChoices(QMenu* menu);

  appDelegate& app_;
  const WindowActions& actions_;
  BatchTableModel* model_;
  std::map<std::string, double> inHand_;  // how far the sources are that are being converted
  bool isFollowing_ = true;               // the row in hand is kept in sight
  bool isScrolling_ = false;              // by itself
  int dropRow_ = -1;                      // in front of which dragged rows would come; -1: none
};

}  // namespace tessarin
