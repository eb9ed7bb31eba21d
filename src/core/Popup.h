// What a popup offers and which item is chosen, apart from any control.
#pragma once

#include <string>
#include <vector>

#include "core/controls.h"

namespace tessarin {

// Starts with two items, so that a popup that nobody has filled yet can be told by its titles.
class Popup {
 public:
  const std::vector<std::string>& popupArray() const { return popupArray_; }
  void setPopupArray(std::vector<std::string> titles) { popupArray_ = std::move(titles); }
  const std::string& selectedSizeOut() const { return selectedSizeOut_; }
  void setSelectedSizeOut(std::string title) { selectedSizeOut_ = std::move(title); }

  // Shows the items in the control, with the images in the same order (those that are missing are
  // left out). Nothing is selected when no item has the selected title.
  void bind(PopUpButton& control, const std::vector<std::string>& images) const;

 private:
  std::vector<std::string> popupArray_ = {"Item1", "Item2"};
  std::string selectedSizeOut_ = "Item1";
};

}  // namespace tessarin
