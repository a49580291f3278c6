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
// Why the blocks: one packed A tile (rows x kb) is reused for every column of the block; one
// packed block of B (kb x nb) is reused by every row tile of the block and streams from L2 or
// L3, one panel at a time, with a software prefetch 16 depth steps ahead. Measured on 2,000 x
// 2,000 products: repacking is what costs. A is packed once per column block and B once per row
// block, so both blocks are wide (nb 1,024, mb up to 4,096): A is then packed twice for n =
// 2,000 and B once. The block of C does not have to stay in a cache: each register tile's C is
// prefetched at the start of the tile, a whole depth step before it is updated.
#pragma once

namespace ZVX_ISA_NS {

struct gemm_tuning {
  int mv, nr, kb, mb, nb;
};

inline constexpr int gemm_tail_min = 8;  // the shortest fixed-depth kernel

#if ZVX_ISA_LEVEL == 2
// double: 24x8 tile; A tile 24 x 256 x 8 B = 48 KiB, in L2 and streaming through L1 (a depth
// of 128, whose tile fits L1, measured slower: C is read and written twice as often and the
// tail is longer); B block 256 x 1,024 x 8 B = 2 MiB in L3.
inline constexpr gemm_tuning gemm_tune_d{3, 8, 256, 4096, 1024};
// single: 48x8 tile, the same bytes per tile and block as double.
inline constexpr gemm_tuning gemm_tune_s{3, 8, 256, 4096, 1024};
// double complex: 12x4 complex tile (3 vectors of 4 complex values, 4 columns, 24 sums);
// A tile 12 x 128 x 16 B = 24 KiB fits L1; B block 128 x 1,024 x 16 B = 2 MiB.
inline constexpr gemm_tuning gemm_tune_z{3, 4, 128, 4096, 1024};
// single complex: 24x4 complex tile; A tile 24 x 128 x 8 B = 24 KiB; B block 256 KiB. The block
// of C is staged: copied in, updated over the whole depth, copied back. Staged in 240 x 256
// blocks (480 KiB, in L2) the copies cost a third less on a rank-64 update than in blocks of
// 480 x 1,024 that spill to L3, for about 5 % more repacking on square products.
inline constexpr gemm_tuning gemm_tune_c{3, 4, 128, 240, 256};
#elif ZVX_ISA_LEVEL == 1
// 16 ymm registers: 12 accumulators (3 vectors x 4 columns, or 2 x 3 x 2 for complex),
// 3 (2) vectors of A, 1 (2) broadcasts.
// Blocks as for AVX-512 (nb a multiple of the 3 columns of the complex tiles).
inline constexpr gemm_tuning gemm_tune_d{3, 4, 256, 4096, 1024};  // 12x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_s{3, 4, 256, 4096, 1024};  // 24x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_z{2, 3, 128, 4096, 1023};  // 4x3 complex, A tile 8 KiB
inline constexpr gemm_tuning gemm_tune_c{2, 3, 128, 240, 255};    // 8x3 complex, A tile 8 KiB
#else
// The baseline: 16 xmm registers of two doubles or four singles, no FMA. 8 accumulators
// (2 vectors x 4 columns, or 2 x 2 x 2 for complex) leave room for A, B and the products.
inline constexpr gemm_tuning gemm_tune_d{2, 4, 128, 256, 256};   // 4x4
inline constexpr gemm_tuning gemm_tune_s{2, 4, 128, 256, 512};   // 8x4
inline constexpr gemm_tuning gemm_tune_z{2, 2, 64, 128, 256};    // 2x2 complex
inline constexpr gemm_tuning gemm_tune_c{2, 2, 64, 128, 256};    // 4x2 complex
#endif

}  // namespace ZVX_ISA_NS
