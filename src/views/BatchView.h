// The table of the batch.
#pragma once

#include <QMenu>
#include <QTableView>
#include <functional>
#include <string>

#include "core/appDelegate.h"
#include "views/BatchTableModel.h"
#include "views/rowDelegates.h"

namespace tessarin {

// Rows are changed with the mouse, or with the keys in the current cell: 1 to 3 choose a segment,
// Space takes the next one or opens the sizes, Delete removes the selected rows. A choice goes to
// all selected rows when the row that it was made in is one of them.
class BatchView final : public QTableView {
 public:
  // The controller is borrowed and outlives the view. `reveal` shows a file in the desktop's file
  // browser.
  BatchView(appDelegate& app, std::function<void(const std::string&)> reveal,
            QWidget* parent = nullptr);

  void removeSelected();
  void removeAll();

 protected:
  void changeEvent(QEvent* event) override;
  void updateGeometries() override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                       const QEvent* event) const override;

 private:
  void setUpColumns();
  void setUpRows();
  void choose(const QModelIndex& index, int choice);
  void chooseInRow(int row, int column, int choice);
  void chooseNext(const QModelIndex& index);
  void openSizes(const QModelIndex& index);
  std::vector<int> selectedRows() const;
  void addReveals(QMenu* menu);

  appDelegate& app_;
  std::function<void(const std::string&)> reveal_;
  BatchTableModel* model_;
};

}  // namespace tessarin
