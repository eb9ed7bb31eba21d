#include "core/remarks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

std::vector<std::string> remarkTexts(const SourceInfo& record) {
  constexpr std::array known = {Remark::soundUnreadable, Remark::programs};
  std::vector<std::string> texts;
  const List* remarks = record.list(SourceKey::remarks);
  if (!remarks)
    return texts;
  for (const Value& value : *remarks) {
    const std::string remark = value.text().value_or("");
    const auto key = std::find(known.begin(), known.end(), textUpTo(remark, " "));
    const auto number = wholeNumber(textAfter(remark, " ").value_or(""), ReportRange::streamNumber);
    if (key != known.end() && number)
      texts.push_back(localisationString(*key, "", fmt::format("{}", *number)));
  }
  return texts;
}

}  // namespace tessarin
