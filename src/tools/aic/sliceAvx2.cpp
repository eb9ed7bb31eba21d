#include "tools/aic/lanesAvx2.h"

// The kernel uses the lanes.
#include "tools/aic/sliceKernel.h"

namespace tessarin::aic {

CodeSlice avx2BuildOfSliceCoder();

CodeSlice avx2BuildOfSliceCoder() {
  return codeSlice;
}

}  // namespace tessarin::aic
