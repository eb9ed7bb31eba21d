// Bytes of a QuickTime file: big-endian numbers, and atoms, which are a length, four letters and
// their content.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tessarin::quicktime {

class AtomWriter {
 public:
  void put8(std::uint64_t number) { put(number, 1); }
  void put16(std::uint64_t number) { put(number, 2); }
  void put32(std::uint64_t number) { put(number, 4); }
  void put64(std::uint64_t number) { put(number, 8); }
  void putZeros(std::size_t count) { bytes_.insert(bytes_.end(), count, 0); }
  // As it is; four letters for a type.
  void putText(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
  // A length byte, the text, and zeros up to `width` bytes in all.
  void putCountedText(std::string_view text, std::size_t width);

  // Opens an atom; what is written until the end of its life is its content.
  class Atom {
   public:
    Atom(AtomWriter& writer, std::string_view type);
    // With the version and flags that most atoms begin with.
    Atom(AtomWriter& writer, std::string_view type, std::uint32_t versionAndFlags);
    ~Atom();
    Atom(const Atom&) = delete;
    Atom& operator=(const Atom&) = delete;

   private:
    AtomWriter& writer_;
    std::size_t start_;
  };

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  void put(std::uint64_t number, int count);

  std::vector<std::uint8_t> bytes_;
};

}  // namespace tessarin::quicktime
