// Commit: threads, fast flags, the algorithm of every dimension with its engine context, the line
// wrappers that scale after the engine, and the one workspace all compute calls share.
#include <omp.h>

#include <climits>
#include <cstring>

#include "blas/level12/kernels.h"
#include "dft/dft_api.h"
#include "dft/descriptor.h"
#include "dft/dft_tuning.h"
#include "dft/large_engine.h"
#include "dft/real_line.h"
#include "service/service.h"

namespace zvx::dft {
namespace {

using record = DftiDimensionRecord;

bool is_power_of_two(int n) { return n > 0 && (n & (n - 1)) == 0; }

// Scales one line after the engine, through the library's own level-1 kernel: a real scale of a
// complex vector is the real scale of its 2n reals.
template <class R>
void scale_line(long n, R alpha, R* data) {
  if constexpr (sizeof(R) == sizeof(float))
    blas12::kernels().s.scal(2 * n, alpha, data);
  else
    blas12::kernels().d.scal(2 * n, alpha, data);
}

// The line wrappers: the engine transforms unscaled, the record's scale of the direction follows
// when it is not 1.
template <class R, bool Forward, bool Scrambled>
int complex_line(const typename std::conditional_t<sizeof(R) == 4, complex8, complex16>* in,
                 typename std::conditional_t<sizeof(R) == 4, complex8, complex16>* out,
                 const record* r, void* scratch) {
  int status;
  if constexpr (sizeof(R) == 4) {
    PrimitiveDftContext* ctx = Scrambled ? r->context_c_scrambled : r->context_c;
    if constexpr (Scrambled)
      status = Forward ? primitive_dft_forward_c_scrambled(in, out, ctx, scratch)
                       : primitive_dft_inverse_c_scrambled(in, out, ctx, scratch);
    else
      status = Forward ? primitive_dft_forward_c(in, out, ctx, scratch)
                       : primitive_dft_inverse_c(in, out, ctx, scratch);
  } else {
    PrimitiveDftContext* ctx = Scrambled ? r->context_z_scrambled : r->context_z;
    if constexpr (Scrambled)
      status = Forward ? primitive_dft_forward_z_scrambled(in, out, ctx, scratch)
                       : primitive_dft_inverse_z_scrambled(in, out, ctx, scratch);
    else
      status = Forward ? primitive_dft_forward_z(in, out, ctx, scratch)
                       : primitive_dft_inverse_z(in, out, ctx, scratch);
  }
  if (status != engine_ok) return map_engine_status(status);
  R scale;
  if constexpr (sizeof(R) == 4)
    scale = Forward ? r->forward_scale_single : r->backward_scale_single;
  else
    scale = Forward ? r->forward_scale_double : r->backward_scale_double;
  if (scale != R(1)) scale_line<R>(r->length, scale, reinterpret_cast<R*>(out));
  return DFTI_NO_ERROR;
}

// Builds the engine context of one complex record and stores the wrappers of its order; the
// records above the first of a real descriptor always take the natural order.
int setup_complex_record(record* r, bool scrambled) {
  const bool single = r->precision == DFTI_SINGLE;
  const int type = single ? (scrambled ? context_complex_single_scrambled : context_complex_single)
                          : (scrambled ? context_complex_double_scrambled : context_complex_double);
  PrimitiveDftContext* ctx = nullptr;
  int status = primitive_dft_create(&ctx, type, r->length, scale_none, 0);
  if (status != engine_ok) return map_engine_status(status);
  (single ? (scrambled ? r->context_c_scrambled : r->context_c)
          : (scrambled ? r->context_z_scrambled : r->context_z)) = ctx;
  int bytes = 0;
  status = primitive_dft_buffer_size(ctx, &bytes);
  if (status != engine_ok) return map_engine_status(status);
  if (bytes > r->engine_buffer_size) r->engine_buffer_size = bytes;
  r->not_power_of_two = 1;  // the dimension runs through the line engine
  if (single) {
    r->forward_c = scrambled ? complex_line<float, true, true> : complex_line<float, true, false>;
    r->backward_c = scrambled ? complex_line<float, false, true> : complex_line<float, false, false>;
  } else {
    r->forward_z = scrambled ? complex_line<double, true, true> : complex_line<double, true, false>;
    r->backward_z =
        scrambled ? complex_line<double, false, true> : complex_line<double, false, false>;
  }
  return DFTI_NO_ERROR;
}

// Which engine a complex record takes. Long power-of-two lines in scrambled order run on the large
// engine, which splits into blocks that thread. Long ordered double lines that may thread (two
// threads or more, one dimension, not out of place with unit strides) take the hybrid: both
// engines are built; a direction whose scale is exactly 1 keeps the line engine's wrapper, so with
// both scales 1 the transform stays serial on the line engine, and only with both scales other
// than 1 can the threaded entry run.
enum class complex_route { engine, large, hybrid };

complex_route route_of(const record* first, const record* r) {
  if (!is_power_of_two(r->length)) return complex_route::engine;
  const bool single = r->precision == DFTI_SINGLE;
  const int limit = single ? tuning::kLargeLengthSingle : tuning::kLargeLengthDouble;
  if (r->length <= limit) return complex_route::engine;
  if (r->ordering == DFTI_BACKWARD_SCRAMBLED) return complex_route::large;
  const bool hybrid = !single && first->thread_count >= 2 && first->rank == 1 &&
                      !(first->placement == DFTI_NOT_INPLACE && first->input_stride == 1 &&
                        first->output_stride == 1);
  return hybrid ? complex_route::hybrid : complex_route::engine;
}

int setup_complex_route(const record* first, record* r) {
  const complex_route route = route_of(first, r);
  if (route == complex_route::engine)
    return setup_complex_record(r, r->ordering == DFTI_BACKWARD_SCRAMBLED);
  int status = setup_large_record(r);
  if (status != DFTI_NO_ERROR || route == complex_route::large) return status;
  status = setup_complex_record(r, false);  // the line engine's context and wrappers in both slots
  if (status != DFTI_NO_ERROR) return status;
  r->not_power_of_two = 0;
  if (r->forward_scale_double == 1.0) r->not_power_of_two = 1;
  else r->forward_z = large_forward_z;
  if (r->backward_scale_double == 1.0) r->not_power_of_two = 1;
  else r->backward_z = large_backward_z;
  return DFTI_NO_ERROR;
}

// The real slots of one record, the engine entries of its format and its real context. Records
// above the first also carry the complex lines their dimension runs on (the columns of the packed
// half spectrum), always in natural order.
template <class R>
int setup_real_record(record* first, record* r) {
  const bool single = sizeof(R) == sizeof(float);
  if (r->dimension_index > 0) {
    // The complex columns of the half spectrum. Single-precision powers of two above the
    // large-engine limit run on the large engine as complex lines of that length do, unless the
    // transform is out of place with unit strides.
    const bool unit_out_of_place = first->placement == DFTI_NOT_INPLACE &&
                                   first->input_stride == 1 && first->output_stride == 1;
    const int status = single && is_power_of_two(r->length) &&
                               r->length > tuning::kLargeLengthSingle && !unit_out_of_place
                           ? setup_large_record(r)
                           : setup_complex_record(r, false);
    if (status != DFTI_NO_ERROR) return status;
  }
  real_entry_fn forward, backward;
  const auto entry = [](auto fn) {
    return reinterpret_cast<real_entry_fn>(reinterpret_cast<void (*)()>(fn));
  };
  const int fmt = r->packed_format;
  if (r->conjugate_even_storage == DFTI_COMPLEX_COMPLEX || fmt == DFTI_CCS_FORMAT) {
    forward = single ? entry(primitive_dft_forward_s_ccs) : entry(primitive_dft_forward_d_ccs);
    backward = single ? entry(primitive_dft_inverse_s_ccs) : entry(primitive_dft_inverse_d_ccs);
  } else if (fmt == DFTI_PACK_FORMAT) {
    forward = single ? entry(primitive_dft_forward_s_pack) : entry(primitive_dft_forward_d_pack);
    backward = single ? entry(primitive_dft_inverse_s_pack) : entry(primitive_dft_inverse_d_pack);
  } else if (fmt == DFTI_PERM_FORMAT) {
    forward = single ? entry(primitive_dft_forward_s_perm) : entry(primitive_dft_forward_d_perm);
    backward = single ? entry(primitive_dft_inverse_s_perm) : entry(primitive_dft_inverse_d_perm);
  } else {
    return DFTI_UNIMPLEMENTED;  // CCE layout asked for without conjugate-even storage as complex
  }
  if (single) {
    r->real_forward_s = forward;
    r->real_backward_s = backward;
    r->forward_s = real_forward_slot<float>;
    r->backward_s = real_backward_slot<float>;
  } else {
    r->real_forward_d = forward;
    r->real_backward_d = backward;
    r->forward_d = real_forward_slot<double>;
    r->backward_d = real_backward_slot<double>;
  }
  r->not_power_of_two = is_power_of_two(r->length) ? 0 : 1;
  PrimitiveDftContext* ctx = nullptr;
  int status = primitive_dft_create(&ctx, single ? context_real_single : context_real_double,
                                    r->length, scale_none, 0);
  if (status == engine_ok) {
    (single ? r->context_s : r->context_d) = ctx;
    int bytes = 0;
    status = primitive_dft_buffer_size(ctx, &bytes);
    if (status == engine_ok && bytes > r->engine_buffer_size) r->engine_buffer_size = bytes;
  }
  status = map_engine_status(status);
  // Short lines with a scale of 1 skip the wrapper: powers of two up to the engine's straight-line
  // limit take the straight-line kernels, which read the record's format themselves.
  if (scale_of<R>(r, true) == R(1) && r->length <= tuning::kRealShortLength) {
    r->not_power_of_two = 0;
    status = DFTI_NO_ERROR;
    if (small_kernel<R>(r->length, true) != nullptr) {
      if (single) r->forward_s = small_forward_slot<float>;
      else r->forward_d = small_forward_slot<double>;
    }
  }
  if (scale_of<R>(r, false) == R(1) && r->length <= tuning::kRealShortLength) {
    r->not_power_of_two = 0;
    status = DFTI_NO_ERROR;
    if (small_kernel<R>(r->length, false) != nullptr) {
      if (single) r->backward_s = small_backward_slot<float>;
      else r->backward_d = small_backward_slot<double>;
    }
    r->perm_input = first->placement != DFTI_INPLACE && first->rank > 1 &&
                            (r->packed_format == DFTI_CCS_FORMAT ||
                             r->packed_format == DFTI_CCE_FORMAT)
                        ? 1
                        : 0;
  }
  return status;
}

// A commit that fails leaves nothing built and the descriptor uncommitted, so that a compute call
// reports status 2 instead of running on released tables, and the caller can reconfigure.
int fail(record* first, int status) {
  release_committed(first);
  first->commit_status = DFTI_UNCOMMITTED;
  return status;
}

}  // namespace

void release_committed(record* first) {
  if (first->user_thread_flags != nullptr) zvx::scratch_free(first->user_thread_flags);
  first->user_thread_flags = nullptr;
  if (first->workspace != nullptr) zvx::scratch_free(first->workspace);
  first->workspace = nullptr;
  record* last = first;
  while (last->next != nullptr) last = last->next;
  for (record* r = last; r != nullptr; r = r->previous) {
    r->workspace_size = 0;
    r->engine_buffer_size = 0;
    for (PrimitiveDftContext** ctx : {&r->context_c, &r->context_z, &r->context_s, &r->context_d,
                                      &r->context_c_scrambled, &r->context_z_scrambled}) {
      primitive_dft_free(*ctx);
      *ctx = nullptr;
    }
    for (void** table : {&r->large_table_single, &r->large_table_double}) {
      if (*table != nullptr) zvx::scratch_free(*table);
      *table = nullptr;
    }
    r->forward_c = r->backward_c = nullptr;
    r->forward_z = r->backward_z = nullptr;
    r->forward_s = r->backward_s = nullptr;
    r->forward_d = r->backward_d = nullptr;
    r->parallel_forward_c = r->parallel_backward_c = nullptr;
    r->parallel_forward_z = r->parallel_backward_z = nullptr;
    r->real_forward_s = r->real_backward_s = nullptr;
    r->real_forward_d = r->real_backward_d = nullptr;
  }
}

}  // namespace zvx::dft

using namespace zvx::dft;

int zvx::dft::commit_descriptor(DFTI_DESCRIPTOR_HANDLE* handle) {
  if (handle == nullptr || *handle == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  DftiDimensionRecord* first = *handle;
  if (!has_tag(first)) return DFTI_BAD_DESCRIPTOR;
  release_committed(first);

  const bool real = first->forward_domain == DFTI_REAL;
  // Threads: decided here once; a later change of the policy does not reach this descriptor.
  const bool user_threads = first->number_of_user_threads > 1;
  if (user_threads) {
    first->thread_count = 1;
    first->two_d_direct = 0;
    // Each caller takes its own scratch through the busy flags, so no call may bypass them.
    first->direct_call = 0;
    const long bytes = static_cast<long>(first->number_of_user_threads) * tuning::kUserLineBytes;
    if (bytes > UINT_MAX) return fail(first, DFTI_MEMORY_ERROR);
    first->user_thread_flags = static_cast<int32_t*>(
        zvx::scratch_allocate(static_cast<unsigned>(bytes), tuning::kUserLineBytes));
    if (first->user_thread_flags == nullptr) return fail(first, DFTI_MEMORY_ERROR);
    memset(first->user_thread_flags, 0, static_cast<size_t>(bytes));
  } else {
    first->thread_count =
        zvx::serial_policy() == 1 || omp_in_parallel() ? 1 : omp_get_max_threads();
  }

  const bool unit_line =
      first->rank == 1 && first->input_stride == 1 && first->output_stride == 1;
  if (!real) {
    const int direct_limit = first->precision == DFTI_SINGLE ? tuning::kDirectLengthSingle
                                                             : tuning::kDirectLengthDouble;
    first->single_direct =
        unit_line && first->number_of_transforms == 1 && first->length < direct_limit ? 1 : 0;
  } else if (first->packed_format == DFTI_CCE_FORMAT &&
             (first->input_offset != 0 || first->output_offset != 0)) {
    first->single_direct = 0;
  } else {
    // The value is the count of transforms: only a single line is direct (flag 1); CCS lines are
    // direct up to a length where the frame's cost is noise.
    const int ccs_limit = first->precision == DFTI_SINGLE ? tuning::kDirectRealCcsSingle
                                                          : tuning::kDirectRealCcsDouble;
    const bool fits = first->packed_format != DFTI_CCS_FORMAT || first->length <= ccs_limit;
    first->single_direct = unit_line && fits ? first->number_of_transforms : 0;
  }
  if (!user_threads) {
    first->direct_call = first->single_direct == 1 ? 1 : 0;
    first->two_d_direct = first->number_of_transforms == 1 && first->rank == 2 &&
                                  first->product_of_lengths < tuning::kTwoDDirectElements
                              ? 1
                              : 0;
    if (real && first->conjugate_even_storage == DFTI_COMPLEX_COMPLEX &&
        first->placement == DFTI_INPLACE)
      first->two_d_direct = 0;
  }

  first->workspace_size = 0;
  for (DftiDimensionRecord* r = first; r != nullptr; r = r->next) {
    r->input_offset = first->input_offset;
    r->output_offset = first->output_offset;
    r->input_distance = first->input_distance;
    r->output_distance = first->output_distance;
    r->forward_domain = first->forward_domain;
    r->precision = first->precision;
    r->ordering = first->ordering;
    r->complex_storage = first->complex_storage;
    r->real_storage = first->real_storage;
    r->conjugate_even_storage = first->conjugate_even_storage;
    r->packed_format = first->packed_format;
    r->number_of_transforms = first->number_of_transforms;
    r->placement = first->placement;
    r->transpose = first->transpose;
    r->dimension_index = static_cast<int32_t>(r - first);
    int status;
    if (real) {
      if (first->conjugate_even_storage != DFTI_COMPLEX_COMPLEX && first->rank == 3)
        return fail(first, DFTI_UNIMPLEMENTED);
      r->perm_input = 0;
      status = first->precision == DFTI_SINGLE ? setup_real_record<float>(first, r)
                                               : setup_real_record<double>(first, r);
    } else {
      status = setup_complex_route(first, r);
    }
    if (status != DFTI_NO_ERROR) return fail(first, status);
    if (r->unsupported == 1) return fail(first, DFTI_UNIMPLEMENTED);
    if (r->engine_buffer_size > first->workspace_size) first->workspace_size = r->engine_buffer_size;
  }

  first->workspace_size += tuning::kWorkspacePad;
  if (user_threads) {
    const long line = tuning::kUserLineBytes;
    first->workspace_size = (first->workspace_size + line - 1) / line * line;
  }
  const long blocks = user_threads ? first->number_of_user_threads : first->thread_count;
  const long bytes = first->workspace_size * blocks;
  if (bytes > UINT_MAX) return fail(first, DFTI_MEMORY_ERROR);
  first->workspace =
      zvx::scratch_allocate(static_cast<unsigned>(bytes), user_threads ? tuning::kUserLineBytes : 0);
  if (first->workspace == nullptr) return fail(first, DFTI_MEMORY_ERROR);
  for (DftiDimensionRecord* r = first; r != nullptr; r = r->next) r->commit_status = DFTI_COMMITTED;
  return DFTI_NO_ERROR;
}

// The exported names forward to the bodies above, which the other subsystems call.
ZVX_EXPORT int dfti_commit_descriptor_external(DFTI_DESCRIPTOR_HANDLE* handle) {
  return zvx::dft::commit_descriptor(handle);
}
