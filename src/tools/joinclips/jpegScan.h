// Reads the coded data of a picture of JPEG (ITU-T T.81) without making the picture: damaged data
// ends before the last block, or behind it, or has codes that there are not. Decoders mostly find
// their way back into it, and show the rest in wrong places without a word.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace tessarin::joining {

// A table of Huffman: codes of up to 16 bits, and what they stand for.
class JpegCodes {
 public:
  // How many there are of each length, and the symbols.
  JpegCodes() = default;
  JpegCodes(std::string_view counts, std::string_view symbols);

  struct Symbol {
    unsigned length = 0;  // of its code; 0: there is none
    std::uint8_t value = 0;
  };
  // The one whose code begins these 16 bits.
  Symbol find(unsigned bits) const {
    const Symbol& symbol = short_[bits >> (longest - shortLength)];
    return symbol.length > 0 ? symbol : findLong(bits);
  }

 private:
  static constexpr unsigned longest = 16;
  static constexpr unsigned shortLength = 9;
  Symbol findLong(unsigned bits) const;

  std::array<Symbol, 1U << shortLength> short_{};
  // Of each length: behind its last code, and what to add to a code for the place of its symbol,
  // modulo 2^32.
  std::array<std::uint32_t, longest + 1> end_{};
  std::array<std::uint32_t, longest + 1> offset_{};
  std::array<std::uint8_t, 256> symbols_{};
};

// Takes the segments of a picture in order, each without its mark and length.
class JpegScanReader {
 public:
  // Segments DHT, DRI and SOF with the kind of the latter's mark.
  void takeCodes(std::string_view segment);
  void takeInterval(std::string_view segment);
  void takeFrame(std::uint8_t kind, std::string_view segment);
  // Whether the data behind a segment SOS has each block of the scan and no more. Bytes that fill
  // the place before the next mark are no more. True where it cannot be said: of progressive
  // pictures and the like.
  bool isWhole(std::string_view segment, std::string_view data) const;

 private:
  struct Component {
    std::uint8_t name = 0;
    unsigned across = 1;  // blocks of a unit
    unsigned down = 1;
  };
  bool isReadable_ = false;
  unsigned width_ = 0;
  unsigned height_ = 0;
  std::uint64_t interval_ = 0;  // units until a restart; 0: none
  std::vector<Component> components_;
  using Codes = std::array<std::array<std::shared_ptr<const JpegCodes>, 4>, 2>;  // of DC and of AC
  static Codes codesIn(std::string_view segment, Codes before);
  static const Codes& usualCodes();
  Codes codes_ = usualCodes();
};

}  // namespace tessarin::joining
