#include "views/TaskBarEntry.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>
#include <utility>

namespace tessarin {

void TaskBarEntry::show(std::optional<double> fraction) {
  const auto percent =
      fraction ? std::optional(static_cast<int>(*fraction * 100)) : std::optional<int>();
  if (std::exchange(percent_, percent) == percent)
    return;
  QDBusMessage update = QDBusMessage::createSignal(
      QStringLiteral("/com/canonical/unity/launcherentry/1"),
      QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
  update << QStringLiteral("application://") + QGuiApplication::desktopFileName() +
                QStringLiteral(".desktop")
         << QVariantMap{{QStringLiteral("progress"), percent.value_or(0) / 100.0},
                        {QStringLiteral("progress-visible"), percent.has_value()}};
  QDBusConnection::sessionBus().send(update);
}

}  // namespace tessarin
