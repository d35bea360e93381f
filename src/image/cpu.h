// What the processor offers beyond the SSE2 that every x86-64 processor has.
#pragma once

namespace vek {

// Whether the AVX-512 kernels can run: the foundation, byte and word operations and byte permutes,
// with the operating system saving the registers. Asked of the processor once.
bool Avx512KernelsUsable();
// Whether the AVX2 kernels can run, with the operating system saving the registers.
bool Avx2KernelsUsable();
// Whether the processor runs SSE4.1 kernels.
bool Sse41KernelsUsable();

}  // namespace vek
