#include "tools/joinclips/DvMender.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/fileFacts.h"
#include "tools/gettimestamps/dvFrame.h"
#include "tools/joinclips/dvBlocks.h"

namespace tessarin::joining {

namespace {

// More than two frames of the largest kind, and the head of a third.
constexpr std::size_t inSight = 2U << 20;

// How the formats begin that may hold DV, at byte 0 or 4.
bool isOfOtherFormat(std::string_view begin) {
  using namespace std::string_view_literals;
  constexpr std::array starts{"RIFF"sv, "\x1A\x45\xDF\xA3"sv, "\x06\x0E\x2B\x34"sv, "\0\0\1\xBA"sv};
  constexpr std::array types{"ftyp"sv, "moov"sv, "mdat"sv, "wide"sv, "free"sv, "skip"sv, "pnot"sv};
  const auto hasOneAt = [begin](std::size_t place) {
    return [rest = begin.substr(std::min(place, begin.size()))](std::string_view mark) {
      return rest.starts_with(mark);
    };
  };
  return std::any_of(starts.begin(), starts.end(), hasOneAt(0)) ||
         std::any_of(types.begin(), types.end(), hasOneAt(4));
}

// Whether the first sequence that begins in these bytes is one of 625 lines: a block that is a
// head, and one of subcode behind it.
std::optional<bool> is625InSequence(std::string_view bytes) {
  constexpr std::size_t block = dv::blockLength;
  for (std::size_t at = bytes.find('\x1F');
       at != std::string_view::npos && at + 2 * block <= bytes.size();
       at = bytes.find('\x1F', at + 1))
    if ((bytes[at + 1] & 3) == 3 && bytes[at + 2] == 0 && (bytes[at + 3] & 0x7F) == 0x3F &&
        (bytes[at + block] & 0xE0) == 0x20 && bytes[at + block + 1] == bytes[at + 1] &&
        bytes[at + block + 2] == 0)
      return (bytes[at + 3] & 0x80) != 0;
  return std::nullopt;
}

}  // namespace

std::optional<bool> is625InRawDv(const std::string& path) {
  const SourceBytes source = openSource(path, OpenFor::reading);
  const auto facts = source.file.isOpen() ? fileFacts(source.file.number()) : std::nullopt;
  const auto state = sourceState(path);
  if (!facts || !state || facts->kind != FileFacts::Kind::file || state->size <= 0)
    return std::nullopt;
  constexpr std::uint64_t places = 64;
  std::string bytes(dv::sequenceLength + 2 * dv::blockLength, '\0');
  std::uint64_t of625 = 0;
  std::uint64_t of525 = 0;
  for (std::uint64_t place = 0; place < places; ++place) {
    const auto at = source.begin + static_cast<std::uint64_t>(state->size) * place / places;
    const std::size_t count = readAt(source.file.number(), bytes.data(), bytes.size(), at);
    const auto seen = std::string_view(bytes).substr(0, count);
    if (place == 0 && isOfOtherFormat(seen))
      return std::nullopt;
    if (const auto is625 = is625InSequence(seen))
      ++(*is625 ? of625 : of525);
  }
  constexpr std::uint64_t least = 2;
  if (of625 + of525 < least)
    return std::nullopt;
  return of625 >= of525;
}

DvMender::DvMender(SourceBytes source, bool is625)
    : window_(std::move(source), inSight), is625_(is625) {}

bool DvMender::isHead(std::string_view bytes) const {
  return dv::beginsFrame(bytes) && dv::has625Lines(bytes) == is625_;
}

std::optional<std::size_t> DvMender::headIn(std::string_view bytes, std::size_t begin,
                                            std::size_t end) const {
  constexpr std::string_view head("\x1F\x07\x00", 3);
  for (std::size_t at = bytes.find(head, begin); at < end; at = bytes.find(head, at + 1))
    if (isHead(bytes.substr(at)))
      return at;
  return std::nullopt;
}

DvMender::Frame DvMender::damagedFrame(std::string_view frame) {
  mended_ = dv::mendedFrame(frame, last_);
  isTorn_ = true;
  return {mended_, false, isHead(frame)};
}

// Passes what is before the first whole frame; false where more has to be seen.
bool DvMender::findFirst() {
  const std::string_view left = window_.left();
  for (std::size_t begin = 0;;) {
    const auto at = headIn(left, begin, left.size());
    const std::size_t length = at ? dv::wholeFrameLength(left.substr(*at)) : 0;
    const bool isSeen = at && (left.size() - *at >= length + dv::blockLength || window_.isOver());
    if (at && isSeen) {
      const std::string_view frame = left.substr(*at, length);
      begin = *at + 1;
      if (frame.size() < length || dv::misplacedBlocks(frame, is625_) > 0)
        continue;
      length_ = length;
      before_ += *at;
      untold_ += static_cast<std::uint64_t>(
          std::ceil(static_cast<double>(before_) / static_cast<double>(length_)));
      window_.pass(*at);
      return true;
    }
    constexpr std::size_t head = 6 * dv::blockLength;
    const std::size_t passed =
        at ? *at : left.size() - (window_.isOver() ? 0 : std::min(head, left.size()));
    before_ += passed;
    window_.pass(passed);
    return false;
  }
}

// Less than a frame is left.
DvMender::Frame DvMender::atEnd(std::string_view rest) {
  const bool isLost = isTorn_ && !isHead(rest);
  window_.pass(rest.size());
  untold_ += std::exchange(empty_, 0);
  if (rest.empty() || isLost)
    return {};
  if (dv::misplacedBlocks(rest, is625_) < rest.size() / dv::blockLength)
    return damagedFrame(rest);
  ++untold_;
  return {};
}

Outcome<DvMender::Frame> DvMender::next() {
  while (true) {
    TESSARIN_TRY(window_.fill());
    if (length_ == 0) {
      if (!findFirst() && window_.isOver() && window_.left().empty())
        return Frame();
      continue;
    }
    const std::string_view left = window_.left();
    if (left.size() < length_)
      return atEnd(left);
    const std::string_view frame = left.substr(0, length_);
    const bool isOfOthers = dv::beginsFrame(frame) && !isHead(frame);
    const std::size_t misplaced =
        isOfOthers ? length_ / dv::blockLength : dv::misplacedBlocks(frame, is625_);
    const bool hasContent = misplaced < length_ / dv::blockLength;
    if (hasContent && empty_ > 0) {
      --empty_;
      mended_ = dv::mendedFrame({}, last_);
      return Frame{mended_, false, false};
    }
    if (misplaced == 0) {
      isTorn_ = false;
      last_ = frame;
      window_.pass(length_);
      return Frame{last_, true, true};
    }
    // One whose end is missing, or what is left of others before the next one.
    const bool isInStep = left.size() == length_ || isHead(left.substr(length_));
    const auto following = isInStep ? std::nullopt : headIn(left, 1, length_);
    const std::size_t used = following.value_or(length_);
    if (used * 2 < length_ && !isHead(frame)) {
      untold_ += isTorn_ ? 0 : 1;
      window_.pass(used);
      continue;
    }
    if (!hasContent) {
      ++empty_;
      isTorn_ = true;
      window_.pass(used);
      continue;
    }
    const Frame mended = damagedFrame(frame.substr(0, used));
    window_.pass(used);
    return mended;
  }
}

}  // namespace tessarin::joining
