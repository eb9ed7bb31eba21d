// Joins a widget with one of the controller's controls: the widget shows the control from now on,
// and what the user does to the widget is written to the control, after which `act` is called.
//
// The control has to outlive the widget; a widget may go before it, and is forgotten then.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <functional>

#include "core/controls.h"
#include "views/BusyIndicator.h"
#include "views/SegmentedBar.h"

namespace tessarin {

using Act = std::function<void()>;

// Calls `show` at every change of the control, as long as the object is there.
void follow(Control& control, QObject* object, const Act& show);

void bindTo(QLabel* label, TextField& field);
void bindTo(QLineEdit* edit, TextField& field, const Act& act = {});
void bindTo(QCheckBox* box, CheckBox& control, const Act& act = {});
void bindTo(QPushButton* button, Button& control, const Act& act);
// Percent of the maximum, in tenths; an endless bar for an unknown end.
void bindTo(QProgressBar* bar, ProgressBar& control);
void bindTo(BusyIndicator* wheel, BusyWheel& control);
void bindTo(QWidget* view, Panel& panel);
// The bar's titles are its own; images, selection and which segments may be chosen are the
// control's.
void bindTo(SegmentedBar* bar, SegmentedControl& control, const Act& act = {});

// How a popup shows one of the control's items.
struct PopUpTitle {
  QString text;  // "" for a line between items
  QString toolTip = {};
  bool mayBeChosen = true;
};
void bindTo(QComboBox* popup, PopUpButton& control,
            const std::function<PopUpTitle(const PopUpButton::Item&)>& titleOf,
            const Act& act = {});

}  // namespace tessarin
