#include "cli/Reporter.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>

#include "classShared/Outcome.h"
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
  if (isLost_)
    return;
  const int error = writeText(stdout, fmt::format("{}\n", line));
  isLost_ = error != 0;
  // A reader that has seen enough, such as head(1), is nothing to complain about.
  if (isLost_ && error != EPIPE)
    complain(fmt::format("standard output: {}", systemReason(error)));
}

}  // namespace tessarin::cli
