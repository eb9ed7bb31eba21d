// How far the program is, beside its icon in the task bar.
#pragma once

#include <optional>

namespace tessarin {

// Over the signal com.canonical.Unity.LauncherEntry.Update of the session's bus, which docks and
// task bars of several desktops take. Nobody answers; without such a desktop nothing happens.
class TaskBarEntry {
 public:
  // 0 to 1; nothing: no bar. Told on when it is another per cent.
  void show(std::optional<double> fraction);

 private:
  std::optional<int> percent_;
};

}  // namespace tessarin
