// Ownership of file descriptors.
#pragma once

#include <cstdint>
#include <utility>

#include "classShared/Outcome.h"

namespace tessarin {

// Owns one file descriptor and closes it; -1 is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor() { close(); }

  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  void close();
  // Gives the descriptor away; the caller closes it.
  int release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

// A new pipe. Both ends are closed in programs that are started (close-on-exec) and block.
Outcome<Pipe> makePipe();

// Lets this process and its children open up to `wanted` files, where the system takes that; more
// when that was allowed before. The number that may be open now.
std::uint64_t allowOpenFiles(std::uint64_t wanted);

// Makes reads from the descriptor answer EAGAIN instead of waiting. Only for a read end of ours:
// the setting belongs to the open file, which the other end of a pipe does not share.
void setNonBlocking(int descriptor);

}  // namespace tessarin
