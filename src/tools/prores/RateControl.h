// Chooses the quantisation of each frame so that the mean of all frames never is above a wanted
// size, and no frame a tenth above it.
#pragma once

#include <cstddef>
#include <optional>

namespace tessarin::prores {

class RateControl {
 public:
  explicit RateControl(std::size_t bytesPerFrame);

  // For the next frame, or for the next try at this one: what levels are to be multiplied with in
  // the mean of all slices, from 1 (best) on. Beyond largestScale the rest is left away.
  double scale() const { return scale_; }

  // Told the size that the frame has with scale(). True: it has to be encoded once more, with the
  // scale that is set now. False: the frame stands, and scale() is the one for the next.
  bool tryAgain(std::size_t bytes);

 private:
  struct Try {
    double scale = 1;
    double bytes = 1;
  };

  double aim() const;
  double scaleFor(double bytes) const;

  double target_;
  double saved_ = 0;  // bytes that the frames so far have taken less than they might
  double scale_;
  // At the current frame.
  int tries_ = 0;
  std::optional<Try> tooLarge_;  // the smallest that was
  std::optional<Try> fitting_;   // the largest that did
  Try last_;                     // of any frame
  double power_;                 // of the scale, with which size falls
};

}  // namespace tessarin::prores
