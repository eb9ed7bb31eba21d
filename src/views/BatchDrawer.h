// The lower part of the window: the batch, and how its conversion goes.
#pragma once

#include <QSplitter>
#include <QWidget>

#include "core/appDelegate.h"
#include "views/BatchView.h"
#include "views/PreviewView.h"
#include "views/WindowActions.h"

namespace tessarin {

// "14 of 88", as many as have been begun, and "41 %" of the whole; "" where no batch runs.
QString numberText(const BatchProgress& batch);
QString percentText(const BatchProgress& batch);

class BatchDrawer final : public QWidget {
 public:
  // Both are borrowed and outlive the view.
  BatchDrawer(appDelegate& app, const WindowActions& actions, QWidget* parent = nullptr);

  BatchView& table() { return *table_; }
  // How wide the preview beside the table is, 0 where it is not shown.
  int previewWidth() const;
  void showPreview(int width);

 private:
  QWidget* newRunBar();
  QWidget* newCourse();
  QWidget* newProgress();

  appDelegate& app_;
  BatchView* table_;
  PreviewView* preview_;
  QSplitter* splitter_;
};

}  // namespace tessarin
