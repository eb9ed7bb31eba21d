#include "jobs/convertedRecord.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "platform/Descriptor.h"
#include "platform/openFiles.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// The first line is this and the version.
constexpr std::string_view headBegin = "tessarin converted clips ";
constexpr int recordVersion = 1;
constexpr std::size_t largestRecord = ConvertedRecord::mostClips * 64;

constexpr std::uint64_t markedBytes = 65536;  // at either end of a file
// Cameras write headers and indices of one form to both ends; between them there are pictures.
constexpr std::uint64_t markedBlocks = 32;
constexpr std::uint64_t blockBytes = 4096;

// The 64-bit checksum of Fowler, Noll and Vo (1a).
class Checksum {
 public:
  void take(std::string_view bytes) {
    constexpr std::uint64_t prime = 0x100000001B3;
    for (const char byte : bytes)
      sum_ = (sum_ ^ static_cast<std::uint8_t>(byte)) * prime;
  }
  std::uint64_t sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xCBF29CE484222325;
};

// As many bytes from there on; fewer where the file ends or cannot be read.
std::string bytesAt(const Descriptor& file, std::uint64_t position, std::uint64_t count) {
  std::string bytes(count, '\0');
  std::size_t have = 0;
  while (moveTo(file.number(), position + have) && have < bytes.size()) {
    const auto read = readSome(file.number(), bytes.data() + have, bytes.size() - have);
    if (read <= 0)
      break;
    have += static_cast<std::size_t>(read);
  }
  bytes.resize(have);
  return bytes;
}

// Takes so many bytes in; false where the file ends before or cannot be read.
bool takeBytes(const Descriptor& file, std::uint64_t position, std::uint64_t count, Checksum& sum) {
  const std::string bytes = bytesAt(file, position, count);
  sum.take(bytes);
  return bytes.size() == count;
}

// Takes both ends of so many bytes in, and blocks in equal distances between them.
bool takeContent(const Descriptor& file, std::uint64_t begin, std::uint64_t size, Checksum& sum) {
  const std::uint64_t part = std::min(size, markedBytes);
  if (!takeBytes(file, begin, part, sum) || !takeBytes(file, begin + size - part, part, sum))
    return false;
  if (size <= 2 * markedBytes)
    return true;
  for (std::uint64_t block = 1; block <= markedBlocks; ++block)
    if (!takeBytes(file, begin + (size - blockBytes) / (markedBlocks + 1) * block, blockBytes, sum))
      return false;
  return true;
}

// Takes the file in; its size, or nothing where it cannot be read.
std::optional<std::uint64_t> takeFile(const std::string& path, Checksum& sum) {
  const auto facts = fileFacts(fileOfSource(path));
  const auto state = sourceState(path);
  if (!facts || !state || facts->kind != FileFacts::Kind::file)
    return std::nullopt;
  const Descriptor file = openFile(fileOfSource(path), OpenFor::reading);
  if (!file.isOpen())
    return std::nullopt;
  const auto section = sectionOf(path);
  const auto size = static_cast<std::uint64_t>(state->size);
  // Cards are copied between systems that do not all keep capitals.
  sum.take(lowerCase(fileName(path)));
  sum.take(fmt::format("\n{}\n", size));
  return takeContent(file, section ? section->begin : 0, size, sum) ? std::optional(size)
                                                                    : std::nullopt;
}

template <class Number>
bool takeNumber(std::string_view& line, int base, Number& number) {
  const auto [behind, error] =
      std::from_chars(line.data(), line.data() + line.size(), number, base);
  line.remove_prefix(static_cast<std::size_t>(behind - line.data()));
  return error == std::errc();
}

// What is left of a line that was cut must not be taken for another clip.
std::optional<ClipMark> markOfLine(std::string_view line) {
  constexpr std::size_t digitsOfSum = 16;
  ClipMark mark;
  if (!takeNumber(line, 10, mark.bytes) || !startsWith(line, " "))
    return std::nullopt;
  line.remove_prefix(1);
  if (line.size() != digitsOfSum || !takeNumber(line, 16, mark.sum) || !line.empty())
    return std::nullopt;
  return mark;
}

// Of the record that begins with this line.
ConvertedRecord::State stateOfHead(std::string_view line) {
  using State = ConvertedRecord::State;
  int version = 0;
  if (!startsWith(line, headBegin))
    return State::damaged;
  line.remove_prefix(headBegin.size());
  if (!takeNumber(line, 10, version) || !line.empty() || version < recordVersion)
    return State::damaged;
  return version > recordVersion ? State::newer : State::good;
}

ConvertedRecord::Content contentOf(std::string_view text) {
  using State = ConvertedRecord::State;
  const std::string_view head = textUpTo(text, "\n");
  ConvertedRecord::Content content;
  content.state = stateOfHead(head);
  if (content.state == State::newer)
    return content;
  const bool isWhole = content.state == State::good && endsWith(text, "\n");
  if (content.state == State::good)
    text.remove_prefix(std::min(text.size(), head.size() + 1));
  if (!isWhole)
    content.state = State::damaged;
  for (const std::string_view line : splitLines(text)) {
    if (const auto mark = markOfLine(line))
      content.marks.push_back(*mark);
    else
      content.state = State::damaged;
  }
  return content;
}

std::string textOfRecord(const std::vector<ClipMark>& marks) {
  std::string text = fmt::format("{}{}\n", headBegin, recordVersion);
  const std::size_t begin = marks.size() - std::min(marks.size(), ConvertedRecord::mostClips);
  for (std::size_t mark = begin; mark < marks.size(); ++mark)
    text += fmt::format("{} {:016x}\n", marks[mark].bytes, marks[mark].sum);
  return text;
}

}  // namespace

std::optional<std::uint64_t> bytesOfClip(const std::vector<std::string>& files) {
  std::uint64_t bytes = 0;
  for (const std::string& file : files) {
    const auto state = sourceState(file);
    if (!state)
      return std::nullopt;
    bytes += static_cast<std::uint64_t>(state->size);
  }
  return bytes;
}

std::optional<ClipMark> markOfClip(const std::vector<std::string>& files) {
  ClipMark mark;
  Checksum sum;
  for (const std::string& file : files) {
    const auto size = takeFile(file, sum);
    if (!size)
      return std::nullopt;
    mark.bytes += *size;
  }
  mark.sum = sum.sum();
  return mark;
}

std::optional<ClipMark> markOfSameClip(const std::vector<ClipFile>& files) {
  const auto areSame = [&files] {
    return std::all_of(files.begin(), files.end(), [](const ClipFile& file) {
      return file.state && sourceState(file.path) == file.state;
    });
  };
  std::vector<std::string> paths;
  paths.reserve(files.size());
  for (const ClipFile& file : files)
    paths.push_back(file.path);
  if (!areSame())
    return std::nullopt;
  auto mark = markOfClip(paths);
  return areSame() ? mark : std::nullopt;
}

std::string ConvertedRecord::userPath() {
  return joinPath(userFolder(UserFolder::state), "converted");
}

ConvertedRecord::Content ConvertedRecord::read() const {
  if (!isNameTaken(path_))
    return {};
  const auto text = readWholeFile(path_, largestRecord);
  return text ? contentOf(*text) : Content{State::unreadable};
}

Outcome<void> ConvertedRecord::clear() const {
  if (isNameTaken(path_) && !removeFile(path_))
    return Failure{systemReason(errno)};
  return {};
}

Outcome<void> ConvertedRecord::add(const ClipMark& mark) const {
  mkdir(parentFolder(path_));
  const Descriptor lock = openFile(path_ + ".lock", OpenFor::locking);
  if (!lock.isOpen() || !lockFile(lock.number(), Lock::alone))
    return Failure{path_ + ": " + systemReason(errno)};
  auto [state, marks] = read();
  if (state == State::newer || state == State::unreadable)
    return Failure{path_ + ": it cannot be read, or is of a newer version"};
  if (state == State::damaged)
    TESSARIN_TRY(keepDamaged());
  if (std::find(marks.begin(), marks.end(), mark) == marks.end())
    marks.push_back(mark);
  else if (state == State::good)
    return {};
  return writeFileAtomically(path_, textOfRecord(marks));
}

// A copy: the record itself stays until there is another one.
Outcome<void> ConvertedRecord::keepDamaged() const {
  TESSARIN_TAKE(const std::string text, readWholeFile(path_, largestRecord));
  return writeFileAtomically(path_ + ".damaged", text, FolderSync::later);
}

}  // namespace tessarin
