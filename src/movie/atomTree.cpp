#include "movie/atomTree.h"

#include <algorithm>
#include <array>

namespace tessarin {

namespace {

bool holdsAtoms(std::string_view type) {
  constexpr std::array<std::string_view, 6> types = {"moov", "trak", "edts",
                                                     "mdia", "minf", "stbl"};
  return std::find(types.begin(), types.end(), type) != types.end();
}

std::optional<std::vector<OwnedAtom>> atomsWithin(std::string_view bytes, int depth) {
  constexpr int mostDepth = 8;
  std::vector<OwnedAtom> atoms;
  while (!bytes.empty()) {
    const std::uint64_t size = numberAt(bytes, 0, 4);
    if (bytes.size() < headSize || size < headSize || size > bytes.size() || depth > mostDepth)
      return std::nullopt;
    OwnedAtom atom{std::string(bytes.substr(4, 4)), {}, {}};
    const std::string_view content =
        bytes.substr(headSize, static_cast<std::size_t>(size) - headSize);
    if (holdsAtoms(atom.type)) {
      auto parts = atomsWithin(content, depth + 1);
      if (!parts)
        return std::nullopt;
      atom.parts = std::move(*parts);
    } else {
      atom.content = content;
    }
    atoms.push_back(std::move(atom));
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
  return atoms;
}

}  // namespace

std::uint64_t numberAt(std::string_view bytes, std::size_t place, unsigned size) {
  std::uint64_t number = 0;
  if (place > bytes.size() || bytes.size() - place < size)
    return 0;
  for (unsigned step = 0; step < size; ++step)
    number = number << 8 | static_cast<std::uint8_t>(bytes[place + step]);
  return number;
}

void putNumber(std::string& bytes, std::size_t place, unsigned size, std::uint64_t number) {
  for (unsigned step = 0; step < size && place + step < bytes.size(); ++step)
    bytes[place + step] = static_cast<char>(number >> (8 * (size - 1 - step)));
}

std::string bigEndian(std::uint64_t number, unsigned size) {
  std::string bytes(size, '\0');
  putNumber(bytes, 0, size, number);
  return bytes;
}

OwnedAtom* OwnedAtom::part(std::string_view name) {
  const auto found = std::find_if(parts.begin(), parts.end(),
                                  [name](const OwnedAtom& atom) { return atom.type == name; });
  return found == parts.end() ? nullptr : &*found;
}

const OwnedAtom* OwnedAtom::part(std::string_view name) const {
  return const_cast<OwnedAtom*>(this)->part(name);
}

std::optional<std::vector<OwnedAtom>> atomsOf(std::string_view bytes) {
  return atomsWithin(bytes, 0);
}

std::string bytesOf(const std::vector<OwnedAtom>& atoms) {
  std::string bytes;
  for (const OwnedAtom& atom : atoms)
    bytes += atomBytes(atom.type, holdsAtoms(atom.type) ? bytesOf(atom.parts) : atom.content);
  return bytes;
}

std::string atomBytes(std::string_view type, std::string_view content) {
  return bigEndian(content.size() + headSize, 4).append(type).append(content);
}

}  // namespace tessarin
