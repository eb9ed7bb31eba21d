#include "tools/quicktime/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/quicktime/atoms.h"

namespace tessarin::quicktime {

namespace {

// Behind the file type comes room for the header: for some minutes, the first of PartialFile's
// units.
constexpr std::uint64_t roomAt = 20;
constexpr std::uint64_t firstRoom = PartialFile::roomUnit - roomAt;
// Of recordings in one bit, as PCM; more is no sound.
constexpr int highestSampleRate = 6144000;
constexpr std::size_t mostSoundInAChunk = 4U << 20;  // bytes

double frameSeconds(const VideoFormat& format) {
  return static_cast<double>(format.frameRate.denominator) /
         static_cast<double>(format.frameRate.numerator);
}

AtomWriter fileStart() {
  AtomWriter start;
  {
    const AtomWriter::Atom atom(start, "ftyp");
    start.putText("qt  ");
    start.put32(0x20050300);
    start.putText("qt  ");
  }
  return start;
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
  if (format.sampleRate < 1 || format.sampleRate > highestSampleRate)
    return "a sound track cannot have this sample rate";
  return std::nullopt;
}

Outcome<MovieWriter> MovieWriter::create(const std::string& path, const VideoFormat& video) {
  if (const auto problem = formatProblem(video))
    return Failure{*problem};
  Outcome<PartialFile> file = PartialFile::create(path);
  if (!file)
    return Failure{file.reason()};
  return create(std::move(file.value()), video);
}

Outcome<MovieWriter> MovieWriter::create(PartialFile file, const VideoFormat& video) {
  if (const auto problem = formatProblem(video))
    return Failure{*problem};
  MovieWriter writer(std::move(file), video);
  AtomWriter start = fileStart();
  {
    const AtomWriter::Atom atom(start, "free");
    start.putZeros(firstRoom - 8);
  }
  // Unused, so that the length of the media data can become one of 64 bits.
  { const AtomWriter::Atom atom(start, "wide"); }
  { const AtomWriter::Atom atom(start, "mdat"); }
  writer.file_.append(start.bytes());
  return writer;
}

MovieWriter::MovieWriter(PartialFile file, const VideoFormat& video)
    : file_(std::move(file)), room_(firstRoom) {
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
  const std::uint64_t wideAtomAt = roomAt + room_;
  const std::uint64_t mediaDataAt = wideAtomAt + 8;
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

bool MovieWriter::writeTimeCode() {
  if (!movie_.timeCode)
    return true;
  movie_.timeCode->position = file_.size();
  AtomWriter number;
  number.putText(timeCodeSample(movie_.timeCode->code));
  return file_.append(number.bytes());
}

// Sees to it that there is room for a header of this size and for what says that the rest is free.
bool MovieWriter::makeRoomFor(std::size_t headerSize) {
  if (headerSize + 8 <= room_)
    return true;
  constexpr std::uint64_t unit = PartialFile::roomUnit;
  // Positions become larger, which may make the header larger, too.
  const std::uint64_t more = (headerSize + headerSize / 2 - room_ + 8 + unit) / unit * unit;
  if (!file_.insertRoom(0, more))
    return false;
  room_ += more;
  const auto shift = [more](std::vector<Chunk>& chunks) {
    for (Chunk& chunk : chunks)
      chunk.position += more;
  };
  shift(movie_.video.chunks);
  for (SoundTrack& track : movie_.sound)
    shift(track.chunks);
  if (movie_.timeCode)
    movie_.timeCode->position += more;
  return true;
}

// Where there is no room, what was meant for it stays free.
bool MovieWriter::writeHeader() {
  std::vector<std::uint8_t> header = movieHeader(movie_);
  if (!makeRoomFor(header.size()))
    return closeMediaData() && file_.append(header);
  header = movieHeader(movie_);
  AtomWriter start = fileStart();
  AtomWriter rest;
  rest.put32(room_ - header.size());
  rest.putText("free");
  return closeMediaData() && file_.overwrite(0, start.bytes()) && file_.overwrite(roomAt, header) &&
         file_.overwrite(roomAt + header.size(), rest.bytes());
}

Outcome<bool> MovieWriter::finish(bool replace) {
  for (std::size_t track = 0; track < waiting_.size(); ++track)
    writeSound(track, waiting_[track].size());
  if (!writeTimeCode() || !writeHeader())
    return Failure{file_.failure()};
  return file_.commit(replace);
}

}  // namespace tessarin::quicktime
