#include "tools/movtool/SoundFeed.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace tessarin::movtool {

using quicktime::MovieWriter;

namespace {

// At once, whatever the rates of pictures and sound.
constexpr std::int64_t mostMoments = 48000;

}  // namespace

Outcome<std::unique_ptr<SoundFeed>> SoundFeed::start(const std::string& ffmpeg,
                                                     const std::vector<std::string>& arguments) {
  Outcome<FfmpegRun> run = FfmpegRun::start(ffmpeg, arguments);
  if (!run)
    return Failure{run.reason()};
  return std::unique_ptr<SoundFeed>(new SoundFeed(std::move(run.value())));
}

Outcome<bool> SoundFeed::open(MovieWriter& movie) {
  const Outcome<std::optional<quicktime::SoundFormat>> header = reader_.readHeader();
  if (!header)
    return Failure{header.reason()};
  if (!header.value())
    return true;
  if (const auto problem = quicktime::formatProblem(*header.value()))
    return Failure{*problem};
  format_ = *header.value();
  track_ = movie.addSoundTrack(*format_);
  return true;
}

Outcome<bool> SoundFeed::feed(MovieWriter& movie, double seconds) {
  if (!format_ || ended_)
    return true;
  const auto moments = static_cast<std::int64_t>(std::ceil(seconds * format_->sampleRate));
  while (moments > moments_ && !ended_) {
    const auto count = std::min(moments - moments_, mostMoments);
    buffer_.resize(static_cast<std::size_t>(count) * momentSize());
    Outcome<bool> moved = move(movie);
    if (!moved)
      return moved;
  }
  return true;
}

Outcome<bool> SoundFeed::finish(MovieWriter& movie) {
  while (format_ && !ended_) {
    buffer_.resize(static_cast<std::size_t>(mostMoments) * momentSize());
    Outcome<bool> moved = move(movie);
    if (!moved)
      return moved;
  }
  Outcome<bool> finished = run_.finish();
  if (finished)
    run_.passOnReport("[aist#0 @ movtool] ");
  return finished;
}

Outcome<bool> SoundFeed::move(MovieWriter& movie) {
  const Outcome<std::size_t> count = reader_.read(buffer_);
  if (!count)
    return Failure{count.reason()};
  ended_ = count.value() < buffer_.size();
  const std::size_t whole = count.value() / momentSize() * momentSize();
  moments_ += static_cast<std::int64_t>(whole / momentSize());
  if (!movie.addSound(track_, std::span(buffer_).first(whole)))
    return Failure{movie.failure()};
  return true;
}

}  // namespace tessarin::movtool
