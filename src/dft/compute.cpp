// The complex compute entries and their serial frame. Each entry makes the same decisions in the
// same order: checks, the direct line call, the small 2-D routine, user-thread mode, serial, or
// the threaded function when the problem is large enough to pay for a fork.
#include "dft/compute.h"

namespace zvx::dft {
namespace {

// One rank-1 transform of the serial frame.
template <class E>
int one_line(const call<E>& c, const E* in, E* out, void* scratch) {
  const DftiDimensionRecord* r = c.first;
  const line_job<E> job = job_of<E>(r, c.forward);
  const long n = r->length, is = r->input_stride, os = c.output_stride();
  if (c.in_place && is == 1) return job.run(out, out, scratch);
  if (!c.in_place && os == 1) {
    if (is == 1 && r->ordering != DFTI_BACKWARD_SCRAMBLED) return job.run(in, out, scratch);
    // Lines that only transform in place: the input moves to the output first.
    strided_copy(n, in, is, out, 1);
    return job.run(out, out, scratch);
  }
  E* buf = take_buffer<E>(n);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  strided_copy(n, in, is, buf, 1);
  int status = job.run(buf, buf, scratch);
  if (status == DFTI_NO_ERROR) strided_copy(n, buf, 1, out, os);
  give_buffer(buf);
  return status;
}

}  // namespace

template <class E>
int serial_frame(const call<E>& c, long start, long count, void* scratch) {
  if (count <= 0) return DFTI_NO_ERROR;
  const DftiDimensionRecord* first = c.first;
  const long idist = c.input_distance(), odist = c.output_distance();
  const E* in = c.in + start * idist;
  E* out = c.out + start * odist;
  const long n = first->length;
  if (first->rank == 1 && n != 1 && idist == 1 && odist == 1) {
    // Interleaved transforms: lines side by side, a column walk like the columns of a 2-D
    // transform, moved in batches through one buffer.
    const int level = column_batch_level<E>(n);
    const long lines = count < (1L << level) ? count : (1L << level);
    const line_job<E> job = job_of<E>(first, c.forward);
    const long walk = walk_elements(job, n, 0);
    E* buf = take_buffer<E>(n * lines + 128 > walk ? n * lines + 128 : walk);
    if (buf == nullptr) return DFTI_MEMORY_ERROR;
    const int status = multi_line(job, n, in, first->input_stride, 1, out, c.output_stride(), 1,
                                  count, buf, level, scratch);
    give_buffer(buf);
    return status;
  }
  const geometry g = first->rank >= 2 ? geometry_of(first, c.in_place) : geometry{};
  for (long t = 0; t < count; ++t) {
    const E* tin = in + t * idist;
    E* tout = out + t * odist;
    int status;
    if (first->rank == 1)
      status = one_line(c, tin, tout, scratch);
    else if (first->rank == 2)
      status = two_d<E>(g.rec[0], g.rec[1], c.forward, tin, g.is[0], g.is[1], tout, g.os[0],
                        g.os[1], scratch);
    else
      status = high_rank<E>(g, c.forward, tin, tout, scratch);
    if (status != DFTI_NO_ERROR) return status;
  }
  return DFTI_NO_ERROR;
}

template int serial_frame<complex8>(const call<complex8>&, long, long, void*);
template int serial_frame<complex16>(const call<complex16>&, long, long, void*);

// The checks of an entry (and of a threaded function called on its own): null handle or data 3,
// a first byte other than the tag's 5 (only that byte is compared here), uncommitted 2. A
// descriptor of another domain or precision has no slots for this family: that is an
// inconsistent call, refused before any slot is read.
template <class E>
int check_call(DFTI_DESCRIPTOR_HANDLE* handle, const void* in, const void* out) {
  if (handle == nullptr || *handle == nullptr || in == nullptr || out == nullptr)
    return DFTI_INCONSISTENT_CONFIGURATION;
  const DftiDimensionRecord* first = *handle;
  if (first->tag[0] != 'D') return DFTI_BAD_DESCRIPTOR;
  if (first->commit_status != DFTI_COMMITTED) return DFTI_INVALID_CONFIGURATION;
  const int precision = sizeof(E) == sizeof(complex8) ? DFTI_SINGLE : DFTI_DOUBLE;
  if (first->forward_domain != DFTI_COMPLEX || first->precision != precision)
    return DFTI_INCONSISTENT_CONFIGURATION;
  return DFTI_NO_ERROR;
}

template int check_call<complex8>(DFTI_DESCRIPTOR_HANDLE*, const void*, const void*);
template int check_call<complex16>(DFTI_DESCRIPTOR_HANDLE*, const void*, const void*);

// The data after the offsets, in elements of each side.
template <class E>
call<E> make_call(const DftiDimensionRecord* first, bool forward, const E* in, E* out,
                  bool in_place) {
  call<E> c{first, forward, in_place, in + first->input_offset, nullptr};
  c.out = in_place ? const_cast<E*>(c.in) : out + first->output_offset;
  return c;
}

template call<complex8> make_call(const DftiDimensionRecord*, bool, const complex8*, complex8*,
                                  bool);
template call<complex16> make_call(const DftiDimensionRecord*, bool, const complex16*, complex16*,
                                   bool);

namespace {

template <class E>
int compute_entry(DFTI_DESCRIPTOR_HANDLE* handle, bool forward, const E* in, E* out,
                  bool in_place) {
  const int checked = check_call<E>(handle, in, out);
  if (checked != DFTI_NO_ERROR) return checked;
  const DftiDimensionRecord* first = *handle;
  const call<E> c = make_call(first, forward, in, out, in_place);

  if (first->direct_call == 1)
    return slot_of<E>(first, forward)(c.in, c.out, first, first->workspace);
  if (in_place && first->two_d_direct != 0) {
    const DftiDimensionRecord* second = first->next;
    return two_d<E>(first, second, forward, c.in, first->input_stride, second->input_stride, c.out,
                    first->input_stride, second->input_stride, first->workspace);
  }
  if (first->number_of_user_threads > 1) return parallel_frame(c);
  if (first->thread_count == 1) return serial_frame(c, 0, first->number_of_transforms, first->workspace);

  bool threaded;
  const long total = static_cast<uint32_t>(first->product_of_lengths);
  if (first->number_of_transforms != 1) {
    threaded = true;
  } else if (first->rank == 1) {
    const int limit = sizeof(E) == sizeof(complex8) ? tuning::kDirectLengthSingle
                                                    : tuning::kDirectLengthDouble;
    threaded = first->length > limit && first->not_power_of_two != 1;
  } else if (first->rank == 2) {
    threaded = in_place || total >= tuning::kTwoDDirectElements;
  } else {
    threaded = total >= tuning::kHighRankSerialElements;
  }
  return threaded ? parallel_frame(c) : serial_frame(c, 0, 1, first->workspace);
}

}  // namespace
}  // namespace zvx::dft

using namespace zvx::dft;

ZVX_EXPORT int dfti_compute_forward_c(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data) {
  return compute_entry<complex8>(handle, true, data, data, true);
}
ZVX_EXPORT int dfti_compute_backward_c(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex8* data) {
  return compute_entry<complex8>(handle, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_forward_c_out(DFTI_DESCRIPTOR_HANDLE* handle, const zvx_complex8* in,
                                          zvx_complex8* out) {
  return compute_entry<complex8>(handle, true, in, out, false);
}
ZVX_EXPORT int dfti_compute_backward_c_out(DFTI_DESCRIPTOR_HANDLE* handle,
                                           const zvx_complex8* in, zvx_complex8* out) {
  return compute_entry<complex8>(handle, false, in, out, false);
}
ZVX_EXPORT int dfti_compute_forward_z(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data) {
  return compute_entry<complex16>(handle, true, data, data, true);
}
ZVX_EXPORT int dfti_compute_backward_z(DFTI_DESCRIPTOR_HANDLE* handle, zvx_complex16* data) {
  return compute_entry<complex16>(handle, false, data, data, true);
}
ZVX_EXPORT int dfti_compute_forward_z_out(DFTI_DESCRIPTOR_HANDLE* handle,
                                          const zvx_complex16* in, zvx_complex16* out) {
  return compute_entry<complex16>(handle, true, in, out, false);
}
ZVX_EXPORT int dfti_compute_backward_z_out(DFTI_DESCRIPTOR_HANDLE* handle,
                                           const zvx_complex16* in, zvx_complex16* out) {
  return compute_entry<complex16>(handle, false, in, out, false);
}
