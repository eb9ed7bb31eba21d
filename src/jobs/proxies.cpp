#include "jobs/proxies.h"

#include <optional>
#include <unordered_set>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

// Folder and name, without cases and kinds, which differ between a recording and its copy.
std::string keyOf(const std::string& folder, std::string_view name) {
  return lowerCase(joinPath(folder, name));
}

// The recordings of which this may be the copy, as keys.
std::vector<std::string> originalsOf(const std::string& file) {
  const std::string folder = parentFolder(file);
  const std::string card = parentFolder(folder);
  const std::string place = lowerCase(fileName(folder));
  const std::string name = fileName(withoutExtension(file));
  const std::size_t length = name.size();
  // XDCAM and XAVC: Sub/C0001S01.MXF of Clip/C0001.MXF, SUB/C0001S03.MP4 of CLIP/C0001.MP4.
  if (place == "sub" && length > 3 && equalIgnoringCase(name.substr(length - 3, 1), "S") &&
      isDigit(name[length - 2]) && isDigit(name[length - 1]))
    return {keyOf(joinPath(card, "clip"), name.substr(0, length - 3))};
  // P2: PROXY/0001AB.MP4 of VIDEO/0001AB.MXF, or of AVCLIP.
  if (place == "proxy")
    return {keyOf(joinPath(card, "video"), name), keyOf(joinPath(card, "avclip"), name)};
  constexpr std::string_view ending = "_proxy";
  if (length > ending.size() && endsWith(lowerCase(name), ending))
    return {keyOf(folder, name.substr(0, length - ending.size()))};
  return {};
}

}  // namespace

void leaveOutProxies(std::vector<std::string>& files) {
  std::unordered_set<std::string> there;
  for (const std::string& file : files)
    there.insert(keyOf(parentFolder(file), fileName(withoutExtension(file))));
  std::erase_if(files, [&there](const std::string& file) {
    for (const std::string& original : originalsOf(file))
      if (there.contains(original))
        return true;
    return false;
  });
}

}  // namespace tessarin
