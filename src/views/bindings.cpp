#include "views/bindings.h"

#include <QPointer>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <algorithm>

#include "views/images.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

constexpr int barSteps = 1000;

// Calls `show` now and at every change of the control, as long as the widget is there. What the
// widget says about these changes goes nowhere.
template <class Show>
void showAlways(QWidget* widget, Control& control, Show show) {
  const auto showNow = [widget, &control, show] {
    const QSignalBlocker blocker(widget);
    widget->setEnabled(control.isEnabled());
    show();
  };
  showNow();
  follow(control, widget, showNow);
}

// A hidden control leaves its place empty, so that nothing jumps.
void hideInPlace(QWidget* widget, bool hidden) {
  QSizePolicy policy = widget->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  widget->setSizePolicy(policy);
  widget->setHidden(hidden);
}

void call(const Act& act) {
  if (act)
    act();
}

void showImages(SegmentedBar* bar, const SegmentedControl& control) {
  const int count = std::min(bar->count(), control.count());
  for (int number = 0; number < count; ++number)
    if (const auto& segment = control.segments()[static_cast<std::size_t>(number)];
        !segment.image.empty())
      bar->at(number)->setIcon(drawnIcon(segment.image));
}

void showSegment(QToolButton* button, const SegmentedControl::Segment& segment, bool enabled) {
  button->setEnabled(enabled && segment.enabled);
  if (segment.image.empty())
    return;
  const QString text = qtText(imageText(segment.image));
  button->setToolTip(text);
  button->setAccessibleName(text);
}

}  // namespace

void follow(Control& control, QObject* object, const Act& show) {
  const auto id = control.changed.connect([held = QPointer<QObject>(object), show] {
    if (held)  // it may be on its way out
      show();
  });
  QObject::connect(object, &QObject::destroyed, [&control, id] { control.changed.disconnect(id); });
}

void bindTo(QLabel* label, TextField& field) {
  label->setTextFormat(Qt::PlainText);
  showAlways(label, field, [label, &field] {
    label->setText(qtText(field.text()));
    label->setVisible(!field.isHidden());
  });
}

void bindTo(QLineEdit* edit, TextField& field, const Act& act) {
  showAlways(edit, field, [edit, &field] {
    // Writing the same text again would move the insertion point.
    if (edit->text().toStdString() != field.text())
      edit->setText(qtText(field.text()));
  });
  QObject::connect(edit, &QLineEdit::textEdited, edit, [&field, act](const QString& text) {
    field.setText(text.toStdString());
    call(act);
  });
}

void bindTo(QCheckBox* box, CheckBox& control, const Act& act) {
  showAlways(box, control, [box, &control] { box->setChecked(control.isChecked()); });
  QObject::connect(box, &QCheckBox::toggled, box, [&control, act](bool checked) {
    control.setChecked(checked);
    call(act);
  });
}

void bindTo(QPushButton* button, Button& control, const Act& act) {
  showAlways(button, control, [button, &control] { hideInPlace(button, control.isHidden()); });
  QObject::connect(button, &QPushButton::clicked, button, act);
}

void bindTo(QProgressBar* bar, ProgressBar& control) {
  showAlways(bar, control, [bar, &control] {
    hideInPlace(bar, control.isHidden());
    bar->setRange(0, control.isIndeterminate() ? 0 : barSteps);
    const double part = control.maximum() > 0 ? control.value() / control.maximum() : 0;
    bar->setValue(static_cast<int>(std::clamp(part, 0.0, 1.0) * barSteps));
  });
}

void bindTo(BusyIndicator* wheel, BusyWheel& control) {
  showAlways(wheel, control, [wheel, &control] { wheel->setTurning(control.isTurning()); });
}

void bindTo(QWidget* view, Panel& panel) {
  showAlways(view, panel, [view, &panel] { view->setVisible(panel.isShown()); });
}

void bindTo(SegmentedBar* bar, SegmentedControl& control, const Act& act) {
  showAlways(bar, control, [bar, &control] {
    const int count = std::min(bar->count(), control.count());
    for (int number = 0; number < count; ++number)
      showSegment(bar->at(number), control.segments()[static_cast<std::size_t>(number)],
                  control.isEnabled());
    showImages(bar, control);
    bar->select(control.selected());
    hideInPlace(bar, control.isHidden());
  });
  bar->coloursChanged = [bar, &control] { showImages(bar, control); };
  bar->chosen = [&control, act](int segment) {
    control.select(segment);
    call(act);
  };
}

void bindTo(QComboBox* popup, PopUpButton& control,
            const std::function<PopUpTitle(const PopUpButton::Item&)>& titleOf, const Act& act) {
  showAlways(popup, control, [popup, &control, titleOf] {
    popup->clear();
    for (const PopUpButton::Item& item : control.items()) {
      const PopUpTitle title = titleOf(item);
      const int index = popup->count();
      if (title.text.isEmpty()) {
        popup->insertSeparator(index);
        continue;
      }
      popup->addItem(title.text);
      popup->setItemData(index, title.toolTip, Qt::ToolTipRole);
      auto* items = qobject_cast<QStandardItemModel*>(popup->model());
      if (items && !title.mayBeChosen)
        items->item(index)->setEnabled(false);
    }
    popup->setCurrentIndex(control.selected());
  });
  QObject::connect(popup, &QComboBox::activated, popup, [&control, act](int item) {
    control.select(item);
    call(act);
  });
}

}  // namespace tessarin
