// Keeps the computer from going to sleep by itself while somebody waits for its work.
#pragma once

#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <string>

namespace tessarin {

// Over org.freedesktop.login1.Manager.Inhibit of the system bus, which every desktop's own sleeping
// goes through. The lock is a descriptor and goes with the process, however that ends. Nothing is
// waited for; without such a service nothing happens. A user can still send the computer to sleep.
class StayAwake final : public QObject {
 public:
  // From now on, until release(); once more changes nothing. `why` is shown to the user by the
  // desktop, in his language.
  void hold(const std::string& why);
  void release();
  bool isHeld() const { return lock_.isValid(); }

 private:
  QDBusUnixFileDescriptor lock_;
  bool isWanted_ = false;
  unsigned asked_ = 0;  // tells a late answer from one to the last question
};

}  // namespace tessarin
