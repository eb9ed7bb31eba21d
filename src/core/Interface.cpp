#include "core/Interface.h"

#include <algorithm>

#include "analysis/soundChoice.h"
#include "encoding/sizes.h"
#include "encoding/targets.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

std::vector<SegmentedControl::Segment> applications() {
  std::vector<SegmentedControl::Segment> segments;
  for (const ApplicationRow& row : applicationTable)
    segments.push_back({row.label, "", true});
  return segments;
}

std::vector<SegmentedControl::Segment> labelled(std::initializer_list<const char*> labels) {
  std::vector<SegmentedControl::Segment> segments;
  for (const char* label : labels)
    segments.push_back({label, "", true});
  return segments;
}

}  // namespace

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

Interface::Interface()
    : editingSoft(applications(), 2),
      speed(labelled({"Full", "Half", "Slow"}), 0),
      easy(labelled({"expert", "easy"}), 1),
      colour(labelled({"light", "dark", "Hud"}), 0),
      checkMatrix(labelled({"", ""}), 1) {
  Popup sizes;
  sizes.setPopupArray(presetSizesList(false));
  sizes.setSelectedSizeOut(presetSizesList(false).front());
  sizes.bind(sizeOut, presetSizesList(true));

  std::vector<PopUpButton::Item> counts;
  for (int count = 0; count <= mostJobsOffered; ++count)
    counts.push_back({"", "", "", "", std::to_string(count)});
  jobs.setItems(std::move(counts));
  jobs.select(0);
  setSound("");
  std::vector<PopUpButton::Item> slow;
  slow.reserve(slowSoundWords.size());
  for (const std::string_view word : slowSoundWords)
    slow.push_back({"", "", "", "", std::string(word)});
  slowSound.setItems(std::move(slow));
  slowSound.select(0);
  dropImage.setImage("dndSd");
  analysisStopBt.setSegments({{"", "btStop", true}});
  analysisStopBt.setHidden(true);
  encoding.stopBt.setSegments({{"", "btPause", true}, {"", "btStop", true}});
  encoding.stopBt.setHidden(true);
  batchGoBt.setEnabled(false);
}

void Interface::setTarget(std::optional<Target> wanted) {
  target = wanted;
  const TargetRow* row = wanted ? targetRow(*wanted) : nullptr;
  const bool isUsual = row && editingSoft.selected() >= 0 &&
                       applicationTable[editingSoft.selected()].firstTarget == *wanted;
  targetNote.setText(row && !isUsual ? localisationString("D_targetNote", "", row->title) : "");
}

void Interface::setSound(const std::string& choice) {
  std::vector<std::string> choices{"", std::string(firstSoundAlone)};
  auto chosen = std::find(choices.begin(), choices.end(), choice);
  if (chosen == choices.end())
    chosen = choices.insert(chosen, choice);
  std::vector<PopUpButton::Item> items;
  items.reserve(choices.size());
  for (const std::string& each : choices)
    items.push_back({"", "", "", "", each});
  sound.setItems(std::move(items));
  sound.select(static_cast<int>(chosen - choices.begin()));
}

}  // namespace tessarin
