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

// "yes", or "challenge" where the system asks for a password, which nobody would be there to give.
void AfterBatch::ask(const char* question, Act act) {
  auto* watcher =
      new QDBusPendingCallWatcher(callOn(QDBusConnection::systemBus(), callOf(question)), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, act] {
    const QDBusPendingReply<QString> reply = *watcher;
    watcher->deleteLater();
    const QString answer = reply.isError() ? reply.error().message() : reply.value();
    logFormat("after the batch     ? {}", answer.toStdString());
    if (answer == QLatin1String("yes") || act_ != act)
      return;
    cancel();
    set(Act::nothing);
    if (shows_.refuse)
      shows_.refuse(answer.toStdString());
  });
}

void AfterBatch::batchEnded(bool wasStopped) {
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
  countDown();
  box_->open();
  if (shows_.tell)
    shows_.tell(localisationString("D_fin_GUI"), announcement());
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
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    const QDBusPendingReply<> reply = *watcher;
    watcher->deleteLater();
    if (reply.isError() && shows_.refuse)
      shows_.refuse(reply.error().message().toStdString());
  });
}

}  // namespace tessarin
