// The compute frames of the real families, shared by the entries and the threaded functions.
// Addresses, strides and distances are counted in reals on both sides: a side that holds complex
// values (conjugate-even storage) has its element strides doubled and is marked complex.
#pragma once
#include "dft/compute.h"
#include "dft/multi_dim_real.h"

namespace zvx::dft {

template <class R>
struct real_call {
  const DftiDimensionRecord* first;
  bool forward;
  bool in_place;
  bool cplx;  // conjugate-even storage as complex values: the packed side is complex
  const R* in;
  R* out;
  side a[3], b[3];  // input and output side, per dimension
  long adist, bdist;
};

// The call on the data after the offsets. In place, a packed real transform describes its one
// array with the input strides; conjugate-even storage keeps both sets, since its two sides
// count different elements.
template <class R>
real_call<R> make_real_call(const DftiDimensionRecord* first, bool forward, bool cplx,
                            const R* in, R* out, bool in_place) {
  real_call<R> c{};
  c.first = first;
  c.forward = forward;
  c.in_place = in_place;
  c.cplx = cplx;
  const bool in_c = cplx && !forward, out_c = cplx && forward;
  c.in = in + first->input_offset * (in_c ? 2 : 1);
  R* out_base = in_place ? const_cast<R*>(in) : out;
  const bool shared = in_place && !cplx;
  c.out = shared ? const_cast<R*>(c.in) : out_base + first->output_offset * (out_c ? 2 : 1);
  for (const DftiDimensionRecord* r = first; r != nullptr; r = r->next) {
    const int d = r->dimension_index;
    c.a[d] = side{r->input_stride * (in_c ? 2L : 1L), in_c};
    c.b[d] = shared ? c.a[d] : side{r->output_stride * (out_c ? 2L : 1L), out_c};
  }
  c.adist = first->input_distance * (in_c ? 2L : 1L);
  c.bdist = shared ? c.adist : first->output_distance * (out_c ? 2L : 1L);
  return c;
}

template <class R>
inline auto real_slot(const DftiDimensionRecord* r, bool forward) {
  if constexpr (sizeof(R) == sizeof(float))
    return forward ? r->forward_s : r->backward_s;
  else
    return forward ? r->forward_d : r->backward_d;
}

// The rank-2 slice of the call at the given bases.
template <class R>
plane<R> plane_of(const real_call<R>& c, const R* in, R* out) {
  const DftiDimensionRecord* r0 = c.first;
  const DftiDimensionRecord* r1 = r0->next;
  return plane<R>{r0,       r1,      r0->length,
                  r1->length, c.forward, c.in_place,
                  c.cplx,   c.cplx ? static_cast<int>(DFTI_CCS_FORMAT) : r0->packed_format,
                  in,       c.a[0],  c.a[1].s,
                  out,      c.b[0],  c.b[1].s};
}

// The complex side of a rank-3 call as a geometry of complex elements: the half spectrum along
// dimension 0, the full lengths along 1 and 2. `data` is that side's base; `s` its strides in
// reals.
template <class R>
geometry volume_geometry(const real_call<R>& c, const side* s) {
  geometry g{};
  g.rank = 3;
  const DftiDimensionRecord* r = c.first;
  for (int d = 0; d < 3; ++d, r = r->next) {
    g.n[d] = d == 0 ? r->length / 2 + 1 : r->length;
    g.is[d] = g.os[d] = s[d].s / 2;
    g.rec[d] = r;
  }
  return g;
}

// Stages of a rank-3 transform (conjugate-even storage), each on a range of one index: planes
// k3 in [lo, hi), and the lines along dimension 2 for k2 in [lo, hi). Backward out of place the
// half spectrum is first copied into `work` (compact, complex), so the caller's input stays as
// it was; the planes then read from there.
template <class R>
int volume_planes(const real_call<R>& c, const R* in, R* out, const R* work, long lo, long hi,
                  void* scratch);
template <class R>
int volume_lines(const real_call<R>& c, const R* in, R* out, R* work, long lo, long hi,
                 void* scratch);

// Serial frame: `count` transforms from transform `start` on.
template <class R>
int real_serial_frame(const real_call<R>& c, long start, long count, void* scratch);
// The threaded function after the checks and offsets (the user-thread path included).
template <class R>
int real_parallel_frame(const real_call<R>& c);

// Checks of a real compute call; 0 when it may run. `cplx` entries serve conjugate-even storage.
template <class R>
int check_real_call(DFTI_DESCRIPTOR_HANDLE* handle, const void* in, const void* out);

}  // namespace zvx::dft
