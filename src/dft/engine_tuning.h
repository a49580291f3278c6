// Tuning numbers of the DFT line engine, each with the reason it has its value. Tests derive
// their edge lengths from these names.
#pragma once

namespace zvx::dft::tuning {

// Lengths up to this one run straight-line kernels without tables: 1, 2, 3 and 4 points.
inline constexpr int fixed_kernel_limit = 4;

// Powers of two from short_line_least to short_line_limit run one straight-line kernel that
// keeps the whole line in registers instead of the passes: with AVX-512, 64 points took 0.027 us
// in single against 0.046 through three radix-4 passes, and 0.033 against 0.061 in double; 16 and
// 32 points in single 0.014 and 0.020 us against 0.029 and 0.035; 8 points 0.011 (double) and
// 0.019 us (single) against 0.034 (least thread CPU time, loaded machine). A line needs at
// least as many vectors as a vector has lanes, so the shorter ones take the narrower vectors of
// AVX2, and 8 points in single the scalar kernel.
inline constexpr int short_line_limit = 64;
inline constexpr int short_line_least = 8;

// Lengths up to this one that do not factor into 4, 2 and small odd primes (the primes from 5 to
// 149) run one direct sum folded by symmetry; above it the chirp convolution on a power of two
// is cheaper. Every route a length takes depends on this number, so it is part of the rounding a
// caller sees and stays fixed.
inline constexpr int direct_limit = 150;

// Odd real lengths up to this one that do not factor run a direct real sum folded by symmetry:
// it costs about N^2 / 2 real multiply-adds, a quarter of the complex direct sum of the same
// length, so it stays cheaper than a chirp convolution (three transforms of a power of two of at
// least 2N) further up than the complex limit. Part of the rounding a caller sees; stays fixed.
inline constexpr int real_direct_limit = 180;

// Real powers of two from 8 up to this length run the straight-line kernels of their precision
// (unrolled scalar code, roots as literals, no context tables) in the real entries. From twice
// this length to twice the short line limit, the half-length line and the recombination run in
// one function with the line in vector registers (engine_real_short.h); longer ones run the
// half-length passes and the vector recombination through memory. Least thread CPU time a call
// through the descriptor, AVX-512, loaded machine: 8 points 11.7 ns straight-line against 19.3
// on the half-length route; 16 points 14.7 against 17.7 (double) and 14.7 against 23.6 (single);
// 32 points 35 against 18 to 21, 64 points 95 against 25 to 30 (the scalar code of 64 points
// spills its values).
inline constexpr int real_straight_line_limit = 16;

// The largest odd prime factor the mixed-radix route accepts: the generic odd-radix butterfly
// costs p^2 / 2 multiply-adds per p points, which at 150 still beats a chirp convolution of the
// whole line.
inline constexpr int largest_odd_factor = 150;

// Subproblem lengths of the mixed-radix route that start a new group: a group is the run of
// factors whose product stays at or below this many elements (single precision keeps four times
// as many elements as double in the same cache). The factor records carry their group; the
// self-sorting passes do not recurse into groups, since every pass streams the whole line once
// and blocking it into cache-sized pieces was measured slower (see below).
inline constexpr int group_limit_single = 2000;
inline constexpr int group_limit_double = 500;

// Scrambled contexts of a mixed-radix length above these leave the forward output in
// digit-reversed order (the inverse entry takes that order); at or below them the permutation is
// applied and the result is in natural order.
inline constexpr int reorder_limit_single = 2000;
inline constexpr int reorder_limit_double = 5000;

// Vector layouts and radices (engine_plan.cpp, engine_kernels_*.cpp), measured on x86-64 with
// AVX-512 (48 KiB L1d, 1 MiB L2 a core), each against FFTW in the same run:
// - Data stay interleaved (real, imaginary): four complex doubles or eight complex floats a
//   512-bit vector, two or four in AVX2. A pass whose stride s is at least the vector width runs
//   vectors over neighbouring q with broadcast twiddles; below it, vectors over neighbouring
//   indices with twiddles stored per index, and the radix-4 and radix-2 outputs are interleaved
//   by lane shuffles (a 4 x 4 lane transpose, or one two-source permutation per vector). Where
//   s divides the width, the twiddles of such a pass are stored once per group and repeated
//   across the group by one permutation: a quarter of the table at s = 4 in single precision,
//   which took 2^12 from 3.2 to 2.5 us (its tables then fit the 48 KiB first-level cache).
// - Powers of two: radix 4 while s is below the width, then radix 8 (32 vector registers hold
//   its eight inputs, eight outputs and temporaries), the one or two leftover bits by radix 4 or
//   2, at the end. Radix 8 in place of radix 4 cut 2^12 to 2^20 by 10 to 40 per cent; it takes
//   a line in five passes where radix 4 takes eight at 2^16. The leftover fours last rather than
//   first: 10 per cent less time at 2^11 and 2^12 in either precision (the last pass has no
//   twiddles, and the radix-8 passes then read their twiddles for the longer sub-lengths).
// - The straight-line transforms of 16, 32 and 64 points are not pass butterflies: as the last
//   pass of 1,024 and 4,096 points they were slower or within the noise (single 1,024: 0.60 us
//   with 4, 4, 64 against 0.51 with the plan above; double 4,096: 7.95 us with 4, 8, 8, 16
//   against 5.52), since their r inputs lie a power of two apart and overflow the sets of the
//   first-level cache; in the multi-line plan a radix-64 last pass took 64^3 in single from 395
//   to 458 us and 512 x 512 in double from 636 to 975 us.
// - Lines off the 64-byte grid (a caller's array from malloc is usually 16 bytes off it) run
//   their passes between two aligned halves of the work array, reading the caller's line once and
//   writing it once: every 512-bit access to such a line splits a cache line, and 1,024 points in
//   single took 0.85 us 16 bytes off against 0.53 on the grid before, 0.61 after.
// - No split of long lines into blocks of columns: copying blocks of 8 to 64 columns of a
//   2^16 to 2^20 line into a buffer that stays in the second-level cache, transforming them and
//   turning them by w^(c k) was measured slower than streaming the self-sorting passes over the
//   whole line (1.1 to 1.6 times the time at 2^16 and 2^18 in double, equal at 2^20): the
//   power-of-two strides of the column copies cost more than the passes they save.

// Real lines of even length (engine_real.cpp, engine_real_passes.h), measured against FFTW's
// r2c and c2r plans (least thread CPU time, a loaded two-core machine, AVX-512):
// - The recombination runs whole vectors: elements k.. against the reversed vector ending at
//   n - k. The scalar recombination left single precision at 1.16 (forward) and 1.56 (inverse)
//   times FFTW at 1024 points and 1.25 at 4096; with vectors 0.73 and 0.90, 0.74 and 0.80.
// - The vectors run up to the middle element itself (its pair formula is its own conjugate),
//   and the table repeats each factor's real and imaginary part over an element, so a product
//   takes one shuffle: no single-element tail for powers of two.
// - The inverse of Perm and CCS recombines from the input straight into the output: copying the
//   spectrum first cost 1.08 against 0.90 times FFTW at 1024 points in double.

// The multi-line entry moves this many lines at a time into its buffer, element k of line j at
// k * batch + j, and runs the passes with every stride multiplied by the batch: each vector then
// holds one element of W neighbouring lines and each twiddle is broadcast across them, so short
// lines need neither per-index twiddle tables nor lane shuffles. The batch is a multiple of the
// widest vector (8 complex floats, 4 complex doubles); a group short of the batch is padded with
// zeros, so a line's arithmetic does not depend on its neighbours. Sixteen lines in either
// precision (two or four cache lines of each element row), measured through the descriptor's
// column walks, least thread CPU time of 400 to 2000 calls: 64^3 took 0.57 ms in single with 16
// lines against 0.64 with 32; in double 0.77 ms with 16 against 1.05 with 8 and 0.86 with 32,
// and 512 x 512 in double 0.81 ms with 16 against 0.99 with 8 and 0.97 with 32.
inline constexpr int lines_batch_single = 16;
inline constexpr int lines_batch_double = 16;
// Lines whose two batch buffers (the group and the passes' work array) would exceed this many
// bytes go through the multi-line entry one at a time: half the second-level cache (1 MiB a
// core), so that the buffers and the rows being walked stay there. Lines that long are not
// measured grouped; their single-line passes already run whole vectors.
inline constexpr long lines_batch_bytes = 512 * 1024;

// Power-of-two orders the engine accepts: lengths up to 2^30 elements.
inline constexpr int largest_order = 30;

}  // namespace zvx::dft::tuning
