#include "movie/aviPictures.h"

#include <string_view>

#include "movie/FileBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

// AVI counts from the other end.
std::uint64_t littleNumber(FileBytes& bytes, std::uint64_t position) {
  std::uint64_t number = 0;
  for (unsigned byte = 4; byte-- > 0;)
    number = number << 8 | bytes.number(position + byte, 1);
  return number;
}

struct Chunk {
  std::uint64_t begin = 0;  // of its content
  std::uint64_t size = 0;
};

std::optional<Chunk> findIndex(FileBytes& bytes) {
  constexpr std::uint64_t firstChunk = 12;
  constexpr int mostChunks = 10000;
  std::uint64_t position = firstChunk;
  for (int chunk = 0; chunk < mostChunks && bytes.size() - position >= 8; ++chunk) {
    const Chunk found{position + 8, littleNumber(bytes, position + 4)};
    if (found.size > bytes.size() - found.begin)
      return std::nullopt;
    if (bytes.letters(position) == "idx1")
      return found;
    position = found.begin + found.size + found.size % 2;
    if (position > bytes.size())
      return std::nullopt;
  }
  return std::nullopt;
}

// "00dc", "01db": the number of the stream, and that it is one of pictures.
bool isOfPictures(std::string_view name) {
  const std::string_view kind = name.substr(name.size() < 2 ? name.size() : 2);
  return kind == "dc" || kind == "db";
}

}  // namespace

std::optional<std::uint64_t> aviPictures(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  constexpr std::int64_t leastBytes = 64;
  if (!facts || facts->state.size < leastBytes)
    return std::nullopt;
  FileBytes bytes(file.number(), static_cast<std::uint64_t>(facts->state.size));
  if (bytes.letters(0) != "RIFF" || bytes.letters(8) != "AVI ")
    return std::nullopt;
  const auto index = findIndex(bytes);
  if (!index)
    return std::nullopt;
  constexpr std::uint64_t entrySize = 16;  // name, flags, place and size
  std::string stream;                      // the first one with pictures
  std::uint64_t count = 0;
  for (std::uint64_t entry = 0; entry + entrySize <= index->size; entry += entrySize) {
    const std::string name = bytes.letters(index->begin + entry);
    if (!isOfPictures(name) || littleNumber(bytes, index->begin + entry + 12) == 0)
      continue;
    if (stream.empty())
      stream = name.substr(0, 2);
    count += name.substr(0, 2) == stream ? 1 : 0;
  }
  return bytes.failure().empty() && count > 0 ? std::optional(count) : std::nullopt;
}

}  // namespace tessarin
