#include "views/settingWidgets.h"

namespace tessarin {

SegmentedBar* newChoice(const QStringList& titles, const QStringList& tips) {
  auto* bar = new SegmentedBar(SegmentedBar::Kind::choice, titles);
  for (int segment = 0; segment < tips.size(); ++segment)
    bar->at(segment)->setToolTip(tips[segment]);
  return bar;
}

SegmentedBar* newApplicationBar() {
  return newChoice(
      {"@@softQuickTime", "@@softIMovie", "@@softFinalCutPro", "@@soft50p60p"},
      {"@@tipSoftQuickTime", "@@tipSoftIMovie", "@@tipSoftFinalCutPro", "@@tipSoft50p60p"});
}

}  // namespace tessarin
