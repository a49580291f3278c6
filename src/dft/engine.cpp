// The line engine's contexts and entries: create, query, free, and the forward and inverse
// entries of the four complex context types, with the engine's own allocator. The arithmetic
// lives in the pass kernels (engine_kernels_*.cpp) and the tables in engine_plan.cpp.
#include <atomic>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "dft/engine_internal.h"
#include "dft/engine_tuning.h"
#include "service/cpu_features.h"

namespace zvx::dft {
namespace {

std::atomic<int> allocations_until_failure{-1};

bool is_complex_type(int type) {
  return type == context_complex_single || type == context_complex_single_scrambled ||
         type == context_complex_double || type == context_complex_double_scrambled;
}

// Straight-line transforms of 1 to 4 points; every input is read before any output is written,
// so in and out may be the same array.
template <class T>
void fixed_kernel(int n, const T* x, T* y, int inverse) {
  if (n == 1) {
    y[0] = x[0];
    y[1] = x[1];
  } else if (n == 2) {
    const T a = x[0], b = x[1], c = x[2], d = x[3];
    y[0] = a + c;
    y[1] = b + d;
    y[2] = a - c;
    y[3] = b - d;
  } else if (n == 3) {
    constexpr T half = T(0.5), sin3 = T(0.86602540378443864676372317075294);
    const T tr = x[2] + x[4], ti = x[3] + x[5];
    const T ur = x[0] - half * tr, ui = x[1] - half * ti;
    T vr = sin3 * (x[3] - x[5]), vi = -sin3 * (x[2] - x[4]);  // -i sin3 (x1 - x2)
    if (inverse) {
      vr = -vr;
      vi = -vi;
    }
    y[0] = x[0] + tr;
    y[1] = x[1] + ti;
    y[2] = ur + vr;
    y[3] = ui + vi;
    y[4] = ur - vr;
    y[5] = ui - vi;
  } else {
    const T s02r = x[0] + x[4], s02i = x[1] + x[5], d02r = x[0] - x[4], d02i = x[1] - x[5];
    const T s13r = x[2] + x[6], s13i = x[3] + x[7];
    T d13r = x[3] - x[7], d13i = -(x[2] - x[6]);  // -i (x1 - x3)
    if (inverse) {
      d13r = -d13r;
      d13i = -d13i;
    }
    y[0] = s02r + s13r;
    y[1] = s02i + s13i;
    y[4] = s02r - s13r;
    y[5] = s02i - s13i;
    y[2] = d02r + d13r;
    y[3] = d02i + d13i;
    y[6] = d02r - d13r;
    y[7] = d02i - d13i;
  }
}

template <class T>
void scale_line(T* y, long n, T scale) {
  for (long k = 0; k < 2 * n; ++k) y[k] *= scale;
}

template <class T>
void run_plan(const PrimitiveDftContext* c, const T* in, T* out, T* work, int inverse) {
  if constexpr (sizeof(T) == sizeof(double)) engine_run_plan_double(c, in, out, work, inverse);
  else engine_run_plan_single(c, in, out, work, inverse);
}

// Chirp convolution: x(k) c(k), zero-padded to L, convolved with the conjugate chirp through two
// transforms of length L, times c(k). The inverse is the forward transform read backwards.
template <class T>
void chirp_transform(const PrimitiveDftContext* c, const T* in, T* out, T* work, int inverse) {
  const long n = c->length, L = c->chirp_length;
  const T* chirp = static_cast<const T*>(c->chirp_table);
  const T* spectrum = static_cast<const T*>(c->chirp_spectrum);
  T* y = work;
  T* fft_work = work + 2 * L;
  auto multiply = [&](const T* a, const T* b, T* dst, long count) {
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->multiply_double(a, b, dst, count);
    else c->kernels->multiply_single(a, b, dst, count);
  };
  multiply(in, chirp, y, n);
  std::memset(y + 2 * n, 0, sizeof(T) * 2 * (L - n));
  run_plan(c->chirp_context, y, y, fft_work, 0);
  multiply(y, spectrum, y, L);
  run_plan(c->chirp_context, y, y, fft_work, 1);
  multiply(y, chirp, out, n);
  if (inverse) {
    for (long k = 1; 2 * k < n; ++k) {
      T* a = out + 2 * k;
      T* b = out + 2 * (n - k);
      const T r = a[0], i = a[1];
      a[0] = b[0];
      a[1] = b[1];
      b[0] = r;
      b[1] = i;
    }
  }
}

template <class T>
void transform(const PrimitiveDftContext* c, const T* in, T* out, T* work, int inverse) {
  const long n = c->length;
  switch (c->route) {
    case route_fixed:
      fixed_kernel(static_cast<int>(n), in, out, inverse);
      break;
    case route_chirp:
      chirp_transform(c, in, out, work, inverse);
      break;
    default:
      if (!c->no_reorder) {
        run_plan(c, in, out, work, inverse);
      } else if (!inverse) {  // natural order into the second half of the work, then scattered
        T* natural = work + 2 * n;
        run_plan(c, in, natural, work, 0);
        for (long k = 0; k < n; ++k) {
          out[2 * c->permutation[k]] = natural[2 * k];
          out[2 * c->permutation[k] + 1] = natural[2 * k + 1];
        }
      } else {  // gathered from digit-reversed order, then transformed
        T* natural = work + 2 * n;
        for (long k = 0; k < n; ++k) {
          natural[2 * k] = in[2 * c->permutation[k]];
          natural[2 * k + 1] = in[2 * c->permutation[k] + 1];
        }
        run_plan(c, natural, out, work, 1);
      }
      break;
  }
  if (inverse ? c->scale_inverse : c->scale_forward)
    scale_line(out, n, static_cast<T>(c->scale));
}

}  // namespace

void engine_transform_single(const PrimitiveDftContext* context, const float* in, float* out,
                             float* work, int inverse) {
  transform(context, in, out, work, inverse);
}
void engine_transform_double(const PrimitiveDftContext* context, const double* in, double* out,
                             double* work, int inverse) {
  transform(context, in, out, work, inverse);
}

namespace {

template <class T, class C>
int compute(const C* in, C* out, PrimitiveDftContext* c, void* scratch, int type, int inverse) {
  if (c == nullptr) return engine_null;
  if (c->type_id != type) return engine_bad_type;
  if (in == nullptr || out == nullptr) return engine_null;
  const T* x = reinterpret_cast<const T*>(in);
  T* y = reinterpret_cast<T*>(out);
  void* owned = nullptr;
  T* work = nullptr;
  if (c->buffer_size > 0) {
    if (scratch == nullptr) {
      owned = engine_allocate(c->buffer_size);
      if (owned == nullptr) return engine_no_memory;
      scratch = owned;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(scratch);
    work = reinterpret_cast<T*>((address + 31) & ~static_cast<std::uintptr_t>(31));
  }
  transform(c, x, y, work, inverse);
  engine_free(owned);
  return engine_ok;
}

long batch_of(const PrimitiveDftContext* c) {
  return c->is_double ? tuning::lines_batch_double : tuning::lines_batch_single;
}

// Scratch of the multi-line entry in bytes, before alignment: two batch buffers, or one line and
// the single-line scratch.
long lines_scratch_bytes(const PrimitiveDftContext* c) {
  const long element = c->is_double ? 2 * sizeof(double) : 2 * sizeof(float);
  if (c->batch_plan.pass_count > 0) return 2 * c->length * batch_of(c) * element;
  return c->length * element + c->buffer_size + 32;
}

template <class T, class C>
int compute_lines(const C* in, long is, long id, C* out, long os, long od, long count,
                  PrimitiveDftContext* c, void* scratch, int type_a, int type_b, int inverse) {
  if (c == nullptr) return engine_null;
  if (c->type_id != type_a && c->type_id != type_b) return engine_bad_type;
  if (in == nullptr || out == nullptr) return engine_null;
  if (count < 0) return engine_bad_length;
  if (count == 0) return engine_ok;
  void* owned = nullptr;
  if (scratch == nullptr) {
    owned = engine_allocate(lines_scratch_bytes(c));
    if (owned == nullptr) return engine_no_memory;
    scratch = owned;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(scratch);
  T* buf = reinterpret_cast<T*>((address + 31) & ~static_cast<std::uintptr_t>(31));
  const long n = c->length;
  if (c->batch_plan.pass_count == 0) {
    const T* x = reinterpret_cast<const T*>(in);
    T* y = reinterpret_cast<T*>(out);
    // One line at a time through the buffer, with the single-line scratch behind it.
    const auto after = reinterpret_cast<std::uintptr_t>(buf + 2 * n);
    T* work = reinterpret_cast<T*>((after + 31) & ~static_cast<std::uintptr_t>(31));
    for (long l = 0; l < count; ++l) {
      const T* src = x + 2 * l * id;
      for (long k = 0; k < n; ++k) {
        buf[2 * k] = src[2 * k * is];
        buf[2 * k + 1] = src[2 * k * is + 1];
      }
      transform(c, buf, buf, work, inverse);
      T* dst = y + 2 * l * od;
      for (long k = 0; k < n; ++k) {
        dst[2 * k * os] = buf[2 * k];
        dst[2 * k * os + 1] = buf[2 * k + 1];
      }
    }
    engine_free(owned);
    return engine_ok;
  }
  constexpr long B = sizeof(T) == sizeof(double) ? tuning::lines_batch_double
                                                 : tuning::lines_batch_single;
  T* work = buf + 2 * n * B;
  const bool scaled = inverse ? c->scale_inverse : c->scale_forward;
  const T scale = static_cast<T>(c->scale);
  // Whole complex elements move as one value; neighbouring lines (distance 1) as one block of a
  // row, unit-stride lines line by line.
  C* const group = reinterpret_cast<C*>(buf);
  for (long l0 = 0; l0 < count; l0 += B) {
    const long b = count - l0 < B ? count - l0 : B;
    // Element k of line j to k * B + j; a short group is padded with zeros.
    const C* first = in + l0 * id;
    if (id == 1) {
      // Rows of a column walk: the rows of the next group are fetched while this one is moved
      // and transformed (a row of a group is two cache lines; rows far apart defeat the
      // hardware's stride detection).
      const bool next = l0 + 2 * B <= count;
      for (long k = 0; k < n; ++k) {
        const C* src = first + k * is;
        C* row = group + k * B;
        if (next) {
          __builtin_prefetch(src + B);
          __builtin_prefetch(src + B + B / 2);
        }
        if (b == B) {
          for (long j = 0; j < B; ++j) row[j] = src[j];
        } else {
          for (long j = 0; j < b; ++j) row[j] = src[j];
        }
      }
    } else if (is == 1) {
      for (long j = 0; j < b; ++j) {
        const C* line = first + j * id;
        for (long k = 0; k < n; ++k) group[k * B + j] = line[k];
      }
    } else {
      for (long k = 0; k < n; ++k)
        for (long j = 0; j < b; ++j) group[k * B + j] = first[k * is + j * id];
    }
    if (b < B)
      for (long k = 0; k < n; ++k) std::memset(group + k * B + b, 0, sizeof(C) * (B - b));
    if constexpr (sizeof(T) == sizeof(double)) engine_run_batch_double(c, buf, work, B, inverse);
    else engine_run_batch_single(c, buf, work, B, inverse);
    if (scaled)
      for (long i = 0; i < 2 * n * B; ++i) buf[i] *= scale;
    C* const dst = out + l0 * od;
    if (od == 1) {
      for (long k = 0; k < n; ++k) {
        C* row = dst + k * os;
        const C* src = group + k * B;
        if (b == B) {
          for (long j = 0; j < B; ++j) row[j] = src[j];
        } else {
          for (long j = 0; j < b; ++j) row[j] = src[j];
        }
      }
    } else if (os == 1) {
      for (long j = 0; j < b; ++j) {
        C* line = dst + j * od;
        for (long k = 0; k < n; ++k) line[k] = group[k * B + j];
      }
    } else {
      for (long k = 0; k < n; ++k)
        for (long j = 0; j < b; ++j) dst[k * os + j * od] = group[k * B + j];
    }
  }
  engine_free(owned);
  return engine_ok;
}

}  // namespace

int primitive_dft_lines_buffer_size(const PrimitiveDftContext* context, int* bytes) {
  if (context == nullptr || bytes == nullptr) return engine_null;
  const long need = lines_scratch_bytes(context);
  if (need > INT_MAX - 64) return engine_no_memory;
  *bytes = static_cast<int>(need);
  return engine_ok;
}

int primitive_dft_lines_grouped(const PrimitiveDftContext* context) {
  return context != nullptr && context->batch_plan.pass_count > 0 ? 1 : 0;
}

int primitive_dft_forward_c_lines(const zvx_complex8* in, long in_stride, long in_distance,
                                  zvx_complex8* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch) {
  return compute_lines<float>(in, in_stride, in_distance, out, out_stride, out_distance, count,
                              context, scratch, context_complex_single,
                              context_complex_single_scrambled, 0);
}
int primitive_dft_inverse_c_lines(const zvx_complex8* in, long in_stride, long in_distance,
                                  zvx_complex8* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch) {
  return compute_lines<float>(in, in_stride, in_distance, out, out_stride, out_distance, count,
                              context, scratch, context_complex_single,
                              context_complex_single_scrambled, 1);
}
int primitive_dft_forward_z_lines(const zvx_complex16* in, long in_stride, long in_distance,
                                  zvx_complex16* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch) {
  return compute_lines<double>(in, in_stride, in_distance, out, out_stride, out_distance, count,
                               context, scratch, context_complex_double,
                               context_complex_double_scrambled, 0);
}
int primitive_dft_inverse_z_lines(const zvx_complex16* in, long in_stride, long in_distance,
                                  zvx_complex16* out, long out_stride, long out_distance,
                                  long count, PrimitiveDftContext* context, void* scratch) {
  return compute_lines<double>(in, in_stride, in_distance, out, out_stride, out_distance, count,
                               context, scratch, context_complex_double,
                               context_complex_double_scrambled, 1);
}

const engine_kernels& dft_engine_kernels() {
  static const engine_kernels* const chosen =
      select_by_isa(&isa_portable::dft_engine_kernels(), &isa_avx2::dft_engine_kernels(),
                    &isa_avx512::dft_engine_kernels());
  return *chosen;
}

void* engine_allocate(long bytes) {
  if (bytes < 1) return nullptr;
  int left = allocations_until_failure.load(std::memory_order_relaxed);
  if (left == 0) return nullptr;
  if (left > 0) allocations_until_failure.store(left - 1, std::memory_order_relaxed);
  // The hook's block, the address of it in the word before the returned one, and room to round
  // the returned address up to 32 bytes.
  void* raw = std::calloc(1, static_cast<std::size_t>(bytes) + 32 + sizeof(void*));
  if (raw == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(raw) + sizeof(void*);
  void** block = reinterpret_cast<void**>((address + 31) & ~static_cast<std::uintptr_t>(31));
  block[-1] = raw;
  return block;
}

void engine_free(void* block) {
  if (block != nullptr) std::free(static_cast<void**>(block)[-1]);
}

void engine_fail_allocation_after(int count) {
  allocations_until_failure.store(count < 0 ? -1 : count, std::memory_order_relaxed);
}

int primitive_dft_create(PrimitiveDftContext** context, int type, int length, int flag, int hint) {
  if (context == nullptr) return engine_null;
  if (length < 1) return engine_bad_length;
  const bool real = type == context_real_single || type == context_real_double;
  if (!is_complex_type(type) && !real) return engine_bad_type;
  auto* c = static_cast<PrimitiveDftContext*>(engine_allocate(sizeof(PrimitiveDftContext)));
  if (c == nullptr) return engine_no_memory;
  c->type_id = type;
  c->length = length;
  c->hint = hint;
  c->is_double = type == context_complex_double || type == context_complex_double_scrambled ||
                 type == context_real_double;
  switch (flag) {
    case scale_none: c->scale = 1.0; break;
    case scale_forward_by_n: c->scale_forward = 1; c->scale = 1.0 / length; break;
    case scale_inverse_by_n: c->scale_inverse = 1; c->scale = 1.0 / length; break;
    case scale_both_by_sqrt_n:
      c->scale_forward = c->scale_inverse = 1;
      c->scale = static_cast<double>(1.0L / sqrtl(static_cast<long double>(length)));
      break;
    default:
      engine_free(c);
      return engine_bad_flag;
  }
  c->kernels = &dft_engine_kernels();
  const int status = real ? engine_build_real(c) : engine_build_complex(c);
  if (status != engine_ok) {
    engine_release_tables(c);
    engine_free(c);
    return status;
  }
  *context = c;
  return engine_ok;
}

int primitive_dft_buffer_size(const PrimitiveDftContext* context, int* bytes) {
  if (context == nullptr || bytes == nullptr) return engine_null;
  *bytes = context->buffer_size;
  return engine_ok;
}

int primitive_dft_free(PrimitiveDftContext* context) {
  if (context == nullptr) return engine_ok;
  engine_release_tables(context);
  engine_free(context);
  return engine_ok;
}

int primitive_dft_type(const PrimitiveDftContext* context) {
  return context == nullptr ? 0 : context->type_id;
}

int primitive_dft_route(const PrimitiveDftContext* context) {
  return context == nullptr ? 0 : context->route;
}

int primitive_dft_forward_c(const zvx_complex8* in, zvx_complex8* out, PrimitiveDftContext* context,
                            void* scratch) {
  return compute<float>(in, out, context, scratch, context_complex_single, 0);
}
int primitive_dft_inverse_c(const zvx_complex8* in, zvx_complex8* out, PrimitiveDftContext* context,
                            void* scratch) {
  return compute<float>(in, out, context, scratch, context_complex_single, 1);
}
int primitive_dft_forward_c_scrambled(const zvx_complex8* in, zvx_complex8* out,
                                      PrimitiveDftContext* context, void* scratch) {
  return compute<float>(in, out, context, scratch, context_complex_single_scrambled, 0);
}
int primitive_dft_inverse_c_scrambled(const zvx_complex8* in, zvx_complex8* out,
                                      PrimitiveDftContext* context, void* scratch) {
  return compute<float>(in, out, context, scratch, context_complex_single_scrambled, 1);
}
int primitive_dft_forward_z(const zvx_complex16* in, zvx_complex16* out,
                            PrimitiveDftContext* context, void* scratch) {
  return compute<double>(in, out, context, scratch, context_complex_double, 0);
}
int primitive_dft_inverse_z(const zvx_complex16* in, zvx_complex16* out,
                            PrimitiveDftContext* context, void* scratch) {
  return compute<double>(in, out, context, scratch, context_complex_double, 1);
}
int primitive_dft_forward_z_scrambled(const zvx_complex16* in, zvx_complex16* out,
                                      PrimitiveDftContext* context, void* scratch) {
  return compute<double>(in, out, context, scratch, context_complex_double_scrambled, 0);
}
int primitive_dft_inverse_z_scrambled(const zvx_complex16* in, zvx_complex16* out,
                                      PrimitiveDftContext* context, void* scratch) {
  return compute<double>(in, out, context, scratch, context_complex_double_scrambled, 1);
}

}  // namespace zvx::dft
