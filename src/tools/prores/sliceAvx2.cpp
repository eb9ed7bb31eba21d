#include "tools/prores/sliceKernel.h"

namespace tessarin::prores {

const SliceCoder& avx2BuildOfSliceCoder();

const SliceCoder& avx2BuildOfSliceCoder() {
  return ownCoder;
}

}  // namespace tessarin::prores
