#include "tools/joinclips/dvLoss.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "tools/gettimestamps/dvFrame.h"
#include "tools/joinclips/ByteWindow.h"
#include "tools/joinclips/DvMender.h"
#include "tools/joinclips/dvBlocks.h"

namespace tessarin::joining {

namespace {

using dv::blockLength;

// Seconds that may be missing in the middle of a recording.
constexpr double longestLeap = 60;

bool isEmpty(std::string_view block) {
  return block.front() == 0 && block.find_first_not_of('\0') == std::string_view::npos;
}

// Of a sequence the first six blocks tell about it; then comes a block of sound before fifteen of
// the picture, nine times.
bool lacksBlocks(std::string_view frame) {
  constexpr std::size_t blocks = 150;
  constexpr std::size_t heads = 6;
  constexpr std::size_t group = 16;
  for (std::size_t block = 0; (block + 1) * blockLength <= frame.size(); ++block) {
    const std::size_t place = block % blocks;
    const bool isOfPicture = place > heads && (place - heads) % group != 0;
    if (isOfPicture && isEmpty(frame.substr(block * blockLength, blockLength)))
      return true;
  }
  return false;
}

// The frames of a file that has something else between them, or not all of whose blocks say what
// they are; one by one.
class FrameReader {
 public:
  explicit FrameReader(SourceBytes source) : window_(std::move(source), enough) {}

  // "" at the end. The frame is valid until the next call.
  Outcome<std::string_view> next() {
    while (true) {
      TESSARIN_TRY(window_.fill());
      const std::string_view left = window_.left();
      if (length_ == 0)
        isAlone_ = dv::beginsFrame(left);
      // Whoever reads DV alone counts bytes: what lies in the place of a frame is one.
      const std::size_t start = isAlone_ && length_ > 0 ? 0 : findFrame();
      const std::string_view found = left.substr(std::min(start, left.size()));
      if (start != std::string::npos && found.size() >= length_) {
        window_.pass(start + length_);
        return found.substr(0, length_);
      }
      if (window_.isOver())
        return std::string_view();
      constexpr std::size_t head = 6 * blockLength;
      window_.pass(start != std::string::npos ? start : left.size() - std::min(head, left.size()));
    }
  }

 private:
  // More than two frames of the largest kind.
  static constexpr std::size_t enough = 2U << 20;

  std::size_t findFrame() {
    constexpr std::string_view head("\x1F\x07\x00", 3);
    const std::string_view left = window_.left();
    for (std::size_t start = left.find(head); start != std::string::npos;
         start = left.find(head, start + 1))
      if (const auto rest = left.substr(start); dv::beginsFrame(rest)) {
        if (length_ == 0)
          length_ = dv::wholeFrameLength(rest);
        return start;
      }
    return std::string::npos;
  }

  ByteWindow window_;
  std::size_t length_ = 0;  // of a frame; 0: not known yet
  bool isAlone_ = false;    // the file has nothing but frames
};

}  // namespace

void DvLoss::add(std::string_view frame) {
  ++frames_;
  const bool hasHead = dv::beginsFrame(frame);
  if (!hasHead || lacksBlocks(frame))
    ++damaged_;
  else if (dv::misplacedBlocks(frame, dv::has625Lines(frame)) > 0)
    ++misplaced_;
  if (hasHead)
    addNumber(frame);
  else
    addCount(std::nullopt, false);
}

void DvLoss::addMended(std::string_view frame, bool hasOwnHead) {
  ++frames_;
  ++damaged_;
  isTorn_ = true;
  if (hasOwnHead)
    addNumber(frame);
  else
    ++unnumbered_;
}

void DvLoss::addNumber(std::string_view frame) {
  const bool is625 = dv::has625Lines(frame);
  ofNumber_ = dv::has720Lines(frame) ? 2 : 1;
  step_ = (is625 ? 0.04 : 1001.0 / 30000) / ofNumber_;
  const auto code = timeCode(dv::timeCodeOfFrame(frame), is625 ? 25 : 30000.0 / 1001);
  const auto time = dv::timeOfFrame(frame);
  addCount(code && time ? std::optional(Count{*code, *time}) : std::nullopt,
           dv::startsRecording(frame));
}

void DvLoss::addUntold(std::uint64_t pictures) {
  damaged_ += pictures;
  isTorn_ = isTorn_ || pictures > 0;
}

void DvLoss::expect(std::uint64_t pictures) {
  // Else they are counted in another way there.
  if (pictures > frames_ && pictures < 2 * frames_)
    damaged_ += pictures - frames_;
}

double DvLoss::lost() const {
  // What nearly all frames have is their program's way.
  const bool isUsual = misplaced_ * 10 > frames_ * 9;
  return static_cast<double>(damaged_ + missing_ + (isUsual ? 0 : misplaced_)) * step_;
}

// A single number that is off proves nothing: those before the leap have to be counted on, and the
// one behind it.
void DvLoss::addCount(std::optional<Count> count, bool startsRecording) {
  if (last_ && count && count->code.firstFrame == last_->code.firstFrame) {
    ++repeats_;
    return;
  }
  const std::uint32_t repeats = std::exchange(repeats_, 0);
  const auto before = std::exchange(doubtful_, std::nullopt);
  const bool wasSteady = std::exchange(isSteady_, false);
  if (!last_ || !count) {
    last_ = count;
    return;
  }
  const Count last = *std::exchange(last_, count);
  if (count->code.firstFrame < last.code.firstFrame)
    return;
  std::uint32_t step = count->code.firstFrame - last.code.firstFrame;
  sinceLeap_ += step;
  // Those in between without a number of their own have been counted.
  step -= std::min(step - 1, std::exchange(unnumbered_, 0) / ofNumber_);
  // Two numbers a minute are left out, by cameras that do not mark it, too.
  const bool dropsNumbers = !count->code.dropsNumbers && count->code.framesPerSecond == 30 &&
                            step == 3 && count->code.firstFrame % 1800 == 2;
  if (step == 1 || dropsNumbers) {
    isSteady_ = true;
    if (before)
      addLeap(*before);
    return;
  }
  const double leap = step * step_ * ofNumber_;
  const auto clock = static_cast<double>(count->time.seconds() - last.time.seconds());
  if (!wasSteady || startsRecording || leap > longestLeap || clock < 0 ||
      std::abs(clock - leap) > 1)
    return;
  const std::uint32_t usual = ofNumber_ - 1;
  const std::uint32_t filled = (repeats - std::min(repeats, usual)) / ofNumber_;
  doubtful_ = Leap{step - 1, std::min(filled, step - 1), std::exchange(sinceLeap_, 0)};
}

void DvLoss::addLeap(const Leap& leap) {
  damaged_ += std::uint64_t{leap.filled} * ofNumber_;
  missing_ += std::uint64_t{leap.numbers - leap.filled} * ofNumber_;
  // One that is left out of five, or the last six of thirty.
  const bool isLikely =
      leap.filled == 0 && likely_.numbers == leap.numbers && leap.distance == leap.numbers * 5;
  likelyCount_ = isLikely ? likelyCount_ + 1 : 1;
  likely_ = leap;
  constexpr std::uint32_t enough = 4;
  if (likelyCount_ < enough)
    return;
  missing_ -= std::uint64_t{likelyCount_ == enough ? enough : 1} * leap.numbers * ofNumber_;
}

namespace {

Outcome<DvLoss> lossInPlace(SourceBytes source) {
  FrameReader reader(std::move(source));
  DvLoss loss;
  while (true) {
    const auto frame = reader.next();
    if (!frame)
      return Failure{frame.reason()};
    if (frame->empty())
      return loss;
    loss.add(*frame);
  }
}

Outcome<DvLoss> lossInRaw(SourceBytes source, bool is625) {
  DvMender mender(std::move(source), is625);
  DvLoss loss;
  while (true) {
    const auto frame = mender.next();
    if (!frame)
      return Failure{frame.reason()};
    if (frame->bytes.empty())
      break;
    if (frame->isWhole)
      loss.add(frame->bytes);
    else
      loss.addMended(frame->bytes, frame->hasOwnHead);
  }
  loss.addUntold(mender.untold());
  return loss;
}

}  // namespace

Outcome<DvLoss> dvLoss(const std::string& path) {
  const auto open = [&path] { return openSource(path, OpenFor::streaming); };
  SourceBytes source = open();
  if (!source.file.isOpen())
    return Failure{systemReason(errno)};
  if (const auto is625 = is625InRawDv(path)) {
    auto loss = lossInRaw(std::move(source), *is625);
    if (!loss || loss->hasFrames())
      return loss;
    source = open();
    if (!source.file.isOpen())
      return Failure{systemReason(errno)};
  }
  return lossInPlace(std::move(source));
}

}  // namespace tessarin::joining
