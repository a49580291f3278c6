// Block orders of the symmetric, Hermitian and triangular engines, in one place.
//
// The diagonal blocks are the only part of these operations that does not go through the GEMM
// engine: a dense copy wastes the half of each diagonal product that falls in the other
// triangle, and the triangular kernels at the bottom of the ladders are small register tiles
// (vector ones for AVX2 and AVX-512) that read their operands unpacked. The orders keep that
// share small while each rectangle handed to GEMM stays deep enough for its packed panels (the
// GEMM engine blocks its depth in the hundreds).
#pragma once

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
