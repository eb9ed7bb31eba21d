// A message in the desktop's own way, for somebody who looks elsewhere.
#pragma once

#include <QObject>
#include <functional>
#include <string>

namespace tessarin {

// Over the freedesktop.org interface org.freedesktop.Notifications, version 1.2. Nothing is waited
// for; without such a service nothing happens.
class DesktopMessage final : public QObject {
  Q_OBJECT

 public:
  // `clicked` is called when the user clicks on the message.
  explicit DesktopMessage(std::function<void()> clicked);

  // Shows it, in the place of the one before when that is still there.
  void show(const std::string& summary, const std::string& body);

 private Q_SLOTS:
  void actionInvoked(uint id, const QString& action);
  void activationToken(uint id, const QString& token);

 private:
  void listen();

  std::function<void()> clicked_;
  uint id_ = 0;  // as the service calls the message; 0 for none
  bool isListening_ = false;
};

}  // namespace tessarin
