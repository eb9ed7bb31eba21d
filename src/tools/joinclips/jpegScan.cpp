#include "tools/joinclips/jpegScan.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace tessarin::joining {

namespace {

constexpr std::size_t codeLengths = 16;

std::uint8_t byteAt(std::string_view bytes, std::size_t place) {
  return place < bytes.size() ? static_cast<std::uint8_t>(bytes[place]) : 0;
}

// Of pictures that bring no tables, those of annex K, each as in a segment DHT.
constexpr std::array<std::string_view, 4> usualTables = {
    "0000010501010101010100000000000000000102030405060708090A0B",
    "100002010303020403050504040000017D01020300041105122131410613516107227114328191A1082342B1C1"
    "1552D1F02433627282090A161718191A25262728292A3435363738393A434445464748494A535455565758595A"
    "636465666768696A737475767778797A838485868788898A92939495969798999AA2A3A4A5A6A7A8A9AAB2B3B4"
    "B5B6B7B8B9BAC2C3C4C5C6C7C8C9CAD2D3D4D5D6D7D8D9DAE1E2E3E4E5E6E7E8E9EAF1F2F3F4F5F6F7F8F9FA",
    "0100030101010101010101010000000000000102030405060708090A0B",
    "1100020102040403040705040400010277000102031104052131061241510761711322328108144291A1B1C109"
    "233352F0156272D10A162434E125F11718191A262728292A35363738393A434445464748494A53545556575859"
    "5A636465666768696A737475767778797A82838485868788898A92939495969798999AA2A3A4A5A6A7A8A9AAB2"
    "B3B4B5B6B7B8B9BAC2C3C4C5C6C7C8C9CAD2D3D4D5D6D7D8D9DAE2E3E4E5E6E7E8E9EAF2F3F4F5F6F7F8F9FA"};

std::string fromDigits(std::string_view digits) {
  const auto value = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'A' + 10; };
  std::string bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
    bytes += static_cast<char>(value(digits[at]) * 16 + value(digits[at + 1]));
  return bytes;
}

// The data of a scan, up to the next mark.
class DataBits {
 public:
  explicit DataBits(std::string_view data) : data_(data) {}

  // Nothing where a code or its bits are none, or the data has ended.
  std::optional<std::uint8_t> next(const JpegCodes& codes) {
    fill();
    const JpegCodes::Symbol symbol = codes.find(static_cast<unsigned>(bits_ >> 48));
    const unsigned following = symbol.value & 0xF;
    if (symbol.length == 0 || symbol.length + following > count_)
      return std::nullopt;
    pass(symbol.length + following);
    return symbol.value;
  }

  // Whether nothing more is before the next mark than what fills the place.
  bool isAtEnd() {
    constexpr int mostFilling = 64;
    pass(count_ % 8);
    for (int filling = 0;; ++filling) {
      fill();
      if (count_ == 0)
        return true;
      const auto byte = static_cast<std::uint8_t>(bits_ >> 56);
      if ((byte != 0 && byte != 0xFF) || filling == mostFilling)
        return false;
      pass(8);
    }
  }

  // Goes behind the mark of the restart with this number, which has to come here.
  bool restart(std::uint64_t number) {
    constexpr std::uint8_t firstRestart = 0xD0;
    while (byteAt(data_, at_) == 0xFF && byteAt(data_, at_ + 1) == 0xFF)
      ++at_;
    if (byteAt(data_, at_) != 0xFF || byteAt(data_, at_ + 1) != firstRestart + number % 8)
      return false;
    at_ += 2;
    return true;
  }

 private:
  // To 49 bits or more, which the longest code and the bits behind it do not need.
  void fill() {
    while (count_ <= 48 && at_ < data_.size()) {
      const std::uint8_t byte = byteAt(data_, at_);
      if (byte == 0xFF && byteAt(data_, at_ + 1) != 0)
        return;
      bits_ |= std::uint64_t{byte} << (56 - count_);
      count_ += 8;
      at_ += byte == 0xFF ? 2 : 1;
    }
  }
  void pass(unsigned count) {
    bits_ <<= count;
    count_ -= count;
  }

  std::string_view data_;
  std::size_t at_ = 0;
  std::uint64_t bits_ = 0;  // the next ones, from the left
  unsigned count_ = 0;
};

struct BlockCodes {
  const JpegCodes* dc = nullptr;
  const JpegCodes* ac = nullptr;
};

bool readBlock(DataBits& bits, const BlockCodes& codes) {
  constexpr unsigned coefficients = 64;
  constexpr unsigned zeroRun = 15;
  if (const auto dc = bits.next(*codes.dc); !dc || *dc > 0xF)
    return false;
  for (unsigned at = 1; at < coefficients; ++at) {
    const auto ac = bits.next(*codes.ac);
    if (!ac)
      return false;
    if (*ac == 0)
      return true;
    const unsigned run = *ac >> 4;
    at += run;
    if (at >= coefficients || ((*ac & 0xF) == 0 && run != zeroRun))
      return false;
  }
  return true;
}

std::uint64_t partsOf(std::uint64_t length, std::uint64_t part) {
  return (length + part - 1) / part;
}

}  // namespace

JpegCodes::JpegCodes(std::string_view counts, std::string_view symbols) {
  const std::size_t known = std::min(symbols.size(), symbols_.size());
  std::transform(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(known),
                 symbols_.begin(), [](char symbol) { return static_cast<std::uint8_t>(symbol); });
  std::uint32_t code = 0;
  std::uint32_t place = 0;
  for (unsigned length = 1; length <= longest; ++length, code <<= 1) {
    offset_[length] = place - code;
    const std::uint32_t most =
        std::min((1U << length) - code, static_cast<std::uint32_t>(known) - place);
    const std::uint32_t count = std::min<std::uint32_t>(byteAt(counts, length - 1), most);
    for (std::uint32_t number = 0; number < count && length <= shortLength; ++number) {
      const unsigned open = shortLength - length;
      std::fill_n(short_.begin() + ((code + number) << open), 1U << open,
                  Symbol{length, symbols_[place + number]});
    }
    code += count;
    place += count;
    end_[length] = code;
  }
}

JpegCodes::Symbol JpegCodes::findLong(unsigned bits) const {
  for (unsigned length = shortLength + 1; length <= longest; ++length)
    if (const std::uint32_t code = bits >> (longest - length); code < end_[length])
      return {length, symbols_[code + offset_[length]]};
  return {};
}

const JpegScanReader::Codes& JpegScanReader::usualCodes() {
  static const Codes codes = [] {
    Codes made;
    for (auto& tables : made)
      tables.fill(std::make_shared<const JpegCodes>());
    for (const std::string_view table : usualTables)
      made = codesIn(fromDigits(table), std::move(made));
    return made;
  }();
  return codes;
}

JpegScanReader::Codes JpegScanReader::codesIn(std::string_view segment, Codes before) {
  while (segment.size() > 1 + codeLengths) {
    const std::uint8_t name = byteAt(segment, 0);
    const std::string_view counts = segment.substr(1, codeLengths);
    std::size_t symbols = 0;
    for (const char count : counts)
      symbols += static_cast<std::uint8_t>(count);
    segment.remove_prefix(1 + codeLengths);
    before.at(name >> 4 & 1).at(name & 3) =
        std::make_shared<const JpegCodes>(counts, segment.substr(0, symbols));
    segment.remove_prefix(std::min(symbols, segment.size()));
  }
  return before;
}

void JpegScanReader::takeCodes(std::string_view segment) {
  codes_ = codesIn(segment, std::move(codes_));
}

void JpegScanReader::takeInterval(std::string_view segment) {
  interval_ = byteAt(segment, 0) * 256U + byteAt(segment, 1);
}

void JpegScanReader::takeFrame(std::uint8_t kind, std::string_view segment) {
  constexpr std::uint8_t longest = 0xC1;  // of those with all bits of a block in one scan
  constexpr std::size_t head = 6;
  height_ = byteAt(segment, 1) * 256U + byteAt(segment, 2);
  width_ = byteAt(segment, 3) * 256U + byteAt(segment, 4);
  components_.clear();
  for (std::size_t at = head; at + 3 <= segment.size(); at += 3) {
    const unsigned blocks = byteAt(segment, at + 1);
    components_.push_back(
        {byteAt(segment, at), std::max(blocks >> 4, 1U), std::max(blocks & 0xF, 1U)});
  }
  isReadable_ = kind <= longest && height_ > 0 && width_ > 0;
}

bool JpegScanReader::isWhole(std::string_view segment, std::string_view data) const {
  if (!isReadable_)
    return true;
  unsigned across = 1;  // of all components
  unsigned down = 1;
  for (const Component& component : components_) {
    across = std::max(across, component.across);
    down = std::max(down, component.down);
  }
  const std::size_t count = byteAt(segment, 0);
  std::vector<BlockCodes> unit;
  std::uint64_t units =
      partsOf(width_, std::uint64_t{8} * across) * partsOf(height_, std::uint64_t{8} * down);
  for (std::size_t number = 0; number < count; ++number) {
    const std::uint8_t name = byteAt(segment, 1 + 2 * number);
    const std::uint8_t tables = byteAt(segment, 2 + 2 * number);
    const auto found =
        std::find_if(components_.begin(), components_.end(),
                     [name](const Component& component) { return component.name == name; });
    if (found == components_.end())
      return false;
    // Alone in its scan it has no blocks beyond the picture.
    if (count == 1)
      units = partsOf(partsOf(std::uint64_t{width_} * found->across, across), 8) *
              partsOf(partsOf(std::uint64_t{height_} * found->down, down), 8);
    unit.insert(unit.end(), count == 1 ? 1 : found->across * found->down,
                {codes_[0].at(tables >> 4 & 3).get(), codes_[1].at(tables & 3).get()});
  }
  if (unit.empty())
    return false;
  DataBits bits(data);
  for (std::uint64_t number = 0; number < units; ++number) {
    if (interval_ > 0 && number > 0 && number % interval_ == 0 &&
        !(bits.isAtEnd() && bits.restart(number / interval_ - 1)))
      return false;
    for (const BlockCodes& codes : unit)
      if (!readBlock(bits, codes))
        return false;
  }
  return bits.isAtEnd();
}

}  // namespace tessarin::joining
