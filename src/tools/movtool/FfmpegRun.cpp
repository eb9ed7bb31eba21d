#include "tools/movtool/FfmpegRun.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "ffmpeg/failureWords.h"
#include "ffmpeg/installedFfmpeg.h"
#include "platform/Signals.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin::movtool {

namespace {

// A whole frame need not fit, but fewer turns between two programs are quicker ones.
constexpr int pipeSize = 1 << 20;
// Of ffmpeg's complaints, enough for a probe's description and for the reason of a failure.
constexpr std::size_t mostErrors = 1U << 20;

// Of samples with 10 bits, which is how we want them: nobody else reads this pipe.
constexpr std::string_view warningOfPipe = "generating non standard YUV stream";

// Whether ffmpeg says how it understands the clip, what it makes of it and how far it is, which it
// does along with what is wrong: all that is indented, too, where the clip has the word.
bool isDescription(std::string_view line) {
  constexpr std::array<std::string_view, 9> beginnings{
      " ",      "Input #", "Output #", "Stream mapping:", "Press [q]", "frame=",
      "video:", "[out#",   "[in#"};
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [line](std::string_view beginning) { return line.starts_with(beginning); });
}

std::string keptLines(std::string_view lines, FfmpegRun::Report kind) {
  std::string kept;
  while (!lines.empty()) {
    const std::size_t end = lines.find_first_of("\r\n");
    const std::string_view line = lines.substr(0, end == std::string_view::npos ? end : end + 1);
    const bool isLeftOut = kind == FfmpegRun::Report::troubles && isDescription(line);
    if (!isLeftOut && !contains(line, warningOfPipe))
      kept += line;
    lines.remove_prefix(line.size());
  }
  return kept;
}

void passOn(std::string_view bytes) {
  writeAll(standardError, bytes);  // whether or not anybody listens
}

// Hands over what a descriptor gives until its end.
template <class Take>
void readAll(int descriptor, const Take& take) {
  std::array<char, 65536> buffer{};
  while (true) {
    const auto count = readSome(descriptor, buffer.data(), buffer.size());
    if (count <= 0)
      return;
    take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
  }
}

}  // namespace

Outcome<std::string> ffmpegProgram() {
  const std::string own = programPath();
  if (const std::string beside = joinPath(parentFolder(own), "ffmpeg");
      !own.empty() && isProgram(beside))
    return beside;
  return findFfmpeg(ffmpegSearchOfEnvironment(""));
}

void FfmpegRun::Errors::readAll() {
  std::string begun;  // a line whose end has not come yet
  movtool::readAll(pipe.number(), [this, &begun](std::string_view bytes) {
    begun += bytes;
    if (const std::size_t end = begun.find_last_of("\r\n"); end != std::string::npos) {
      take(begun.substr(0, end + 1));
      begun.erase(0, end + 1);
    }
  });
  take(begun);
}

void FfmpegRun::Errors::take(std::string_view bytes) {
  const std::string lines = keptLines(bytes, kind);
  const std::lock_guard lock(mutex);
  if (passedOn)
    passOn(lines);
  // The beginning and the last part are kept.
  if (text.size() > mostErrors)
    text.erase(mostErrors / 2, text.size() - mostErrors);
  text += lines;
}

FfmpegRun::FfmpegRun(ChildProcess child, Descriptor output, Descriptor errors, Report kind)
    : errors_(std::make_unique<Errors>()), output_(std::move(output)), child_(std::move(child)) {
  errors_->pipe = std::move(errors);
  errors_->kind = kind;
  errors_->thread = std::thread([own = errors_.get()] { own->readAll(); });
}

FfmpegRun::~FfmpegRun() {
  if (!errors_)
    return;  // moved from
  child_.kill();
  child_.wait();
  if (errors_->thread.joinable())
    errors_->thread.join();
}

Outcome<FfmpegRun> FfmpegRun::start(const std::string& program,
                                    const std::vector<std::string>& arguments, Report kind) {
  Outcome<Pipe> output = makePipe();
  Outcome<Pipe> errors = makePipe();
  if (!output || !errors)
    return Failure{output ? errors.reason() : output.reason()};
  widenPipe(output->writeEnd.number(), pipeSize);
  ChildSetup setup;
  setup.program = program;
  setup.arguments = arguments;
  setup.output = ChildStream::descriptor(output->writeEnd.number());
  setup.error = ChildStream::descriptor(errors->writeEnd.number());
  setup.ownSession = false;
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  if (!child)
    return Failure{child.reason()};
  return FfmpegRun(std::move(child.value()), std::move(output->readEnd), std::move(errors->readEnd),
                   kind);
}

std::string FfmpegRun::readOutput() {
  std::string text;
  readAll(output(), [&text](std::string_view bytes) { text += bytes; });
  return text;
}

void FfmpegRun::passOnFromNow() {
  const std::lock_guard lock(errors_->mutex);
  passOn(errors_->text);
  errors_->passedOn = true;
}

void FfmpegRun::passOnReport(std::string_view mark) const {
  if (errors_->passedOn)
    return;
  for (const std::string_view line : splitLines(report()))
    fmt::print(stderr, "{}{}\n", startsWith(line, " ") ? std::string_view() : mark, line);
}

Outcome<bool> FfmpegRun::finish() {
  // Should it still want to write, it must not wait for a reader.
  output_.close();
  if (errors_->thread.joinable())
    errors_->thread.join();
  const ExitStatus status = child_.wait();
  if (status.number() == 0)
    return true;
  // An ffmpeg that is not behind our adapter dies of the limit of a file's size.
  if (isOfFileLimit(status.signal))
    return Failure{"the movie cannot be written: " + systemReason(EFBIG)};
  if (status.signal != 0)
    return Failure{fmt::format("ffmpeg was ended by signal {} ({})", status.signal,
                               signalText(status.signal))};
  const std::string words(failureWords(report()));
  return Failure{words.empty() ? fmt::format("ffmpeg ended with status {}", status.code) : words};
}

}  // namespace tessarin::movtool
