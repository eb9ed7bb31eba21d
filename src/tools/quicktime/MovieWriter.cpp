#include "tools/quicktime/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/quicktime/atoms.h"

namespace tessarin::quicktime {

namespace {

// Where the media data's atom begins, behind the file type. Eight unused bytes stand before it, so
// that its length can become one of 64 bits.
constexpr std::uint64_t wideAtomAt = 20;
constexpr std::uint64_t mediaDataAt = wideAtomAt + 8;
constexpr std::size_t mostSoundInAChunk = 4U << 20;  // bytes

double frameSeconds(const VideoFormat& format) {
  return static_cast<double>(format.frameRate.denominator) /
         static_cast<double>(format.frameRate.numerator);
}

// Bytes of one moment on all channels.
std::size_t momentSize(const SoundFormat& format) {
  return 2 * static_cast<std::size_t>(format.channels);
}

}  // namespace

std::optional<std::string> formatProblem(const VideoFormat& format) {
  const auto fits = [](std::int64_t number) { return number >= 1 && number <= 0x7FFFFFFF; };
  if (format.codec.size() != 4)
    return "a codec has four letters";
  if (format.width < 1 || format.height < 1 || format.width > 0xFFFF || format.height > 0xFFFF)
    return "a movie cannot have pictures of this size";
  if (!fits(format.frameRate.numerator) || !fits(format.frameRate.denominator) ||
      frameSeconds(format) > 60 || frameSeconds(format) < 0.0001)
    return "a movie cannot have this frame rate";
  if (!fits(format.pixelAspect.numerator) || !fits(format.pixelAspect.denominator))
    return "a movie cannot have pixels of this shape";
  return std::nullopt;
}

std::optional<std::string> formatProblem(const SoundFormat& format) {
  if (format.channels < 1 || format.channels > 255)
    return "a sound track cannot have this number of channels";
  if (format.sampleRate < 1 || format.sampleRate > 0xFFFF)
    return "a sound track cannot have this sample rate";
  return std::nullopt;
}

Outcome<MovieWriter> MovieWriter::create(const std::string& path, const VideoFormat& video) {
  if (const auto problem = formatProblem(video))
    return Failure{*problem};
  Outcome<PartialFile> file = PartialFile::create(path);
  if (!file)
    return Failure{file.reason()};
  MovieWriter writer(std::move(file.value()), video);
  AtomWriter start;
  {
    const AtomWriter::Atom atom(start, "ftyp");
    start.putText("qt  ");
    start.put32(0x20050300);
    start.putText("qt  ");
  }
  { const AtomWriter::Atom atom(start, "wide"); }
  { const AtomWriter::Atom atom(start, "mdat"); }
  writer.file_.append(start.bytes());
  return writer;
}

MovieWriter::MovieWriter(PartialFile file, const VideoFormat& video) : file_(std::move(file)) {
  movie_.video.format = video;
  framesPerChunk_ =
      std::max(1U, static_cast<std::uint32_t>(std::lround(0.5 / frameSeconds(video))));
}

std::size_t MovieWriter::addSoundTrack(const SoundFormat& format) {
  movie_.sound.push_back({format, {}});
  waiting_.emplace_back();
  soundWritten_.push_back(0);
  return movie_.sound.size() - 1;
}

bool MovieWriter::addFrame(std::span<const std::uint8_t> bytes) {
  std::vector<Chunk>& chunks = movie_.video.chunks;
  if (framesInChunk_ == 0)
    chunks.push_back({file_.size(), 0});
  if (!file_.append(bytes))
    return false;
  movie_.video.frameSizes.push_back(static_cast<std::uint32_t>(bytes.size()));
  ++chunks.back().samples;
  if (++framesInChunk_ < framesPerChunk_)
    return true;
  framesInChunk_ = 0;
  return writeSoundUpTo(static_cast<double>(frameCount()) * frameSeconds(movie_.video.format));
}

bool MovieWriter::addSound(std::size_t track, std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t>& waiting = waiting_[track];
  waiting.insert(waiting.end(), bytes.begin(), bytes.end());
  if (waiting.size() < mostSoundInAChunk)
    return file_.failure().empty();
  framesInChunk_ = 0;  // its frames would no longer stand together
  return writeSound(track, waiting.size());
}

// Moves waiting sound to the file as a chunk.
bool MovieWriter::writeSound(std::size_t track, std::size_t bytes) {
  std::vector<std::uint8_t>& waiting = waiting_[track];
  SoundTrack& sound = movie_.sound[track];
  const std::size_t moments = bytes / momentSize(sound.format);
  if (moments == 0)
    return true;
  const std::size_t whole = moments * momentSize(sound.format);
  sound.chunks.push_back({file_.size(), static_cast<std::uint32_t>(moments)});
  if (!file_.append(std::span(waiting).first(whole)))
    return false;
  waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(whole));
  soundWritten_[track] += moments;
  return true;
}

bool MovieWriter::writeSoundUpTo(double seconds) {
  for (std::size_t track = 0; track < waiting_.size(); ++track) {
    const SoundFormat& format = movie_.sound[track].format;
    const double moments = seconds * format.sampleRate - static_cast<double>(format.startOffset) -
                           static_cast<double>(soundWritten_[track]);
    if (moments < 1)
      continue;
    const auto bytes = static_cast<std::size_t>(moments) * momentSize(format);
    if (!writeSound(track, std::min(bytes, waiting_[track].size())))
      return false;
  }
  return true;
}

// Fills in the length of the media data.
bool MovieWriter::closeMediaData() {
  const std::uint64_t end = file_.size();
  AtomWriter length;
  if (end - mediaDataAt <= 0xFFFFFFFF) {
    length.put32(end - mediaDataAt);
    return file_.overwrite(mediaDataAt, length.bytes());
  }
  length.put32(1);  // the length stands behind the type
  length.putText("mdat");
  length.put64(end - wideAtomAt);
  return file_.overwrite(wideAtomAt, length.bytes());
}

Outcome<bool> MovieWriter::finish(bool replace) {
  for (std::size_t track = 0; track < waiting_.size(); ++track)
    writeSound(track, waiting_[track].size());
  const std::vector<std::uint8_t> header = movieHeader(movie_);
  if (!closeMediaData() || !file_.append(header))
    return Failure{file_.failure()};
  return file_.commit(replace);
}

}  // namespace tessarin::quicktime
