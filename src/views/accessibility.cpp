#include "views/accessibility.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>

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

// Qt gives what is chosen as the name, of which screen readers say nothing where there is a label.
// A text they read; and what is put into one, and selected there, they read at once, so that the
// keys can choose without the list being opened. Qt tells them nothing of that by itself.
class ChoiceDescription final : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit ChoiceDescription(QComboBox* choice)
      : QAccessibleWidget(choice, QAccessible::ComboBox), choice_(*choice) {
    // What was chosen before is not told to be gone: readers would say that first.
    QObject::connect(choice, &QComboBox::currentTextChanged, choice, [choice](const QString& text) {
      QAccessibleTextInsertEvent told(choice, 0, text);
      QAccessible::updateAccessibility(&told);
    });
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                              : QAccessibleWidget::interface_cast(type);
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = choice_.view()->isVisible();
    return state;
  }
  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Value ? choice_.currentText() : QAccessibleWidget::text(kind);
  }
  // What may be chosen.
  int childCount() const override { return 1; }
  QAccessibleInterface* child(int) const override {
    return QAccessible::queryAccessibleInterface(choice_.view());
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return child->object() == choice_.view() ? 0 : -1;
  }
  QStringList actionNames() const override {
    return {showMenuAction(), pressAction(), setFocusAction()};
  }
  void doAction(const QString& name) override {
    if (name == setFocusAction())
      QAccessibleWidget::doAction(name);
    else if (choice_.view()->isVisible())
      choice_.hidePopup();
    else
      choice_.showPopup();
  }

  // ---- The text; all of it is selected, and nothing in it can be changed.
  int characterCount() const override { return static_cast<int>(choice_.currentText().size()); }
  QString text(int start, int end) const override {
    return choice_.currentText().mid(start, end - start);
  }
  QString attributes(int, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
    return {};
  }
  QRect characterRect(int) const override { return rect(); }
  int offsetAtPoint(const QPoint&) const override { return 0; }
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int) override {}
  void selection(int, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
  }
  int selectionCount() const override { return 1; }
  void addSelection(int, int) override {}
  void removeSelection(int) override {}
  void setSelection(int, int, int) override {}
  void scrollToSubstring(int, int) override {}

 private:
  QComboBox& choice_;
};

QAccessibleInterface* describe(const QString&, QObject* object) {
  if (auto* button = dynamic_cast<QToolButton*>(object);
      button && dynamic_cast<SegmentedBar*>(button->parent()))
    return new SegmentDescription(button);
  if (auto* choice = qobject_cast<QComboBox*>(object); choice && !choice->isEditable())
    return new ChoiceDescription(choice);
  auto* view = dynamic_cast<DropView*>(object);
  return view ? new DropViewDescription(view) : nullptr;
}

}  // namespace

void describeWidgets() {
  static const bool isDone = (QAccessible::installFactory(describe), true);
  static_cast<void>(isDone);
}

}  // namespace tessarin
