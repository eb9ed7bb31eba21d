#include "views/SessionEnd.h"

#include <QEvent>
#include <QEventLoop>
#include <QGuiApplication>
#include <QSessionManager>
#include <memory>
#include <optional>

#include "classShared/log.h"

namespace tessarin {

SessionEnd::SessionEnd(appDelegate& app, std::function<void()> ended)
    : app_(app), ended_(std::move(ended)) {
  // Qt would close the windows, and so ask, when it is told to quit.
  qGuiApp->installEventFilter(this);
  connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &SessionEnd::commitData,
          Qt::DirectConnection);
  app_.quitAccepted.connect([this] {
    isLeaving_ = true;
    if (question_)
      question_->quit();
  });
}

void SessionEnd::commitData(QSessionManager& manager) {
  logLine("commitDataRequest");
  // Without the right to ask, the batch is there for the next start.
  if (!app_.driver().isBatchRunning() || question_ || !manager.allowsInteraction())
    return;
  if (isAllowed())
    manager.release();
  else
    manager.cancel();
}

bool SessionEnd::isAllowed() {
  if (isLeaving_)  // nobody is asked any more, and so nobody would answer
    return true;
  QEventLoop loop;
  // Shared with an answer that may never come.
  const auto answer = std::make_shared<std::optional<bool>>();
  app_.askToLeave([this, answer](bool mayLeave) {
    *answer = mayLeave;
    if (question_)
      question_->quit();
  });
  if (!*answer) {
    question_ = &loop;
    loop.exec();
    question_ = nullptr;
  }
  return answer->value_or(true);
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event) {
  if (watched != qGuiApp || event->type() != QEvent::Quit)
    return QObject::eventFilter(watched, event);
  ended_();
  return true;
}

}  // namespace tessarin
