// Tells from the packets of the pictures how many of them are missing.
#pragma once

#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// Takes the packets of one part's pictures in order. Where their counters are not counted on, what
// was between is lost: the pictures that had their time there, or a piece of one. A counter that
// breaks where neither can be said to be missing, as at the cut of a tool, counts for nothing. A
// fifth of a second without a picture is a loss whatever the counters say, which fit by chance once
// in sixteen times.
class PictureLoss {
 public:
  void add(const TransportPacket& packet);
  // The next picture's time tells nothing of what is between.
  void stepsClock() { last_.reset(); }
  // How long the lost pictures would be shown.
  Time lost() const { return lost_; }

 private:
  bool isCountedOn(const TransportPacket& packet) const;
  void addPicture(Time order);

  int counter_ = -1;
  bool isBroken_ = false;  // since the latest picture began
  bool isTorn_ = false;    // in the middle of one
  std::optional<Time> last_;
  Time step_ = 0;  // from picture to picture
  Time lost_ = 0;
};

}  // namespace tessarin::joining
