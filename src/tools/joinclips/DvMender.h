// Reads a file of raw DV frame by frame, whatever stands between the frames and in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "tools/joinclips/ByteWindow.h"

namespace tessarin::joining {

// Of 625 lines or of 525, as most frames of a file of raw DV are, by looking at some places of it;
// nothing for other files. Those that cannot be read are others.
std::optional<bool> is625InRawDv(const std::string& path);

// Who counts bytes, as decoders do, takes what stands in the place of a frame for one, and shows
// torn pictures behind a hole that is no multiple of a frame, or behind zeros, which look like a
// frame of 525 lines. This looks for the next frame there.
//
// Blocks that are not of their places are taken from the last whole frame, without its sound, and
// a frame of which nothing is left is that one again: so sound and pictures keep their time. What
// stands before the first whole frame, and zeros and the like behind the last one, are left out.
class DvMender {
 public:
  DvMender(SourceBytes source, bool is625);

  struct Frame {
    std::string_view bytes;  // valid until the next call; "" at the end
    bool isWhole = true;     // as it stands in the file
    bool hasOwnHead = true;  // with the number of the picture
  };
  Outcome<Frame> next();

  // How many pictures are damaged of which no frame tells, so far: left out, or ends of torn ones.
  std::uint64_t untold() const { return untold_; }

 private:
  bool isHead(std::string_view bytes) const;
  // The first behind so many bytes, up to that place.
  std::optional<std::size_t> headIn(std::string_view bytes, std::size_t begin,
                                    std::size_t end) const;
  Frame damagedFrame(std::string_view frame);
  bool findFirst();
  Frame atEnd(std::string_view rest);

  ByteWindow window_;
  bool is625_;
  std::size_t length_ = 0;    // of a frame; 0: none was whole so far
  std::string last_;          // whole one
  std::string mended_;        // what was handed out instead
  std::uint64_t before_ = 0;  // bytes before the first whole frame
  std::uint64_t empty_ = 0;   // frames of which nothing is left, to be handed out if others follow
  bool isTorn_ = false;       // the frame before
  std::uint64_t untold_ = 0;
};

}  // namespace tessarin::joining
