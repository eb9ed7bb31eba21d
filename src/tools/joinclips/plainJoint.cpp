#include "tools/joinclips/plainJoint.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "classShared/descriptorBytes.h"
#include "tools/joinclips/DvMender.h"
#include "tools/joinclips/SourceBytes.h"

namespace tessarin::joining {

bool isPlainlyJoined(const std::string& path) {
  using namespace std::string_view_literals;
  const SourceBytes source = openSource(path, OpenFor::reading);
  std::array<char, 4> head{};
  if (!source.file.isOpen() ||
      readAt(source.file.number(), head.data(), head.size(), source.begin) < head.size())
    return false;
  const std::string_view begin(head.data(), head.size());
  return begin == "\0\0\1\xBA"sv || begin.starts_with("\x1F\x07\0"sv);
}

namespace {

// What is written, and whether anyone wants more.
class PlainOutput {
 public:
  Outcome<bool> add(std::string_view bytes) {
    if (!isClosed_ && !writeAll(standardOutput, bytes)) {
      isClosed_ = errno == EPIPE;  // who reads it has enough
      if (!isClosed_)
        return Failure{"the stream cannot be written: " + systemReason(errno)};
    }
    return !isClosed_;
  }
  bool isClosed() const { return isClosed_; }

 private:
  bool isClosed_ = false;
};

// Hands the file on in pieces; how long it is.
Outcome<std::uint64_t> readPlainly(const std::string& path, PlainOutput* output) {
  const SourceBytes source = openSource(path, OpenFor::reading);
  if (!source.file.isOpen())
    return Failure{path + ": " + systemReason(errno)};
  std::string buffer(256U << 10, '\0');
  std::uint64_t done = 0;
  while (output == nullptr || !output->isClosed()) {
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), source.most - done));
    const std::size_t count =
        readAt(source.file.number(), buffer.data(), wanted, source.begin + done);
    if (count < wanted && errno != 0)
      return Failure{path + ": " + systemReason(errno)};
    if (output != nullptr)
      TESSARIN_TRY(output->add(std::string_view(buffer).substr(0, count)));
    done += count;
    if (count < buffer.size())
      break;
  }
  return done;
}

// Whether there were any frames.
Outcome<bool> writeMended(const std::string& path, bool is625, PlainOutput& output) {
  SourceBytes source = openSource(path, OpenFor::streaming);
  if (!source.file.isOpen())
    return Failure{path + ": " + systemReason(errno)};
  DvMender mender(std::move(source), is625);
  for (bool hasFrames = false;; hasFrames = true) {
    const auto frame = mender.next();
    if (!frame)
      return Failure{path + ": " + frame.reason()};
    if (frame->bytes.empty())
      return hasFrames;
    TESSARIN_TAKE(const bool isWanted, output.add(frame->bytes));
    if (!isWanted)
      return true;
  }
}

}  // namespace

Outcome<bool> joinPlainly(const std::vector<std::string>& files, bool isList) {
  PlainOutput output;
  std::uint64_t place = 0;
  for (const std::string& path : files) {
    const auto is625 = isList ? std::nullopt : is625InRawDv(path);
    bool isDone = false;
    if (is625) {
      TESSARIN_TAKE(isDone, writeMended(path, *is625, output));
    }
    if (isDone)
      continue;
    TESSARIN_TAKE(const std::uint64_t bytes, readPlainly(path, isList ? nullptr : &output));
    if (isList)
      fmt::print("byte {}\n", place);
    place += bytes;
  }
  return true;
}

}  // namespace tessarin::joining
