#include <cstdlib>

#include "classShared/log.h"
#include "utils/PrivateFolder.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view prefix = "Tessarin-";

PrivateFolder& own() {
  static PrivateFolder folder;
  return folder;
}

// A new folder below the parent; none when it cannot be made.
PrivateFolder makeBelow(const std::string& parent) {
  PrivateFolder::removeAbandoned(parent, prefix);
  const std::string path = PrivateFolder::newPath(parent, prefix);
  Outcome<PrivateFolder> made = PrivateFolder::create(path);
  if (made)
    return std::move(*made);
  logFormat("temporaryFolder     :-( {}: {}", path, made.reason());
  return {};
}

}  // namespace

std::string temporaryFolder() {
  // A cleaner of /tmp may have taken it away in a long run.
  if (!own().path().empty() && isDirectory(own().path()))
    return own().path();
  own().remove();
  const char* wanted = std::getenv("TMPDIR");
  if (wanted != nullptr && *wanted == '/')
    own() = makeBelow(wanted);
  if (own().path().empty())
    own() = makeBelow("/tmp");
  return own().path();
}

void removeTemporaryFolder() {
  own().remove();
}

}  // namespace tessarin
