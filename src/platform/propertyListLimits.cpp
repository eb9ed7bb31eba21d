#include "platform/propertyListLimits.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/propertyList.h"

namespace tessarin {

namespace {

// What one value costs beside its own bytes, roughly, once it is in memory.
constexpr std::uint64_t bytesPerValue = 200;

std::string tooDeep() {
  return fmt::format("is a property list nested more than {} deep", propertyListMaxDepth);
}

// Walks a binary list from its top object:
//   "bplist00", objects, offset table, trailer of 32 bytes
//   trailer: 6 unused, size of an offset, size of a reference, then as 64-bit numbers the count of
//   objects, the top object and the place of the offset table; all numbers big-endian
//   object: a byte of kind (upper half) and count (lower half; 15: an integer object follows)
class BinaryWalk {
 public:
  explicit BinaryWalk(std::string_view bytes) : bytes_(bytes) {}

  std::string refusal() {
    constexpr std::size_t trailerSize = 32;
    const std::size_t trailer = bytes_.size() - trailerSize;
    offsetSize_ = number(trailer + 6, 1);
    referenceSize_ = number(trailer + 7, 1);
    count_ = number(trailer + 8, 8);
    offsetTable_ = number(trailer + 24, 8);
    if (count_ > bytes_.size() || offsetSize_ == 0 || referenceSize_ == 0 || offsetSize_ > 8 ||
        referenceSize_ > 8)
      return "is a damaged property list";
    sizes_.resize(count_);
    const std::uint64_t cost = sizeOf(number(trailer + 16, 8), 0).cost;
    if (tooDeep_)
      return tooDeep();
    if (holdsZero_)
      return "is a property list with a zero byte in a text";
    if (cost > propertyListMaxMemory)
      return fmt::format("is a property list of more than {} MB once unfolded",
                         propertyListMaxMemory >> 20);
    return {};
  }

 private:
  // What an object and everything below it take.
  struct Size {
    std::uint64_t cost = 0;  // bytes of memory
    int height = 0;          // levels, the object's own among them
  };

  // 0 where the number would leave the file; the parser finds that fault again.
  std::uint64_t number(std::uint64_t offset, std::uint64_t size) const {
    if (size > bytes_.size() || offset > bytes_.size() - size)
      return 0;
    std::uint64_t result = 0;
    for (const char byte : bytes_.substr(offset, size))
      result = (result << 8) | static_cast<unsigned char>(byte);
    return result;
  }

  // Kept per object, so that a list of lists that all refer to the next one twice is seen through
  // in one pass. An object met again deeper may still reach below the limit: hence the height.
  Size sizeOf(std::uint64_t object, int depth) {
    if (object >= count_ || tooDeep_)
      return {};
    const int known = sizes_[object] ? sizes_[object]->height : 1;
    if (depth + known > propertyListMaxDepth) {
      tooDeep_ = true;
      return {};
    }
    if (!sizes_[object]) {
      const Size size = measured(number(offsetTable_ + object * offsetSize_, offsetSize_), depth);
      sizes_[object] = size;
    }
    return *sizes_[object];
  }

  Size measured(std::uint64_t offset, int depth) {
    const std::uint64_t marker = number(offset, 1);
    const std::uint64_t kind = marker >> 4;
    std::uint64_t count = marker & 15;
    std::uint64_t content = offset + 1;
    if (count == 15) {
      const std::uint64_t sizeOfCount = std::uint64_t{1} << (number(content, 1) & 3);
      count = number(content + 1, sizeOfCount);
      content += 1 + sizeOfCount;
    }
    count = std::min<std::uint64_t>(count, bytes_.size());
    switch (kind) {
      case 0xA:
      case 0xC:
        return sizeOfContainer(content, count, depth);
      case 0xD:
        return sizeOfContainer(content, 2 * count, depth);
      case 0x4:
        return {bytesPerValue + count, 1};
      case 0x5:
        holdsZero_ |= hasZero(content, count, 1);
        return {bytesPerValue + count, 1};
      case 0x6:  // UTF-16 units become up to three bytes of UTF-8
        holdsZero_ |= hasZero(content, count, 2);
        return {bytesPerValue + 3 * count, 1};
      default:
        return {bytesPerValue, 1};
    }
  }

  // Whether one of the characters, of `size` bytes each, is zero. Such a text is cut by every
  // reader in C, and as a key it ends the library with a failed assertion.
  bool hasZero(std::uint64_t place, std::uint64_t count, std::uint64_t size) const {
    for (std::uint64_t index = 0; index < count && place < bytes_.size(); ++index, place += size)
      if (number(place, size) == 0)
        return true;
    return false;
  }

  Size sizeOfContainer(std::uint64_t references, std::uint64_t count, int depth) {
    std::uint64_t sum = 0;
    int height = 0;
    for (std::uint64_t index = 0; index < count && sum <= propertyListMaxMemory; ++index) {
      const std::uint64_t place = references + index * referenceSize_;
      if (place >= bytes_.size())
        break;
      const Size item = sizeOf(number(place, referenceSize_), depth + 1);
      sum += item.cost;
      height = std::max(height, item.height);
    }
    return {bytesPerValue + std::min<std::uint64_t>(sum, propertyListMaxMemory + 1), height + 1};
  }

  std::string_view bytes_;
  std::uint64_t offsetSize_ = 0;
  std::uint64_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t offsetTable_ = 0;
  bool tooDeep_ = false;
  bool holdsZero_ = false;
  std::vector<std::optional<Size>> sizes_;
};

// The text behind a piece of XML that holds no elements, "" when this is none.
std::string_view endOfMarkup(std::string_view text) {
  if (text.substr(0, 4) == "<!--")
    return "-->";
  if (text.substr(0, 9) == "<![CDATA[")
    return "]]>";
  if (text.substr(0, 2) == "<?")
    return "?>";
  return {};
}

bool isXmlTooDeep(std::string_view text) {
  int depth = 0;
  std::size_t end = 0;  // of the element; searched again only when it has been passed
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    const std::string_view element = text.substr(at);
    if (const std::string_view mark = endOfMarkup(element); !mark.empty()) {
      at = text.find(mark, at + 2);
      if (at == std::string_view::npos)
        return false;  // nothing of it is parsed either
      continue;
    }
    ++at;
    if (end < at)
      end = text.find('>', at);
    if (end == std::string_view::npos)
      return false;
    const bool opens = element.substr(1, 5) == "array" || element.substr(1, 4) == "dict";
    const bool closes = element.substr(1, 6) == "/array" || element.substr(1, 5) == "/dict";
    const bool empty = text[end - 1] == '/';
    if (opens && !empty && ++depth > propertyListMaxDepth)
      return true;
    if (closes)
      --depth;
  }
  return false;
}

}  // namespace

std::string propertyListRefusal(std::string_view bytes) {
  constexpr std::string_view binaryMark = "bplist";
  constexpr std::size_t leastBinary = 40;  // mark, version and trailer
  if (bytes.empty())
    return "is empty";
  if (bytes.size() > propertyListMaxBytes)
    return fmt::format("is larger than {} MB", propertyListMaxBytes >> 20);
  if (bytes.substr(0, binaryMark.size()) == binaryMark)
    return bytes.size() < leastBinary ? "is a damaged property list" : BinaryWalk(bytes).refusal();
  return isXmlTooDeep(bytes) ? tooDeep() : "";
}

}  // namespace tessarin
