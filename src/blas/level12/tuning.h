// Tuning constants of level 1 and level 2, each with the reason it has; the only place they stand.
// The tests derive their edge sizes from them. Constants whose value depends on the width of the
// vectors take it as an argument.
#pragma once

namespace zvx::blas12 {

// Independent accumulators of the reductions: covers the 4-cycle latency of an add or FMA at two
// issues per cycle.
constexpr int reduction_unroll = 4;
// Vectors of y held in registers across the columns of a not transposed gemv strip: 8 of the 16
// (AVX2) or 32 (AVX-512) registers, leaving room for the columns and the broadcasts.
constexpr int gemv_n_register_vectors = 8;
// Rows of the gemv strip: the tile whose partial results (transposed case) reach y one strip
// after another; callers see its effect on rounding, so it is fixed.
constexpr long strip_rows = 64;
// Columns a not transposed gemv kernel takes before it moves down the rows (the transposed one
// takes one group of W columns, the lanes of a vector). Eight columns keep eight sequential
// streams for the hardware prefetcher and eight pages for the TLB, where walking all columns per
// strip would touch a new page for every column of a large matrix. Each element of y sees its
// updates in the order of a plain walk, so the results don't depend on this constant. Single
// precision takes sixteen: the same bytes per row block, half the y traffic per column.
constexpr long gemv_column_chunk = 8;
template <class T> constexpr long gemv_column_chunk_of = sizeof(T) == 4 ? 16 : gemv_column_chunk;
// Complex, not transposed: sixteen columns a chunk (double; single keeps the real chunk), each
// column requesting its lines a page ahead once a block, in blocks of rows whose products with the
// multipliers' real and imaginary parts go to two sums per vector: twelve vectors (24 of the 32
// registers of AVX-512; 96 doubles, 48 elements, a column a visit), four with 16 registers. Order
// 1,000 from the last-level cache, loaded machine, against the same run's peer: two sums per
// vector in blocks of twelve 0.88-0.98 of the peer's time, of eight 1.05-1.11, one product formed
// in place per vector (with an exchange of its pairs) in blocks of sixteen 1.18-1.25.
template <class R> constexpr long cgemv_n_column_chunk = sizeof(R) == 8 ? 16 : gemv_column_chunk;
template <class R> constexpr int cgemv_n_register_vectors(int vector_bytes) { return vector_bytes == 64 ? 12 : 4; }
// Matrices larger than this many bytes (the second-level cache) come from the last-level cache or
// memory, and the blocks ask for every line of their columns this far ahead, into the first-level
// cache with the non-temporal hint, in place of one request a page ahead per column and block.
// zgemv N, a processor with a 1 MiB second level, both builds and the peer alternating in one
// process, three runs: orders 400, 700, 1,000 and 2,000 1.00-1.03, 0.86-0.97, 0.81-0.83 and
// 0.67-0.69 of the peer's time against 1.05-1.09, 0.95-1.06, 0.97-1.12 and 0.71-0.73 with the
// former requests (the same distance into the second level, from 8 MB up); 256 bytes ahead
// 0.96-0.99, 0.90-0.97, 0.98-1.00 and 0.75-0.77.
constexpr long cgemv_n_stream_bytes = 1L << 20;
constexpr long cgemv_n_stream_ahead_bytes = 1024;
// Complex columns a transposed complex gemv pass takes: two sums per column, so that the
// accumulators take half of the vector registers (16 of 32 with AVX-512, 8 of 16 otherwise) and
// every x vector, with its two signed forms, serves as many columns as the rest allow.
constexpr int cgemv_t_columns_per_pass(int vector_bytes) { return vector_bytes == 64 ? 8 : 4; }
// Groups of four columns the symmetric multiply walks over the rows together: sixteen
// columns stream side by side, as in the fastest gemv walks, where one group alone kept too few
// lines in flight (order 2,000 from the last-level cache: one group 1.02 of the peer's time, two
// 0.89, four 0.83; six run out of vector registers for the sums and multipliers, 1.1).
constexpr int symv_groups_per_walk = 4;
// Shorter columns take two groups a walk: sixteen columns with their multipliers and sums spill
// registers, which streaming from the last-level cache hides and the first and second levels
// don't (order 100 to 600, lower and upper: two groups 0.67-0.81 of the time of four; at 1,000
// and 2,000 within the noise of each other, at 1,500 four 0.92 of two). The bound is 1,500 doubles.
// Measured again for the lower triangle, both builds in one process: four groups 1.11-1.32 times
// the time of two at orders 700 and 1,000, one group 1.09-1.29 times at 100 to 700.
// Requests for the next walk's columns, row by row during the current walk (into the second-level
// cache or the first), so that each walk would find its columns fetched: lower and upper, orders
// 400 to 2,000, eight alternating runs on the loaded machine, within the noise of none (order 700
// lower 1.24 of the peer's time with and without), so the walks stay without them.
constexpr int symv_groups_per_short_walk = 2;
constexpr long symv_wide_walk_bytes = 12000;
// Triangles larger than this many bytes come from the last-level cache or memory, and the walks
// ask for each column's line symv_prefetch_bytes down the column as they read a vector of it,
// into the first-level cache with the non-temporal hint (a processor with a 1 MiB second level,
// both builds and the peer alternating in one process, A 16 bytes off a line): lower orders 700,
// 1,000 and 2,000 0.89, 0.87 and 0.68 of the peer's time against 0.94, 0.94 and 0.89 without;
// upper 0.81-0.87, 0.89 and 0.81 against 0.94, 0.93 and 1.09. Requests 128 or 512 bytes down
// measured within a few per cent of these; into the second-level cache (hints T1, T2) a plain
// stream of the same data from the last-level cache took 30% longer than without any request.
// Below this size the triangle stays in the second level, where the requests only add work
// (order 400, 640 KB: 0.77-0.93 against 0.73-0.88, three runs; order 500, 1 MB: 0.80-0.94 against
// 0.83-1.00).
constexpr long symv_prefetch_bytes = 256;
constexpr long symv_prefetch_from_bytes = 768L << 10;
// Addresses this many bytes apart fall into one set of the first-level cache (32 KiB, 8 ways,
// 64-byte lines), and the columns of a walk that one set may hold at once: half its ways, the
// other half for the lines fetched ahead and for x and y.
constexpr long l1_set_span_bytes = 4096;
constexpr long symv_columns_per_set = 4;
// Groups of four columns the Hermitian multiply walks together: each column keeps two broadcasts
// of its multiplier and two sums for its dot, so two groups take 32 vectors, the register file
// of AVX-512 (zhemv at order 1,000: 0.43-0.51 of the peer's time).
constexpr int hemv_groups_per_walk = 2;
// How far ahead the prefetching gemv kernels request the columns they are walking: 4 KiB, one
// page, in rows of the element type. One request per column and pass starts the hardware
// prefetcher on the next page early; a request per line measured slower, since it competes with
// the loads.
constexpr long gemv_prefetch_bytes = 4096;
// The whole-column dots of the triangular panels at order 700 (last-level cache) measured the same
// with requests into the first or second-level cache instead, 1 or 2 KiB ahead, or none: within
// the 5% run-to-run noise of the loaded machine, three runs of each.
template <class T> constexpr long gemv_prefetch_rows = gemv_prefetch_bytes / (long)sizeof(T);
// Single precision, not transposed: columns a group takes down the whole height, with y read and
// written through the first-level cache once per group and step. Four columns are four sequential
// streams whatever the leading dimension; the sixteen-column chunks walked in short blocks, which
// keep y in registers, put sixteen lines into one set of the first-level cache when the columns
// are 4 KiB apart (order 1,024: 2.6 times the peer's time), and from memory fell 30 to 50% behind.
// Measured at order 1,000 (last-level cache) the group walk is as fast as the chunks; two and
// eight columns per group were slower.
constexpr int sgemv_n_group = 4;
// Bytes of each column a step of the group walk takes: two lines, two vectors with AVX-512.
constexpr long sgemv_n_step_bytes = 128;
// Matrices larger than this stream from memory; below it, tall matrices keep the chunk walk (see
// gemv_n). A little under the last-level cache of the machines we tune for, which the other core
// shares.
constexpr long sgemv_n_memory_bytes = 24L << 20;
// Matrices larger than this (the second-level cache) come from the last-level cache or memory, and
// the group walk asks for each column's lines sgemv_n_prefetch_bytes ahead, into the first-level
// cache with the non-temporal hint. A processor with a 1 MiB second level, both builds and the
// peer alternating in one process, A 16 bytes off a line: orders 700, 1,000 and 1,024 0.96-0.97,
// 0.86-0.94 and 0.80 of the peer's time against 1.04, 0.94-1.02 and 0.87-0.88 without requests;
// order 4,000 (memory) 1.00-1.06 against 1.18-1.29 with the former requests (1 KiB ahead into the
// second level, which on this processor slows a plain stream from the last-level cache by 30%).
// 256 and 512 bytes ahead measured the same in the last-level cache and 1.05-1.16 from memory.
constexpr long sgemv_n_prefetch_from_bytes = 1L << 20;
constexpr long sgemv_n_prefetch_bytes = 1024;
// Columns after which the rest rows take their sums: sixteen columns of rest rows are a few
// dozen lines, still in the first-level cache from the groups' walk.
constexpr long sgemv_n_rest_block = 16;
// Vectors longer than this many bytes take the one-pass iamax: the two-pass form reads the data
// about one and a half times, which costs nothing in cache and half again from memory (the size
// of the second-level cache).
constexpr long iamax_one_pass_bytes = 1L << 20;
// Complex axpy on vectors longer than this many bytes runs on 32-byte vectors in the AVX-512
// build: from memory it measured 5 to 10% faster than 64-byte vectors, whose loads and stores
// straddle two lines whenever the data are not 64-byte aligned (the usual 16-byte alignment of
// allocations); in cache the wide vectors are as fast or faster (a quarter of the last-level
// cache share of one core, so that both vectors are well beyond the second level).
constexpr long caxpy_half_vector_bytes = 4L << 20;
// Copies longer than this many bytes store around the cache: the target won't be read back
// before it has been evicted (half of the last-level cache share of one core).
constexpr long copy_stream_bytes = 4L << 20;

// Which double gemv kernel serves unit increments (the prefetching one unless these say small):
// a staircase measured to keep the prefetching kernel away from tall narrow matrices, whose
// strips are few and columns short.
inline bool dgemv_n_small(long m, long n) {
  return n < 150 && m > 249 &&
         (n < 61 || (m < 701 && (n < 71 || (m < 601 && (n < 91 || (m < 501 && (n < 111 || (m < 401 && (n < 131 || m < 301)))))))));
}
inline bool dgemv_t_small(long m, long n) {
  return n < 125 && m > 274 &&
         (n < 61 || (m < 801 && (n < 76 || (m < 651 && (n < 91 || (m < 551 && (n < 106 || m < 401 || m < 451)))))));
}

// The row blocks of the triangular multiply and solve with unit increments: the diagonal block's
// rows are taken by their dots (trmv) or solved by substitution (trsv) before the rectangle below
// goes to the gemv kernels; 32 rows of a solve keep the block's triangle in the first-level cache.
constexpr int trmv_block = 64;
// Real transposed solves in blocks of 16 (as the multiply below) measured the same as 32 at
// orders 32 to 700: the solve's diagonal block is vector code already.
constexpr int trsv_block = 32;
// Real transposed multiply with unit increments: blocks of 16 rows. The diagonal block's dots were
// scalar chains (a quarter of the products per cycle of the panel's vector dots), and the panel
// beside each block streams the same columns whatever the block, so smaller blocks only move work
// from the scalar loops to the panel. Medians of runs alternating with blocks of 64 on the loaded
// machine: order 400 (second-level cache) 0.76-0.85 of the peer's time against 0.84-0.90, order
// 100 0.63-0.79 against 0.69-0.76; order 700 (last-level cache) 0.92-0.93 against 0.99-1.02 in a
// first set of three runs, 0.95-0.99 against 0.95-0.98 in two later sets of six (load average 9),
// that is within the noise. Blocks of 32 and of 8 (a call of the panel kernel per eight columns)
// measured 0.98-1.00 at 700. With the diagonal block's dots on vectors (the table's
// trmv_t_block), against 16 in one process: 32 took 1.03-1.13 times the time at orders 100 to
// 700, 8 took 0.96-0.98 at 100 but 1.10-1.14 at 400.
constexpr int trmv_transposed_block = 16;
// Complex transposed multiply with unit increments: blocks of 16 rows as well, whose diagonal
// triangles (halved down to scalar leaves, a fifth of the time at order 700 with blocks of 64)
// leave more of the work to the panels' vector dots. Against blocks of 64, both in one process
// with the peer, two runs: orders 100 to 400 0.65-0.94 of the peer's time against 0.71-1.06, 700
// 0.94-1.06 against 0.92-1.07; order 32 0.72-0.76 against 0.69-0.76.
constexpr int ctrmv_transposed_block = 16;
// Columns walked for their dots (real transposed gemv, the transposed panels of the triangular
// multiply and solve) from matrices or triangles larger than this many bytes (the second-level
// cache) come from the last-level cache or memory, and the walks ask for every line of their
// columns this far ahead, into the first-level cache with the non-temporal hint, in place of one
// request a page ahead per strip. A processor with a 1 MiB second level, both builds and the peer
// alternating in one process, matrices 16 bytes off a line: dtrmv UT/LT at order 700 0.91-0.92 of
// the peer's time against 0.96-0.97 without, dtrsv UT/LT at 700 0.87-0.92 against 0.92-1.00, at
// 2,000 0.76-0.80 against 0.88-0.90 with the former requests (1 KiB ahead into the second level,
// from 8 MB up); 1 KiB ahead into the first level 0.77-1.06, 512 bytes with the temporal hint
// 0.75-1.01. At order 400 (640 KB, second-level cache) the requests cost 5-8%. dgemv T at orders
// 700, 1,000, 2,000 and 4,000: 0.90, 1.05-1.08, 0.85 and 0.80-0.84 against 0.97-0.99, 1.21-1.25,
// 1.07-1.19 and 0.96-0.97 (in minutes when the last-level cache ran slow). The complex
// panels take the same requests: ztrsv UT/LT at 700 and 1,000 1.00-1.05 against 1.03-1.10, in
// minutes when the peer's time was 1.1 times its usual (ztrmv 0-2% faster).
constexpr long column_stream_bytes = 1L << 20;
// Vectors and matrices of this many bytes and more have a line of each page requested before the
// kernels walk them (common/pages.h): on a machine whose system calls and interrupts empty the
// translation buffer, the first call after one found every page's translation by a demand miss.
// sgemv N right after a system call, against the peer (whose walks the empty buffer barely slows):
// orders 400, 700, 1,000 and 2,000 0.98, 0.94, 0.96 and 0.82 of its time against 1.45, 1.19,
// 1.34 and 0.95 without the requests; sgemv T 1,000 1.08 against 1.24; without the system call
// the same as without requests (0.88-0.91). Up to the last bound, a few times the pages the
// second-level translation buffer holds; beyond it the walk reads from memory, at a pace the
// translations keep up with.
constexpr long translation_request_from_bytes = 64L << 10;
constexpr long translation_request_to_bytes = 64L << 20;
constexpr long column_stream_ahead_bytes = 256;
// Single-precision transposed gemv (the 32-byte kernel, four lines a column and strip) takes the
// requests only from memory: in the last-level cache they measured 4-7% faster in one set of runs
// and 0-7% slower in three later ones (orders 700 to 1,024; 1 KiB ahead 5-15% slower), at 2,000
// (16 MB) 0.82-0.86 of the peer's time against 0.90-0.93 without.
template <class T> constexpr long gemv_t_stream_bytes = sizeof(T) == 4 ? 8L << 20 : column_stream_bytes;
// Double not transposed, from matrices beyond column_stream_bytes: each block of rows asks for the
// lines of its columns this far ahead (non-temporal hint), in place of one request a page ahead
// per column. dgemv N at orders 700, 1,000, 2,000 and 4,000, two runs: 0.85-0.96, 0.84-0.90,
// 0.76-0.77 and 0.59-0.68 of the peer's time against 0.97-1.01, 0.95-0.97, 0.83-0.87 and
// 0.63-0.73; 1 KiB ahead 0.88-0.98, 0.86-0.95, 0.72 and 0.59-0.68, 2 KiB 0.94-1.11 at 700.
constexpr long gemv_n_stream_ahead_bytes = 512;
// Complex transposed blocks of the triangular multiply and solve are halved down to triangles of
// this many rows, which scalar loops take, the rectangles between halves going to the gemv
// kernels: order 32 went from 1.25-1.45 of the peer's time (a vector kernel call per row or
// column) to 0.7-0.85. Eight rows keep a leaf to a few dozen products.
constexpr long triangular_leaf = 8;

// Columns of a transposed band multiply whose dots one kernel call takes: the call's cost spread
// over 64 columns of 33 elements is a few per cent; more columns only lengthen the stack buffer.
constexpr long band_dot_group_columns = 64;

}  // namespace zvx::blas12
