// Tuning numbers of the DFT line engine, each with the reason it has its value. Tests derive
// their edge lengths from these names.
#pragma once

namespace zvx::dft::tuning {

// Lengths up to this one run straight-line kernels without tables: 1, 2, 3 and 4 points.
inline constexpr int fixed_kernel_limit = 4;

// Lengths up to this one that do not factor into 4, 2 and small odd primes (the primes from 5 to
// 149) run one direct sum folded by symmetry; above it the chirp convolution on a power of two
// is cheaper. Every route a length takes depends on this number, so it is part of the rounding a
// caller sees and stays fixed.
inline constexpr int direct_limit = 150;

// The largest odd prime factor the mixed-radix route accepts: the generic odd-radix butterfly
// costs p^2 / 2 multiply-adds per p points, which at 150 still beats a chirp convolution of the
// whole line.
inline constexpr int largest_odd_factor = 150;

// Subproblem lengths of the mixed-radix route that start a new group: a group is the run of
// factors whose product stays at or below this many elements. Single precision keeps four times
// as many elements as double in the same cache.
inline constexpr int group_limit_single = 2000;
inline constexpr int group_limit_double = 500;

// Scrambled contexts of a mixed-radix length above these leave the forward output in
// digit-reversed order (the inverse entry takes that order); at or below them the permutation is
// applied and the result is in natural order.
inline constexpr int reorder_limit_single = 2000;
inline constexpr int reorder_limit_double = 5000;

// Power-of-two orders the engine accepts: lengths up to 2^30 elements.
inline constexpr int largest_order = 30;

}  // namespace zvx::dft::tuning
