// The real compute entries and their serial frame: packed results in real storage (s, d) and
// conjugate-even results as complex values (sc, dz forward; cs, zd backward). Each entry makes
// the decisions of the complex entries in the same order: checks, the direct line call,
// user-thread mode, serial, or the threaded function when the problem pays for a fork.
#include "dft/compute_real.h"

namespace zvx::dft {
namespace {

// Rank 1: every transform is one line through the record's slot, straight when both sides are
// unit stride, else through a buffer of length + 2 reals.
template <class R>
int rank1_lines(const real_call<R>& c, long start, long count, void* scratch) {
  const DftiDimensionRecord* r = c.first;
  const long n = r->length;
  const int fmt = line_format(r);
  const auto slot = real_slot<R>(r, c.forward);
  R* buf = nullptr;
  int status = DFTI_NO_ERROR;
  for (long t = start; t < start + count && status == DFTI_NO_ERROR; ++t) {
    const R* in = c.in + t * c.adist;
    R* out = c.out + t * c.bdist;
    const bool straight = c.a[0].unit() && c.b[0].unit() &&
                          (!c.in_place || static_cast<const void*>(in) == out);
    if (!straight && buf == nullptr) {
      buf = take_reals<R>(n + 2);
      if (buf == nullptr) return DFTI_MEMORY_ERROR;
    }
    status = line_through(n, c.forward, fmt, in, c.a[0], out, c.b[0], c.in_place, buf,
                          [&](const R* x, R* y) { return slot(x, y, r, scratch); });
  }
  give_buffer(buf);
  return status;
}

// The compact complex copy of a backward out-of-place rank-3 transform.
template <class R>
R* volume_work(const real_call<R>& c) {
  const DftiDimensionRecord* r = c.first;
  const long elements =
      (r->length / 2 + 1) * static_cast<long>(r->next->length) * r->next->next->length;
  return reinterpret_cast<R*>(take_buffer<complex_t<R>>(elements));
}

template <class R>
int volume_run(const real_call<R>& c, const R* in, R* out, void* scratch) {
  const long n2 = c.first->next->length, n3 = c.first->next->next->length;
  if (c.forward) {
    const int status = volume_planes(c, in, out, static_cast<const R*>(nullptr), 0, n3, scratch);
    return status != DFTI_NO_ERROR ? status
                                   : volume_lines(c, in, out, static_cast<R*>(nullptr), 0, n2, scratch);
  }
  R* work = nullptr;
  if (!c.in_place) {
    work = volume_work(c);
    if (work == nullptr) return DFTI_MEMORY_ERROR;
  }
  int status = volume_lines(c, in, out, work, 0, n2, scratch);
  if (status == DFTI_NO_ERROR) status = volume_planes(c, in, out, work, 0, n3, scratch);
  give_buffer(work);
  return status;
}

}  // namespace

template <class R>
int volume_planes(const real_call<R>& c, const R* in, R* out, const R* work, long lo, long hi,
                  void* scratch) {
  const DftiDimensionRecord* r = c.first;
  const long half = r->length / 2 + 1, n2 = r->next->length;
  for (long k = lo; k < hi; ++k) {
    plane<R> p = plane_of(c, in + k * c.a[2].s, out + k * c.b[2].s);
    if (work != nullptr) {
      p.in = work + k * 2 * half * n2;
      p.a1 = side{2, true};
      p.a2 = 2 * half;
    }
    const int status = plane_run(p, scratch);
    if (status != DFTI_NO_ERROR) return status;
  }
  return DFTI_NO_ERROR;
}

template <class R>
int volume_lines(const real_call<R>& c, const R* in, R* out, R* work, long lo, long hi,
                 void* scratch) {
  using E = complex_t<R>;
  if (c.forward) {
    const geometry g = volume_geometry(c, c.b);
    return higher_dimension<E>(g, 2, true, reinterpret_cast<E*>(out), 1, lo, hi, scratch);
  }
  if (work == nullptr) {
    const geometry g = volume_geometry(c, c.a);
    return higher_dimension<E>(g, 2, false, reinterpret_cast<E*>(const_cast<R*>(in)), 1, lo, hi,
                               scratch);
  }
  // Out of place: this range of the half spectrum moves into the compact copy first.
  const geometry src = volume_geometry(c, c.a);
  const long half = src.n[0], n2 = src.n[1], n3 = src.n[2];
  const E* from = reinterpret_cast<const E*>(in);
  E* to = reinterpret_cast<E*>(work);
  for (long k3 = 0; k3 < n3; ++k3)
    for (long k2 = lo; k2 < hi; ++k2)
      strided_copy(half, from + k2 * src.is[1] + k3 * src.is[2], src.is[0],
                   to + (k3 * n2 + k2) * half, 1);
  const side compact[3] = {{2, true}, {2 * half, true}, {2 * half * n2, true}};
  const geometry g = volume_geometry(c, compact);
  return higher_dimension<E>(g, 2, false, to, 1, lo, hi, scratch);
}

template int volume_planes<float>(const real_call<float>&, const float*, float*, const float*,
                                  long, long, void*);
template int volume_planes<double>(const real_call<double>&, const double*, double*,
                                   const double*, long, long, void*);
template int volume_lines<float>(const real_call<float>&, const float*, float*, float*, long,
                                 long, void*);
template int volume_lines<double>(const real_call<double>&, const double*, double*, double*,
                                  long, long, void*);

template <class R>
int real_serial_frame(const real_call<R>& c, long start, long count, void* scratch) {
  if (count <= 0) return DFTI_NO_ERROR;
  const int rank = c.first->rank;
  if (rank == 1) return rank1_lines(c, start, count, scratch);
  for (long t = start; t < start + count; ++t) {
    const R* in = c.in + t * c.adist;
    R* out = c.out + t * c.bdist;
    const int status =
        rank == 2 ? plane_run(plane_of(c, in, out), scratch) : volume_run(c, in, out, scratch);
    if (status != DFTI_NO_ERROR) return status;
  }
  return DFTI_NO_ERROR;
}

template int real_serial_frame<float>(const real_call<float>&, long, long, void*);
template int real_serial_frame<double>(const real_call<double>&, long, long, void*);

// Null handle or data 3, a first byte other than the tag's 5, uncommitted 2; a descriptor of
// another domain or precision has no slots for this family: 3.
template <class R>
int check_real_call(DFTI_DESCRIPTOR_HANDLE* handle, const void* in, const void* out) {
  if (handle == nullptr || *handle == nullptr || in == nullptr || out == nullptr)
    return DFTI_INCONSISTENT_CONFIGURATION;
  const DftiDimensionRecord* first = *handle;
  if (first->tag[0] != 'D') return DFTI_BAD_DESCRIPTOR;
  if (first->commit_status != DFTI_COMMITTED) return DFTI_INVALID_CONFIGURATION;
  const int precision = sizeof(R) == sizeof(float) ? DFTI_SINGLE : DFTI_DOUBLE;
  if (first->forward_domain != DFTI_REAL || first->precision != precision)
    return DFTI_INCONSISTENT_CONFIGURATION;
  return DFTI_NO_ERROR;
}

template int check_real_call<float>(DFTI_DESCRIPTOR_HANDLE*, const void*, const void*);
template int check_real_call<double>(DFTI_DESCRIPTOR_HANDLE*, const void*, const void*);

namespace {

template <class R>
int real_entry(DFTI_DESCRIPTOR_HANDLE* handle, bool forward, bool cplx, const R* in, R* out,
               bool in_place) {
  const int checked = check_real_call<R>(handle, in, out);
  if (checked != DFTI_NO_ERROR) return checked;
  const DftiDimensionRecord* first = *handle;
  // Conjugate-even storage as complex values hands the packed entries over to the complex-side
  // ones: their memory is the same, their strides count complex values. The complex-side
  // entries need a CCS layout.
  if (first->conjugate_even_storage == DFTI_COMPLEX_COMPLEX) cplx = true;
  else if (cplx && first->packed_format != DFTI_CCS_FORMAT) return DFTI_INCONSISTENT_CONFIGURATION;
  const real_call<R> c = make_real_call(first, forward, cplx, in, out, in_place);

  if (first->direct_call == 1)
    return real_slot<R>(first, forward)(c.in, c.out, first, first->workspace);
  if (first->number_of_user_threads > 1) return real_parallel_frame(c);
  const long count = first->number_of_transforms;
  if (first->thread_count == 1) return real_serial_frame(c, 0, count, first->workspace);

  bool threaded;
  const long total = static_cast<uint32_t>(first->product_of_lengths);
  if (count != 1) {
    // The limit doubles with every thread.
    threaded = static_cast<long>(first->length) * count >= (2L << first->thread_count);
  } else if (first->rank == 1) {
    threaded = false;
  } else if (first->rank == 2) {
    threaded = total >= tuning::kTwoDDirectElements && (forward || first->next->length != 1);
  } else {
    threaded = total >= tuning::kHighRankSerialElements;
  }
  return threaded ? real_parallel_frame(c) : real_serial_frame(c, 0, 1, first->workspace);
}

}  // namespace
}  // namespace zvx::dft

using namespace zvx::dft;

ZVX_EXPORT int dfti_compute_forward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data) {
  return real_entry<float>(handle, true, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_backward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data) {
  return real_entry<float>(handle, false, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_forward_s_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                          float* out) {
  return real_entry<float>(handle, true, false, in, out, false);
}
ZVX_EXPORT int dfti_compute_backward_s_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                           float* out) {
  return real_entry<float>(handle, false, false, in, out, false);
}
ZVX_EXPORT int dfti_compute_forward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data) {
  return real_entry<double>(handle, true, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_backward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data) {
  return real_entry<double>(handle, false, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_forward_d_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                          double* out) {
  return real_entry<double>(handle, true, false, in, out, false);
}
ZVX_EXPORT int dfti_compute_backward_d_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                           double* out) {
  return real_entry<double>(handle, false, false, in, out, false);
}
ZVX_EXPORT int dfti_compute_forward_sc(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return real_entry<float>(handle, true, true, static_cast<float*>(data),
                           static_cast<float*>(data), true);
}
ZVX_EXPORT int dfti_compute_forward_sc_out(DFTI_DESCRIPTOR_HANDLE* handle, const float* in,
                                           zvx_complex8* out) {
  return real_entry<float>(handle, true, true, in, reinterpret_cast<float*>(out), false);
}
ZVX_EXPORT int dfti_compute_backward_cs(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return real_entry<float>(handle, false, true, static_cast<float*>(data),
                           static_cast<float*>(data), true);
}
ZVX_EXPORT int dfti_compute_backward_cs_out(DFTI_DESCRIPTOR_HANDLE* handle,
                                            const zvx_complex8* in, float* out) {
  return real_entry<float>(handle, false, true, reinterpret_cast<const float*>(in), out, false);
}
ZVX_EXPORT int dfti_compute_forward_dz(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return real_entry<double>(handle, true, true, static_cast<double*>(data),
                            static_cast<double*>(data), true);
}
ZVX_EXPORT int dfti_compute_forward_dz_out(DFTI_DESCRIPTOR_HANDLE* handle, const double* in,
                                           zvx_complex16* out) {
  return real_entry<double>(handle, true, true, in, reinterpret_cast<double*>(out), false);
}
ZVX_EXPORT int dfti_compute_backward_zd(DFTI_DESCRIPTOR_HANDLE* handle, void* data) {
  return real_entry<double>(handle, false, true, static_cast<double*>(data),
                            static_cast<double*>(data), true);
}
ZVX_EXPORT int dfti_compute_backward_zd_out(DFTI_DESCRIPTOR_HANDLE* handle,
                                            const zvx_complex16* in, double* out) {
  return real_entry<double>(handle, false, true, reinterpret_cast<const double*>(in), out, false);
}
