#include "tools/aic/lanesPortable.h"

// The kernel uses the lanes.
#include "tools/aic/sliceKernel.h"

namespace tessarin::aic {

CodeSlice portableSliceCoder() {
  return codeSlice;
}

}  // namespace tessarin::aic
