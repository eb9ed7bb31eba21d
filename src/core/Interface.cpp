#include "core/Interface.h"

#include "core/Popup.h"
#include "encoding/sizes.h"

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
  dropImage.setImage("dndSd");
  analysisStopBt.setSegments({{"", "btStop", true}});
  analysisStopBt.setHidden(true);
  encoding.stopBt.setSegments({{"", "btPause", true}, {"", "btStop", true}});
  encoding.stopBt.setHidden(true);
  batchGoBt.setEnabled(false);
}

}  // namespace tessarin
