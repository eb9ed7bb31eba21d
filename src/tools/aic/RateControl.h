// Chooses the quantiser of each frame so that frames reach a wanted mean size.
#pragma once

#include <cstddef>
#include <optional>

namespace tessarin::aic {

class RateControl {
 public:
  // `bytesPerFrame` 0: the quantiser never changes.
  RateControl(std::size_t bytesPerFrame, int quantiser);

  // For the next frame, or for the next try at this one.
  int quantiser() const { return quantiser_; }

  // Told the size that the frame has with quantiser(). True: the frame is so far from what it may
  // have that it should be encoded once more, with the quantiser that is set now. False: the frame
  // stands, and quantiser() is the one for the next.
  bool tryAgain(std::size_t bytes);

 private:
  double expected(int quantiser) const;
  int closest(double bytes) const;

  double target_;
  int quantiser_;
  int tries_ = 0;       // at the current frame
  double surplus_ = 0;  // bytes that the frames so far have above the target
  // Size of the last frame or try; size falls with a power of the quantiser.
  double lastBytes_ = 0;
  int lastQuantiser_ = 1;
  double power_;
};

}  // namespace tessarin::aic
