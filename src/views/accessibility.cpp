#include "views/accessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include "views/DropView.h"

namespace tessarin {

namespace {

// By itself it would be a frame, which nobody tries to press.
class DropViewDescription final : public QAccessibleWidget {
 public:
  explicit DropViewDescription(DropView* view)
      : QAccessibleWidget(view, QAccessible::Button), view_(*view) {}

  QStringList actionNames() const override {
    return QStringList(pressAction()) + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& name) override {
    if (name != pressAction())
      QAccessibleWidget::doAction(name);
    else if (view_.pressed)
      view_.pressed();
  }

 private:
  DropView& view_;
};

QAccessibleInterface* describe(const QString&, QObject* object) {
  auto* view = dynamic_cast<DropView*>(object);
  return view ? new DropViewDescription(view) : nullptr;
}

}  // namespace

void describeWidgets() {
  static const bool isDone = (QAccessible::installFactory(describe), true);
  static_cast<void>(isDone);
}

}  // namespace tessarin
