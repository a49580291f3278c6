// Tuning constants of the four GEMM engines, one record per engine and instruction set, each
// number with the reason it has. This is the only place where they stand.
//
// The machine they were settled on: x86-64 with AVX-512 (32 vector registers), a 32 KiB L1 data
// cache and 1 MiB L2 per core, 32 MiB L3 shared; its core runs a 512-bit FMA as two 256-bit
// halves, one 512-bit FMA per cycle with a latency of 4 cycles.
//
// Meaning of the fields:
//   mv  vectors of packed A per register tile: the largest row tile is mv * lanes reals; the
//       driver also runs tiles of mv-1 ... 1 vectors for the rows left behind the full tiles.
//   nr  columns per register tile: each depth step broadcasts nr elements of B.
//   kb  main depth per block (a power of two): the fixed depth of the main kernels. The tail
//       kernels have the fixed depths kb/2, kb/4, ..., tail_min; what is left below tail_min goes
//       to the small kernel.
//   mb  rows of C per block; nb columns of C per block (a multiple of nr).
//
// Why the tiles: the accumulators are mv*nr vectors for a real type and 2*mv*nr for a complex
// one (a real and an imaginary sum per vector, combined once at the end of the depth). With 32
// registers (AVX-512) 24 accumulators + 3 vectors of A + 1 or 2 broadcasts fit; with 16 (AVX2
// and the baseline) 12 and 8. 24 independent sums hide the FMA latency of 4 cycles six times
// over, and the loads per FMA (mv + nr per mv*nr) stay below the two loads a cycle.
//
// Why the blocks: one packed A tile (rows x kb) is reused for every column of the block and
// should stay in L1; one packed block of B (kb x nb) is reused by every row tile and stays in
// L2; the block of C (mb x nb) is read and written once per depth step and lives in L2/L3.
#pragma once

namespace ZVX_ISA_NS {

struct gemm_tuning {
  int mv, nr, kb, mb, nb;
};

inline constexpr int gemm_tail_min = 8;  // the shortest fixed-depth kernel

#if ZVX_ISA_LEVEL == 2
// double: 24x8 tile; A tile 24 x 256 x 8 B = 48 KiB streams through L1 with the hardware
// prefetcher ahead (a depth of 128 measured slower: C is read and written twice as often);
// B block 256 x 256 x 8 B = 512 KiB, half of L2.
inline constexpr gemm_tuning gemm_tune_d{3, 8, 256, 480, 256};
// single: 48x8 tile, same bytes per tile as double: A tile 48 KiB, B block 512 KiB.
inline constexpr gemm_tuning gemm_tune_s{3, 8, 256, 480, 512};
// double complex: 12x4 complex tile (3 vectors of 4 complex values, 4 columns, 24 sums);
// A tile 12 x 128 x 16 B = 24 KiB fits L1; B block 128 x 256 x 16 B = 512 KiB.
inline constexpr gemm_tuning gemm_tune_z{3, 4, 128, 240, 256};
// single complex: 24x4 complex tile; A tile 24 x 128 x 8 B = 24 KiB; B block 256 KiB. The staged
// block of C (mb x nb x 8 B = 480 KiB) shares L2 with it.
inline constexpr gemm_tuning gemm_tune_c{3, 4, 128, 240, 256};
#elif ZVX_ISA_LEVEL == 1
// 16 ymm registers: 12 accumulators (3 vectors x 4 columns, or 2 x 3 x 2 for complex),
// 3 (2) vectors of A, 1 (2) broadcasts.
inline constexpr gemm_tuning gemm_tune_d{3, 4, 256, 480, 256};   // 12x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_s{3, 4, 256, 480, 512};   // 24x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_z{2, 3, 128, 240, 255};   // 4x3 complex, A tile 8 KiB
inline constexpr gemm_tuning gemm_tune_c{2, 3, 128, 240, 255};   // 8x3 complex, A tile 8 KiB
#else
// The baseline: 16 xmm registers of two doubles or four singles, no FMA. 8 accumulators
// (2 vectors x 4 columns, or 2 x 2 x 2 for complex) leave room for A, B and the products.
inline constexpr gemm_tuning gemm_tune_d{2, 4, 128, 256, 256};   // 4x4
inline constexpr gemm_tuning gemm_tune_s{2, 4, 128, 256, 512};   // 8x4
inline constexpr gemm_tuning gemm_tune_z{2, 2, 64, 128, 256};    // 2x2 complex
inline constexpr gemm_tuning gemm_tune_c{2, 2, 64, 128, 256};    // 4x2 complex
#endif

}  // namespace ZVX_ISA_NS
