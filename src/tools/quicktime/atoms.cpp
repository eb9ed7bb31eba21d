#include "tools/quicktime/atoms.h"

namespace tessarin::quicktime {

void AtomWriter::put(std::uint64_t number, int count) {
  for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
    bytes_.push_back(static_cast<std::uint8_t>(number >> shift));
}

void AtomWriter::putCountedText(std::string_view text, std::size_t width) {
  text = text.substr(0, width - 1);
  put8(text.size());
  putText(text);
  putZeros(width - 1 - text.size());
}

AtomWriter::Atom::Atom(AtomWriter& writer, std::string_view type)
    : writer_(writer), start_(writer.bytes_.size()) {
  writer.put32(0);
  writer.putText(type);
}

AtomWriter::Atom::Atom(AtomWriter& writer, std::string_view type, std::uint32_t versionAndFlags)
    : Atom(writer, type) {
  writer.put32(versionAndFlags);
}

AtomWriter::Atom::~Atom() {
  const std::size_t length = writer_.bytes_.size() - start_;
  for (std::size_t i = 0; i < 4; ++i)
    writer_.bytes_[start_ + i] = static_cast<std::uint8_t>(length >> (24 - 8 * i));
}

}  // namespace tessarin::quicktime
