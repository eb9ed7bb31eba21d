// Tells from the packets of the pictures how many of them are missing.
#pragma once

#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// Takes the packets of one part's pictures in order. Where their counters are not counted on, what
// was between is lost: the pictures that had their time there, or a piece of one. A counter that
// breaks where neither can be said to be missing, as at the cut of a tool, counts for nothing.
//
// Counters fit by chance once in sixteen times. So a fifth of a second without a picture is a loss
// whatever they say, and so is a shorter pause of whole pictures where all others come steadily.
class PictureLoss {
 public:
  void add(const TransportPacket& packet);
  // Before the next packet something else was in the place of so many.
  void passesOver(std::size_t packets);
  // The next picture's time tells nothing of what is between.
  void stepsClock() { last_.reset(); }
  // How long the lost pictures would be shown.
  Time lost() const;

 private:
  bool isCountedOn(const TransportPacket& packet) const;
  void addPicture(Time order);
  void noteStep(Time step);

  std::optional<TransportPacket> packet_;  // the latest
  bool isPassedOver_ = false;              // something that hid packets of pictures
  bool isBroken_ = false;                  // since the latest picture began
  bool isTorn_ = false;                    // in the middle of one
  std::optional<Time> last_;
  Time step_ = 0;  // from picture to picture
  Time lost_ = 0;
  // Of the steps between pictures that have their time.
  std::size_t steady_ = 0;
  std::size_t uneven_ = 0;
  std::size_t pauses_ = 0;
  Time paused_ = 0;
};

}  // namespace tessarin::joining
