#include "views/DesktopMessage.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

#include "views/desktop.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

const char* const service = "org.freedesktop.Notifications";
const char* const path = "/org/freedesktop/Notifications";

}  // namespace

DesktopMessage::DesktopMessage(std::function<void()> clicked) : clicked_(std::move(clicked)) {}

void DesktopMessage::show(const std::string& summary, const std::string& body) {
  listen();
  QDBusMessage call = QDBusMessage::createMethodCall(service, path, service, "Notify");
  constexpr int untilItsTime = -1;  // that of the service
  const QVariantMap hints{
      {QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()},
      {QStringLiteral("category"), QStringLiteral("transfer")},
  };
  // The action of this name is a click on the message itself, its label is not shown.
  const QStringList actions{QStringLiteral("default"), QGuiApplication::applicationDisplayName()};
  call << QGuiApplication::applicationDisplayName() << id_ << QGuiApplication::desktopFileName()
       << qtText(summary) << qtText(body).toHtmlEscaped() << actions << hints << untilItsTime;
  auto* watcher = new QDBusPendingCallWatcher(callOn(QDBusConnection::sessionBus(), call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    const QDBusPendingReply<uint> reply = *watcher;
    id_ = reply.isValid() ? reply.value() : 0;
    watcher->deleteLater();
  });
}

// Only when there is something to listen for: the start is to be quick.
void DesktopMessage::listen() {
  if (isListening_)
    return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.connect(service, path, service, "ActionInvoked", this, SLOT(actionInvoked(uint, QString)));
  bus.connect(service, path, service, "ActivationToken", this,
              SLOT(activationToken(uint, QString)));
  isListening_ = true;
}

// The services tell every program about every message.
void DesktopMessage::actionInvoked(uint id, const QString& action) {
  if (id == id_ && action == QLatin1String("default"))
    clicked_();
}

// Comes before the click. Qt shows it to the compositor when a window is to be raised, which that
// refuses without.
void DesktopMessage::activationToken(uint id, const QString& token) {
  if (id == id_)
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

}  // namespace tessarin
