// A window beside the main one, of which there is one at the most.
#pragma once

#include <QDialog>
#include <QPointer>

namespace tessarin {

class SideWindow : public QDialog {
 protected:
  // Goes when it is closed. `title` is a text with the mark of localizeView.
  SideWindow(const char* name, const char* title, QWidget* parent) : QDialog(parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(name);
    setWindowTitle(title);
  }

  // Brings the window of this kind that is open to the front, or the one that `make` gives.
  template <class Window, class Make>
  static void openOne(const Make& make) {
    static QPointer<Window> shown;
    if (!shown)
      shown = make();
    shown->show();
    shown->raise();
    shown->activateWindow();
  }
};

}  // namespace tessarin
