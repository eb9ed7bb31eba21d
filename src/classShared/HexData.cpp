#include "classShared/HexData.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include "classShared/descriptorBytes.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

// How much of a file is searched at once, besides the pattern's length.
constexpr std::size_t pieceSize = 2000000;

unsigned nibble(char character) {
  const unsigned code = static_cast<unsigned char>(character);
  const unsigned upper = code >= 'a' && code <= 'z' ? code - 'a' + 'A' : code;
  return upper < 'A' ? upper - '0' : upper - 'A' + 10;
}

// Storage of this many bytes, or nothing when there is no memory for it.
std::optional<std::string> storage(std::size_t size) {
  try {
    return std::string(size, '\0');
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  } catch (const std::length_error&) {
    return std::nullopt;
  }
}

std::uint64_t replaceFrom(std::size_t start, std::string& data, std::string_view pattern,
                          std::string_view replacement) {
  logLine("replaceData");
  const std::uint64_t offset = offsetOfData(std::string_view(data).substr(start), pattern);
  if (offset == notFound)
    return notFound;
  const std::size_t position = start + offset;
  data.replace(position, std::min(replacement.size(), data.size() - position), replacement);
  return position;
}

}  // namespace

Outcome<std::string> toDataFromHexString(std::string_view text) {
  if (text.size() % 2 != 0)
    return Failure{"String length is odd !"};
  auto bytes = storage(text.size() / 2);
  if (!bytes)
    return Failure{"Out of memory"};
  for (std::size_t index = 0; index < bytes->size(); ++index)
    (*bytes)[index] =
        static_cast<char>((nibble(text[2 * index]) * 16 + nibble(text[2 * index + 1])) & 0xFFU);
  return *std::move(bytes);
}

std::uint64_t offsetOfData(std::string_view data, std::string_view pattern) {
  if (pattern.empty() || pattern.size() > data.size())
    return notFound;
  // The C library's search is linear in time for every pattern and several times quicker than a
  // loop of ours.
  const void* found = ::memmem(data.data(), data.size(), pattern.data(), pattern.size());
  if (found == nullptr)
    return notFound;
  return static_cast<std::uint64_t>(static_cast<const char*>(found) - data.data());
}

std::uint64_t replaceDataWithData(std::string& data, std::string_view pattern,
                                  std::string_view replacement) {
  return replaceFrom(0, data, pattern, replacement);
}

std::uint32_t replaceAllDataWithData(std::string& data, std::string_view pattern,
                                     std::string_view replacement) {
  logLine("replaceAllData");
  std::string written(pattern);  // what stands at the pattern's place afterwards
  written.replace(0, std::min(replacement.size(), written.size()), replacement);
  if (offsetOfData(written, pattern) != notFound) {
    logLine("replaceAllData      :-( the replacement contains the pattern");
    return 0;
  }
  std::uint32_t count = 0;
  std::size_t start = 0;
  for (;;) {
    const std::uint64_t offset = replaceFrom(start, data, pattern, replacement);
    if (offset == notFound)
      return count;
    ++count;
    // Nothing before the replaced bytes has changed, so a new occurrence begins at most one byte
    // less than its length before them.
    start = offset - std::min<std::uint64_t>(offset, pattern.size() - 1);
  }
}

std::uint64_t offsetOfData_NSFileHandle(int descriptor, std::string_view pattern) {
  if (pattern.empty())
    return notFound;
  const std::size_t size = pattern.size() + pieceSize;
  const std::unique_ptr<char[]> piece(new (std::nothrow) char[size]);
  if (!piece)
    return notFound;
  std::uint64_t offset = 0;
  for (;;) {
    const std::size_t count = readAt(descriptor, piece.get(), size, offset);
    const std::uint64_t found = offsetOfData({piece.get(), count}, pattern);
    if (found != notFound)
      return offset + found;
    if (count < size)
      return notFound;
    // The pieces overlap, so that a pattern across their border is found.
    offset += count - (pattern.size() - 1);
  }
}

}  // namespace tessarin
