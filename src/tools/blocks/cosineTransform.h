// The cosine transform of kernels; lanes.h says how they are built.
#pragma once

#include "tools/blocks/lanes.h"

namespace tessarin::blocks {
namespace {

// One dimension after Arai, Agui and Nakajima, on all lanes at once: 5 multiplications and 29
// additions. Output k is the orthonormal coefficient times the root of 8 and cosineScale(k), which
// the quantiser's table takes out again. No output is more than 10.06 times as large as the largest
// input, and no sum on the way. `Arithmetic` has the four products, named after their factors.
template <class Arithmetic, class Lanes>
TESSARIN_INLINE void transformEight(Lanes (&v)[8]) {
  const Lanes sum0 = v[0] + v[7];
  const Lanes sum1 = v[1] + v[6];
  const Lanes sum2 = v[2] + v[5];
  const Lanes sum3 = v[3] + v[4];
  const Lanes difference0 = v[0] - v[7];
  const Lanes difference1 = v[1] - v[6];
  const Lanes difference2 = v[2] - v[5];
  const Lanes difference3 = v[3] - v[4];

  const Lanes outer = sum0 + sum3;
  const Lanes inner = sum1 + sum2;
  v[0] = outer + inner;
  v[4] = outer - inner;
  const Lanes outerDifference = sum0 - sum3;
  const Lanes turned = Arithmetic::halfRoot(sum1 - sum2 + outerDifference);
  v[2] = outerDifference + turned;
  v[6] = outerDifference - turned;

  const Lanes low = difference3 + difference2;
  const Lanes middle = difference2 + difference1;
  const Lanes high = difference1 + difference0;
  const Lanes middleTurned = Arithmetic::halfRoot(middle);
  const Lanes common = Arithmetic::sineEighth(low - high);
  const Lanes lowTurned = Arithmetic::cosineLess(low) + common;
  const Lanes highTurned = Arithmetic::cosineMore(high) + common;
  const Lanes above = difference0 + middleTurned;
  const Lanes below = difference0 - middleTurned;
  v[5] = below + lowTurned;
  v[3] = below - lowTurned;
  v[1] = above + highTurned;
  v[7] = above - highTurned;
}

// Rows of eight by eight become columns: three times the same shuffle moves every index bit of the
// rows to the columns and back. `Shuffle` has the lanes of two, alternating, from their lower (low)
// and upper halves (high).
template <class Shuffle, class Lanes>
TESSARIN_INLINE void transpose(Lanes (&v)[8]) {
  for (int round = 0; round < 3; ++round) {
    Lanes shuffled[8];
    for (int i = 0; i < 4; ++i) {
      const int target = 2 * i;
      shuffled[target] = Shuffle::low(v[i], v[i + 4]);
      shuffled[target + 1] = Shuffle::high(v[i], v[i + 4]);
    }
    for (int i = 0; i < 8; ++i)
      v[i] = shuffled[i];
  }
}

}  // namespace
}  // namespace tessarin::blocks
