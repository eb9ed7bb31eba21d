#include "tools/gettimestamps/takeList.h"

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/sideXml.h"

namespace tessarin {

namespace {

// "00:00:10:05" of "smpte-25=00:00:10:05".
std::string codeInWords(const pugi::xml_attribute& attribute) {
  const std::string_view text = attribute.value();
  return std::string(textAfter(text, "=").value_or(text));
}

}  // namespace

std::vector<TakePart> partsOfTake(const std::string& clip) {
  constexpr std::size_t mostParts = 99;
  const std::string folder = parentFolder(clip);
  const std::string name = fileName(folder);
  const std::string take = name.substr(0, name.rfind('_'));
  const std::string card = parentFolder(parentFolder(folder));
  const SideXml document =
      SideXml::ofFile(joinPath(joinPath(joinPath(card, "TAKR"), take), take + ".SMI"));
  std::vector<TakePart> parts;
  for (const auto& found : nodeAt(document.root("smil"), {"body"})
                               .select_nodes(".//*[local-name()='ref'][@clipBegin or @clipEnd]"))
    if (parts.size() < mostParts)
      parts.push_back({codeInWords(found.node().attribute("clipBegin")),
                       codeInWords(found.node().attribute("clipEnd"))});
  return parts;
}

}  // namespace tessarin
