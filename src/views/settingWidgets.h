// Widgets for choices that stand in more than one place.
#pragma once

#include <QDialog>
#include <QDialogButtonBox>

#include "views/SegmentedBar.h"

namespace tessarin {

// A bar whose segments say in their tool tips what they mean.
SegmentedBar* newChoice(const QStringList& titles, const QStringList& tips);

// The editing applications, with what each suits.
SegmentedBar* newApplicationBar();

// Buttons of a window, of which one closes it, in the user's language with every installation of
// Qt.
QDialogButtonBox* newCloseButtons(QDialog* window);

// Pixels; the height that a finger or an unsteady hand needs.
inline constexpr int leastTarget = 28;

// Makes fields, buttons and boxes below the widget as high as that, and the labels of fields as
// high as these, so that they stand on one line.
void giveRoom(QWidget* widget);

}  // namespace tessarin
