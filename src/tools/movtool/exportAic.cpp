#include "tools/movtool/exportAic.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "tools/aic/aicEncoder.h"
#include "tools/movtool/FfmpegRun.h"
#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/streams/FrameQueue.h"
#include "tools/streams/wav.h"
#include "tools/streams/yuv4mpeg.h"

namespace tessarin::movtool {

namespace {

using quicktime::MovieWriter;
using quicktime::SoundFormat;

// One sound track, decoded by an ffmpeg of its own: it neither waits for the pictures nor they for
// it. What is not read yet waits in the pipe.
class SoundFeed {
 public:
  static Outcome<std::unique_ptr<SoundFeed>> start(const std::string& ffmpeg,
                                                   const ExportInput& input, int track,
                                                   const ExportPlan& plan) {
    Outcome<FfmpegRun> run = FfmpegRun::start(ffmpeg, soundArguments(input, track, plan));
    if (!run)
      return Failure{run.reason()};
    return std::unique_ptr<SoundFeed>(new SoundFeed(std::move(run.value())));
  }

  // Adds the track to the movie; a source without a single sample has none.
  Outcome<bool> open(MovieWriter& movie) {
    const Outcome<std::optional<SoundFormat>> header = reader_.readHeader();
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

  // Moves what is to be heard before this moment to the movie.
  Outcome<bool> feed(MovieWriter& movie, double seconds) {
    if (!format_ || ended_)
      return true;
    const auto moments = static_cast<std::int64_t>(std::ceil(seconds * format_->sampleRate));
    while (moments > moments_ && !ended_) {
      // Never more than a second at once, whatever the rate of the pictures.
      const auto count = std::min<std::int64_t>(moments - moments_, format_->sampleRate);
      buffer_.resize(static_cast<std::size_t>(count) * momentSize());
      Outcome<bool> moved = move(movie);
      if (!moved)
        return moved;
    }
    return true;
  }

  // All that is left, and how ffmpeg ended.
  Outcome<bool> finish(MovieWriter& movie) {
    while (format_ && !ended_) {
      buffer_.resize(static_cast<std::size_t>(format_->sampleRate) * momentSize());
      Outcome<bool> moved = move(movie);
      if (!moved)
        return moved;
    }
    Outcome<bool> finished = run_.finish();
    if (finished)
      run_.passOnReport("[aist#0 @ movtool] ");
    return finished;
  }

 private:
  explicit SoundFeed(FfmpegRun run) : run_(std::move(run)), reader_(run_.output()) {}

  std::size_t momentSize() const { return 2 * static_cast<std::size_t>(format_->channels); }

  Outcome<bool> move(MovieWriter& movie) {
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

  FfmpegRun run_;
  wav::Reader reader_;
  std::optional<SoundFormat> format_;
  std::size_t track_ = 0;
  std::int64_t moments_ = 0;  // sample moments in the movie
  bool ended_ = false;
  std::vector<std::uint8_t> buffer_;
};

using SoundFeeds = std::vector<std::unique_ptr<SoundFeed>>;

quicktime::VideoFormat videoFormat(const ExportSettings& settings, const ExportPlan& plan) {
  quicktime::VideoFormat format;
  format.width = settings.width;
  format.height = settings.height;
  format.frameRate = plan.frameRate;
  format.pixelAspect = plan.pixelAspect;
  format.fieldOrder = plan.fieldOrder;
  format.colours = plan.colours;
  return format;
}

// Encodes all pictures, each with the sound of its time.
Outcome<bool> encodePictures(yuv4mpeg::Reader& reader, const ExportSettings& settings,
                             const ExportPlan& plan, SoundFeeds& sounds, MovieWriter& movie,
                             ProgressLines& progress) {
  const Outcome<yuv4mpeg::Header> stream = reader.readHeader(yuv4mpeg::Accepted::only8Bits420);
  if (!stream)
    return Failure{stream.reason()};
  const yuv4mpeg::Header& header = stream.value();
  if (header.width != settings.width || header.height != settings.height)
    return Failure{"ffmpeg has made pictures of another size than it was asked for"};

  aic::EncoderSettings encoderSettings;
  encoderSettings.quantiser = settings.quantiser;
  aic::Encoder encoder({header.width, header.height, settings.interlaced}, encoderSettings);
  yuv4mpeg::FrameQueue frames(reader, header);
  const double frameSeconds = static_cast<double>(plan.frameRate.denominator) /
                              static_cast<double>(plan.frameRate.numerator);
  while (const auto bytes = frames.next()) {
    const std::uint8_t* luma = bytes->data();
    const std::uint8_t* chroma = luma + header.lumaSize();
    const aic::Picture picture = {luma, chroma, chroma + header.chromaSize(), header.width,
                                  (header.width + 1) / 2};
    if (!movie.addFrame(encoder.encode(picture)))
      return Failure{movie.failure()};
    const double seconds = static_cast<double>(movie.frameCount()) * frameSeconds;
    for (const auto& sound : sounds) {
      Outcome<bool> fed = sound->feed(movie, seconds);
      if (!fed)
        return fed;
    }
    progress.reached(seconds);
  }
  if (frames.failure())
    return Failure{*frames.failure()};
  return true;
}

}  // namespace

Outcome<bool> exportAic(const std::string& ffmpeg, const ExportJob& job,
                        const ExportSettings& settings, const SourceFacts& source,
                        const ExportPlan& plan) {
  Outcome<MovieWriter> movie = MovieWriter::create(job.output, videoFormat(settings, plan));
  if (!movie)
    return Failure{movie.reason()};
  const quicktime::InterruptGuard guard(movie->file().temporaryName());

  Outcome<FfmpegRun> pictures = FfmpegRun::start(ffmpeg, pictureArguments(job.input, plan));
  if (!pictures)
    return Failure{pictures.reason()};
  SoundFeeds sounds;
  for (int track = 0; track < source.soundTracks; ++track) {
    auto sound = SoundFeed::start(ffmpeg, job.input, track, plan);
    if (!sound)
      return Failure{sound.reason()};
    Outcome<bool> opened = sound.value()->open(movie.value());
    if (!opened)
      return opened;
    sounds.push_back(std::move(sound.value()));
  }

  ProgressLines progress(source.duration);
  yuv4mpeg::Reader reader(pictures->output());
  Outcome<bool> encoded = encodePictures(reader, settings, plan, sounds, movie.value(), progress);
  // What ffmpeg says of its own failure tells more than how its output broke off. A failure to
  // write is ours.
  if (encoded || movie->failure().empty()) {
    Outcome<bool> finished = pictures->finish();
    if (!finished)
      return finished;
    pictures->passOnReport("");
  }
  if (!encoded)
    return encoded;
  for (const auto& sound : sounds) {
    Outcome<bool> finished = sound->finish(movie.value());
    if (!finished)
      return finished;
  }
  if (movie->frameCount() == 0)
    return Failure{"there are no pictures in " + job.input.path};
  progress.end();
  return movie->finish(job.replace);
}

}  // namespace tessarin::movtool
