// Real contexts of the line engine and their twelve entries. A real line of even length N is a
// complex line of N/2 pairs (x(2j), x(2j+1)): its half-length transform, recombined with the roots
// of N, gives the spectrum for half the arithmetic of a complex transform (when the half is a
// short power of two, both steps in one kernel with the line in registers). Odd lengths have no
// such pairing: short awkward ones take a direct real sum folded by symmetry, the others a
// complex transform of the whole line. Every route produces the Perm layout first; Pack and CCS
// are made from it by moving elements, and their inverse entries rebuild Perm before the
// transform.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dft/engine_internal.h"
#include "dft/engine_passes.h"
#include "dft/engine_real_passes.h"
#include "dft/engine_tuning.h"

namespace zvx::dft {
namespace {

constexpr long double two_pi = 6.283185307179586476925286766559005768L;

static_assert(tuning::real_straight_line_limit <= 16, "the straight-line kernels end at 16 points");

enum packed_layout : int { layout_ccs = 54, layout_pack = 55, layout_perm = 56 };

// Half-length contexts of the power-of-two and mixed-radix routes are in natural order and
// unscaled: their passes run directly. (Short powers of two never come here: their real lines
// run the kernels that keep the half-length line in registers.)
template <class T>
void complex_transform(const PrimitiveDftContext* c, const T* in, T* out, T* work, int inverse) {
  if (c->route == route_power_of_two || (c->route == route_mixed_radix && !c->no_reorder)) {
    if constexpr (sizeof(T) == sizeof(double)) engine_run_plan_double(c, in, out, work, inverse);
    else engine_run_plan_single(c, in, out, work, inverse);
  } else if constexpr (sizeof(T) == sizeof(double)) {
    engine_transform_double(c, in, out, work, inverse);
  } else {
    engine_transform_single(c, in, out, work, inverse);
  }
}

template <class T>
T* align32(void* p) {
  const auto address = reinterpret_cast<std::uintptr_t>(p);
  return reinterpret_cast<T*>((address + 31) & ~static_cast<std::uintptr_t>(31));
}

// The scratch as the half-length passes want it: on the 64-byte grid, like the complex entries
// align theirs. Aligned to 32 bytes only, every 512-bit access of the passes' work array split a
// cache line whenever the caller's scratch was 32 bytes off the grid.
template <class T>
T* align64(void* p) {
  const auto address = reinterpret_cast<std::uintptr_t>(p);
  return reinterpret_cast<T*>((address + 63) & ~static_cast<std::uintptr_t>(63));
}

bool off_grid(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 63) != 0; }

// The line on the 64-byte grid past the half-length context's scratch in `work`, or null when
// `y` is on the grid or the context has no such line. A caller's line off the grid (malloc gives
// 16 bytes) splits a cache line with every vector the recombination loads and stores: 2,048
// points in double took 1.72 us 16 bytes off against 1.37 on the grid. The half-length transform
// goes to this line instead, and the recombination reads it and writes the caller's line once.
template <class T>
T* grid_line(const PrimitiveDftContext* c, T* work, const T* y) {
  if (!c->real_aligned_line || !off_grid(y)) return nullptr;
  const auto p = reinterpret_cast<std::uintptr_t>(work) + c->half_context->buffer_size;
  return reinterpret_cast<T*>((p + 63) & ~static_cast<std::uintptr_t>(63));
}

// Lengths 1 to 4, Perm in and out; every input is read before an output is written.
template <class T>
void fixed_forward(int n, const T* x, T* y) {
  if (n == 1) {
    y[0] = x[0];
  } else if (n == 2) {
    const T a = x[0], b = x[1];
    y[0] = a + b;
    y[1] = a - b;
  } else if (n == 3) {
    constexpr T sin3 = T(0.86602540378443864676372317075294L);
    const T a = x[0], s = x[1] + x[2], d = x[1] - x[2];
    y[0] = a + s;
    y[1] = a - T(0.5) * s;
    y[2] = -sin3 * d;
  } else {
    const T s02 = x[0] + x[2], s13 = x[1] + x[3], d02 = x[0] - x[2], d31 = x[3] - x[1];
    y[0] = s02 + s13;
    y[1] = s02 - s13;
    y[2] = d02;
    y[3] = d31;
  }
}

template <class T>
void fixed_inverse(int n, const T* x, T* y) {
  if (n == 1) {
    y[0] = x[0];
  } else if (n == 2) {
    const T a = x[0], b = x[1];
    y[0] = a + b;
    y[1] = a - b;
  } else if (n == 3) {
    constexpr T sqrt3 = T(1.7320508075688772935274463415058723L);
    const T r0 = x[0], r1 = x[1], i1 = x[2];
    y[0] = r0 + 2 * r1;
    y[1] = r0 - r1 - sqrt3 * i1;
    y[2] = r0 - r1 + sqrt3 * i1;
  } else {
    const T r0 = x[0], r2 = x[1], r1 = x[2], i1 = x[3];
    const T s = r0 + r2, d = r0 - r2;
    y[0] = s + 2 * r1;
    y[2] = s - 2 * r1;
    y[1] = d - 2 * i1;
    y[3] = d + 2 * i1;
  }
}

// Odd length N at most the real direct limit: the sums x(j) + x(N-j) and differences
// x(j) - x(N-j) serve the cosine and the sine half of every output; t = jk mod N rotates through
// the table of cos and sin of 2 pi t / N.
template <class T>
void direct_forward(const T* x, T* y, const T* table, long n, T* work) {
  const long h = (n - 1) / 2;
  T* s = work;
  T* d = work + h + 1;
  T sum = x[0];
  for (long j = 1; j <= h; ++j) {
    s[j] = x[j] + x[n - j];
    d[j] = x[j] - x[n - j];
    sum += s[j];
  }
  const T x0 = x[0];
  y[0] = sum;
  for (long k = 1; k <= h; ++k) {
    T re = x0, im = 0;
    long t = 0;
    for (long j = 1; j <= h; ++j) {
      t += k;
      if (t >= n) t -= n;
      re += s[j] * table[2 * t];
      im -= d[j] * table[2 * t + 1];
    }
    y[2 * k - 1] = re;
    y[2 * k] = im;
  }
}

template <class T>
void direct_inverse(const T* x, T* y, const T* table, long n, T* work) {
  const long h = (n - 1) / 2;
  T* re = work;
  T* im = work + h + 1;
  const T r0 = x[0];
  T sum = r0;
  for (long k = 1; k <= h; ++k) {
    re[k] = 2 * x[2 * k - 1];
    im[k] = 2 * x[2 * k];
    sum += re[k];
  }
  y[0] = sum;
  for (long m = 1; m <= h; ++m) {
    T a = r0, b = 0;
    long t = 0;
    for (long k = 1; k <= h; ++k) {
      t += m;
      if (t >= n) t -= n;
      a += re[k] * table[2 * t];
      b += im[k] * table[2 * t + 1];
    }
    y[m] = a - b;
    y[n - m] = a + b;
  }
}

// Perm (in out) to the layout of `format`.
template <class T>
void perm_to_format(T* y, long n, int format) {
  if (format == layout_ccs) {
    if (n % 2 == 0) {
      const T half = y[1];
      y[1] = 0;
      y[n] = half;
      y[n + 1] = 0;
    } else {
      std::memmove(y + 2, y + 1, sizeof(T) * (n - 1));
      y[1] = 0;
    }
  } else if (format == layout_pack && n % 2 == 0 && n >= 4) {
    const T half = y[1];
    std::memmove(y + 1, y + 2, sizeof(T) * (n - 2));
    y[n - 1] = half;
  }
}

// The layout of `format` in x to Perm in y (which may be x).
template <class T>
void format_to_perm(const T* x, T* y, long n, int format) {
  if (format == layout_ccs) {
    if (n % 2 == 0) {
      const T half = x[n];
      y[0] = x[0];
      if (x != y) std::memcpy(y + 2, x + 2, sizeof(T) * (n - 2));
      y[1] = half;
    } else {
      y[0] = x[0];
      std::memmove(y + 1, x + 2, sizeof(T) * (n - 1));
    }
  } else if (format == layout_pack && n % 2 == 0 && n >= 4) {
    const T half = x[n - 1];
    const T first = x[0];
    std::memmove(y + 2, x + 1, sizeof(T) * (n - 2));
    y[0] = first;
    y[1] = half;
  } else if (x != y) {
    std::memcpy(y, x, sizeof(T) * n);
  }
}

template <class T>
void forward_perm(const PrimitiveDftContext* c, const T* x, T* y, T* work) {
  const long n = c->length;
  if (n <= tuning::fixed_kernel_limit) {
    fixed_forward(static_cast<int>(n), x, y);
  } else if (n % 2 == 0 && c->half_context->short_line) {
    const T* h = static_cast<const T*>(c->real_table);
    const int half = static_cast<int>(n / 2);
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->real_short_forward_double(x, y, h, half);
    else c->kernels->real_short_forward_single(x, y, h, half);
  } else if (n % 2 == 0) {
    T* const line = grid_line(c, work, y);
    T* const z = line != nullptr ? line : y;
    complex_transform(c->half_context, x, z, work, 0);
    const T* h = static_cast<const T*>(c->real_table);
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->real_forward_double(y, z, h, n / 2);
    else c->kernels->real_forward_single(y, z, h, n / 2);
  } else if (c->real_direct_table != nullptr) {
    direct_forward(x, y, static_cast<const T*>(c->real_direct_table), n, work);
  } else {
    // The whole line as complex numbers with zero imaginary parts; half its spectrum is kept.
    T* z = work;
    T* inner = align32<T>(work + 2 * n);
    for (long j = 0; j < n; ++j) {
      z[2 * j] = x[j];
      z[2 * j + 1] = 0;
    }
    complex_transform(c->half_context, z, z, inner, 0);
    y[0] = z[0];
    std::memcpy(y + 1, z + 2, sizeof(T) * (n - 1));
  }
}

// Perm in y (in place) to the line.
template <class T>
void inverse_perm(const PrimitiveDftContext* c, T* y, T* work) {
  const long n = c->length;
  if (n <= tuning::fixed_kernel_limit) {
    fixed_inverse(static_cast<int>(n), y, y);
  } else if (n % 2 == 0 && c->half_context->short_line) {
    const T* h = static_cast<const T*>(c->real_table);
    const int half = static_cast<int>(n / 2);
    if constexpr (sizeof(T) == sizeof(double))
      c->kernels->real_short_inverse_double(y, y, h, half, y[0], y[1]);
    else
      c->kernels->real_short_inverse_single(y, y, h, half, y[0], y[1]);
  } else if (n % 2 == 0) {
    const T* h = static_cast<const T*>(c->real_table);
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->real_inverse_double(y, y, h, n / 2);
    else c->kernels->real_inverse_single(y, y, h, n / 2);
    complex_transform(c->half_context, y, y, work, 1);
  } else if (c->real_direct_table != nullptr) {
    T* copy = work + n + 1;
    std::memcpy(copy, y, sizeof(T) * n);
    direct_inverse(copy, y, static_cast<const T*>(c->real_direct_table), n, work);
  } else {
    // The conjugate-even spectrum in full; the inverse is real.
    T* z = work;
    T* inner = align32<T>(work + 2 * n);
    z[0] = y[0];
    z[1] = 0;
    for (long k = 1; 2 * k < n; ++k) {
      z[2 * k] = z[2 * (n - k)] = y[2 * k - 1];
      z[2 * k + 1] = y[2 * k];
      z[2 * (n - k) + 1] = -y[2 * k];
    }
    complex_transform(c->half_context, z, z, inner, 1);
    for (long j = 0; j < n; ++j) y[j] = z[2 * j];
  }
}

template <class T>
int real_compute(const T* in, T* out, PrimitiveDftContext* c, void* scratch, int format,
                 int inverse) {
  if (c == nullptr) return engine_null;
  const int type = sizeof(T) == sizeof(double) ? context_real_double : context_real_single;
  if (c->type_id != type) return engine_bad_type;
  if (in == nullptr || out == nullptr) return engine_null;
  void* owned = nullptr;
  T* work = nullptr;
  if (c->buffer_size > 0) {
    if (scratch == nullptr) {
      owned = engine_allocate(c->buffer_size);
      if (owned == nullptr) return engine_no_memory;
      scratch = owned;
    }
    work = align64<T>(scratch);
  }
  const long n = c->length;
  if (c->small_forward_s != nullptr || c->small_forward_d != nullptr) {
    if constexpr (sizeof(T) == sizeof(double))
      (inverse ? c->small_inverse_d : c->small_forward_d)(in, out, format);
    else
      (inverse ? c->small_inverse_s : c->small_forward_s)(in, out, format);
    const bool scaled = inverse ? c->scale_inverse : c->scale_forward;
    if (scaled) {
      // The spectrum's reals wherever the layout puts them (the zeros of CCS stay zeros).
      const long count = !inverse && format == layout_ccs ? n + 2 : n;
      for (long k = 0; k < count; ++k) out[k] *= static_cast<T>(c->scale);
    }
    engine_free(owned);
    return engine_ok;
  }
  if (!inverse) {
    forward_perm(c, in, out, work);
    if (c->scale_forward)
      for (long k = 0; k < n; ++k) out[k] *= static_cast<T>(c->scale);
    perm_to_format(out, n, format);
  } else {
    if (n % 2 == 0 && n > tuning::fixed_kernel_limit && format != layout_pack &&
        c->half_context->short_line) {
      // The recombination and the half-length line in registers, from the input to the output.
      const T r0 = in[0], half = in[format == layout_ccs ? n : 1];
      const T* h = static_cast<const T*>(c->real_table);
      const int m = static_cast<int>(n / 2);
      if constexpr (sizeof(T) == sizeof(double))
        c->kernels->real_short_inverse_double(in, out, h, m, r0, half);
      else
        c->kernels->real_short_inverse_single(in, out, h, m, r0, half);
    } else if (n % 2 == 0 && n > tuning::fixed_kernel_limit && format != layout_pack) {
      // Perm and CCS keep the pairs where the recombination reads them: it reads the input
      // and writes the output (or the line on the grid), with no copy between them.
      const T r0 = in[0], half = in[format == layout_ccs ? n : 1];
      T* const line = grid_line(c, work, out);
      T* const z = line != nullptr ? line : out;
      z[0] = r0;
      z[1] = half;
      const T* h = static_cast<const T*>(c->real_table);
      if constexpr (sizeof(T) == sizeof(double)) c->kernels->real_inverse_double(z, in, h, n / 2);
      else c->kernels->real_inverse_single(z, in, h, n / 2);
      complex_transform(c->half_context, z, out, work, 1);
    } else {
      format_to_perm(in, out, n, format);
      inverse_perm(c, out, work);
    }
    if (c->scale_inverse)
      for (long k = 0; k < n; ++k) out[k] *= static_cast<T>(c->scale);
  }
  engine_free(owned);
  return engine_ok;
}

bool factorable(int n) {
  int rest = n;
  while (rest % 2 == 0) rest /= 2;
  for (int p = 3; p <= tuning::largest_odd_factor && p * p <= rest; p += 2)
    while (rest % p == 0 && rest > p) rest /= p;
  return rest < n && rest <= tuning::largest_odd_factor;
}

template <class T>
int build_real(PrimitiveDftContext* c) {
  const int n = c->length;
  const int complex_type = c->is_double ? context_complex_double : context_complex_single;
  if (n <= tuning::fixed_kernel_limit) {
    c->route = route_fixed;
    c->buffer_size = 0;
    return engine_ok;
  }
  if ((n & (n - 1)) == 0 && n <= tuning::real_straight_line_limit) {
    c->route = route_fixed;
    c->buffer_size = 0;
    if constexpr (sizeof(T) == sizeof(double)) {
      c->small_forward_d = real_small_forward_d(n);
      c->small_inverse_d = real_small_inverse_d(n);
    } else {
      c->small_forward_s = real_small_forward_s(n);
      c->small_inverse_s = real_small_inverse_s(n);
    }
    return engine_ok;
  }
  if (n % 2 == 0) {
    const int half = n / 2;
    int status = primitive_dft_create(&c->half_context, complex_type, half, scale_none, 0);
    if (status != engine_ok) return status;
    c->route = c->half_context->route;
    c->is_power_of_two = c->half_context->is_power_of_two;
    c->is_mixed_radix = c->half_context->is_mixed_radix;
    c->chirp_length = c->half_context->chirp_length;
    const engine_detail::real_table_layout layout(half);
    T* h = static_cast<T*>(engine_allocate(static_cast<long>(sizeof(T)) * layout.reals()));
    if (h == nullptr) return engine_no_memory;
    c->real_table = h;
    for (long k = 0; k < layout.entries; ++k) {
      const long double a = two_pi * static_cast<long double>(k) / static_cast<long double>(n);
      const long double hr = 0.5L * cosl(a), hi = -0.5L * sinl(a);
      const long double values[4] = {hi, -hr, 2 * hi, 2 * hr};
      for (int j = 0; j < 4; ++j) h[2 * j * layout.entries + 2 * k] =
          h[2 * j * layout.entries + 2 * k + 1] = static_cast<T>(values[j]);
    }
    c->buffer_size = c->half_context->buffer_size;
    // Room for the line on the grid (and for aligning it), unless the half runs in registers.
    const long with_line = c->buffer_size + static_cast<long>(sizeof(T)) * n + 96;
    if (!c->half_context->short_line && with_line <= INT32_MAX - 64) {
      c->buffer_size = static_cast<int>(with_line);
      c->real_aligned_line = 1;
    }
    return engine_ok;
  }
  const bool mixed = factorable(n);
  if (!mixed && n <= tuning::real_direct_limit) {
    c->route = route_direct;
    T* table = static_cast<T*>(engine_allocate(static_cast<long>(2 * sizeof(T)) * n));
    if (table == nullptr) return engine_no_memory;
    c->real_direct_table = table;
    for (long k = 0; k < n; ++k) {
      const long double a = two_pi * static_cast<long double>(k) / static_cast<long double>(n);
      table[2 * k] = static_cast<T>(cosl(a));
      table[2 * k + 1] = static_cast<T>(sinl(a));
    }
    // Folded sums and differences, and a copy of the inverse's input.
    c->buffer_size = static_cast<int>(sizeof(T)) * (2 * n + 2) + 32;
    return engine_ok;
  }
  int status = primitive_dft_create(&c->half_context, complex_type, n, scale_none, 0);
  if (status != engine_ok) return status;
  c->route = c->half_context->route;
  c->real_mixed_radix = c->half_context->is_mixed_radix;
  c->is_mixed_radix = c->half_context->is_mixed_radix;
  c->chirp_length = c->half_context->chirp_length;
  const long bytes = static_cast<long>(2 * sizeof(T)) * n + 32 + c->half_context->buffer_size;
  if (bytes > INT32_MAX - 64) return engine_no_memory;
  c->buffer_size = static_cast<int>(bytes);
  return engine_ok;
}

}  // namespace

int engine_build_real(PrimitiveDftContext* context) {
  const int status =
      context->is_double ? build_real<double>(context) : build_real<float>(context);
  // The entries align the scratch up to 64 bytes, 32 more than the margins above allow for.
  if (status == engine_ok && context->buffer_size > 0) {
    if (context->buffer_size > INT32_MAX - 64) return engine_no_memory;
    context->buffer_size += 32;
  }
  return status;
}

int primitive_dft_forward_s_perm(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_perm, 0);
}
int primitive_dft_forward_s_pack(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_pack, 0);
}
int primitive_dft_forward_s_ccs(const float* in, float* out, PrimitiveDftContext* context,
                                void* scratch) {
  return real_compute(in, out, context, scratch, layout_ccs, 0);
}
int primitive_dft_inverse_s_perm(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_perm, 1);
}
int primitive_dft_inverse_s_pack(const float* in, float* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_pack, 1);
}
int primitive_dft_inverse_s_ccs(const float* in, float* out, PrimitiveDftContext* context,
                                void* scratch) {
  return real_compute(in, out, context, scratch, layout_ccs, 1);
}
int primitive_dft_forward_d_perm(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_perm, 0);
}
int primitive_dft_forward_d_pack(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_pack, 0);
}
int primitive_dft_forward_d_ccs(const double* in, double* out, PrimitiveDftContext* context,
                                void* scratch) {
  return real_compute(in, out, context, scratch, layout_ccs, 0);
}
int primitive_dft_inverse_d_perm(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_perm, 1);
}
int primitive_dft_inverse_d_pack(const double* in, double* out, PrimitiveDftContext* context,
                                 void* scratch) {
  return real_compute(in, out, context, scratch, layout_pack, 1);
}
int primitive_dft_inverse_d_ccs(const double* in, double* out, PrimitiveDftContext* context,
                                void* scratch) {
  return real_compute(in, out, context, scratch, layout_ccs, 1);
}

}  // namespace zvx::dft
