// The dialogs in which files and folders are chosen.
#pragma once

#include <QFileDialog>

namespace tessarin {

// One that is deleted when it is closed. Where it is Qt's own and not the desktop's it speaks the
// user's language without further packages, and can be hit like the other windows.
QFileDialog* newFilePanel(QWidget* parent, const QString& title, const QString& start,
                          QFileDialog::FileMode mode);

}  // namespace tessarin
