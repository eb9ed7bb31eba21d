#include "core/Interface.h"

#include "encoding/outputPreset.h"

namespace tessarin {

namespace {

std::vector<SegmentedControl::Segment> labelled(std::initializer_list<const char*> labels) {
  std::vector<SegmentedControl::Segment> segments;
  for (const char* label : labels)
    segments.push_back({label, "", true});
  return segments;
}

}  // namespace

Interface::Interface()
    : editingSoft(labelled({"QuickTime", "iMovie", "Final Cut Pro", "50p/60p"}), 2),
      speed(labelled({"Full", "Half", "Slow"}), 0),
      easy(labelled({"expert", "easy"}), 1),
      colour(labelled({"light", "dark", "Hud"}), 0),
      checkMatrix(labelled({"", ""}), 1) {
  std::vector<PopUpButton::Item> sizes;
  const auto& labels = presetSizesList(false);
  const auto& images = presetSizesList(true);
  for (std::size_t row = 0; row < labels.size(); ++row)
    sizes.push_back({labels[row], images[row], ""});
  sizeOut.setItems(std::move(sizes));
  sizeOut.select(0);

  dropImage.setImage("dndSd");
  analysisStopBt.setSegments({{"", "btStop", true}});
  analysisStopBt.setHidden(true);
  encoding.stopBt.setSegments({{"", "btPause", true}, {"", "btStop", true}});
  encoding.stopBt.setHidden(true);
  batchGoBt.setEnabled(false);
}

}  // namespace tessarin
