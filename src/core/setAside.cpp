#include "core/setAside.h"

#include <fmt/format.h>

#include <filesystem>

#include "classShared/TextAdditions.h"
#include "utils/files.h"

namespace tessarin {

std::string setAsideFailure(const std::string& output) {
  if (!pathExists(output))
    return "";
  std::error_code failed;
  if (std::filesystem::file_size(output, failed) == 0 && !failed && removeFile(output))
    return "";
  std::string aside = withExtension(withoutExtension(output) + "-failure", pathExtension(output));
  for (int number = 2; pathExists(aside); ++number)
    aside = withExtension(fmt::format("{}-failure-{}", withoutExtension(output), number),
                          pathExtension(output));
  return moveFile(output, aside, "") ? aside : output;
}

}  // namespace tessarin
