// Reading numbers from bytes that may be damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tessarin {

// A view of big-endian data. Every read is checked: outside of the data there is nothing. The data
// is borrowed.
class ByteReader {
 public:
  explicit ByteReader(std::string_view data) : data_(data) {}

  std::size_t size() const { return data_.size(); }
  std::string_view view() const { return data_; }

  // The unsigned number of 1, 2 or 4 bytes at this offset.
  std::optional<std::uint32_t> number(std::size_t offset, std::size_t width) const {
    if (offset > data_.size() || width > data_.size() - offset)
      return std::nullopt;
    std::uint32_t value = 0;
    for (const char byte : data_.substr(offset, width))
      value = value << 8 | static_cast<std::uint8_t>(byte);
    return value;
  }
  std::optional<std::uint32_t> byte(std::size_t offset) const { return number(offset, 1); }
  std::optional<std::uint32_t> short16(std::size_t offset) const { return number(offset, 2); }
  std::optional<std::uint32_t> long32(std::size_t offset) const { return number(offset, 4); }

  // These bytes; nothing unless all of them are there.
  std::optional<std::string_view> part(std::size_t offset, std::size_t count) const {
    if (offset > data_.size() || count > data_.size() - offset)
      return std::nullopt;
    return data_.substr(offset, count);
  }
  // All from this offset on; empty when there is nothing.
  ByteReader from(std::size_t offset) const {
    return ByteReader(offset < data_.size() ? data_.substr(offset) : std::string_view());
  }

 private:
  std::string_view data_;
};

// The number that up to eight bytes are.
inline std::uint64_t numberOfBytes(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes.substr(0, 8))
    number = number << 8 | static_cast<std::uint8_t>(byte);
  return number;
}

}  // namespace tessarin
