#include "tools/gettimestamps/sideXml.h"

#include <algorithm>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::size_t largestSideXml = 4 << 20;

bool hasLocalName(const pugi::xml_node& node, std::string_view name) {
  const std::string_view whole = node.name();
  return node.type() == pugi::node_element && whole.substr(whole.rfind(':') + 1) == name;
}

}  // namespace

SideXml::SideXml(std::string_view text) {
  if (text.size() > largestSideXml || !document_.load_buffer(text.data(), text.size()))
    document_.reset();
}

SideXml SideXml::ofFile(const std::string& path) {
  std::error_code failed;
  if (std::filesystem::symlink_status(path, failed).type() != std::filesystem::file_type::regular)
    return {};
  const auto text = readFileStart(path, largestSideXml + 1);
  return SideXml(text ? std::string_view(*text) : std::string_view());
}

pugi::xml_node SideXml::root(std::string_view name) const {
  return nodeAt(document_.root(), {name});
}

pugi::xml_node nodeAt(pugi::xml_node from, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names)
    from = from.find_child([name](const auto& node) { return hasLocalName(node, name); });
  return from;
}

std::size_t countOf(pugi::xml_node parent, std::string_view name) {
  const auto children = parent.children();
  return static_cast<std::size_t>(
      std::count_if(children.begin(), children.end(),
                    [name](const auto& node) { return hasLocalName(node, name); }));
}

std::string textAt(pugi::xml_node from, std::initializer_list<std::string_view> names) {
  return std::string(trimmed(nodeAt(from, names).text().get()));
}

}  // namespace tessarin
