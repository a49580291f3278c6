// Block orders of the symmetric, Hermitian and triangular engines, in one place.
//
// The diagonal blocks are the only part of these operations that does not go through the GEMM
// engine at full speed: a dense copy wastes the half of each diagonal product that falls in the
// other triangle, and the triangular kernels at the bottom of the ladders run scalar substitution.
// The orders keep that share small while each rectangle handed to GEMM stays deep enough for its
// packed panels (the GEMM engine blocks its depth in the hundreds), and the dense buffer of one
// block fits the second-level cache beside the GEMM engine's packed panel.
#pragma once

namespace zvx::l3ops::tuning {

// symm, hemm: diagonal blocks of 128 match the GEMM engine's depth block, so call 1 of a block
// is one full-depth pass.
constexpr int symm_block = 128;

// syrk, herk: the dense product of a diagonal block computes its other half for nothing (bs^2 k
// extra multiplications per block); 64 for single and single complex, whose depth blocks are
// twice as long in elements, 128 for double complex. The engine hands the rest of the triangle
// to GEMM in halves of whole blocks, so its rectangles stay large whatever the block order:
// double takes blocks of 32, whose waste is a quarter of that of 128 while the few small
// rectangles near the diagonal cost less than the saving (measured one thread at orders 200
// and 2,000: 32 ahead of 64 and 128 at 200, all three alike at 2,000). zherk treats its blocks
// of 32 by direct loops, without a dense buffer.
template <class T> constexpr int syrk_block = 128;
template <> constexpr int syrk_block<double> = 32;
template <> constexpr int syrk_block<float> = 64;
template <> constexpr int syrk_block<zvx_complex8> = 64;
template <class T> constexpr int herk_block = 64;
template <> constexpr int herk_block<zvx_complex16> = 32;

// syr2k, her2k: one dense product per block serves both halves (W + W^T), so the waste is the
// same as syrk's with two rectangle calls per block.
constexpr int syr2k_block = 128;

// trmm, trsm: the free dimension (columns of B on the left side, rows on the right) goes in
// chunks of 1024, so that a chunk of a block row of B stays in the second-level cache while the
// lower levels walk it.
constexpr int tri_free_chunk = 1024;

// Ladders of diagonal-block orders, top level first; the last order is the largest triangle the
// substitution (trsm) or multiply (trmm) kernels at the bottom take. Each level hands its
// rectangles to GEMM with a depth of its own order, so the orders halve or quarter from one
// level to the next and end at 32 (16 for single trmm), where the triangle and its reciprocals
// stay in the first-level cache. Double trmm starts at 512 like trsm: its top-level GEMM updates
// are as tall as the block, and blocks of 128 repacked the other operand four times as often
// (measured one thread at order 2,000, left lower, right upper, left upper transposed: about a
// tenth faster than {128, 64, 32}; 256 and 1,024 on top and a fourth level of 64 no better).
template <class T> struct trsm_ladder;
template <> struct trsm_ladder<double> { static constexpr int orders[] = {512, 256, 32}; };
template <> struct trsm_ladder<float> { static constexpr int orders[] = {512, 128, 32}; };
template <> struct trsm_ladder<zvx_complex8> { static constexpr int orders[] = {256, 64, 32}; };
template <> struct trsm_ladder<zvx_complex16> { static constexpr int orders[] = {32}; };
template <class T> struct trmm_ladder;
template <> struct trmm_ladder<double> { static constexpr int orders[] = {512, 128, 32}; };
template <> struct trmm_ladder<float> { static constexpr int orders[] = {128, 32, 16}; };
template <> struct trmm_ladder<zvx_complex8> { static constexpr int orders[] = {128, 64, 32, 16}; };
template <> struct trmm_ladder<zvx_complex16> { static constexpr int orders[] = {128, 64, 32}; };

// The largest bottom order of all ladders: the size of the kernels' local triangle.
constexpr int tri_kernel_max = 32;

}  // namespace zvx::l3ops::tuning
