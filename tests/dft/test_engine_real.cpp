// Real contexts of the line engine and the straight-line real kernels, against a real DFT in
// long double (a naive sum for short lines, FFTW in long double for long ones): every packed
// layout at every length up to 300 and at chosen long, prime and chirp lengths, out of place and
// in place, forward and inverse; scaling flags; statuses; allocation failures.
#include <fftw3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "dft/engine_test_support.h"

namespace {

using namespace engine_test;

enum { ccs = 54, pack = 55, perm = 56, cce = 57 };
constexpr int formats[] = {perm, pack, ccs};

template <class T>
struct real_entries;
template <>
struct real_entries<float> {
  using fn = int (*)(const float*, float*, PrimitiveDftContext*, void*);
  static constexpr int type = context_real_single;
  static fn forward(int f) {
    return f == perm ? primitive_dft_forward_s_perm
                     : f == pack ? primitive_dft_forward_s_pack : primitive_dft_forward_s_ccs;
  }
  static fn inverse(int f) {
    return f == perm ? primitive_dft_inverse_s_perm
                     : f == pack ? primitive_dft_inverse_s_pack : primitive_dft_inverse_s_ccs;
  }
  static real_small_s_fn small_forward(int n) { return real_small_forward_s(n); }
  static real_small_s_fn small_inverse(int n) { return real_small_inverse_s(n); }
};
template <>
struct real_entries<double> {
  using fn = int (*)(const double*, double*, PrimitiveDftContext*, void*);
  static constexpr int type = context_real_double;
  static fn forward(int f) {
    return f == perm ? primitive_dft_forward_d_perm
                     : f == pack ? primitive_dft_forward_d_pack : primitive_dft_forward_d_ccs;
  }
  static fn inverse(int f) {
    return f == perm ? primitive_dft_inverse_d_perm
                     : f == pack ? primitive_dft_inverse_d_pack : primitive_dft_inverse_d_ccs;
  }
  static real_small_d_fn small_forward(int n) { return real_small_forward_d(n); }
  static real_small_d_fn small_inverse(int n) { return real_small_inverse_d(n); }
};

template <class T>
std::vector<T> random_reals(long n, unsigned seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<T> x(n);
  for (auto& e : x) e = static_cast<T>(u(g));
  return x;
}

// X(k) = sum_j x(j) exp(-2 pi i jk / n) for k up to n / 2: a naive sum with the exponent reduced
// in integers up to 2048 points, FFTW in long double above.
template <class T>
std::vector<lc> real_spectrum(const std::vector<T>& x) {
  const long n = static_cast<long>(x.size());
  std::vector<lc> y(n / 2 + 1);
  if (n <= 2048) {
    const long double two_pi = 6.283185307179586476925286766559005768L;
    std::vector<lc> roots(n);
    for (long t = 0; t < n; ++t) roots[t] = lc(cosl(two_pi * t / n), -sinl(two_pi * t / n));
    for (long k = 0; k <= n / 2; ++k) {
      lc sum = 0;
      long t = 0;
      for (long j = 0; j < n; ++j) {
        sum += static_cast<long double>(x[j]) * roots[t];
        t += k;
        if (t >= n) t -= n;
      }
      y[k] = sum;
    }
    return y;
  }
  auto* a = static_cast<long double*>(fftwl_malloc(sizeof(long double) * n));
  auto* b = static_cast<fftwl_complex*>(fftwl_malloc(sizeof(fftwl_complex) * (n / 2 + 1)));
  fftwl_plan plan = fftwl_plan_dft_r2c_1d(static_cast<int>(n), a, b, FFTW_ESTIMATE);
  for (long j = 0; j < n; ++j) a[j] = x[j];
  fftwl_execute(plan);
  for (long k = 0; k <= n / 2; ++k) y[k] = lc(b[k][0], b[k][1]);
  fftwl_destroy_plan(plan);
  fftwl_free(a);
  fftwl_free(b);
  return y;
}

long layout_size(long n, int format) {
  if (format == ccs || format == cce) return n % 2 == 0 ? n + 2 : n + 1;
  return n;
}

// The packed layout of a spectrum, written out from the table of layouts.
std::vector<long double> layout(const std::vector<lc>& X, long n, int format) {
  std::vector<long double> v;
  v.push_back(X[0].real());
  if (format == ccs || format == cce) v.push_back(0);
  if (format == perm && n % 2 == 0) v.push_back(X[n / 2].real());
  for (long k = 1; 2 * k < n; ++k) {
    v.push_back(X[k].real());
    v.push_back(X[k].imag());
  }
  if (n % 2 == 0 && n > 1 && format != perm) v.push_back(X[n / 2].real());
  if ((format == ccs || format == cce) && n % 2 == 0) v.push_back(0);
  return v;
}

template <class T, class U>
double rms_error(const T* y, const std::vector<U>& want) {
  long double num = 0, den = 0;
  for (size_t k = 0; k < want.size(); ++k) {
    const long double d = static_cast<long double>(y[k]) - static_cast<long double>(want[k]);
    num += d * d;
    den += static_cast<long double>(want[k]) * static_cast<long double>(want[k]);
  }
  return static_cast<double>(den == 0 ? sqrtl(num) : sqrtl(num / den));
}

// The real path adds the recombination to the complex transform's rounding: twice its bound.
template <class T>
double real_bound(long n) {
  return 2 * bound<T>(n);
}

template <class T>
std::vector<T> rounded(const std::vector<long double>& v) {
  return std::vector<T>(v.begin(), v.end());
}

// Forward and inverse of every format at length n: out of place with scratch of the queried
// size, in place without scratch.
template <class T>
void check_length(long n, unsigned seed) {
  using E = real_entries<T>;
  SCOPED_TRACE(n);
  context ctx(E::type, static_cast<int>(n));
  ASSERT_EQ(ctx.status, engine_ok);
  int bytes = -1;
  ASSERT_EQ(primitive_dft_buffer_size(ctx.c, &bytes), engine_ok);
  ASSERT_GE(bytes, 0);
  std::vector<char> scratch(bytes + 32);
  const std::vector<T> x = random_reals<T>(n, seed);
  const std::vector<lc> X = real_spectrum(x);
  std::vector<long double> nx(n);
  for (long j = 0; j < n; ++j) nx[j] = static_cast<long double>(n) * x[j];
  for (int f : formats) {
    SCOPED_TRACE(f);
    const std::vector<long double> want = layout(X, n, f);
    ASSERT_EQ(static_cast<long>(want.size()), layout_size(n, f));
    const long size = layout_size(n, f);
    std::vector<T> y(size + 1, T(7));
    ASSERT_EQ(E::forward(f)(x.data(), y.data(), ctx.c, scratch.data()), engine_ok);
    EXPECT_LT(rms_error(y.data(), want), real_bound<T>(n));
    EXPECT_EQ(y[size], T(7));  // nothing beyond the layout
    std::vector<T> z(size, T(0));
    std::copy(x.begin(), x.end(), z.begin());
    ASSERT_EQ(E::forward(f)(z.data(), z.data(), ctx.c, nullptr), engine_ok);
    EXPECT_LT(rms_error(z.data(), want), real_bound<T>(n));

    std::vector<T> packed = rounded<T>(want);
    std::vector<T> back(n + 1, T(7));
    ASSERT_EQ(E::inverse(f)(packed.data(), back.data(), ctx.c, scratch.data()), engine_ok);
    EXPECT_LT(rms_error(back.data(), nx), real_bound<T>(n));
    EXPECT_EQ(back[n], T(7));
    packed = rounded<T>(want);
    ASSERT_EQ(E::inverse(f)(packed.data(), packed.data(), ctx.c, nullptr), engine_ok);
    EXPECT_LT(rms_error(packed.data(), nx), real_bound<T>(n));
  }
}

template <class T>
class EngineReal : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineReal, Precisions);

TYPED_TEST(EngineReal, EveryFormatUpTo300) {
  for (long n = 1; n <= 300; ++n) check_length<TypeParam>(n, static_cast<unsigned>(n));
}

// Powers of two past the straight-line sizes, even lengths whose half runs mixed radix or the
// chirp, odd lengths on each of their routes around the real direct limit.
TYPED_TEST(EngineReal, ChosenLongerLengths) {
  const long lengths[] = {512, 1000, 1024, 4096, 10000, 65536, 6 * 7 * 11 * 13,
                          tuning::real_direct_limit - 1, tuning::real_direct_limit + 1,
                          191, 2 * 151, 2 * 157, 2 * 1009, 3 * 3 * 5 * 7 * 11, 3 * 191};
  for (long n : lengths) check_length<TypeParam>(n, static_cast<unsigned>(n) + 11);
}

// Lines and scratch off the 64-byte grid: every element offset of the caller's lines within a
// 64-byte block, and scratch of exactly the queried size starting 8 to 56 bytes past the grid
// (the sanitizer build checks that nothing runs past its end), on the routes whose half-length
// transform runs passes (power of two, mixed radix, chirp), forward and inverse, every format.
TYPED_TEST(EngineReal, LinesAndScratchOffTheGrid) {
  using T = TypeParam;
  using E = real_entries<T>;
  constexpr long per_block = 64 / static_cast<long>(sizeof(T));
  for (long n : {4 * static_cast<long>(tuning::short_line_limit), 2048L, 1000L, 2 * 151L}) {
    SCOPED_TRACE(n);
    context ctx(E::type, static_cast<int>(n));
    ASSERT_EQ(ctx.status, engine_ok);
    int bytes = 0;
    ASSERT_EQ(primitive_dft_buffer_size(ctx.c, &bytes), engine_ok);
    const std::vector<T> x = random_reals<T>(n, static_cast<unsigned>(n) + 5);
    const std::vector<lc> X = real_spectrum(x);
    std::vector<long double> nx(n);
    for (long j = 0; j < n; ++j) nx[j] = static_cast<long double>(n) * x[j];
    for (long shift = 0; shift < per_block; shift += sizeof(T) == 4 ? 3 : 1) {
      SCOPED_TRACE(shift);
      const long skew = 8 * (1 + shift % 7);  // bytes of the scratch past the grid
      for (int f : formats) {
        SCOPED_TRACE(f);
        const long size = layout_size(n, f);
        const std::vector<long double> want = layout(X, n, f);
        // The lines start `shift` elements past the grid; the scratch ends where its
        // allocation does.
        std::vector<T> in_block(size + 2 * per_block), out_block(size + 2 * per_block);
        T* in = in_block.data();
        T* out = out_block.data();
        while (reinterpret_cast<std::uintptr_t>(in) % 64 != 0) ++in;
        while (reinterpret_cast<std::uintptr_t>(out) % 64 != 0) ++out;
        in += shift;
        out += shift;
        const std::size_t length = static_cast<std::size_t>(skew + bytes);
        void* raw = ::operator new(length, std::align_val_t{64});
        unsigned char* scratch = static_cast<unsigned char*>(raw) + skew;
        std::copy(x.begin(), x.end(), in);
        ASSERT_EQ(E::forward(f)(in, out, ctx.c, scratch), engine_ok);
        EXPECT_LT(rms_error(out, want), real_bound<T>(n));
        const std::vector<T> packed = rounded<T>(want);
        std::copy(packed.begin(), packed.end(), in);
        ASSERT_EQ(E::inverse(f)(in, out, ctx.c, scratch), engine_ok);
        EXPECT_LT(rms_error(out, nx), real_bound<T>(n));
        EXPECT_TRUE(std::equal(packed.begin(), packed.end(), in));  // the input as it was
        ASSERT_EQ(E::inverse(f)(in, in, ctx.c, scratch), engine_ok);
        EXPECT_LT(rms_error(in, nx), real_bound<T>(n));
        ::operator delete(raw, std::align_val_t{64});
      }
    }
  }
}

// Real routes: lengths up to 4 and powers of two up to the straight-line limit fixed, other even
// lengths the route of their half, odd lengths that do not factor direct up to the real limit
// and chirp above; odd ones that factor mixed radix.
TEST(EngineRealRoutes, ByLength) {
  const struct {
    int n, route;
  } cases[] = {{1, route_fixed},
               {4, route_fixed},
               {8, route_fixed},
               {tuning::real_straight_line_limit, route_fixed},
               {2 * tuning::real_straight_line_limit, route_power_of_two},
               {6, route_fixed},    // half of 3: the complex fixed kernel
               {10, route_direct},  // half of 5: the complex direct sum
               {64, route_power_of_two},
               {12, route_mixed_radix},
               {2 * 149, route_direct},
               {2 * 151, route_chirp},
               {tuning::real_direct_limit - 1, route_direct},
               {151, route_direct},
               {tuning::real_direct_limit + 1, route_chirp},
               {3 * 3 * 3, route_mixed_radix},
               {3 * 151, route_chirp}};
  for (const auto& c : cases) {
    for (int type : {int(context_real_single), int(context_real_double)}) {
      context ctx(type, c.n);
      ASSERT_EQ(ctx.status, engine_ok);
      EXPECT_EQ(primitive_dft_route(ctx.c), c.route) << c.n;
      EXPECT_EQ(primitive_dft_type(ctx.c), type);
    }
  }
}

// The flags scale the forward, the inverse, or both by 1/sqrt(n), on every route.
TYPED_TEST(EngineReal, ScalingFlags) {
  using E = real_entries<TypeParam>;
  for (long n : {3L, 8L, 64L, 100L, 179L, 181L, 302L}) {
    SCOPED_TRACE(n);
    const std::vector<TypeParam> x = random_reals<TypeParam>(n, 5);
    context plain(E::type, static_cast<int>(n));
    std::vector<TypeParam> ref(n + 2), back_ref(n);
    ASSERT_EQ(E::forward(ccs)(x.data(), ref.data(), plain.c, nullptr), engine_ok);
    ASSERT_EQ(E::inverse(ccs)(ref.data(), back_ref.data(), plain.c, nullptr), engine_ok);
    const long double sn = 1.0L / n, sq = 1.0L / sqrtl(static_cast<long double>(n));
    const struct {
      int flag;
      long double f, b;
    } flags[] = {{scale_forward_by_n, sn, 1},
                 {scale_inverse_by_n, 1, sn},
                 {scale_both_by_sqrt_n, sq, sq}};
    for (const auto& fl : flags) {
      context ctx(E::type, static_cast<int>(n), fl.flag);
      ASSERT_EQ(ctx.status, engine_ok);
      std::vector<TypeParam> y(n + 2), back(n);
      std::vector<long double> want_f(layout_size(n, ccs)), want_b(n);
      for (size_t k = 0; k < want_f.size(); ++k) want_f[k] = fl.f * ref[k];
      for (long k = 0; k < n; ++k) want_b[k] = fl.b * back_ref[k];
      ASSERT_EQ(E::forward(ccs)(x.data(), y.data(), ctx.c, nullptr), engine_ok);
      EXPECT_LT(rms_error(y.data(), want_f), 1e-6);
      ASSERT_EQ(E::inverse(ccs)(ref.data(), back.data(), ctx.c, nullptr), engine_ok);
      EXPECT_LT(rms_error(back.data(), want_b), 1e-6);
    }
  }
}

// Straight-line kernels: the same numbers as the context entries in every layout (CCE as CCS),
// in place too, and null for every other length.
TYPED_TEST(EngineReal, StraightLineKernels) {
  using T = TypeParam;
  using E = real_entries<T>;
  for (int n = 2; n <= tuning::real_straight_line_limit; n *= 2) {
    SCOPED_TRACE(n);
    ASSERT_NE(E::small_forward(n), nullptr);
    ASSERT_NE(E::small_inverse(n), nullptr);
    const std::vector<T> x = random_reals<T>(n, n + 3);
    const std::vector<lc> X = real_spectrum(x);
    std::vector<long double> nx(n);
    for (int j = 0; j < n; ++j) nx[j] = static_cast<long double>(n) * x[j];
    context ctx(E::type, n);
    for (int f : {perm, pack, ccs, cce}) {
      SCOPED_TRACE(f);
      const long size = layout_size(n, f);
      const std::vector<long double> want = layout(X, n, f);
      std::vector<T> y(size + 1, T(7)), z(size + 1, T(7));
      E::small_forward(n)(x.data(), y.data(), f);
      EXPECT_LT(rms_error(y.data(), want), real_bound<T>(n));
      EXPECT_EQ(y[size], T(7));
      const int g = f == cce ? ccs : f;
      ASSERT_EQ(E::forward(g)(x.data(), z.data(), ctx.c, nullptr), engine_ok);
      const std::vector<T> general(z.begin(), z.begin() + size);
      EXPECT_LT(rms_error(y.data(), general), real_bound<T>(n));
      std::copy(x.begin(), x.end(), z.begin());
      E::small_forward(n)(z.data(), z.data(), f);
      EXPECT_LT(rms_error(z.data(), want), real_bound<T>(n));

      std::vector<T> packed = rounded<T>(want), back(n + 1, T(7));
      E::small_inverse(n)(packed.data(), back.data(), f);
      EXPECT_LT(rms_error(back.data(), nx), real_bound<T>(n));
      EXPECT_EQ(back[n], T(7));
      E::small_inverse(n)(packed.data(), packed.data(), f);
      EXPECT_LT(rms_error(packed.data(), nx), real_bound<T>(n));
    }
  }
  for (int n : {0, 1, 3, 6, 2 * tuning::real_straight_line_limit, 64, 128, -2}) {
    EXPECT_EQ(E::small_forward(n), nullptr);
    EXPECT_EQ(E::small_inverse(n), nullptr);
  }
}

template <class T>
struct real_kernels;
template <>
struct real_kernels<float> {
  static void short_forward(const engine_kernels* k, const float* x, float* y, const float* h,
                            int n) {
    k->real_short_forward_single(x, y, h, n);
  }
  static void short_inverse(const engine_kernels* k, const float* x, float* y, const float* h,
                            int n, float r0, float rn) {
    k->real_short_inverse_single(x, y, h, n, r0, rn);
  }
  static void line(const engine_kernels* k, const float* x, float* y, int n, int inverse) {
    k->short_single(x, y, n, inverse);
  }
  static void recombine(const engine_kernels* k, float* z, const float* h, int n) {
    k->real_forward_single(z, z, h, n);
  }
  static void recombine_inverse(const engine_kernels* k, float* z, const float* x,
                                const float* h, int n) {
    k->real_inverse_single(z, x, h, n);
  }
};
template <>
struct real_kernels<double> {
  static void short_forward(const engine_kernels* k, const double* x, double* y, const double* h,
                            int n) {
    k->real_short_forward_double(x, y, h, n);
  }
  static void short_inverse(const engine_kernels* k, const double* x, double* y,
                            const double* h, int n, double r0, double rn) {
    k->real_short_inverse_double(x, y, h, n, r0, rn);
  }
  static void line(const engine_kernels* k, const double* x, double* y, int n, int inverse) {
    k->short_double(x, y, n, inverse);
  }
  static void recombine(const engine_kernels* k, double* z, const double* h, int n) {
    k->real_forward_double(z, z, h, n);
  }
  static void recombine_inverse(const engine_kernels* k, double* z, const double* x,
                                const double* h, int n) {
    k->real_inverse_double(z, x, h, n);
  }
};

// The recombination table of a half length n, from its definition: with h = exp(-2 pi i k / 2n)
// / 2 for k from 0 to n/2, the forward factors (h.im, -h.re) and the inverse factors
// (2 h.im, 2 h.re), four arrays of reals each repeated over an element.
template <class T>
std::vector<T> recombination_table(int n) {
  const long double two_pi = 6.283185307179586476925286766559005768L;
  const int entries = n / 2 + 1;
  std::vector<T> t(8 * entries);
  for (int k = 0; k < entries; ++k) {
    const long double a = two_pi * k / (2 * n);
    const long double hr = 0.5L * cosl(a), hi = -0.5L * sinl(a);
    const long double parts[4] = {hi, -hr, 2 * hi, 2 * hr};
    for (int a = 0; a < 4; ++a)
      t[2 * a * entries + 2 * k] = t[2 * a * entries + 2 * k + 1] = static_cast<T>(parts[a]);
  }
  return t;
}

// Real lines whose half is a whole line in registers (the half lengths of the short complex
// lines), straight through the kernel table of the instruction set the test runs under: against
// the long double spectrum, in and out of place, the inverse from Perm and from CCS (which keep
// the pairs where the kernel reads them, R(n/2) at 1 or at n) without touching its input; and
// against the same line run as the half-length transform followed by the recombination through
// memory, the route of the longer lines.
TYPED_TEST(EngineReal, InRegisterLinesAgreeWithTheSpectrumAndThePasses) {
  using T = TypeParam;
  using K = real_kernels<T>;
  for (int half = tuning::short_line_least; half <= tuning::short_line_limit; half *= 2) {
    const int n = 2 * half;
    SCOPED_TRACE(n);
    context ctx(real_entries<T>::type, n);
    ASSERT_EQ(ctx.status, engine_ok);
    const engine_kernels* k = ctx.c->kernels;
    const std::vector<T> table = recombination_table<T>(half);
    const T* h = table.data();
    for (unsigned seed : {1u, 2u, 3u}) {
      const std::vector<T> x = random_reals<T>(n, seed * 97 + n);
      const std::vector<lc> X = real_spectrum(x);
      const std::vector<long double> want = layout(X, n, perm);
      std::vector<T> y(n + 1, T(7));
      K::short_forward(k, x.data(), y.data(), h, half);
      EXPECT_LT(rms_error(y.data(), want), real_bound<T>(n));
      EXPECT_EQ(y[n], T(7));
      std::vector<T> z = x;
      K::short_forward(k, z.data(), z.data(), h, half);
      EXPECT_LT(rms_error(z.data(), want), real_bound<T>(n));
      std::vector<T> passes(n);
      K::line(k, x.data(), passes.data(), half, 0);
      K::recombine(k, passes.data(), h, half);
      EXPECT_LT(rms_error(y.data(), passes), real_bound<T>(n));

      std::vector<long double> nx(n);
      for (int j = 0; j < n; ++j) nx[j] = static_cast<long double>(n) * x[j];
      for (int f : {perm, ccs}) {
        SCOPED_TRACE(f);
        const std::vector<T> packed = rounded<T>(layout(X, n, f));
        const T r0 = packed[0], rn = packed[f == ccs ? n : 1];
        std::vector<T> in = packed, back(n + 1, T(7));
        K::short_inverse(k, in.data(), back.data(), h, half, r0, rn);
        EXPECT_LT(rms_error(back.data(), nx), real_bound<T>(n));
        EXPECT_EQ(back[n], T(7));
        EXPECT_EQ(in, packed);  // the input stays as it was
        K::short_inverse(k, in.data(), in.data(), h, half, r0, rn);
        EXPECT_LT(rms_error(in.data(), nx), real_bound<T>(n));
        std::vector<T> memory(n);
        memory[0] = r0;
        memory[1] = rn;
        K::recombine_inverse(k, memory.data(), packed.data(), h, half);
        K::line(k, memory.data(), memory.data(), half, 1);
        EXPECT_LT(rms_error(back.data(), memory), real_bound<T>(n));
      }
    }
  }
}

// Entries refuse null contexts and data with -8 and contexts of the other types with -17; create
// checks length and flag as for complex contexts.
TEST(EngineRealStatus, EntriesAndCreate) {
  context s(context_real_single, 16), d(context_real_double, 16), z(context_complex_double, 16);
  ASSERT_EQ(s.status, engine_ok);
  ASSERT_EQ(d.status, engine_ok);
  std::vector<float> fs(18, 1.0f);
  std::vector<double> ds(18, 1.0);
  for (int f : formats) {
    for (auto e : {real_entries<float>::forward(f), real_entries<float>::inverse(f)}) {
      EXPECT_EQ(e(fs.data(), fs.data(), s.c, nullptr), engine_ok);
      EXPECT_EQ(e(fs.data(), fs.data(), d.c, nullptr), engine_bad_type);
      EXPECT_EQ(e(fs.data(), fs.data(), z.c, nullptr), engine_bad_type);
      EXPECT_EQ(e(fs.data(), fs.data(), nullptr, nullptr), engine_null);
      EXPECT_EQ(e(nullptr, fs.data(), s.c, nullptr), engine_null);
      EXPECT_EQ(e(fs.data(), nullptr, s.c, nullptr), engine_null);
    }
    for (auto e : {real_entries<double>::forward(f), real_entries<double>::inverse(f)}) {
      EXPECT_EQ(e(ds.data(), ds.data(), d.c, nullptr), engine_ok);
      EXPECT_EQ(e(ds.data(), ds.data(), s.c, nullptr), engine_bad_type);
      EXPECT_EQ(e(ds.data(), ds.data(), nullptr, nullptr), engine_null);
      EXPECT_EQ(e(nullptr, ds.data(), d.c, nullptr), engine_null);
    }
  }
  std::vector<zvx_complex16> c16(16);
  EXPECT_EQ(primitive_dft_forward_z(c16.data(), c16.data(), d.c, nullptr), engine_bad_type);
  PrimitiveDftContext* const sentinel = reinterpret_cast<PrimitiveDftContext*>(0x10);
  PrimitiveDftContext* c = sentinel;
  EXPECT_EQ(primitive_dft_create(&c, context_real_double, 0, scale_none, 0), engine_bad_length);
  EXPECT_EQ(primitive_dft_create(&c, context_real_single, 100, 3, 0), engine_bad_flag);
  EXPECT_EQ(primitive_dft_create(nullptr, context_real_single, 100, scale_none, 0), engine_null);
  EXPECT_EQ(c, sentinel);
}

// Create fails with -9 at every allocation it makes and releases what it built (the sanitizer
// build checks), leaving the output pointer alone.
TEST(EngineRealStatus, NoMemoryOnEveryAllocation) {
  for (int type : {int(context_real_single), int(context_real_double)})
    for (int n : {8, 64, 100, 179, 181, 302, 27}) {
      PrimitiveDftContext* const sentinel = reinterpret_cast<PrimitiveDftContext*>(0x10);
      int failures = 0;
      for (int count = 0; count < 64; ++count) {
        PrimitiveDftContext* c = sentinel;
        engine_fail_allocation_after(count);
        const int status = primitive_dft_create(&c, type, n, scale_none, 0);
        engine_fail_allocation_after(-1);
        if (status == engine_ok) {
          primitive_dft_free(c);
          break;
        }
        EXPECT_EQ(status, engine_no_memory);
        EXPECT_EQ(c, sentinel);
        ++failures;
      }
      EXPECT_GT(failures, 0) << n;
    }
}

}  // namespace
