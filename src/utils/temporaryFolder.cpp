#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::string& folder() {
  static std::string path;
  return path;
}

// A new folder below the parent, readable by this user alone; "" when it cannot be made.
std::string makeBelow(std::string_view parent) {
  std::string path = joinPath(parent, "Tessarin-XXXXXX");
  if (::mkdtemp(path.data()) != nullptr)
    return path;
  logFormat("temporaryFolder     :-( {}: {}", path, std::strerror(errno));
  return {};
}

}  // namespace

std::string temporaryFolder() {
  // A cleaner of /tmp may have taken it away in a long run.
  if (!folder().empty() && isDirectory(folder()))
    return folder();
  const char* wanted = std::getenv("TMPDIR");
  folder() = wanted != nullptr && *wanted == '/' ? makeBelow(wanted) : std::string();
  if (folder().empty())
    folder() = makeBelow("/tmp");
  return folder();
}

void removeTemporaryFolder() {
  if (folder().empty())
    return;
  std::error_code failed;
  std::filesystem::remove_all(folder(), failed);
  if (failed)
    logFormat("temporaryFolder     :-( {}: {}", folder(), failed.message());
  folder().clear();
}

}  // namespace tessarin
