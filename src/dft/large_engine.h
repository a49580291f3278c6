// The large power-of-two engine: long complex lines (2^14 elements and up) transformed in place,
// in scrambled order, by passes that each keep their working set in one level of the cache. A
// forward transform is a decimation in frequency: column passes over the whole line take several
// of the top levels at once through a small buffer, each leaving independent blocks behind, until
// a block fits the first-level cache, where a leaf routine finishes it. The output stands in
// bit-reversed order; the backward transform is the mirror (decimation in time from bit-reversed
// input), so a scrambled forward followed by a scrambled backward needs no reordering. An ordered
// call adds a cache-blocked bit reversal.
//
// A threaded call runs the same passes on the same blocks as a serial one, so its result is the
// same to the bit: the first passes of the chain, while they leave fewer blocks than threads, run
// over the whole line with their column chunks split among the threads of one region; the blocks
// they leave go whole to the threads; the ordering step splits its tile pairs among them.
//
// Everything that depends on the length is built by setup_large_record into one table block that
// hangs off the record (large_table_double or large_table_single); compute does no trigonometry
// and allocates nothing.
#pragma once
#include <cstdint>

#include "dft/descriptor.h"

namespace zvx::dft {

// One column pass: `levels` top levels of a block of 2^log2_block elements. The block is read as
// R = 2^levels rows of S = 2^(log2_block - levels) elements; `chunk` neighbouring columns at a
// time move through a buffer, where R-point transforms run down the columns, and the twiddles of
// the block multiply the results on their way back (row b, column j: w^(j * bitrev(b)), taken as
// the product of coarse[b][j / chunk] and fine[b][j % chunk]).
struct large_column_plan {
  int log2_block;
  int levels;
  int chunk;
  int64_t coarse;  // byte offsets of the two twiddle tables from the table block
  int64_t fine;
};

// Header of a table block; the values follow it, 64-byte aligned, in the record's precision
// (complex values, real part first).
struct large_table {
  int32_t log2_length;
  int32_t is_double;
  int32_t leaf_log;        // blocks of this order and below are finished by the leaf routine
  int32_t reverse_bits;    // tile order of the ordering step; 0: element by element
  int32_t reverse_pairs;   // pairs (middle index, its reversal), middle <= reversal
  int64_t reverse_table;   // byte offset: int32 pairs, then the tile's bit reversal (int32)
  int64_t stage_radix4[31];  // byte offsets: stage of 2^s: w^j, w^2j, w^3j for j < 2^s / 4
  int64_t stage_radix2[31];  // stage of 2^s: w^j for j < 2^s / 2
  large_column_plan chain[31];  // the pass taken on a block of 2^s elements (levels 0: a leaf)
  int64_t bytes;
};

// Vector kernels of one instruction set for one precision: the leaf routine, one column pass
// with its buffer of kLargeColumnBuffer complex values, over the chunks [first, last) of the
// block's 2^(log2_block - levels) / chunk (the chunks of a pass are independent, which is what
// lets threads share one).
template <class T>
struct large_kernels_of {
  void (*leaf)(T* x, int log2_n, const large_table* t, int inverse);
  void (*column)(T* x, const large_column_plan* plan, const large_table* t, int inverse,
                 T* buffer, long first, long last);
  // The store of the ordering step: a tile of 2^q x 2^q elements (rows of 2^q, neighbours) goes
  // transposed to rows `high` elements apart, tile column c to row rev[c], each value times
  // `scale` (no product when it is 1).
  void (*order_store)(T* x, long high, const T* tile, const int32_t* rev, int q, T scale);
};
struct large_kernels {
  large_kernels_of<float> single_precision;
  large_kernels_of<double> double_precision;
};
namespace isa_portable { const large_kernels& dft_large_kernels(); }
namespace isa_avx2 { const large_kernels& dft_large_kernels(); }
namespace isa_avx512 { const large_kernels& dft_large_kernels(); }
// The table for this process's instruction set, chosen once.
const large_kernels& dft_large_kernels();

// Scratch bytes one serial call, or one block of a threaded call, works in: the column buffer
// and the two tiles of the ordering step, plus room to align them.
int64_t large_scratch_bytes(int precision);

// Builds the table of a power-of-two record (length at least 2) in the record's precision and
// stores the large engine's serial entries in its line slots and the threaded ones in its parallel
// slots; `not_power_of_two` becomes 0, and `engine_buffer_size` grows to large_scratch_bytes.
// Returns a descriptor status (1 when there is no memory). Serves the complex records of commit
// and the complex dimensions above the first of real descriptors.
int setup_large_record(DftiDimensionRecord* r);

// The entries, for tests and for commit. Serial: (input, output, record, scratch); the line is
// transformed in place in `output` (copied there first when `input` differs) and scaled by the
// record's scale of the direction; `scratch` holds large_scratch_bytes (null: taken for the call).
// Threaded: (data, thread count, record), the same result as the serial entry to the bit; each
// thread works in its block of the record's workspace when the record has one with a block per
// thread, else in scratch taken for the call.
int large_forward_z(const complex16* in, complex16* out, const DftiDimensionRecord* r, void*);
int large_backward_z(const complex16* in, complex16* out, const DftiDimensionRecord* r, void*);
int large_forward_c(const complex8* in, complex8* out, const DftiDimensionRecord* r, void*);
int large_backward_c(const complex8* in, complex8* out, const DftiDimensionRecord* r, void*);
int large_parallel_forward_z(complex16* data, int chunks, const DftiDimensionRecord* r);
int large_parallel_backward_z(complex16* data, int chunks, const DftiDimensionRecord* r);
int large_parallel_forward_c(complex8* data, int chunks, const DftiDimensionRecord* r);
int large_parallel_backward_c(complex8* data, int chunks, const DftiDimensionRecord* r);

}  // namespace zvx::dft
