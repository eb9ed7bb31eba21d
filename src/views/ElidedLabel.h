// A label of whatever length that makes no window wider.
#pragma once

#include <QLabel>

namespace tessarin {

// Lines that find no room end in "…", and the tool tip shows them whole.
class ElidedLabel final : public QLabel {
 public:
  explicit ElidedLabel(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  QString fitting() const;
};

}  // namespace tessarin
