// What the desktop does for the program.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QUrl>
#include <string>

namespace tessarin {

// Of a file or folder, whatever the encoding of its name is; "~" is the user's home.
QUrl urlOf(const std::string& path);

// Asks somebody on the bus. Without a bus the answer is an error, as it is without that somebody;
// Qt by itself would never give one.
QDBusPendingCall callOn(const QDBusConnection& bus, const QDBusMessage& call);

// Shows a file, selected in its folder, or the content of a folder in the desktop's file browser.
// Nothing is waited for.
void revealInFileBrowser(const std::string& path);

// Opens the file with the program that the desktop uses for its kind.
void iba_OpenFile(const std::string& path);

}  // namespace tessarin
