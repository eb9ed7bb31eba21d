// The letters that lead to menus and controls with the Alt key.
#pragma once

#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QString>

namespace tessarin {

// They are found for the texts as they are, so that there are no two of the same in any language,
// nor in texts that the user has changed.

// The text with "&" before a letter that is not among `taken`, and now is: the first one of a word,
// else any. Without one when none is left.
QString withMnemonic(const QString& text, QSet<QChar>& taken);

// Of all menus of the bar, and of the items of each whenever it is shown, for they change.
void giveMnemonics(QMenuBar* bar);
void giveMnemonics(QMenu* menu);
// Of the window's buttons, check boxes and labels of fields. Those of its menu bar are taken.
void giveMnemonics(QWidget* window);

}  // namespace tessarin
