// Writes a QuickTime movie: one picture track whose frames are all key frames, and PCM sound.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "classShared/Outcome.h"
#include "tools/quicktime/PartialFile.h"
#include "tools/quicktime/movieHeader.h"

namespace tessarin::quicktime {

// Why a movie cannot have such a track; nothing when it can.
std::optional<std::string> formatProblem(const VideoFormat& format);
std::optional<std::string> formatProblem(const SoundFormat& format);

// Frames go to the file as they come, sound in pieces of half a second behind the frames of the
// same time. Sound may come before or after its picture; what comes early waits in memory.
// Nothing of the movie is left unless finish() was called and went well.
class MovieWriter {
 public:
  // Nothing is there under `path` before finish().
  static Outcome<MovieWriter> create(const std::string& path, const VideoFormat& video);
  static Outcome<MovieWriter> create(PartialFile file, const VideoFormat& video);

  // Allowed until finish(), also when frames were added. The format must have no problem. Answers
  // the track's index, from 0.
  std::size_t addSoundTrack(const SoundFormat& format);

  // Allowed until finish().
  void nameSound(std::size_t track, SoundName name) { movie_.sound[track].name = std::move(name); }
  void setTimeCode(const TimeCode& code) { movie_.timeCode = {code, 0}; }
  // Allowed until finish(). `made` as Movie has it.
  void setTexts(std::vector<MovieText> texts, std::uint64_t made) {
    movie_.texts = std::move(texts);
    movie_.made = made;
  }

  // Each is false after any failure, then and ever after; failure() says why.
  bool addFrame(std::span<const std::uint8_t> bytes);
  // `bytes` are whole sample moments of the sound track with this index.
  bool addSound(std::size_t track, std::span<const std::uint8_t> bytes);
  const std::string& failure() const { return file_.failure(); }

  std::uint64_t frameCount() const { return movie_.video.frameSizes.size(); }

  // Writes the header and gives the movie its name. With `replace` an existing file goes. The
  // header stands at the beginning, so that a player that loads the movie can begin at once; of a
  // long one at the end where the file system cannot put anything in.
  Outcome<bool> finish(bool replace);

  const PartialFile& file() const { return file_; }

 private:
  MovieWriter(PartialFile file, const VideoFormat& video);

  bool writeSound(std::size_t track, std::size_t bytes);
  bool writeSoundUpTo(double seconds);
  bool closeMediaData();
  bool writeTimeCode();
  bool makeRoomFor(std::size_t headerSize);
  bool writeHeader();

  PartialFile file_;
  Movie movie_;
  std::vector<std::vector<std::uint8_t>> waiting_ = {};  // sound that is not in the file yet
  std::vector<std::uint64_t> soundWritten_ = {};         // sample moments in the file
  std::uint64_t room_;  // bytes before the media data that are free for the header
  std::uint32_t framesInChunk_ = 0;
  std::uint32_t framesPerChunk_ = 1;
};

}  // namespace tessarin::quicktime
