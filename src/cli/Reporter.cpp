#include "cli/Reporter.h"

#include <fmt/format.h>

#include "cli/terminal.h"

namespace tessarin::cli {

RowState rowStateOf(const RowResult& result, bool isInHand) {
  if (result.isConverted())
    return RowState::converted;
  if (isInHand)
    return RowState::inHand;
  if (result.row.mark == RowMark::success)
    return RowState::kept;
  return result.row.mark == RowMark::failure ? RowState::failed : RowState::waiting;
}

void Reporter::print(std::string_view line) {
  if (!isLost_)
    isLost_ = !writeOutput(fmt::format("{}\n", line));
}

}  // namespace tessarin::cli
