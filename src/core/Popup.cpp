#include "core/Popup.h"

namespace tessarin {

void Popup::bind(PopUpButton& control, const std::vector<std::string>& images) const {
  std::vector<PopUpButton::Item> items;
  int selected = -1;
  for (std::size_t place = 0; place < popupArray_.size(); ++place) {
    items.push_back({popupArray_[place], place < images.size() ? images[place] : "", ""});
    if (selected < 0 && popupArray_[place] == selectedSizeOut_)
      selected = static_cast<int>(place);
  }
  control.setItems(std::move(items));
  control.select(selected);
}

}  // namespace tessarin
