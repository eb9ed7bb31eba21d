#include "jobs/remarks.h"

#include <fmt/format.h>

#include "analysis/sourceRecord.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

std::vector<std::string> remarkTexts(const Source& source) {
  std::vector<std::string> texts;
  for (const Source::Remark& remark : source.remarks)
    texts.push_back(
        localisationString(remarkKey(remark.kind), "", fmt::format("{}", remark.number)));
  return texts;
}

}  // namespace tessarin
