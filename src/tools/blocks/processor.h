// What the processor of this machine can do.
#pragma once

namespace tessarin::blocks {

// Whether it runs what is compiled for AVX2 and the instructions for bits that came with it.
bool hasAvx2();

}  // namespace tessarin::blocks
