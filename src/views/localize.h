// Puts the texts of the user's language into a window: every text that begins with "@@" is a key
// of the table "Localizable".
#pragma once

#include <QMenu>
#include <QMenuBar>
#include <QWidget>

namespace tessarin {

// The text of a key marked with "@@"; any other text as it is. A key without a text is answered
// without its mark.
QString localizedText(const QString& text);

// Replaces the texts of the view and of all views below it, their tool tips and accessible names,
// too. Answers how many texts were replaced.
int localizeView(QWidget* view);
// The window's title, then its content.
int localizeWindow(QWidget* window);
// The menu's title and every item, those of submenus too.
int localizeMenu(QMenu* menu);

// Makes Qt's own texts ("OK", the file panels) those of the main bundle's language.
void translateQt();

// Another table instead of "Localizable"; an empty name means "Localizable".
void useLocalizationTable(const QString& table);

}  // namespace tessarin
