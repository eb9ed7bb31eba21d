#include "views/accessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include "views/DropView.h"
#include "views/SegmentedBar.h"

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

// A segment of a bar; of a choice it is one of several of which one is chosen.
class SegmentDescription final : public QAccessibleWidget {
 public:
  explicit SegmentDescription(QToolButton* segment)
      : QAccessibleWidget(segment), segment_(*segment) {}

  // A segment may be asked for before it is told that it stays down.
  QAccessible::Role role() const override {
    return segment_.isCheckable() ? QAccessible::RadioButton : QAccessible::PushButton;
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.checkable = segment_.isCheckable();
    state.checked = segment_.isChecked();
    return state;
  }
  QString text(QAccessible::Text kind) const override {
    const QString own = QAccessibleWidget::text(kind);
    return kind == QAccessible::Name && own.isEmpty() ? segment_.text().remove('&') : own;
  }
  QStringList actionNames() const override {
    return QStringList(pressAction()) + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& name) override {
    if (name == pressAction())
      segment_.click();
    else
      QAccessibleWidget::doAction(name);
  }

 private:
  QToolButton& segment_;
};

QAccessibleInterface* describe(const QString&, QObject* object) {
  if (auto* button = dynamic_cast<QToolButton*>(object);
      button && dynamic_cast<SegmentedBar*>(button->parent()))
    return new SegmentDescription(button);
  auto* view = dynamic_cast<DropView*>(object);
  return view ? new DropViewDescription(view) : nullptr;
}

}  // namespace

void describeWidgets() {
  static const bool isDone = (QAccessible::installFactory(describe), true);
  static_cast<void>(isDone);
}

}  // namespace tessarin
