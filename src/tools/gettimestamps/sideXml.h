// XML that cameras put beside clips. Elements are asked for by their names without namespaces,
// which change with the camera. Entities of a document's own are never made, so that none can grow.
#pragma once

#include <initializer_list>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace tessarin {

// A document of which no more than some megabytes are read; a larger one, one that cannot be read
// and one that is no XML are like an empty one.
class SideXml {
 public:
  SideXml() = default;
  explicit SideXml(std::string_view text);
  // Nothing but a regular file is read, and no link: cards have none.
  static SideXml ofFile(const std::string& path);

  // The first element of the document, if it has this name, else an empty node.
  pugi::xml_node root(std::string_view name) const;

 private:
  pugi::xml_document document_;
};

// The first child of this name, and the first child of that one, and so on; an empty node where
// there is none.
pugi::xml_node nodeAt(pugi::xml_node from, std::initializer_list<std::string_view> names);
// How many children have this name.
std::size_t countOf(pugi::xml_node parent, std::string_view name);
// The text in such a node, without blanks around it.
std::string textAt(pugi::xml_node from, std::initializer_list<std::string_view> names);

}  // namespace tessarin
