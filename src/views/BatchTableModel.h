// The batch as Qt's table views want it.
#pragma once

#include <QAbstractTableModel>
#include <QMimeData>
#include <QPixmap>
#include <functional>
#include <optional>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

// Of a row that is being converted: how far it is, 0 to 1; of others nothing.
inline constexpr int progressRole = Qt::UserRole + 1;
// Of a row that is over: why no movie was made of it, or what is to be said of the movie; or "".
inline constexpr int reasonRole = Qt::UserRole + 2;

enum BatchColumn { orderColumn, pictureColumn, sourceColumn, outColumn, speedColumn, sizeColumn };
inline constexpr int batchColumnCount = 6;

// Shows the rows and what may be chosen in them. A row's cells and picture are worked out once and
// kept until the row changes.
class BatchTableModel final : public QAbstractTableModel {
 public:
  // Logical pixels of a thumbnail.
  static constexpr int pictureWidth = 96;
  static constexpr int pictureHeight = 54;

  // The table is borrowed and outlives the model.
  explicit BatchTableModel(BatchTable& table, QObject* parent = nullptr);

  // The cell of outColumn or speedColumn.
  const ChoiceCell& choiceCell(const QModelIndex& index) const;
  // The names of the cell's segments.
  QStringList segmentTitles(int column) const;
  // Set by the view; the model is told when it changes.
  std::function<std::optional<double>(int row)> progressOfRow;
  void showProgress(int row);
  // What a segment of the cell means, and why it cannot be chosen where it cannot.
  QString segmentTip(const QModelIndex& index, int segment) const;
  bool isEditable(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  // What other programs get of the rows: the movies that they have become, the sources of the
  // others.
  QMimeData* mimeData(const QModelIndexList& indexes) const override;
  bool setHeaderData(int section, Qt::Orientation orientation, const QVariant& value,
                     int role) override;

 private:
  struct Look {
    std::optional<ChoiceCell> out;
    std::optional<ChoiceCell> speed;
    QString caption;
    QString size;
    QString picturePath;
    QPixmap picture;
  };

  void added(const std::vector<int>& rows);
  void removed(const std::vector<int>& rows);
  void changed(const std::vector<int>& rows);
  void moved(const std::vector<int>& order);
  void showNumbersFrom(int row);
  QString text(int row, int column) const;
  QString caption(int row) const;
  QString sizeText(int row) const;
  QString toolTip(int row, int column) const;
  QPixmap picture(int row) const;
  Look& look(int row) const { return looks_[static_cast<std::size_t>(row)]; }

  BatchTable& table_;
  mutable std::vector<Look> looks_;  // one for each row that the views know
  QStringList headers_;
};

}  // namespace tessarin
