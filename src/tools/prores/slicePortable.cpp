#include "tools/prores/sliceKernel.h"

namespace tessarin::prores {

const SliceCoder& portableSliceCoder() {
  return ownCoder;
}

}  // namespace tessarin::prores
