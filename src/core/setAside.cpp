#include "core/setAside.h"

#include <fmt/format.h>

#include <cerrno>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/files.h"

namespace tessarin {

std::string setAsideFailure(const std::string& file, const std::string& output) {
  if (!isNameTaken(file))
    return "";
  const std::string name = withoutExtension(output) + "-failure";
  std::string aside = withExtension(name, pathExtension(output));
  int error = renameTo(file, aside, false);
  for (int number = 2; error == EEXIST; ++number) {
    aside = withExtension(fmt::format("{}-{}", name, number), pathExtension(output));
    error = renameTo(file, aside, false);
  }
  if (error == 0)
    return aside;
  logFormat("setAsideFailure     :-( {}: {}", aside, systemReason(error));
  return "";
}

}  // namespace tessarin
