#include "core/admittedSources.h"

#include "classShared/TextAdditions.h"
#include "platform/Bundle.h"
#include "utils/files.h"
#include "utils/log.h"

namespace tessarin {

AdmittedExtensions::AdmittedExtensions() {
  const Value* types = Bundle::main().objectForInfoDictionaryKey("CFBundleDocumentTypes");
  if (!types || !types->list() || types->list()->empty() || !types->list()->front().dico())
    return;
  const List* extensions = types->list()->front().dico()->list("CFBundleTypeExtensions");
  if (!extensions)
    return;
  for (const Value& value : *extensions) {
    const std::string extension = value.text().value_or("");
    const std::string small = lowerCase(extension);
    if (small.empty() || small == "eyetv" || small == "imovieproject")
      continue;
    spellings_.insert({extension, small, upperCase(extension), capitalised(extension)});
    ++count_;
  }
}

bool AdmittedExtensions::admits(const std::string& path) const {
  return spellings_.count(pathExtension(path)) > 0;
}

std::vector<std::string> expandDroppedPaths(std::vector<std::string> paths) {
  if (!isDirectory(paths.front())) {
    debugFormat("actual str          : {}", paths.front());
    paths.front() = resolveAlias(paths.front());
    debugFormat("new    str          : {}", paths.front());
  }
  if (isDirectory(paths.front()))
    return filesBelow(paths.front());
  return paths;
}

}  // namespace tessarin
