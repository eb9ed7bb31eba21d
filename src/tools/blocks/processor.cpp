#include "tools/blocks/processor.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace tessarin::blocks {

bool hasAvx2() {
#if defined(__x86_64__)
  unsigned a = 0;
  unsigned b = 0;
  unsigned c = 0;
  unsigned d = 0;
  constexpr unsigned lzcntBit = 1U << 5;
  const bool lzcnt = __get_cpuid(0x80000001, &a, &b, &c, &d) != 0 && (c & lzcntBit) != 0;
  return lzcnt && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
         __builtin_cpu_supports("bmi2");
#else
  return false;
#endif
}

}  // namespace tessarin::blocks
