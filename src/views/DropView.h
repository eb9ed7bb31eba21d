// The place where sources are dropped.
#pragma once

#include <QFrame>
#include <QLabel>
#include <QMimeData>
#include <functional>
#include <string>
#include <vector>

#include "core/controls.h"

namespace tessarin {

// The local files and folders of a drop or of the clipboard.
std::vector<std::string> pathsOf(const QMimeData* data);

// Shows an image, what is laid into it below the image, and whether a drop is under way; it takes
// no drops itself, the window does that everywhere.
class DropView final : public QFrame {
 public:
  explicit DropView(QWidget* parent = nullptr);

  // The user pressed it with the mouse or a key.
  std::function<void()> pressed;

  void setImage(const std::string& name);
  // While something that can be dropped is above the window.
  void setHighlighted(bool highlighted);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  int imageTop() const;

  std::string image_;
  bool highlighted_ = false;
};

void bindTo(DropView* view, ImageView& control);

}  // namespace tessarin
