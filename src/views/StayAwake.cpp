#include "views/StayAwake.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <utility>

#include "classShared/log.h"
#include "views/desktop.h"
#include "views/qtText.h"

namespace tessarin {

void StayAwake::hold(const std::string& why) {
  if (std::exchange(isWanted_, true))
    return;
  QDBusMessage call =
      QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                     "org.freedesktop.login1.Manager", "Inhibit");
  call << QStringLiteral("sleep:idle") << QGuiApplication::applicationDisplayName() << qtText(why)
       << QStringLiteral("block");
  auto* watcher = new QDBusPendingCallWatcher(callOn(QDBusConnection::systemBus(), call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, asked = ++asked_] {
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError())
      logFormat("stay awake          :-( {}", reply.error().message().toStdString());
    else if (isWanted_ && asked == asked_)
      lock_ = reply.value();
  });
}

void StayAwake::release() {
  isWanted_ = false;
  lock_ = {};
}

}  // namespace tessarin
