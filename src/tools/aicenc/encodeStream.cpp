#include "tools/aicenc/encodeStream.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/yuv4mpeg/yuv4mpeg.h"

namespace tessarin::aicenc {

namespace {

// Reads frames in a thread of its own, so that reading and encoding do not wait for each other.
class FrameSource {
 public:
  FrameSource(yuv4mpeg::Reader& reader, std::size_t frameSize) : reader_(reader) {
    for (std::vector<std::uint8_t>& frame : frames_)
      frame.resize(frameSize);
    thread_ = std::thread([this] { readAll(); });
  }
  // When not all was read, this waits for the frame in hand.
  ~FrameSource() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }

  // The next frame, until the following call; null at the end or after a failure.
  const std::uint8_t* next() {
    std::unique_lock lock(mutex_);
    if (taken_)
      --filled_;
    taken_ = false;
    changed_.notify_all();
    changed_.wait(lock, [this] { return filled_ > 0 || ended_; });
    if (filled_ == 0)
      return nullptr;
    taken_ = true;
    const std::size_t frame = first_;
    first_ = (first_ + 1) % frames_.size();
    return frames_[frame].data();
  }

  // After the end: why reading failed, if it did.
  const std::optional<std::string>& failure() const { return failure_; }

 private:
  void readAll() {
    for (std::size_t target = 0;; target = (target + 1) % frames_.size()) {
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return filled_ < frames_.size() || stopped_; });
        if (stopped_)
          return;
      }
      const Outcome<bool> read = reader_.readFrame(frames_[target]);
      const std::lock_guard lock(mutex_);
      if (read && read.value()) {
        ++filled_;
      } else {
        if (!read)
          failure_ = read.reason();
        ended_ = true;
      }
      changed_.notify_all();
      if (ended_)
        return;
    }
  }

  yuv4mpeg::Reader& reader_;
  std::array<std::vector<std::uint8_t>, 3> frames_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t first_ = 0;   // the oldest frame that was not handed out
  std::size_t filled_ = 0;  // frames that hold a picture, the one handed out included
  bool taken_ = false;
  bool ended_ = false;
  bool stopped_ = false;
  std::optional<std::string> failure_;
  std::thread thread_;
};

aic::EncoderSettings encoderSettings(const Job& job, const yuv4mpeg::Header& header) {
  aic::EncoderSettings settings;
  settings.threads = job.threads;
  settings.quantiser = job.quantiser;
  const double framesPerSecond = static_cast<double>(header.frameRate.numerator) /
                                 static_cast<double>(header.frameRate.denominator);
  settings.bytesPerFrame =
      static_cast<std::size_t>(job.kilobitsPerSecond * 1000.0 / 8 / framesPerSecond);
  return settings;
}

quicktime::VideoFormat videoFormat(const yuv4mpeg::Header& header) {
  quicktime::VideoFormat format;
  format.width = header.width;
  format.height = header.height;
  format.frameRate = header.frameRate;
  format.pixelAspect = header.pixelAspect;
  format.fieldOrder = header.fieldOrder;
  format.colours = quicktime::usualColours(header.height);
  return format;
}

}  // namespace

Outcome<std::size_t> encodeStream(const Job& job) {
  yuv4mpeg::Reader reader(job.input);
  const Outcome<yuv4mpeg::Header> header = reader.readHeader();
  if (!header)
    return Failure{header.reason()};
  const yuv4mpeg::Header& stream = header.value();
  const bool interlaced = stream.fieldOrder != quicktime::FieldOrder::progressive;
  const aic::PictureFormat picture = {stream.width, stream.height, interlaced};
  if (const auto problem = aic::formatProblem(picture))
    return Failure{*problem};

  Outcome<quicktime::MovieWriter> movie =
      quicktime::MovieWriter::create(job.output, videoFormat(stream), {});
  if (!movie)
    return Failure{movie.reason()};
  const quicktime::InterruptGuard guard(movie->file().temporaryName());

  aic::Encoder encoder(picture, encoderSettings(job, stream));
  FrameSource frames(reader, stream.frameSize());
  while (const std::uint8_t* frame = frames.next()) {
    const std::uint8_t* blueChroma = frame + stream.lumaSize();
    const aic::Picture planes = {frame, blueChroma, blueChroma + stream.chromaSize(), stream.width,
                                 (stream.width + 1) / 2};
    if (!movie->addFrame(encoder.encode(planes)))
      return Failure{movie->failure()};
  }
  if (frames.failure())
    return Failure{*frames.failure()};
  if (movie->frameCount() == 0)
    return Failure{"the stream has no frames"};
  const Outcome<bool> finished = movie->finish(true);
  if (!finished)
    return Failure{finished.reason()};
  return movie->frameCount();
}

}  // namespace tessarin::aicenc
