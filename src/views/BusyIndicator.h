// A small wheel that turns while something of unknown length goes on.
#pragma once

#include <QTimer>
#include <QWidget>

namespace tessarin {

class BusyIndicator final : public QWidget {
 public:
  explicit BusyIndicator(QWidget* parent = nullptr);

  // At rest it is not drawn but keeps its place.
  void setTurning(bool turning);
  bool isTurning() const { return timer_.isActive(); }

  QSize sizeHint() const override { return {20, 20}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QTimer timer_;
  int step_ = 0;
};

}  // namespace tessarin
