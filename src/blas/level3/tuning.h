// Tuning constants of level 3, each with the reason it has: the thresholds of the threaded
// frames, the block orders and ladders of the symmetric, Hermitian and triangular engines, and
// the register tiles and blocks of the four GEMM engines per instruction set. This is the only
// place where they stand; the tests derive their edge sizes from it.
#pragma once
#include "zvx_common.h"

namespace zvx::l3ops::tuning {

// Below this order in every dimension (m, n and k for gemm) a frame runs the serial engine on the
// calling thread: a fork costs more than such a product. A caller sees it, since the threaded and
// serial paths may round differently.
constexpr int frame_serial_limit = 16;

}  // namespace zvx::l3ops::tuning

// ==== symmetric, Hermitian and triangular engines ==================================================
//
// The diagonal blocks are the only part of these operations that does not go through the GEMM
// engine: a dense copy wastes the half of each diagonal product that falls in the other
// triangle, and the triangular kernels at the bottom of the ladders are small register tiles
// (vector ones for AVX2 and AVX-512) that read their operands unpacked. The orders keep that
// share small while each rectangle handed to GEMM stays deep enough for its packed panels (the
// GEMM engine blocks its depth in the hundreds).
namespace zvx::l3ops::tuning {

// symm, hemm: diagonal blocks of 128 match the GEMM engine's depth block of the complex types,
// so call 1 of a block is one full-depth pass. Double takes 256, its GEMM engine's main depth:
// calls 1 and 2 of each block then run the full-depth kernels, and call 2, a rank-bs update of
// all the rows of C above the block, passes over C half as often (measured one thread at order
// 2,000, left upper: about 4 % faster than 128; 200 is then one block and one call). The dense
// buffer of 512 KiB stays on the engine's stack.
template <class T> constexpr int symm_block = 128;
template <> constexpr int symm_block<double> = 256;

// syrk, herk: the dense product of a diagonal block computes its other half for nothing (bs^2 k
// extra multiplications per block); 64 for single and single complex, whose depth blocks are
// twice as long in elements, 128 for double complex. The engine hands the rest of the triangle
// to GEMM in halves of whole blocks, so its rectangles stay large whatever the block order.
// dsyrk without transpose and zherk treat their diagonal blocks by direct register tiles,
// without a dense buffer, which waste only the part of the tiles astride the diagonal whatever
// the order; 64 keeps the small rectangles near the diagonal few (measured one thread at order
// 200: 64 to 128 alike, 5 to 10 % ahead of 32; at 2,000 the diagonal is a few percent of the
// work). dsyrk with transpose keeps the dense product on the same blocks.
template <class T> constexpr int syrk_block = 128;
template <> constexpr int syrk_block<double> = 64;
template <> constexpr int syrk_block<float> = 64;
template <> constexpr int syrk_block<zvx_complex8> = 64;
template <class T> constexpr int herk_block = 64;
template <> constexpr int herk_block<zvx_complex16> = 64;

// syr2k, her2k: one dense product per block serves both halves (W + W^T), so the waste is the
// same as syrk's with two rectangle calls per block.
constexpr int syr2k_block = 128;

// trmm, trsm: the free dimension (columns of B on the left side, rows on the right) goes in
// chunks of 1024, so that a chunk of a block row of B stays in the second-level cache while the
// lower levels walk it. A ladder may give its bottom level chunks of its own (bottom_chunk).
constexpr int tri_free_chunk = 1024;

// Ladders of diagonal-block orders, top level first; the last order is the largest triangle the
// substitution (trsm) or multiply (trmm) kernels at the bottom take. Each level hands its
// rectangles to GEMM with a depth of its own order, so the orders halve or quarter from one
// level to the next and end at 32 (16 for single trmm), where the triangle and its reciprocals
// stay in the first-level cache. Double trmm starts at 512 like trsm: its top-level GEMM updates
// are as tall as the block, and blocks of 128 repacked the other operand four times as often
// (measured one thread at order 2,000, left lower, right upper, left upper transposed: about a
// tenth faster than {128, 64, 32}; 256 and 1,024 on top and a fourth level of 64 no better).
// The bottom level of a ladder walks the free dimension in chunks of bottom_chunk. Double trmm
// takes 64: its bottom GEMM updates are then at most 32 x 64 with a depth below 128, and those
// of depth 64 or less run on the GEMM engine's direct tiles, without packing B again for a
// product only 32 rows tall (measured one thread, left lower: about 5 % faster at orders 200 and
// 2,000; a fourth level of 64, whose updates would all be direct, lost at 2,000).
template <class T> struct trsm_ladder;
template <> struct trsm_ladder<double> {
  static constexpr int orders[] = {512, 256, 32};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <> struct trsm_ladder<float> {
  static constexpr int orders[] = {512, 128, 32};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <> struct trsm_ladder<zvx_complex8> {
  static constexpr int orders[] = {256, 64, 32};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <> struct trsm_ladder<zvx_complex16> {
  static constexpr int orders[] = {32};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <class T> struct trmm_ladder;
template <> struct trmm_ladder<double> {
  static constexpr int orders[] = {512, 128, 32};
  static constexpr int bottom_chunk = 64;
};
template <> struct trmm_ladder<float> {
  static constexpr int orders[] = {128, 32, 16};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <> struct trmm_ladder<zvx_complex8> {
  static constexpr int orders[] = {128, 64, 32, 16};
  static constexpr int bottom_chunk = tri_free_chunk;
};
template <> struct trmm_ladder<zvx_complex16> {
  static constexpr int orders[] = {128, 64, 32};
  static constexpr int bottom_chunk = tri_free_chunk;
};

// The largest bottom order of all ladders: the size of the kernels' local triangle.
constexpr int tri_kernel_max = 32;

}  // namespace zvx::l3ops::tuning

// ==== GEMM engines (per instruction set: only code compiled for one sees these) ======================
#ifdef ZVX_ISA_NS
//
// The machines they were settled on: x86-64 with AVX-512 (32 vector registers), 1 MiB L2 per
// core, a shared L3. The first had a 32 KiB L1 data cache and one 512-bit FMA a cycle (two
// 256-bit halves); the later ones a 48 KiB L1 data cache and two 512-bit FMAs a cycle, latency 4
// cycles on both; the sgemm depth step of 512 was measured on the later kind.
//
// Meaning of the fields:
//   mv  vectors of packed A per register tile: the largest row tile is mv * lanes reals; the
//       driver also runs tiles of mv-1 ... 1 vectors for the rows left behind the full tiles.
//   nr  columns per register tile: each depth step broadcasts nr elements of B.
//   kb  longest depth step: a depth k is cut into ceil(k / kb) steps of nearly equal length.
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
// block, so both blocks are wide (nb 1,024 or 2,048, mb up to 4,096): A is then packed once or
// twice for n = 2,000 and B once. The block of C does not have to stay in a cache: each register tile's C is
// prefetched at the start of the tile, a whole depth step before it is updated.
namespace ZVX_ISA_NS {

struct gemm_tuning {
  int mv, nr, kb, mb, nb;
};

#if ZVX_ISA_LEVEL == 2
// double: 24x8 tile; A tile 24 x 256 x 8 B = 48 KiB, in L2 and streaming through L1 (a depth
// of 128, whose tile fits L1, measured slower: C is read and written twice as often and the
// tail is longer); B block 256 x 2,048 x 8 B = 4 MiB in L3. Column blocks of 2,048 pack A once
// for n up to 2,048 (measured one thread at n = 2,000, alternating calls, least CPU time: 3-4 %
// ahead of 1,024; double complex, whose depth step is half as long, gained nothing from it).
inline constexpr gemm_tuning gemm_tune_d{3, 8, 256, 4096, 2048};
// single: 48x8 tile, depth steps of up to 512: every step passes over C once, and at n = 2,000
// (C of 16 MB) eight steps of 250 cost more than four of 500; the A tile (96 KiB) streams from
// L2 in order. Measured one thread on a loaded machine, least CPU time: about 1-2 % ahead of
// 256 at n = 1,000 and 2,000 (within the noise of such a machine). Column blocks of 2,048: A is
// then packed once for n up to 2,048 instead of twice, and the packed block of B (4 MiB) still
// streams from L3 (measured one thread at n = 2,000, three runs of 40 alternating calls, least
// CPU time: 2-4 % ahead of 1,024; depths of 128 and 256 and row blocks of 1,024 were slower).
inline constexpr gemm_tuning gemm_tune_s{3, 8, 512, 4096, 2048};
// double complex: 12x4 complex tile (3 vectors of 4 complex values, 4 columns, 24 sums);
// A tile 12 x 128 x 16 B = 24 KiB fits L1; B block 128 x 1,024 x 16 B = 2 MiB.
inline constexpr gemm_tuning gemm_tune_z{3, 4, 128, 4096, 1024};
// single complex: 24x4 complex tile; A tile 24 x 128 x 8 B = 24 KiB; B block 128 x 2,048 x 8 B
// = 2 MiB. A C whose columns do not start on cache lines is staged past one depth step: copied
// in, updated over the whole depth, copied back (the measurements in wrapper_c). The
// blocks are as wide as double's: in blocks of 240 x 256 (staged C in L2) A was packed 8 times
// and B 9 times for n = 2,000, and square products ran at 83-88 % of the peer's speed; in 960 x
// 512 at 93-95 %, in 1,920 x 1,024 and 4,096 x 1,024 at 95-99 % (the rank-64 update of a 2,000
// x 2,000 C, unstaged, from 1.00 to 1.04-1.13). Column blocks of 2,048 pack A once for n up to
// 2,048 (measured one thread at n = 2,000, alternating calls, least CPU time: 1-3 % ahead of
// 1,024; a depth of 256 no better). The staging buffer of 2,048 x 2,048 (32 MiB) and the packed
// blocks (2 MiB each) stay within the scratch cache's 40 MiB.
inline constexpr gemm_tuning gemm_tune_c{3, 4, 128, 2048, 2048};
// Direct tiles of the real types (all sizes at most 64, operands read in place): a row group of
// a multiple of 4 vectors goes in tiles of 4 vectors x 6 columns (24 sums, 4 loads of A and 6
// broadcasts per 24 FMAs) instead of 2 x 8 (16 sums, 10 loads per 16 FMAs): fewer loads per FMA,
// and 11 tiles in place of 16 at 64 x 64, each paying its C update and its pipeline start.
inline constexpr int gemm_direct_wide_mv = 4;
inline constexpr int gemm_direct_wide_nr = 6;
// Products of at most this many rows, with op(B) = B, do not pack B: the kernels broadcast from
// its columns in place (nr streams of one element per depth step). Packing B costs in
// proportion to k * n and pays back over the row tiles that reuse it, so it is the smaller
// products that lose by it: sgemm at n = 500 spent 4 % of its time packing B. Measured one thread
// on a loaded machine, four alternating runs against the peer: sgemm 128 and cgemm 128 4-5 %
// faster in place, sgemm 500 about 3 %, cgemm 500 within the noise, sgemm and cgemm 1,000 alike
// or up to 1 % slower (hence the limit). Short, wide products read each panel of B once, so
// packing it was pure cost: 20 x 2,000 x 2,000 went from 1.46 to 2.3-2.6 times the peer's speed
// in double and from 1.15 to 1.6-1.7 in double complex.
inline constexpr int gemm_b_in_place_rows = 512;
// Packed blocks of B of at least this many bytes are fetched into L2 far ahead by the kernels:
// with A, C and the other work beside them they no longer stay in the 1 MiB L2 (see kernel).
inline constexpr long gemm_b_far_fetch_bytes = 1L << 20;
#elif ZVX_ISA_LEVEL == 1
// 16 ymm registers: 12 accumulators (3 vectors x 4 columns, or 2 x 3 x 2 for complex),
// 3 (2) vectors of A, 1 (2) broadcasts.
// Blocks as for AVX-512 (nb a multiple of the 3 columns of the complex tiles).
inline constexpr gemm_tuning gemm_tune_d{3, 4, 256, 4096, 1024};  // 12x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_s{3, 4, 256, 4096, 1024};  // 24x4, A tile 24 KiB
inline constexpr gemm_tuning gemm_tune_z{2, 3, 128, 4096, 1023};  // 4x3 complex, A tile 8 KiB
inline constexpr gemm_tuning gemm_tune_c{2, 3, 128, 240, 255};    // 8x3 complex, A tile 8 KiB
inline constexpr int gemm_direct_wide_mv = 0;  // 16 registers: no wider direct tile
inline constexpr int gemm_direct_wide_nr = 0;
inline constexpr int gemm_b_in_place_rows = 0;  // not measured on this set: B always packed
inline constexpr long gemm_b_far_fetch_bytes = 1L << 20;  // as for AVX-512, not measured here
#else
// The baseline: 16 xmm registers of two doubles or four singles, no FMA. 8 accumulators
// (2 vectors x 4 columns, or 2 x 2 x 2 for complex) leave room for A, B and the products.
inline constexpr gemm_tuning gemm_tune_d{2, 4, 128, 256, 256};   // 4x4
inline constexpr gemm_tuning gemm_tune_s{2, 4, 128, 256, 512};   // 8x4
inline constexpr gemm_tuning gemm_tune_z{2, 2, 64, 128, 256};    // 2x2 complex
inline constexpr gemm_tuning gemm_tune_c{2, 2, 64, 128, 256};    // 4x2 complex
inline constexpr int gemm_direct_wide_mv = 0;
inline constexpr int gemm_direct_wide_nr = 0;
inline constexpr int gemm_b_in_place_rows = 0;
inline constexpr long gemm_b_far_fetch_bytes = 1L << 20;
#endif

}  // namespace ZVX_ISA_NS
#endif  // ZVX_ISA_NS
