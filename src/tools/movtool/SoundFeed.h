// One sound track of a movie that is made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/movtool/FfmpegRun.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/streams/wav.h"

namespace tessarin::movtool {

// Decoded by an ffmpeg of its own: it neither waits for the pictures nor they for it. What is not
// read yet waits in the pipe.
class SoundFeed {
 public:
  // `arguments` for an ffmpeg that writes the track as WAVE to its standard output.
  static Outcome<std::unique_ptr<SoundFeed>> start(const std::string& ffmpeg,
                                                   const std::vector<std::string>& arguments);

  // Adds the track to the movie; a source without a single sample has none.
  Outcome<bool> open(quicktime::MovieWriter& movie);
  // Its index in the movie; nothing before open(), and of a source without sound.
  std::optional<std::size_t> track() const {
    return format_ ? std::optional(track_) : std::nullopt;
  }
  // Moves what is to be heard before this moment to the movie.
  Outcome<bool> feed(quicktime::MovieWriter& movie, double seconds);
  // All that is left, and how ffmpeg ended. What it complained of goes to standard error.
  Outcome<bool> finish(quicktime::MovieWriter& movie);

 private:
  explicit SoundFeed(FfmpegRun run) : run_(std::move(run)), reader_(run_.output()) {}

  std::size_t momentSize() const { return 2 * static_cast<std::size_t>(format_->channels); }
  Outcome<bool> move(quicktime::MovieWriter& movie);

  FfmpegRun run_;
  wav::Reader reader_;
  std::optional<quicktime::SoundFormat> format_;
  std::size_t track_ = 0;
  std::int64_t moments_ = 0;  // sample moments in the movie
  bool ended_ = false;
  std::vector<std::uint8_t> buffer_;
};

}  // namespace tessarin::movtool
