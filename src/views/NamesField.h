// The pattern for the names of movies, with what it makes of the selected row.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include "core/appDelegate.h"
#include "views/bindings.h"

namespace tessarin {

class NamesField final : public QWidget {
 public:
  // The controller is borrowed and outlives the widget. `store` is called when the user has changed
  // the pattern.
  NamesField(appDelegate& app, Act store, QWidget* parent = nullptr);

 private:
  QPushButton* newFieldButton();
  void insert(const QString& field);
  void showExample();

  appDelegate& app_;
  Act store_;
  QLineEdit* pattern_;
  QLabel* example_;
};

}  // namespace tessarin
