#include "core/RefusedSources.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

RefusedSources::RefusedSources(AnalysisQueue& queue, Alerts& alerts) : alerts_(alerts) {
  queue.refused.connect([this](const std::string& path, const std::string& reason) {
    if (++count_ <= longestList)
      list_ += fmt::format("{}{}: {}", list_.empty() ? "" : "\n", fileName(path), reason);
  });
  queue.finished.connect([this] { tell(); });
}

void RefusedSources::tell() {
  if (count_ == 0)
    return;
  if (count_ > longestList)
    list_ += "\n" + localisationString("D_refused_2", "", std::to_string(count_ - longestList));
  alerts_.show({localisationString("D_refused_1"), list_});
  list_.clear();
  count_ = 0;
}

}  // namespace tessarin
