// A row of joined buttons of which one is chosen.
#pragma once

#include <QToolButton>
#include <QWidget>
#include <functional>
#include <vector>

namespace tessarin {

class SegmentedBar final : public QWidget {
 public:
  enum class Kind {
    choice,   // one segment stays down
    buttons,  // segments are pushed and come up again
  };

  SegmentedBar(Kind kind, const QStringList& titles, QWidget* parent = nullptr);

  // The user chose or pushed this segment.
  std::function<void(int)> chosen;

  // The colours changed: what was drawn in them has to be drawn anew.
  std::function<void()> coloursChanged;

  int count() const { return static_cast<int>(segments_.size()); }
  QString title(int segment) const { return at(segment)->text(); }
  void setTitle(int segment, const QString& title) { at(segment)->setText(title); }
  QToolButton* at(int segment) const { return segments_.at(static_cast<std::size_t>(segment)); }
  // -1 for none.
  void select(int segment);
  int selected() const;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  std::vector<QToolButton*> segments_;
};

}  // namespace tessarin
