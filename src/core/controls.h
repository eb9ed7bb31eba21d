// The interface's state without an interface: each control is a few values and a signal.
//
// The step machines read and write these objects; a window shows them, the command line prints
// from them, a test sets and reads them. A setter emits `changed` only when the value changed.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "utils/Signal.h"

namespace tessarin {

class Control {
 public:
  Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  Signal<> changed;

  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden) { assign(hidden_, hidden); }
  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled) { assign(enabled_, enabled); }

 protected:
  ~Control() = default;

  template <class T>
  void assign(T& field, T value) {
    if (field == value)
      return;
    field = std::move(value);
    changed.emit();
  }

 private:
  bool hidden_ = false;
  bool enabled_ = true;
};

class ProgressBar final : public Control {
 public:
  double value() const { return value_; }
  void setValue(double value) { assign(value_, value); }
  // The value that means 100 %.
  double maximum() const { return maximum_; }
  void setMaximum(double maximum) { assign(maximum_, maximum); }
  bool isIndeterminate() const { return indeterminate_; }
  void setIndeterminate(bool indeterminate) { assign(indeterminate_, indeterminate); }

 private:
  double value_ = 0;
  double maximum_ = 0;
  bool indeterminate_ = false;
};

class BusyWheel final : public Control {
 public:
  bool isTurning() const { return turning_; }
  void setTurning(bool turning) { assign(turning_, turning); }

 private:
  bool turning_ = false;
};

class TextField final : public Control {
 public:
  const std::string& text() const { return text_; }
  void setText(std::string text) { assign(text_, std::move(text)); }

 private:
  std::string text_;
};

class CheckBox final : public Control {
 public:
  bool isChecked() const { return checked_; }
  void setChecked(bool checked) { assign(checked_, checked); }

 private:
  bool checked_ = false;
};

// A push button; its state (0 or 1) says whether what it starts is going on.
class Button final : public Control {
 public:
  int state() const { return state_; }
  void setState(int state) { assign(state_, state); }

 private:
  int state_ = 0;
};

class SegmentedControl final : public Control {
 public:
  struct Segment {
    std::string label;
    std::string image;  // name of an image of the resources, "" for none
    bool enabled = true;
    bool operator==(const Segment&) const = default;
  };

  SegmentedControl() = default;
  explicit SegmentedControl(std::vector<Segment> segments, int selected = 0)
      : segments_(std::move(segments)), selected_(selected) {}

  const std::vector<Segment>& segments() const { return segments_; }
  void setSegments(std::vector<Segment> segments) { assign(segments_, std::move(segments)); }
  void setImage(std::size_t segment, std::string image) {
    assign(segments_.at(segment).image, std::move(image));
  }
  int count() const { return static_cast<int>(segments_.size()); }
  bool has(int segment) const { return segment >= 0 && segment < count(); }

  // Index of the selected segment, -1 when none is.
  int selected() const { return selected_; }
  void select(int segment) { assign(selected_, segment); }

 private:
  std::vector<Segment> segments_;
  int selected_ = -1;
};

class PopUpButton final : public Control {
 public:
  struct Item {
    std::string title;
    std::string image;
    std::string colour;           // "green", "black" or "red"; "" for the default
    std::string background = "";  // "silver"; "" for the default
    std::string value = "";       // what is stored for it, where that is not its number or title
    bool operator==(const Item&) const = default;
  };

  const std::vector<Item>& items() const { return items_; }
  void setItems(std::vector<Item> items) { assign(items_, std::move(items)); }
  // Index of the selected item, -1 when none is.
  int selected() const { return selected_; }
  void select(int item) { assign(selected_, item); }

 private:
  std::vector<Item> items_;
  int selected_ = -1;
};

class ImageView final : public Control {
 public:
  const std::string& image() const { return image_; }
  void setImage(std::string image) { assign(image_, std::move(image)); }

 private:
  std::string image_;
};

// A part of the window that can be shown or put away.
class Panel final : public Control {
 public:
  bool isShown() const { return shown_; }
  void setShown(bool shown) { assign(shown_, shown); }

 private:
  bool shown_ = false;
};

}  // namespace tessarin
