// Strided, batched and multi-dimensional complex transforms as line transforms. The line slots
// work on contiguous lines; these routines decide which dimension goes first, when a line moves
// through a buffer, and how many lines move together so that a walk down a column uses every
// cache line it fetches. The serial frames call them on whole index ranges, the threaded regions
// on a chunk of one index, so results do not depend on the number of threads.
#pragma once
#include <cstddef>

#include "dft/descriptor.h"
#include "dft/dft_tuning.h"
#include "service/service.h"

namespace zvx::dft {

template <class E> struct line_of;
template <> struct line_of<complex8> { using fn = line_c_fn; };
template <> struct line_of<complex16> { using fn = line_z_fn; };
template <class E> using line_fn = typename line_of<E>::fn;

// The slot of one direction of a record.
template <class E>
inline line_fn<E> slot_of(const DftiDimensionRecord* r, bool forward) {
  if constexpr (sizeof(E) == sizeof(complex8))
    return forward ? r->forward_c : r->backward_c;
  else
    return forward ? r->forward_z : r->backward_z;
}

// A line slot bound to its record, and the record's engine context when the engine's multi-line
// entry can take its lines in groups (the record's scale of the direction is 1, so the entry's
// result is the slot's).
template <class E>
struct line_job {
  line_fn<E> fn;
  const DftiDimensionRecord* rec;
  PrimitiveDftContext* group;
  bool forward;
  int run(const E* in, E* out, void* scratch) const { return fn(in, out, rec, scratch); }
  // `count` lines through the multi-line entry, with `buf` as its scratch.
  int run_lines(const E* in, long is, long il, E* out, long os, long ol, long count,
                void* buf) const {
    int status;
    if constexpr (sizeof(E) == sizeof(complex8))
      status = forward ? primitive_dft_forward_c_lines(in, is, il, out, os, ol, count, group, buf)
                       : primitive_dft_inverse_c_lines(in, is, il, out, os, ol, count, group, buf);
    else
      status = forward ? primitive_dft_forward_z_lines(in, is, il, out, os, ol, count, group, buf)
                       : primitive_dft_inverse_z_lines(in, is, il, out, os, ol, count, group, buf);
    return map_engine_status(status);
  }
};

template <class E>
inline line_job<E> job_of(const DftiDimensionRecord* r, bool forward) {
  line_job<E> job{slot_of<E>(r, forward), r, nullptr, forward};
  PrimitiveDftContext* ctx;
  bool unit_scale;
  if constexpr (sizeof(E) == sizeof(complex8)) {
    ctx = r->context_c != nullptr ? r->context_c : r->context_c_scrambled;
    unit_scale = (forward ? r->forward_scale_single : r->backward_scale_single) == 1.0f;
  } else {
    ctx = r->context_z != nullptr ? r->context_z : r->context_z_scrambled;
    unit_scale = (forward ? r->forward_scale_double : r->backward_scale_double) == 1.0;
  }
  if (unit_scale && primitive_dft_lines_grouped(ctx)) job.group = ctx;
  return job;
}

// Elements of the buffer a walk of lines of n elements takes: 2^level lines for the batches of
// the line slot, or the multi-line entry's scratch when the job has it.
template <class E>
inline long walk_elements(const line_job<E>& job, long n, int level) {
  long need = n << level;
  if (job.group != nullptr) {
    int bytes = 0;
    if (primitive_dft_lines_buffer_size(job.group, &bytes) == 0) {
      const long lines = (bytes + 64) / static_cast<long>(sizeof(E)) + 1;
      if (lines > need) need = lines;
    }
  }
  return need;
}

// A buffer of `elements` complex values from the scratch allocator, 32-byte aligned; null when
// there is no memory (or when the size does not fit the allocator).
template <class E>
inline E* take_buffer(long elements) {
  const long bytes = elements * static_cast<long>(sizeof(E));
  if (bytes <= 0 || bytes > 0xFFFFFFFFL) return nullptr;
  return static_cast<E*>(zvx::scratch_allocate(static_cast<unsigned>(bytes), 32));
}
inline void give_buffer(void* b) { zvx::scratch_free(b); }

template <class E>
inline void strided_copy(long n, const E* src, long src_stride, E* dst, long dst_stride) {
  if (src_stride == 1 && dst_stride == 1) {
    for (long k = 0; k < n; ++k) dst[k] = src[k];
    return;
  }
  for (long k = 0; k < n; ++k) dst[k * dst_stride] = src[k * src_stride];
}

// B neighbouring lines (line stride 1) of n elements at element stride `es` into B contiguous
// lines of the buffer, and back. The inner loop over the B lines reads B adjacent elements.
template <int B, class E>
inline void gather_lines(long n, const E* src, long es, E* buf) {
  for (long k = 0; k < n; ++k) {
    const E* row = src + k * es;
#pragma GCC unroll 16
    for (int j = 0; j < B; ++j) buf[j * n + k] = row[j];
  }
}
template <int B, class E>
inline void scatter_lines(long n, const E* buf, E* dst, long es) {
  for (long k = 0; k < n; ++k) {
    E* row = dst + k * es;
#pragma GCC unroll 16
    for (int j = 0; j < B; ++j) row[j] = buf[j * n + k];
  }
}

template <int B, class E>
inline int batch_of(const line_job<E>& job, long n, const E* in, long ies, E* out, long oes, E* buf,
                    void* scratch) {
  gather_lines<B>(n, in, ies, buf);
  for (int j = 0; j < B; ++j) {
    const int status = job.run(buf + j * n, buf + j * n, scratch);
    if (status != DFTI_NO_ERROR) return status;
  }
  scatter_lines<B>(n, buf, out, oes);
  return DFTI_NO_ERROR;
}

// The largest batch: 16 lines (see column_batch_level).
template <class E>
inline constexpr int max_batch_level = 4;

// Multi-line driver: `count` lines of `n` elements, element strides ies/oes, line strides
// ils/ols, from `in` to `out` (the same array in place). With unit line strides, lines move in
// batches of 2^level through `buf` (room for n << level elements), then the tail in batches of
// 8, 4, 2, 1. Otherwise one line at a time: straight when both element strides are 1, else
// through the buffer.
template <class E>
int multi_line(const line_job<E>& job, long n, const E* in, long ies, long ils, E* out, long oes,
               long ols, long count, E* buf, int level, void* scratch) {
  if (level > max_batch_level<E>) level = max_batch_level<E>;
  // Column walks go through the engine's multi-line entry when the job has it (dft_tuning.h).
  if (job.group != nullptr && count > 0 && ils == 1 && ols == 1)
    return job.run_lines(in, ies, ils, out, oes, ols, count, buf);
  if (ils != 1 || ols != 1 || level <= 0) {
    for (long l = 0; l < count; ++l) {
      const E* src = in + l * ils;
      E* dst = out + l * ols;
      int status;
      if (ies == 1 && oes == 1) {
        status = job.run(src, dst, scratch);
      } else {
        strided_copy(n, src, ies, buf, 1);
        status = job.run(buf, buf, scratch);
        if (status == DFTI_NO_ERROR) strided_copy(n, buf, 1, dst, oes);
      }
      if (status != DFTI_NO_ERROR) return status;
    }
    return DFTI_NO_ERROR;
  }
  long l = 0;
  int status = DFTI_NO_ERROR;
  auto run_batches = [&](int b) {
    const long size = 1L << b;
    while (status == DFTI_NO_ERROR && count - l >= size) {
      const E* src = in + l;
      E* dst = out + l;
      switch (b) {
        case 4: status = batch_of<16>(job, n, src, ies, dst, oes, buf, scratch); break;
        case 3: status = batch_of<8>(job, n, src, ies, dst, oes, buf, scratch); break;
        case 2: status = batch_of<4>(job, n, src, ies, dst, oes, buf, scratch); break;
        case 1: status = batch_of<2>(job, n, src, ies, dst, oes, buf, scratch); break;
        default: status = batch_of<1>(job, n, src, ies, dst, oes, buf, scratch); break;
      }
      l += size;
    }
  };
  for (int b = level; b >= 0 && status == DFTI_NO_ERROR; --b) run_batches(b);
  return status;
}

// Rows of a rank-2 slice: rows r0..r1 (index along dimension 1), each a line of n1 elements.
template <class E>
int rows_pass(const line_job<E>& job, long n1, const E* in, long is1, long is2, E* out, long os1,
              long os2, long r0, long r1, E* buf, void* scratch) {
  return multi_line(job, n1, in + r0 * is2, is1, is2, out + r0 * os2, os1, os2, r1 - r0, buf, 0,
                    scratch);
}

// Columns c0..c1 of a rank-2 slice, in place on the output: lines of n2 elements at stride os2,
// neighbouring columns os1 apart.
template <class E>
int columns_pass(const line_job<E>& job, long n2, E* out, long os1, long os2, long c0, long c1,
                 E* buf, int level, void* scratch) {
  return multi_line(job, n2, out + c0 * os1, os2, os1, out + c0 * os1, os2, os1, c1 - c0, buf,
                    os1 == 1 ? level : 0, scratch);
}

// Batch level of a column walk: lines of n elements whose neighbours are 1 element apart. Sixteen
// lines while their buffer stays small enough to live in the first-level cache with the line being
// transformed, else eight (an element row of 64 bytes or more, whole cache lines); for columns so
// long that eight of them overflow the second-level cache, four.
template <class E>
inline int column_batch_level(long n) {
  const long line_bytes = n * static_cast<long>(sizeof(E));
  if ((line_bytes << tuning::kBatchLevelWide) <= tuning::kBatchBufferBytes)
    return tuning::kBatchLevelWide;
  if ((line_bytes << tuning::kBatchLevelNarrow) <= tuning::kBatchBufferLargest)
    return tuning::kBatchLevelNarrow;
  return tuning::kBatchLevelNarrow - 1;
}

// The 2-D routine: a rank-2 transform from `in` to `out` (same array in place): rows with the
// slot of record 0, then columns with that of record 1 on the output.
template <class E>
int two_d(const DftiDimensionRecord* r0, const DftiDimensionRecord* r1, bool forward, const E* in,
          long is1, long is2, E* out, long os1, long os2, void* scratch) {
  const long n1 = r0->length, n2 = r1->length;
  const int level = os1 == 1 ? column_batch_level<E>(n2) : 0;
  const line_job<E> rows = job_of<E>(r0, forward);
  const line_job<E> cols = job_of<E>(r1, forward);
  const long need_rows = walk_elements(rows, n1, 0), need_cols = walk_elements(cols, n2, level);
  E* buf = take_buffer<E>(need_rows > need_cols ? need_rows : need_cols);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  int status = rows_pass(rows, n1, in, is1, is2, out, os1, os2, 0, n2, buf, scratch);
  if (status == DFTI_NO_ERROR && n2 >= 2)
    status = columns_pass(cols, n2, out, os1, os2, 0, n1, buf, level, scratch);
  give_buffer(buf);
  return status;
}

// Geometry of a transform of rank 3 and up, read once from the chain.
struct geometry {
  int rank;
  long n[7];
  long is[7], os[7];
  const DftiDimensionRecord* rec[7];
};

// In place, the input strides describe the one array.
inline geometry geometry_of(const DftiDimensionRecord* first, bool in_place) {
  geometry g{};
  g.rank = first->rank;
  for (const DftiDimensionRecord* r = first; r != nullptr; r = r->next) {
    const int d = r->dimension_index;
    g.n[d] = r->length;
    g.is[d] = r->input_stride;
    g.os[d] = in_place ? r->input_stride : r->output_stride;
    g.rec[d] = r;
  }
  return g;
}

// Calls f(input offset, output offset) for every index tuple of the dimensions in `dims`, with
// dimension `split` restricted to [lo, hi) (split -1: no restriction). The first listed
// dimension runs fastest.
template <class F>
int for_each_tuple(const geometry& g, const int* dims, int ndims, int split, long lo, long hi,
                   F f) {
  long first[7], extent[7];
  long total = 1;
  for (int k = 0; k < ndims; ++k) {
    const int d = dims[k];
    first[k] = d == split ? lo : 0;
    extent[k] = d == split ? hi - lo : g.n[d];
    if (extent[k] <= 0) return DFTI_NO_ERROR;
    total *= extent[k];
  }
  for (long t = 0; t < total; ++t) {
    long rest = t, ioff = 0, ooff = 0;
    for (int k = 0; k < ndims; ++k) {
      const long idx = first[k] + rest % extent[k];
      rest /= extent[k];
      ioff += idx * g.is[dims[k]];
      ooff += idx * g.os[dims[k]];
    }
    const int status = f(ioff, ooff);
    if (status != DFTI_NO_ERROR) return status;
  }
  return DFTI_NO_ERROR;
}

// Slabs: the 2-D routine on every (dimension 0, dimension 1) slice, from in to out, with the
// last dimension restricted to [lo, hi).
template <class E>
int slabs(const geometry& g, bool forward, const E* in, E* out, long lo, long hi, void* scratch) {
  int dims[7];
  for (int d = 2; d < g.rank; ++d) dims[d - 2] = d;
  return for_each_tuple(g, dims, g.rank - 2, g.rank - 1, lo, hi, [&](long io, long oo) {
    return two_d<E>(g.rec[0], g.rec[1], forward, in + io, g.is[0], g.is[1], out + oo, g.os[0],
                    g.os[1], scratch);
  });
}

// Lines along dimension d (2 and up) on the output, for all tuples of the other dimensions above
// 0, with dimension `split` restricted to [lo, hi); the dimension-0 index runs through the
// multi-line driver in batches.
template <class E>
int higher_dimension(const geometry& g, int d, bool forward, E* out, int split, long lo, long hi,
                     void* scratch) {
  if (g.n[d] == 1) return DFTI_NO_ERROR;
  const int level = g.os[0] == 1 ? column_batch_level<E>(g.n[d]) : 0;
  const line_job<E> job = job_of<E>(g.rec[d], forward);
  E* buf = take_buffer<E>(walk_elements(job, g.n[d], level));
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  int dims[7], nd = 0;
  for (int k = 1; k < g.rank; ++k)
    if (k != d) dims[nd++] = k;
  const int status = for_each_tuple(g, dims, nd, split, lo, hi, [&](long, long oo) {
    return multi_line(job, g.n[d], out + oo, g.os[d], g.os[0], out + oo, g.os[d], g.os[0], g.n[0],
                      buf, level, scratch);
  });
  give_buffer(buf);
  return status;
}

// Rank 3 and up, serially: slabs, then every higher dimension.
template <class E>
int high_rank(const geometry& g, bool forward, const E* in, E* out, void* scratch) {
  int status = slabs(g, forward, in, out, 0, g.n[g.rank - 1], scratch);
  for (int d = 2; d < g.rank && status == DFTI_NO_ERROR; ++d)
    status = higher_dimension(g, d, forward, out, -1, 0, 0, scratch);
  return status;
}

}  // namespace zvx::dft
