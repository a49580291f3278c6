// Which instruction set the kernels of this process use. The choice is made once, at the first
// query, from cpuid and the operating system's saved-state mask; kernels keep a table per
// instruction set and index it by this value.
#pragma once

namespace zvx {

enum class isa : int {
  portable = 0,  // x86-64 baseline (SSE2): what the compiler makes of plain code
  avx2 = 1,      // AVX2 with FMA
  avx512 = 2,    // AVX-512 F, DQ, VL and BW, on top of AVX2 with FMA
};

// The instruction set for this process. The environment variable ZVX_ISA ("portable", "avx2",
// "avx512") lowers the choice for tests and comparisons; it never raises it above what the
// processor and the operating system support.
isa cpu_isa();
// What the processor supports, ignoring ZVX_ISA.
isa cpu_isa_supported();

// Picks one of three entries by cpu_isa(). Callers keep the result in a function-local static,
// so the choice costs one load after the first call.
template <class T>
T select_by_isa(T portable, T avx2, T avx512) {
  switch (cpu_isa()) {
    case isa::avx512: return avx512;
    case isa::avx2: return avx2;
    default: return portable;
  }
}

}  // namespace zvx
