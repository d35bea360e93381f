#include "image/cpu.h"

namespace vek {

// Out of line: no copy of it is compiled in a file built for AVX-512.
bool Avx512KernelsUsable() {
  static const bool usable = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                             __builtin_cpu_supports("avx512vbmi");
  return usable;
}

bool Avx2KernelsUsable() {
  static const bool usable = __builtin_cpu_supports("avx2");
  return usable;
}

bool Sse41KernelsUsable() {
  static const bool usable = __builtin_cpu_supports("sse4.1");
  return usable;
}

}  // namespace vek
