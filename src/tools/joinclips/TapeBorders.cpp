#include "tools/joinclips/TapeBorders.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <utility>

#include "classShared/descriptorBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "tools/gettimestamps/dvFrame.h"

namespace tessarin::joining {

namespace {

// Pictures that have to agree before they are taken for a recording.
constexpr std::uint64_t shortestRecording = 5;
// Seconds of pictures that may be missing in the middle of a recording.
constexpr double longestDrop = 60;
// Pictures between two signs that the tape is being read, on slow disks as well: 36 MB.
constexpr std::uint64_t betweenSigns = 250;

// Pictures by which the code counts on; that of a day's end as well.
std::int64_t codeStep(const TimeCode& before, const TimeCode& code, std::uint64_t due) {
  if (laterTimeCode(before, static_cast<std::uint32_t>(due)) == code)
    return static_cast<std::int64_t>(due);
  return std::int64_t{code.firstFrame} - before.firstFrame;
}

}  // namespace

void TapeBorders::Run::take(const Mark& mark) {
  ++told;
  strange = 0;
  if (mark.clock) {
    last.clock = mark.clock;
    clockAt = mark.picture;
  }
  if (mark.code) {
    last.code = mark.code;
    codeAt = mark.picture;
  }
  last.picture = mark.picture;
}

std::optional<TapeBorders::Mark> TapeBorders::markOf(std::string_view frame) {
  if (!dv::beginsFrame(frame)) {
    ++withoutHead_;
    return std::nullopt;
  }
  withoutHead_ = 0;
  const double rate = dv::has625Lines(frame) ? 25 : 30000.0 / 1001;
  step_ = 1 / rate;
  Mark mark{count_, std::nullopt, timeCode(dv::timeCodeOfFrame(frame), rate)};
  if (const auto time = dv::timeOfFrame(frame))
    mark.clock = time->seconds();
  mark.beginsRecording = dv::startsRecording(frame);
  return mark.clock || mark.code ? std::optional(mark) : std::nullopt;
}

// Whole seconds that are told may differ by one from those that have passed.
TapeBorders::Behind TapeBorders::judge(const Run& run, const Mark& mark) const {
  std::optional<double> passed;
  bool hasClockLeapt = false;
  bool isExact = mark.beginsRecording;
  if (run.last.clock && mark.clock) {
    const std::uint64_t pictures = mark.picture - run.clockAt;
    const double due = static_cast<double>(pictures) * step_;
    const double slack = pictures > 1 ? 2 : 1;
    passed = static_cast<double>(*mark.clock - *run.last.clock);
    hasClockLeapt = std::abs(*passed - due) >= slack;
    isExact = isExact || (hasClockLeapt && pictures == 1);
  }
  if (!run.last.code || !mark.code)
    return !hasClockLeapt ? Behind::goesOn : isExact ? Behind::isOther : Behind::mayBeOther;
  const std::uint64_t pictures = mark.picture - run.codeAt;
  const std::int64_t step = codeStep(*run.last.code, *mark.code, pictures);
  const bool hasCodeLeapt = step != static_cast<std::int64_t>(pictures);
  if (!hasClockLeapt && !hasCodeLeapt)
    return Behind::goesOn;
  // Pictures that are missing, or come once more.
  const double leap = static_cast<double>(step) * step_;
  const bool isShort = leap >= -1 && leap <= longestDrop;
  if (hasCodeLeapt && isShort && passed && std::abs(*passed - leap) <= 1 && !mark.beginsRecording)
    return Behind::goesOn;
  // Without a clock nobody knows.
  isExact = isExact || (hasCodeLeapt && pictures == 1 && (passed || !isShort));
  return isExact ? Behind::isOther : Behind::mayBeOther;
}

void TapeBorders::add(std::string_view frame) {
  if (const auto mark = markOf(frame))
    takeMark(*mark);
  ++count_;
}

void TapeBorders::takeMark(const Mark& mark) {
  const auto begin = [&mark](bool isExact) {
    Run run;
    run.first = mark.picture;
    run.isExact = isExact;
    run.take(mark);
    return run;
  };
  if (!next_) {
    const Behind behind = judge(run_, mark);
    if (behind == Behind::goesOn)
      run_.take(mark);
    else
      next_ = begin(behind == Behind::isOther);
  } else if (judge(*next_, mark) == Behind::goesOn) {
    next_->take(mark);
    if (next_->told == shortestRecording)
      settle();
  } else if (judge(run_, mark) == Behind::goesOn) {
    next_.reset();
    run_.take(mark);
  } else if (next_->told == 1 || ++next_->strange == shortestRecording) {
    // What seemed to begin was neither's, or too short for a recording.
    next_ = begin(mark.beginsRecording);
  }
}

// The next run has gone on long enough.
void TapeBorders::settle() {
  Run next = *std::exchange(next_, std::nullopt);
  if (next.isExact && run_.told >= shortestRecording) {
    recordings_.push_back({first_, next.first - first_, isUnclear_});
    first_ = next.first;
    isUnclear_ = false;
  } else {
    isUnclear_ = true;
  }
  run_ = next;
}

std::vector<TapeRecording> TapeBorders::finish() {
  const bool isCutShort = next_ && next_->told > 1;
  const bool tellsNothing = run_.told < std::min(shortestRecording, count_);
  recordings_.push_back(
      {first_, count_ - first_,
       isUnclear_ || isCutShort || tellsNothing || withoutHead_ >= shortestRecording});
  return std::exchange(recordings_, {});
}

std::uint64_t Tape::beginOf(std::size_t recording) const {
  return recordings[recording].first * frameLength;
}

std::uint64_t Tape::endOf(std::size_t recording) const {
  return recording + 1 < recordings.size() ? beginOf(recording + 1) : bytes;
}

Outcome<Tape> readTape(const std::string& path,
                       const std::function<void(std::uint64_t, std::uint64_t)>& sign) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return Failure{systemReason(errno)};
  Tape tape;
  tape.bytes = static_cast<std::uint64_t>(facts->state.size);
  constexpr std::size_t longest = 12 * dv::sequenceLength;
  std::string frame(longest + 2, '\0');
  const auto readTo = [&](std::uint64_t place) {
    return readAt(file.number(), frame.data(), frame.size(), place);
  };
  frame.resize(readTo(0));
  if (!dv::beginsFrame(frame))
    return Failure{"does not begin with a picture of DV"};
  tape.frameLength = dv::frameLength(frame);
  // Of 50 and 100 Mbit/s the parts of a picture have heads of other numbers.
  constexpr int number = 0x0C;
  if (frame.size() > tape.frameLength + 1 && frame[tape.frameLength] == 0x1F &&
      (frame[tape.frameLength + 1] & number) != (frame[1] & number))
    return Failure{"is DV of another kind"};
  TapeBorders borders;
  frame.resize(tape.frameLength);
  const std::uint64_t count = tape.bytes / tape.frameLength;
  for (std::uint64_t picture = 0; picture < count; ++picture) {
    if (readTo(picture * tape.frameLength) < frame.size())
      return Failure{"cannot be read everywhere"};
    borders.add(frame);
    if (sign && (picture + 1) % betweenSigns == 0)
      sign(picture + 1, count);
  }
  tape.recordings = borders.finish();
  return tape;
}

void tellRecordings(const std::vector<std::string>& files) {
  for (std::size_t file = 0; file < files.size(); ++file) {
    const auto tape = readTape(files[file], [file](std::uint64_t read, std::uint64_t all) {
      fmt::print("tape {}: {} of {} pictures\n", file, read, all);
      std::fflush(stdout);
    });
    if (!tape)
      fmt::print("recording {}: unclear: {}\n", file, tape.reason());
    else
      for (std::size_t each = 0; each < tape->recordings.size(); ++each)
        fmt::print("recording {}: bytes {}-{}, {} pictures{}\n", file, tape->beginOf(each),
                   tape->endOf(each), tape->recordings[each].count,
                   tape->recordings[each].isUnclear ? ", unclear" : "");
    std::fflush(stdout);
  }
}

}  // namespace tessarin::joining
