// The threaded functions of the real families. The regions have the form of the complex ones: a
// loop of exactly T iterations, statically scheduled, iteration i working on the i-th chunk of
// one index range with the i-th block of the workspace, the first failure kept under the
// subsystem's critical section. A rank-2 transform has a rows region and a region over the
// complex columns of the half spectrum; the real columns of the packed formats (two at most) run
// on the calling thread between them. Rank 3 has a planes region and a region over the lines
// along the last dimension; many transforms, a transforms region. Chunks call the stages of the
// serial frame, so the result does not depend on the number of threads.
#include <omp.h>

#include "dft/compute_real.h"

namespace zvx::dft {
namespace {

// Runs stage(lo, hi, scratch) on T chunks of [0, total).
template <class F>
int chunks(const DftiDimensionRecord* first, int T, long total, F stage) {
  const long size = ceil_div(total, T);
  return region(first, T, T, [&](long i, void* scratch) {
    const long lo = i * size, hi = lo + size < total ? lo + size : total;
    return lo < hi ? stage(lo, hi, scratch) : static_cast<int>(DFTI_NO_ERROR);
  });
}

template <class R>
int parallel_plane(const real_call<R>& c, int T) {
  const plane<R> p = plane_of(c, c.in, c.out);
  const long cols = p.complex_columns_count();
  auto rows = [&](long lo, long hi, void* s) { return plane_rows(p, lo, hi, s); };
  auto columns = [&](long lo, long hi, void* s) { return plane_complex_columns(p, lo, hi, s); };
  int status;
  if (p.forward) {
    status = chunks(c.first, T, p.n2, rows);
    if (status == DFTI_NO_ERROR) status = plane_real_columns(p, c.first->workspace);
    if (status == DFTI_NO_ERROR) status = chunks(c.first, T, cols, columns);
    return status;
  }
  if (p.n2 >= 2) {
    status = chunks(c.first, T, cols, columns);
    if (status == DFTI_NO_ERROR) status = plane_real_columns(p, c.first->workspace);
    if (status != DFTI_NO_ERROR) return status;
  }
  return chunks(c.first, T, p.n2, rows);
}

template <class R>
int parallel_volume(const real_call<R>& c, int T) {
  const long n2 = c.first->next->length, n3 = c.first->next->next->length;
  R* work = nullptr;
  auto planes = [&](long lo, long hi, void* s) {
    return volume_planes(c, c.in, c.out, static_cast<const R*>(work), lo, hi, s);
  };
  auto lines = [&](long lo, long hi, void* s) {
    return volume_lines(c, c.in, c.out, work, lo, hi, s);
  };
  if (c.forward) {
    const int status = chunks(c.first, T, n3, planes);
    return status != DFTI_NO_ERROR ? status : chunks(c.first, T, n2, lines);
  }
  if (!c.in_place) {
    const DftiDimensionRecord* r = c.first;
    work = reinterpret_cast<R*>(take_buffer<complex_t<R>>((r->length / 2 + 1) * n2 * n3));
    if (work == nullptr) return DFTI_MEMORY_ERROR;
  }
  int status = chunks(c.first, T, n2, lines);
  if (status == DFTI_NO_ERROR) status = chunks(c.first, T, n3, planes);
  give_buffer(work);
  return status;
}

// User-thread mode, as for the complex families: a free busy flag selects the scratch block.
template <class R>
int user_thread_call(const real_call<R>& c) {
  const DftiDimensionRecord* first = c.first;
  const long slot = take_user_slot(first);
  if (slot < 0) return DFTI_NUMBER_OF_THREADS_ERROR;
  void* scratch = scratch_of(first, slot);
  const int status = first->single_direct == 1
                         ? real_slot<R>(first, c.forward)(c.in, c.out, first, scratch)
                         : real_serial_frame(c, 0, first->number_of_transforms, scratch);
  give_user_slot(first, slot);
  return status;
}

}  // namespace

template <class R>
int real_parallel_frame(const real_call<R>& c) {
  const DftiDimensionRecord* first = c.first;
  if (first->number_of_user_threads > 1) return user_thread_call(c);
  if (zvx::serial_policy() == 1 || omp_in_parallel())
    return real_serial_frame(c, 0, first->number_of_transforms, first->workspace);
  const int T = first->thread_count;
  const long count = first->number_of_transforms;
  if (count == 1) {
    // A single real line has no threaded engine: it runs on this thread.
    if (first->rank == 1 || T < 2) return real_serial_frame(c, 0, 1, first->workspace);
    return first->rank == 2 ? parallel_plane(c, T) : parallel_volume(c, T);
  }
  if (count <= 0) return DFTI_NO_ERROR;
  const long parts = count < T ? count : T;
  const long size = ceil_div(count, parts);
  return region(first, T, parts, [&](long i, void* scratch) {
    const long start = i * size;
    const long n = start + size < count ? size : count - start;
    return n > 0 ? real_serial_frame(c, start, n, scratch) : static_cast<int>(DFTI_NO_ERROR);
  });
}

template int real_parallel_frame<float>(const real_call<float>&);
template int real_parallel_frame<double>(const real_call<double>&);

namespace {

// The exported threaded functions take the data before the offsets and check like an entry.
template <class R>
int parallel_entry(DFTI_DESCRIPTOR_HANDLE* handle, bool forward, bool cplx, const R* in, R* out,
                   bool in_place) {
  const int checked = check_real_call<R>(handle, in, out);
  if (checked != DFTI_NO_ERROR) return checked;
  const DftiDimensionRecord* first = *handle;
  if (first->conjugate_even_storage == DFTI_COMPLEX_COMPLEX) cplx = true;
  else if (cplx && first->packed_format != DFTI_CCS_FORMAT) return DFTI_INCONSISTENT_CONFIGURATION;
  return real_parallel_frame(make_real_call(first, forward, cplx, in, out, in_place));
}

}  // namespace
}  // namespace zvx::dft

using namespace zvx::dft;

ZVX_EXPORT int compute_forward_s_par(DFTI_DESCRIPTOR_HANDLE* handle, float* data) {
  return parallel_entry<float>(handle, true, false, data, data, true);
}
ZVX_EXPORT int compute_backward_s_par(DFTI_DESCRIPTOR_HANDLE* handle, float* data) {
  return parallel_entry<float>(handle, false, false, data, data, true);
}
ZVX_EXPORT int compute_forward_s_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                         float* out) {
  return parallel_entry<float>(handle, true, false, in, out, false);
}
ZVX_EXPORT int compute_backward_s_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                          float* out) {
  return parallel_entry<float>(handle, false, false, in, out, false);
}
ZVX_EXPORT int compute_forward_d_par(DFTI_DESCRIPTOR_HANDLE* handle, double* data) {
  return parallel_entry<double>(handle, true, false, data, data, true);
}
ZVX_EXPORT int compute_backward_d_par(DFTI_DESCRIPTOR_HANDLE* handle, double* data) {
  return parallel_entry<double>(handle, false, false, data, data, true);
}
ZVX_EXPORT int compute_forward_d_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                         double* out) {
  return parallel_entry<double>(handle, true, false, in, out, false);
}
ZVX_EXPORT int compute_backward_d_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                          double* out) {
  return parallel_entry<double>(handle, false, false, in, out, false);
}
ZVX_EXPORT int _zvx_dft_compute_forward_sc_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return parallel_entry<float>(handle, true, true, static_cast<float*>(data),
                               static_cast<float*>(data), true);
}
ZVX_EXPORT int compute_forward_sc_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                          zvx_complex8* out) {
  return parallel_entry<float>(handle, true, true, in, reinterpret_cast<float*>(out), false);
}
ZVX_EXPORT int _zvx_dft_compute_backward_cs_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return parallel_entry<float>(handle, false, true, static_cast<float*>(data),
                               static_cast<float*>(data), true);
}
ZVX_EXPORT int compute_backward_cs_out_par(DFTI_DESCRIPTOR_HANDLE* handle,
                                           const zvx_complex8* in, float* out) {
  return parallel_entry<float>(handle, false, true, reinterpret_cast<const float*>(in), out,
                               false);
}
ZVX_EXPORT int _zvx_dft_compute_forward_dz_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return parallel_entry<double>(handle, true, true, static_cast<double*>(data),
                                static_cast<double*>(data), true);
}
ZVX_EXPORT int compute_forward_dz_out_par(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                          zvx_complex16* out) {
  return parallel_entry<double>(handle, true, true, in, reinterpret_cast<double*>(out), false);
}
ZVX_EXPORT int _zvx_dft_compute_backward_zd_par(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return parallel_entry<double>(handle, false, true, static_cast<double*>(data),
                                static_cast<double*>(data), true);
}
ZVX_EXPORT int compute_backward_zd_out_par(DFTI_DESCRIPTOR_HANDLE* handle,
                                           const zvx_complex16* in, double* out) {
  return parallel_entry<double>(handle, false, true, reinterpret_cast<const double*>(in), out,
                                false);
}
