#include "views/desktop.h"

#include <QDBusPendingCallWatcher>
#include <QDesktopServices>

#include "classShared/log.h"
#include "utils/files.h"
#include "views/qtText.h"

namespace tessarin {

QUrl urlOf(const std::string& path) {
  return QUrl::fromEncoded("file://" +
                           QByteArray::fromStdString(expandTilde(path)).toPercentEncoding("/"));
}

QDBusPendingCall callOn(const QDBusConnection& bus, const QDBusMessage& call) {
  return bus.isConnected()
             ? bus.asyncCall(call)
             : QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, bus.name()));
}

void revealInFileBrowser(const std::string& path) {
  const QUrl url = urlOf(path);
  // The freedesktop.org interface that file browsers share.
  const bool isFolder = isDirectory(path);
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"),
      QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"),
      isFolder ? QStringLiteral("ShowFolders") : QStringLiteral("ShowItems"));
  call << QStringList{QString::fromLatin1(url.toEncoded())} << QString();
  auto* watcher = new QDBusPendingCallWatcher(callOn(QDBusConnection::sessionBus(), call));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, url, isFolder] {
    // Without such a file browser: whatever opens folders.
    if (watcher->isError())
      QDesktopServices::openUrl(isFolder ? url : url.adjusted(QUrl::RemoveFilename));
    watcher->deleteLater();
  });
}

void iba_OpenFile(const std::string& path) {
  logFormat("iba_OpenFile        : {}", path);
  if (path.empty()) {
    logLine(":-( -(IBAction)iba_OpenFile:(id)sender");
    logLine("tu as oublié de spécifier le path pour le sender (à corriger) ;-)");
    return;
  }
  QDesktopServices::openUrl(urlOf(path));
}

}  // namespace tessarin
