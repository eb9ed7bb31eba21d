#include "views/AfterBatch.h"

#include <fmt/format.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPushButton>
#include <utility>

#include "classShared/log.h"
#include "prefs/utilsAlert.h"
#include "views/desktop.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

QDBusMessage callOf(const char* method) {
  return QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                        "org.freedesktop.login1.Manager", method);
}

// What the login manager answers to the question whether it can, in words for the user. A lock is
// no hindrance: the one of the batch goes with it.
std::string reasonOf(const QString& answer) {
  if (answer == QLatin1String("yes") || answer == QLatin1String("inhibitor-blocked"))
    return {};
  // The system asks for a password, which nobody would be there to give.
  if (answer.startsWith(QLatin1String("challenge")))
    return localisationString("why_afterPassword");
  const bool isForbidden = answer == QLatin1String("no");
  return localisationString(isForbidden ? "why_afterForbidden" : "why_afterUnable");
}

std::string reasonOf(const QDBusError& error) {
  logFormat("after the batch     :-( {}: {}", error.name().toStdString(),
            error.message().toStdString());
  if (error.name() == QLatin1String("org.freedesktop.DBus.Error.InteractiveAuthorizationRequired"))
    return localisationString("why_afterPassword");
  switch (error.type()) {
    case QDBusError::AccessDenied:
      return localisationString("why_afterForbidden");
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
    case QDBusError::Disconnected:
    case QDBusError::UnknownMethod:
      return localisationString("why_afterUnable");
    default:
      return error.message().toStdString();
  }
}

}  // namespace

AfterBatch::AfterBatch(RunLoop& loop, Shows shows, std::chrono::milliseconds second)
    : loop_(loop), shows_(std::move(shows)), second_(second) {}

AfterBatch::~AfterBatch() {
  cancel();
}

void AfterBatch::choose(Act act) {
  cancel();
  set(act);
  if (act == Act::sleep)
    ask("CanSuspend", act);
  else if (act == Act::powerOff)
    ask("CanPowerOff", act);
}

void AfterBatch::set(Act act) {
  act_ = act;
  changed.emit();
}

void AfterBatch::ask(const char* question, Act act) {
  auto* watcher =
      new QDBusPendingCallWatcher(callOn(QDBusConnection::systemBus(), callOf(question)), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, act] {
    const QDBusPendingReply<QString> reply = *watcher;
    watcher->deleteLater();
    if (!reply.isError())
      logFormat("after the batch     ? {}", reply.value().toStdString());
    const std::string reason = reply.isError() ? reasonOf(reply.error()) : reasonOf(reply.value());
    if (reason.empty() || act_ != act)
      return;
    cancel();
    set(Act::nothing);
    refuse(act, reason);
  });
}

void AfterBatch::refuse(Act act, const std::string& why) {
  if (shows_.refuse)
    shows_.refuse(localisationString(act == Act::sleep ? "D_after_noSleep" : "D_after_noPowerOff"),
                  why);
}

void AfterBatch::batchEnded(bool wasStopped, const std::string& summary) {
  if (act_ == Act::nothing)
    return;
  if (wasStopped) {
    set(Act::nothing);
    return;
  }
  cancel();
  left_ = warning;
  box_ = new QMessageBox(shows_.window ? shows_.window() : nullptr);
  box_->setAttribute(Qt::WA_DeleteOnClose);
  box_->setIcon(QMessageBox::Warning);
  box_->setTextFormat(Qt::PlainText);
  box_->addButton(qtText(localisationString("D_Annuler")), QMessageBox::RejectRole);
  connect(box_, &QMessageBox::finished, this, [this] {
    cancel();
    set(Act::nothing);
  });
  const std::string end = localisationString("D_fin_GUI");
  box_->setInformativeText(qtText(summary.empty() ? end : end + "\n" + summary));
  countDown();
  box_->open();
  if (shows_.tell)
    shows_.tell(end, summary.empty() ? announcement() : announcement() + "\n" + summary);
}

std::string AfterBatch::announcement() const {
  return localisationString(act_ == Act::sleep ? "D_after_sleep" : "D_after_powerOff", "",
                            fmt::format("{}", left_));
}

void AfterBatch::countDown() {
  if (left_ == 0) {
    const Act act = act_;
    cancel();
    set(Act::nothing);
    perform(act);
    return;
  }
  if (box_)
    box_->setText(qtText(announcement()));
  timer_ = loop_.runAfter(second_, [this] {
    --left_;
    countDown();
  });
}

void AfterBatch::cancel() {
  left_ = 0;
  loop_.cancel(std::exchange(timer_, 0));
  if (!box_)
    return;
  box_->disconnect(this);
  box_->close();
  box_ = nullptr;
}

void AfterBatch::perform(Act act) {
  logFormat("after the batch     > {}", static_cast<int>(act));
  QDBusMessage call = callOf(act == Act::sleep ? "Suspend" : "PowerOff");
  call << false;  // no questions
  auto* watcher = new QDBusPendingCallWatcher(callOn(QDBusConnection::systemBus(), call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, act] {
    const QDBusPendingReply<> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError())
      refuse(act, reasonOf(reply.error()));
  });
}

}  // namespace tessarin
