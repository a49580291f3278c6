// What a line needs that depends on its length, built once when its context is created: the
// route, the factor list, the passes with their twiddles, the digit-reversal permutation of
// scrambled contexts, and the chirp tables. Roots of unity are evaluated in long double from
// their own angle (never by repeated multiplication), so every twiddle is correctly rounded or
// within an ulp of it, whatever the length.
#include <climits>
#include <cmath>
#include <cstring>
#include <initializer_list>

#include "dft/engine_internal.h"
#include "dft/engine_tuning.h"

namespace zvx::dft {
namespace {

constexpr long double two_pi = 6.283185307179586476925286766559005768L;

// roots[k] = exp(-2 pi i k / n), k < n, interleaved. Only the first eighth (or half, when n is
// not a multiple of 8) is evaluated; the rest follows by exact symmetries.
template <class T>
void fill_roots(T* roots, long n) {
  auto put = [&](long k, long double c, long double s) {
    roots[2 * k] = static_cast<T>(c);
    roots[2 * k + 1] = static_cast<T>(-s);
  };
  if (n % 8 == 0) {
    const long e = n / 8;
    for (long k = 0; k <= e; ++k) {
      const long double a = two_pi * static_cast<long double>(k) / static_cast<long double>(n);
      put(k, cosl(a), sinl(a));
    }
    for (long k = e + 1; k <= 2 * e; ++k) {  // cos and sin swap about pi/4
      roots[2 * k] = -roots[2 * (2 * e - k) + 1];
      roots[2 * k + 1] = -roots[2 * (2 * e - k)];
    }
    for (long k = 2 * e + 1; k <= 4 * e; ++k) {  // reflection about pi/2
      roots[2 * k] = -roots[2 * (4 * e - k)];
      roots[2 * k + 1] = roots[2 * (4 * e - k) + 1];
    }
  } else {
    for (long k = 0; 2 * k <= n; ++k) {
      const long double a = two_pi * static_cast<long double>(k) / static_cast<long double>(n);
      put(k, cosl(a), sinl(a));
    }
  }
  for (long k = n / 2 + 1; k < n; ++k) {  // the second half is the conjugate of the first
    roots[2 * k] = roots[2 * (n - k)];
    roots[2 * k + 1] = -roots[2 * (n - k) + 1];
  }
}

// The factor rule: factors 4 while they divide; an even rest gives one 2 at the front of the
// list (and one more 4); then odd trial divisors p while p*p stays at most the rest; the rest,
// at most the largest odd factor, is the last factor. Returns the number of factors, 0 when the
// length does not factor that way.
int factor_length(int n, int* list) {
  int count = 0, rest = n;
  while (rest % 4 == 0) {
    list[count++] = 4;
    rest /= 4;
  }
  if (rest % 2 == 0) {
    rest /= 2;
    list[count++] = 4;
    list[0] = 2;
  }
  if (rest >= 9) {
    int p = 3;
    while (p * p <= rest) {
      if (p > tuning::largest_odd_factor) return 0;
      if (rest % p == 0) {
        list[count++] = p;
        rest /= p;
      } else {
        p += 2;
      }
    }
  }
  if (count == 0 || rest > tuning::largest_odd_factor) return 0;
  list[count++] = rest;
  return count;
}

// Twiddle and root elements a plan needs for its radices, with the vector width `width`.
long plan_table_elements(const int* radix, int count, long n, int width) {
  long total = 0, s = 1;
  for (int i = 0; i < count; ++i) {
    const long r = radix[i], m = n / (s * r);
    if (m > 1) total += (s < width && width % s != 0) ? (r - 1) * m * s : (r - 1) * m;
    if (r > 5) total += r;
    s *= r;
  }
  return total;
}

// Builds `plan` and its table block `block` (owned by the context); width 1 gives every pass
// vectors over q, the layout of the batch plan.
template <class T>
int build_plan_into(PrimitiveDftContext* c, const int* radix, int count, int width,
                    engine_plan* plan, void** block) {
  const long n = c->length;
  const long elements = plan_table_elements(radix, count, n, width);
  T* roots = static_cast<T*>(engine_allocate(static_cast<long>(2 * sizeof(T)) * n));
  if (roots == nullptr) return engine_no_memory;
  if (elements > 0) {
    *block = engine_allocate(static_cast<long>(2 * sizeof(T)) * elements);
    if (*block == nullptr) {
      engine_free(roots);
      return engine_no_memory;
    }
  }
  fill_roots(roots, n);
  T* next = static_cast<T*>(*block);
  long s = 1;
  plan->pass_count = count;
  for (int i = 0; i < count; ++i) {
    engine_pass& p = plan->passes[i];
    const long r = radix[i], m = n / (s * r);
    p.radix = static_cast<int>(r);
    p.m = static_cast<int>(m);
    p.s = static_cast<int>(s);
    p.expanded = s < width;
    p.grouped = p.expanded && width % s == 0;
    p.twiddles = nullptr;
    p.roots = nullptr;
    // w of the sub-length m*r to the power p*k is the n-th root to the power p*k*s.
    if (m > 1) {
      p.twiddles = next;
      if (p.grouped) {
        for (long k = 1; k < r; ++k)
          for (long pp = 0; pp < m; ++pp) {
            const long e = pp * k * s;  // below m * r * s = n
            next[2 * ((k - 1) * m + pp)] = roots[2 * e];
            next[2 * ((k - 1) * m + pp) + 1] = roots[2 * e + 1];
          }
        next += 2 * (r - 1) * m;
      } else if (p.expanded) {
        for (long k = 1; k < r; ++k)
          for (long pp = 0; pp < m; ++pp)
            for (long q = 0; q < s; ++q) {
              const long e = pp * k * s;  // below m * r * s = n
              T* w = next + 2 * ((k - 1) * m * s + q + s * pp);
              w[0] = roots[2 * e];
              w[1] = roots[2 * e + 1];
            }
        next += 2 * (r - 1) * m * s;
      } else {
        for (long pp = 0; pp < m; ++pp)
          for (long k = 1; k < r; ++k) {
            const long e = pp * k * s;  // below m * r * s = n
            next[2 * (pp * (r - 1) + k - 1)] = roots[2 * e];
            next[2 * (pp * (r - 1) + k - 1) + 1] = roots[2 * e + 1];
          }
        next += 2 * (r - 1) * m;
      }
    }
    if (r > 5) {
      p.roots = next;
      for (long t = 0; t < r; ++t) {
        next[2 * t] = roots[2 * (t * (n / r))];
        next[2 * t + 1] = roots[2 * (t * (n / r)) + 1];
      }
      next += 2 * r;
    }
    s *= r;
  }
  engine_free(roots);
  return engine_ok;
}

template <class T>
int build_plan(PrimitiveDftContext* c, const int* radix, int count, int width) {
  return build_plan_into<T>(c, radix, count, width, &c->plan, &c->twiddle_block);
}

// The batch plan of a power-of-two, mixed-radix or direct context in natural order, when its
// batch buffers stay within the tuning limit: powers of two by radix 8 from the first pass (every
// pass runs vectors over lines, so the first ones need no radix 4), the one or two bits left
// over by radix 4 or 2 at the end; the others with the radices of the line plan in its order.
template <class T>
int build_batch_plan(PrimitiveDftContext* c) {
  const long n = c->length;
  const long batch = c->is_double ? tuning::lines_batch_double : tuning::lines_batch_single;
  if (c->no_reorder || 2 * n * batch * static_cast<long>(2 * sizeof(T)) > tuning::lines_batch_bytes)
    return engine_ok;
  int radix[max_passes], count = 0;
  if (c->is_power_of_two) {
    int bits = 0;
    while ((1L << bits) < n) ++bits;
    int fours = 0, twos = 0;
    if (bits % 3 == 1 && bits >= 4) fours = 2;
    else if (bits % 3 == 2) fours = 1;
    else if (bits == 1) twos = 1;
    for (bits -= 2 * fours + twos; bits >= 3; bits -= 3) radix[count++] = 8;
    for (; fours > 0; --fours) radix[count++] = 4;
    if (twos) radix[count++] = 2;
  } else {
    count = c->plan.pass_count;
    for (int i = 0; i < count; ++i) radix[i] = c->plan.passes[i].radix;
  }
  return build_plan_into<T>(c, radix, count, 1, &c->batch_plan, &c->batch_twiddle_block);
}

// Digit reversal of the factor list: the natural index k = k0 + f0 (k1 + f1 (k2 + ...)) goes to
// position k_last + f_last (k_(last-1) + ...).
int build_permutation(PrimitiveDftContext* c) {
  const int n = c->length, count = c->factor_count;
  c->permutation = static_cast<int*>(engine_allocate(static_cast<long>(sizeof(int)) * n));
  if (c->permutation == nullptr) return engine_no_memory;
  for (int k = 0; k < n; ++k) {
    int rest = k, digits[max_factors];
    for (int i = 0; i < count; ++i) {
      digits[i] = rest % c->factors[i].factor;
      rest /= c->factors[i].factor;
    }
    int position = 0;
    for (int i = 0; i < count; ++i) position = position * c->factors[i].factor + digits[i];
    c->permutation[k] = position;
  }
  return engine_ok;
}

template <class T>
int build_chirp(PrimitiveDftContext* c) {
  const long n = c->length;
  long L = 1;
  while (L < 2 * n - 1) L *= 2;
  // The convolution runs on a power of two the engine accepts.
  if (L > (1L << tuning::largest_order)) return engine_bad_order;
  c->chirp_length = static_cast<int>(L);
  const int chirp_type = c->is_double ? context_complex_double : context_complex_single;
  int status =
      primitive_dft_create(&c->chirp_context, chirp_type, static_cast<int>(L), scale_none, 0);
  if (status != engine_ok) return status;
  T* chirp = static_cast<T*>(engine_allocate(static_cast<long>(2 * sizeof(T)) * n));
  c->chirp_table = chirp;
  T* spectrum = static_cast<T*>(engine_allocate(static_cast<long>(2 * sizeof(T)) * L));
  c->chirp_spectrum = spectrum;
  if (chirp == nullptr || spectrum == nullptr) return engine_no_memory;
  // c(k) = exp(-pi i k^2 / n), with k^2 reduced modulo 2n in integers so that the angle stays
  // below 2 pi and exact.
  for (long k = 0; k < n; ++k) {
    const long e = static_cast<long>((static_cast<unsigned long long>(k) * k) % (2ull * n));
    const long double a = two_pi * 0.5L * static_cast<long double>(e) / static_cast<long double>(n);
    chirp[2 * k] = static_cast<T>(cosl(a));
    chirp[2 * k + 1] = static_cast<T>(-sinl(a));
  }
  // The conjugate chirp, wrapped around L, transformed and scaled by 1 / L; the spectrum is
  // computed in T from the rounded chirp, which is what the convolution multiplies.
  for (long k = 0; k < n; ++k) {
    spectrum[2 * k] = chirp[2 * k];
    spectrum[2 * k + 1] = -chirp[2 * k + 1];
    if (k > 0) {
      spectrum[2 * (L - k)] = chirp[2 * k];
      spectrum[2 * (L - k) + 1] = -chirp[2 * k + 1];
    }
  }
  T* work = static_cast<T*>(engine_allocate(static_cast<long>(2 * sizeof(T)) * L));
  if (work == nullptr) return engine_no_memory;
  if constexpr (sizeof(T) == sizeof(double))
    engine_run_plan_double(c->chirp_context, spectrum, spectrum, work, 0);
  else
    engine_run_plan_single(c->chirp_context, spectrum, spectrum, work, 0);
  engine_free(work);
  const T inv = static_cast<T>(1.0L / static_cast<long double>(L));
  for (long k = 0; k < 2 * L; ++k) spectrum[k] *= inv;
  return engine_ok;
}

// The scratch a compute call needs, in the int the query reports. A line whose scratch that
// cannot express (and which the caller could not be told to provide) is refused as out of memory
// before anything is built.
bool set_buffer_size(PrimitiveDftContext* c, long bytes) {
  if (bytes > INT_MAX - 64) return false;
  c->buffer_size = static_cast<int>(bytes);
  return true;
}

template <class T>
int build_complex(PrimitiveDftContext* c) {
  const int n = c->length;
  const long element = 2 * sizeof(T);
  const int width = c->is_double ? c->kernels->width_double : c->kernels->width_single;
  if (n <= tuning::fixed_kernel_limit) {
    c->route = route_fixed;
    c->buffer_size = 0;
    return engine_ok;
  }
  int radix[max_passes];
  if ((n & (n - 1)) == 0) {
    // Radix 4 while the stride is below the vector width (that pass interleaves its outputs in
    // registers), then radix 8 to cut the passes over the line, and the one or two bits left
    // over by radix 4 or 2 at the end, where the last pass needs no twiddles: fewer passes over
    // a line that has left the first-level cache matter more than the extra multiplies of the
    // radix-8 butterfly (see the tuning header for the measurements).
    int count = 0, bits = 0, s = 1;
    while ((1 << bits) < n) ++bits;
    while (s < width && bits >= 2) {
      radix[count++] = 4;
      s *= 4;
      bits -= 2;
    }
    int fours = 0, twos = 0;
    if (bits % 3 == 1 && bits >= 4) fours = 2;  // two fours in place of an eight and a two
    else if (bits % 3 == 2) fours = 1;
    else if (bits == 1) twos = 1;
    for (bits -= 2 * fours + twos; bits >= 3; bits -= 3) radix[count++] = 8;
    for (; fours > 0; --fours) radix[count++] = 4;
    if (twos) radix[count++] = 2;
    c->route = route_power_of_two;
    c->is_power_of_two = 1;
    if (!set_buffer_size(c, element * n)) return engine_no_memory;
    const int status = build_plan<T>(c, radix, count, width);
    return status != engine_ok ? status : build_batch_plan<T>(c);
  }
  int list[max_factors];
  const int count = factor_length(n, list);
  if (count > 0) {
    c->route = route_mixed_radix;
    c->is_mixed_radix = 1;
    c->factor_count = count;
    const int group_limit = c->is_double ? tuning::group_limit_double : tuning::group_limit_single;
    int stride = 1, group = 1;
    for (int i = 0; i < count; ++i) {
      if (group * list[i] > group_limit) group = 1;
      group *= list[i];
      c->factors[i] = {list[i], n / (stride * list[i]), stride, group};
      stride *= list[i];
    }
    const bool scrambled = c->type_id == context_complex_single_scrambled ||
                           c->type_id == context_complex_double_scrambled;
    const int reorder_limit =
        c->is_double ? tuning::reorder_limit_double : tuning::reorder_limit_single;
    c->no_reorder = scrambled && n > reorder_limit;
    if (!set_buffer_size(c, element * n * (c->no_reorder ? 2 : 1))) return engine_no_memory;
    if (c->no_reorder) {
      const int status = build_permutation(c);
      if (status != engine_ok) return status;
    }
    // The passes run the fours first, then the two, then the odd factors: the strides of the
    // first passes are below the vector width, and the radix-4 pass is the one that interleaves
    // its outputs with register shuffles there.
    int order[max_factors], placed = 0;
    for (int want : {4, 2})
      for (int i = 0; i < count; ++i)
        if (list[i] == want) order[placed++] = want;
    for (int i = 0; i < count; ++i)
      if (list[i] != 4 && list[i] != 2) order[placed++] = list[i];
    const int status = build_plan<T>(c, order, count, width);
    return status != engine_ok ? status : build_batch_plan<T>(c);
  }
  if (n <= tuning::direct_limit) {
    // One pass of radix n: the folded direct sum, reading the input and writing the output.
    c->route = route_direct;
    c->buffer_size = 0;
    radix[0] = n;
    const int status = build_plan<T>(c, radix, 1, width);
    return status != engine_ok ? status : build_batch_plan<T>(c);
  }
  c->route = route_chirp;
  const int status = build_chirp<T>(c);
  if (status != engine_ok) return status;
  long bytes = element * c->chirp_length + c->chirp_context->buffer_size + 64;
  if (!set_buffer_size(c, bytes)) return engine_no_memory;
  return engine_ok;
}

template <class T>
void run_plan(const PrimitiveDftContext* c, const T* in, T* out, T* work, int inverse) {
  const engine_plan& plan = c->plan;
  auto pass = [&](const engine_pass& p, const T* x, T* y) {
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->pass_double(p, x, y, inverse);
    else c->kernels->pass_single(p, x, y, inverse);
  };
  const int last = plan.pass_count - 1;
  // Passes alternate between the output and the work array; the first never writes over the
  // input, and the last pass (m = 1) reads each element before it writes it, so it may run in
  // place wherever the one before it left the data.
  const T* x = in;
  T* y = (in == out) ? work : out;
  for (int i = 0; i < last; ++i) {
    pass(plan.passes[i], x, y);
    x = y;
    y = (y == out) ? work : out;
  }
  pass(plan.passes[last], x, out);
}

template <class T>
void run_batch(const PrimitiveDftContext* c, T* data, T* work, long lanes, int inverse) {
  const engine_plan& plan = c->batch_plan;
  // Passes alternate between data and work; the last (m = 1) runs in place wherever the one
  // before it left the lines, then lands in data.
  const T* x = data;
  T* y = work;
  const int last = plan.pass_count - 1;
  for (int i = 0; i <= last; ++i) {
    engine_pass p = plan.passes[i];
    p.s = static_cast<int>(p.s * lanes);
    if (i == last) y = data;
    if constexpr (sizeof(T) == sizeof(double)) c->kernels->pass_double(p, x, y, inverse);
    else c->kernels->pass_single(p, x, y, inverse);
    x = y;
    y = (y == work) ? data : work;
  }
}

}  // namespace

int engine_build_complex(PrimitiveDftContext* context) {
  return context->is_double ? build_complex<double>(context) : build_complex<float>(context);
}

void engine_release_tables(PrimitiveDftContext* context) {
  primitive_dft_free(context->half_context);
  context->half_context = nullptr;
  engine_free(context->real_table);
  context->real_table = nullptr;
  engine_free(context->real_direct_table);
  context->real_direct_table = nullptr;
  primitive_dft_free(context->chirp_context);
  context->chirp_context = nullptr;
  engine_free(context->twiddle_block);
  context->twiddle_block = nullptr;
  engine_free(context->batch_twiddle_block);
  context->batch_twiddle_block = nullptr;
  context->batch_plan.pass_count = 0;
  engine_free(context->permutation);
  context->permutation = nullptr;
  engine_free(context->chirp_table);
  context->chirp_table = nullptr;
  engine_free(context->chirp_spectrum);
  context->chirp_spectrum = nullptr;
}

void engine_run_plan_single(const PrimitiveDftContext* context, const float* in, float* out,
                            float* work, int inverse) {
  run_plan(context, in, out, work, inverse);
}
void engine_run_plan_double(const PrimitiveDftContext* context, const double* in, double* out,
                            double* work, int inverse) {
  run_plan(context, in, out, work, inverse);
}
void engine_run_batch_single(const PrimitiveDftContext* context, float* data, float* work,
                             long lanes, int inverse) {
  run_batch(context, data, work, lanes, inverse);
}
void engine_run_batch_double(const PrimitiveDftContext* context, double* data, double* work,
                             long lanes, int inverse) {
  run_batch(context, data, work, lanes, inverse);
}

}  // namespace zvx::dft
