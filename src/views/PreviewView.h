// A larger look at the clip of the row with the focus: its picture at any moment, that of its movie
// beside it as soon as there is one, and what the clip is.
#pragma once

#include <QLabel>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QSlider>
#include <QWidget>
#include <functional>
#include <string>

#include "core/appDelegate.h"

namespace tessarin {

// One or two pictures, beside each other or one above the other, whatever makes them larger.
class PreviewPictures final : public QWidget {
 public:
  explicit PreviewPictures(QWidget* parent = nullptr);

  void show(const QPixmap& source, const QPixmap& movie, bool hasMovie);
  // For each of them, in logical pixels.
  QSize room() const;
  std::function<void()> resized;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QRect place(int number) const;
  bool isBeside() const;
  int captionHeight() const;

  QPixmap source_;
  QPixmap movie_;
  bool hasMovie_ = false;
};

class PreviewView final : public QWidget {
 public:
  // The controller is borrowed and outlives the view.
  explicit PreviewView(appDelegate& app, QWidget* parent = nullptr);

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void showPreview();
  void showTime();
  void showDetails();
  void tellRoom();

  appDelegate& app_;
  PreviewPictures* pictures_;
  QSlider* moment_;
  QLabel* time_;
  QPlainTextEdit* details_;
  // What is shown, and from which bytes.
  std::string sourcePicture_;
  std::string moviePicture_;
  QPixmap source_;
  QPixmap movie_;
};

}  // namespace tessarin
