// The threaded functions of the complex families. Every region has one form: a loop of exactly T
// iterations, statically scheduled, iteration i working on the i-th chunk of one index range with
// the i-th block of the workspace; its status goes into a shared word under the subsystem's
// critical section when that word is still 0, so the first failure wins; the region's end is its
// barrier. The chunks call the same routines as the serial frame, so the result does not depend
// on the number of threads.
#include <omp.h>

#include "dft/compute.h"

namespace zvx::dft {
namespace {

// Rank 2, one transform: the rows region, then the columns region on the output.
template <class E>
int parallel_two_d(const call<E>& c, int T) {
  const geometry g = geometry_of(c.first, c.in_place);
  const long n1 = g.n[0], n2 = g.n[1];
  const line_job<E> rows = job_of<E>(g.rec[0], c.forward);
  const long row_chunk = ceil_div(n2, T);
  int status = region(c.first, T, T, [&](long i, void* scratch) {
    const long r0 = i * row_chunk, r1 = r0 + row_chunk < n2 ? r0 + row_chunk : n2;
    if (r0 >= r1) return static_cast<int>(DFTI_NO_ERROR);
    E* buf = nullptr;
    if (g.is[0] != 1 || g.os[0] != 1 ||
        (rows.group != nullptr && g.is[1] == 1 && g.os[1] == 1)) {
      buf = take_buffer<E>(walk_elements(rows, n1, 0));
      if (buf == nullptr) return static_cast<int>(DFTI_MEMORY_ERROR);
    }
    const int s = rows_pass(rows, n1, c.in, g.is[0], g.is[1], c.out, g.os[0], g.os[1], r0, r1, buf,
                            scratch);
    give_buffer(buf);
    return s;
  });
  if (status != DFTI_NO_ERROR || n2 == 1) return status;
  const line_job<E> cols = job_of<E>(g.rec[1], c.forward);
  const long col_chunk = ceil_div(n1, T);
  const int level = column_batch_level<E>(n2);
  return region(c.first, T, T, [&](long i, void* scratch) {
    const long c0 = i * col_chunk, c1 = c0 + col_chunk < n1 ? c0 + col_chunk : n1;
    if (c0 >= c1) return static_cast<int>(DFTI_NO_ERROR);
    E* buf = take_buffer<E>(walk_elements(cols, n2, level));
    if (buf == nullptr) return static_cast<int>(DFTI_MEMORY_ERROR);
    const int s = columns_pass(cols, n2, c.out, g.os[0], g.os[1], c0, c1, buf, level, scratch);
    give_buffer(buf);
    return s;
  });
}

// Rank 3 and up, one transform: slabs over chunks of the last index, the inner dimensions over
// the same chunks, then the last dimension over chunks of the index before it.
template <class E>
int parallel_high_rank(const call<E>& c, int T) {
  const geometry g = geometry_of(c.first, c.in_place);
  const int last = g.rank - 1;
  const long chunk = ceil_div(g.n[last], T);
  auto range = [](long i, long size, long total, long* lo, long* hi) {
    *lo = i * size;
    *hi = *lo + size < total ? *lo + size : total;
    return *lo < *hi;
  };
  int status = region(c.first, T, T, [&](long i, void* scratch) {
    long lo, hi;
    if (!range(i, chunk, g.n[last], &lo, &hi)) return static_cast<int>(DFTI_NO_ERROR);
    return slabs(g, c.forward, c.in, c.out, lo, hi, scratch);
  });
  for (int d = 2; d < last && status == DFTI_NO_ERROR; ++d) {
    status = region(c.first, T, T, [&](long i, void* scratch) {
      long lo, hi;
      if (!range(i, chunk, g.n[last], &lo, &hi)) return static_cast<int>(DFTI_NO_ERROR);
      return higher_dimension(g, d, c.forward, c.out, last, lo, hi, scratch);
    });
  }
  if (status != DFTI_NO_ERROR) return status;
  const long before = g.n[last - 1];
  const long chunk_before = ceil_div(before, T);
  return region(c.first, T, T, [&](long i, void* scratch) {
    long lo, hi;
    if (!range(i, chunk_before, before, &lo, &hi)) return static_cast<int>(DFTI_NO_ERROR);
    return higher_dimension(g, last, c.forward, c.out, last - 1, lo, hi, scratch);
  });
}

template <class E> struct parallel_of;
template <> struct parallel_of<complex8> { using fn = parallel_c_fn; };
template <> struct parallel_of<complex16> { using fn = parallel_z_fn; };

// Rank 1, one transform: the large engine's threaded entry, which works in place on a unit-stride
// line. Chunk count: T up to two threads; above, 2 for lengths up to 1024, else T, except 4 for
// eight threads below 2^21 elements, where more blocks do not pay. A strided line moves through a
// buffer; `_out` copies the input to the output first and transforms there.
template <class E>
int parallel_line(const call<E>& c, int T) {
  const DftiDimensionRecord* first = c.first;
  typename parallel_of<E>::fn entry;
  if constexpr (sizeof(E) == sizeof(complex8))
    entry = c.forward ? first->parallel_forward_c : first->parallel_backward_c;
  else
    entry = c.forward ? first->parallel_forward_z : first->parallel_backward_z;
  // Lines of the line engine have no threaded entry and run on this thread.
  if (entry == nullptr) return serial_frame(c, 0, 1, first->workspace);
  const long n = first->length;
  int chunks = T;
  if (T > 2) chunks = n <= 1024 ? 2 : (T == 8 && first->log2_length < 21 ? 4 : T);
  const long is = first->input_stride, os = c.output_stride();
  if (c.in_place && is == 1) return entry(c.out, chunks, first);
  if (!c.in_place && os == 1) {
    strided_copy(n, c.in, is, c.out, 1);
    return entry(c.out, chunks, first);
  }
  E* buf = take_buffer<E>(n);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  strided_copy(n, c.in, is, buf, 1);
  const int status = entry(buf, chunks, first);
  if (status == DFTI_NO_ERROR) strided_copy(n, buf, 1, c.out, os);
  give_buffer(buf);
  return status;
}

// User-thread mode: the caller takes a free busy flag (status 8 when all are taken), works with
// that flag's block of the workspace, and gives the flag back. The lock is held around the scan
// and the clear only, never around the transform.
template <class E>
int user_thread_call(const call<E>& c) {
  const DftiDimensionRecord* first = c.first;
  const long slot = take_user_slot(first);
  if (slot < 0) return DFTI_NUMBER_OF_THREADS_ERROR;
  void* scratch = scratch_of(first, slot);
  const int status =
      first->single_direct == 1
          ? slot_of<E>(first, c.forward)(c.in, c.out, first, scratch)
          : serial_frame(c, 0, first->number_of_transforms, scratch);
  give_user_slot(first, slot);
  return status;
}

}  // namespace

template <class E>
int parallel_frame(const call<E>& c) {
  const DftiDimensionRecord* first = c.first;
  if (first->number_of_user_threads > 1) return user_thread_call(c);
  // Asked again: a call from inside the caller's own region stays on its thread.
  if (zvx::serial_policy() == 1 || omp_in_parallel())
    return serial_frame(c, 0, first->number_of_transforms, first->workspace);
  const int T = first->thread_count;
  const long count = first->number_of_transforms;
  if (count == 1) {
    if (first->rank == 1) return parallel_line(c, T);
    return first->rank == 2 ? parallel_two_d(c, T) : parallel_high_rank(c, T);
  }
  if (count <= 0) return DFTI_NO_ERROR;
  const long chunks = count < T ? count : T;
  const long size = ceil_div(count, chunks);
  return region(first, T, chunks, [&](long i, void* scratch) {
    const long start = i * size;
    const long n = start + size < count ? size : count - start;
    return serial_frame(c, start, n, scratch);
  });
}

template int parallel_frame<complex8>(const call<complex8>&);
template int parallel_frame<complex16>(const call<complex16>&);

namespace {

// The exported threaded functions take the data before the offsets and check like an entry.
template <class E>
int parallel_entry(DFTI_DESCRIPTOR_HANDLE* handle, bool forward, const E* in, E* out,
                   bool in_place) {
  const int checked = check_call<E>(handle, in, out);
  if (checked != DFTI_NO_ERROR) return checked;
  return parallel_frame(make_call(*handle, forward, in, out, in_place));
}

}  // namespace
}  // namespace zvx::dft

using namespace zvx::dft;

ZVX_EXPORT int compute_forward_c_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data) {
  return parallel_entry<complex8>(handle, true, data, data, true);
}
ZVX_EXPORT int compute_backward_c_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data) {
  return parallel_entry<complex8>(handle, false, data, data, true);
}
ZVX_EXPORT int compute_forward_c_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                         zvx_complex8* out) {
  return parallel_entry<complex8>(handle, true, in, out, false);
}
ZVX_EXPORT int compute_backward_c_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                          zvx_complex8* out) {
  return parallel_entry<complex8>(handle, false, in, out, false);
}
ZVX_EXPORT int compute_forward_z_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data) {
  return parallel_entry<complex16>(handle, true, data, data, true);
}
ZVX_EXPORT int compute_backward_z_par(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data) {
  return parallel_entry<complex16>(handle, false, data, data, true);
}
ZVX_EXPORT int compute_forward_z_out_par(DFTI_DESCRIPTOR_HANDLE* handle,
                                         const zvx_complex16* in, zvx_complex16* out) {
  return parallel_entry<complex16>(handle, true, in, out, false);
}
ZVX_EXPORT int compute_backward_z_out_par(DFTI_DESCRIPTOR_HANDLE* handle,
                                          const zvx_complex16* in, zvx_complex16* out) {
  return parallel_entry<complex16>(handle, false, in, out, false);
}
