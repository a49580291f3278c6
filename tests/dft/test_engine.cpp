// The line engine against a naive DFT in long double: every length from 1 to 300 in both
// precisions and directions, ordered and scrambled contexts, in place and out of place, with and
// without caller scratch; the scaling flags; the routes the factor rule decides; every status.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dft/engine_test_support.h"

namespace {

using namespace engine_test;

template <class T>
class EngineLines : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineLines, Precisions);

// Every length 1..300: forward and inverse against the naive sums, for both context types, in
// place and out of place, with the caller's scratch (deliberately misaligned) and without.
TYPED_TEST(EngineLines, EveryLengthUpTo300) {
  using T = TypeParam;
  using P = precision<T>;
  using E = typename P::element;
  for (int n = 1; n <= 300; ++n) {
    const auto x = random_line<T>(n, 1000 + n);
    const auto want_forward = naive_dft(x, -1);
    const auto want_inverse = naive_dft(x, +1);
    for (int type : {P::ordered, P::scrambled}) {
      context ctx(type, n);
      ASSERT_EQ(ctx.status, engine_ok) << n;
      int bytes = -1;
      ASSERT_EQ(primitive_dft_buffer_size(ctx.c, &bytes), engine_ok);
      ASSERT_GE(bytes, 0);
      std::vector<unsigned char> scratch(bytes + 40);
      void* misaligned = scratch.data() + 8;
      for (int in_place = 0; in_place < 2; ++in_place) {
        for (int inverse = 0; inverse < 2; ++inverse) {
          std::vector<E> y = in_place ? x : std::vector<E>(n);
          const E* src = in_place ? y.data() : x.data();
          void* s = (n % 2) ? misaligned : nullptr;
          const int status = inverse ? P::inverse(type, src, y.data(), ctx.c, s)
                                     : P::forward(type, src, y.data(), ctx.c, s);
          ASSERT_EQ(status, engine_ok);
          const double err = relative_rms(y, inverse ? want_inverse : want_forward);
          EXPECT_LE(err, bound<T>(n)) << "n " << n << " type " << type << " in place "
                                      << in_place << " inverse " << inverse;
        }
      }
    }
  }
}

// Flag 1 scales the forward transform by 1/n, 2 the inverse by 1/n, 4 both by 1/sqrt(n); one
// length of every route.
TYPED_TEST(EngineLines, ScalingFlags) {
  using T = TypeParam;
  using P = precision<T>;
  using E = typename P::element;
  for (int n : {1, 3, 4, 16, 12, 149, 151, 1024}) {
    const auto x = random_line<T>(n, 7 * n);
    const auto fwd = naive_dft(x, -1), inv = naive_dft(x, +1);
    const struct {
      int flag;
      long double forward_scale, inverse_scale;
    } cases[] = {{scale_none, 1, 1},
                 {scale_forward_by_n, 1.0L / n, 1},
                 {scale_inverse_by_n, 1, 1.0L / n},
                 {scale_both_by_sqrt_n, 1 / sqrtl(n), 1 / sqrtl(n)}};
    for (const auto& sc : cases) {
      context ctx(P::ordered, n, sc.flag);
      ASSERT_EQ(ctx.status, engine_ok);
      std::vector<E> y(n);
      ASSERT_EQ(P::forward(P::ordered, x.data(), y.data(), ctx.c, nullptr), engine_ok);
      std::vector<lc> want(n);
      for (int k = 0; k < n; ++k) want[k] = fwd[k] * sc.forward_scale;
      EXPECT_LE(relative_rms(y, want), bound<T>(n)) << n << " flag " << sc.flag;
      ASSERT_EQ(P::inverse(P::ordered, x.data(), y.data(), ctx.c, nullptr), engine_ok);
      for (int k = 0; k < n; ++k) want[k] = inv[k] * sc.inverse_scale;
      EXPECT_LE(relative_rms(y, want), bound<T>(n)) << n << " flag " << sc.flag;
    }
  }
}

// Forward then inverse gives n times the input on every route; with flag 2 the input itself.
TYPED_TEST(EngineLines, RoundTrip) {
  using T = TypeParam;
  using P = precision<T>;
  using E = typename P::element;
  for (int n : {2, 5, 8, 30, 97, 128, 210, 302, 1000, 4096}) {
    const auto x = random_line<T>(n, 31 * n);
    for (int flag : {scale_none, scale_inverse_by_n}) {
      context ctx(P::ordered, n, flag);
      ASSERT_EQ(ctx.status, engine_ok);
      std::vector<E> y(x);
      ASSERT_EQ(P::forward(P::ordered, y.data(), y.data(), ctx.c, nullptr), engine_ok);
      ASSERT_EQ(P::inverse(P::ordered, y.data(), y.data(), ctx.c, nullptr), engine_ok);
      std::vector<lc> want(n);
      for (int k = 0; k < n; ++k) want[k] = widen(x[k]) * (flag == scale_none ? n : 1.0L);
      EXPECT_LE(relative_rms(y, want), 2 * bound<T>(n)) << n << " flag " << flag;
    }
  }
}

// The factor rule decides the route: which lengths run fixed kernels, the power-of-two passes,
// the mixed radix, the direct sum or the chirp convolution, and with which factors.
TYPED_TEST(EngineLines, RoutesOfTheFactorRule) {
  using P = precision<TypeParam>;
  const struct {
    int n, route;
  } cases[] = {{1, route_fixed},
               {4, route_fixed},
               {5, route_direct},
               {6, route_mixed_radix},
               {7, route_direct},
               {8, route_power_of_two},
               {27, route_mixed_radix},
               {149, route_direct},
               {151, route_chirp},
               {2 * 151, route_chirp},
               {4 * 151 * 3, route_chirp},
               {2 * 149, route_mixed_radix},
               {9 * 149, route_mixed_radix},
               {151 * 157, route_chirp},
               {1 << 20, route_power_of_two},
               {65537, route_chirp},
               {1000, route_mixed_radix}};
  for (const auto& c : cases) {
    context ctx(P::ordered, c.n);
    ASSERT_EQ(ctx.status, engine_ok) << c.n;
    EXPECT_EQ(primitive_dft_route(ctx.c), c.route) << c.n;
  }
  // 6: a 2, then the rest 3 as the last factor, with no odd trial below 9.
  context six(P::ordered, 6);
  ASSERT_EQ(six.c->factor_count, 2);
  EXPECT_EQ(six.c->factors[0].factor, 2);
  EXPECT_EQ(six.c->factors[1].factor, 3);
  // 27: 3 twice from the trial, then the rest 3.
  context cube(P::ordered, 27);
  ASSERT_EQ(cube.c->factor_count, 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(cube.c->factors[i].factor, 3);
  // 2 * 151: the chirp over 1024 points.
  context chirp(P::ordered, 302);
  EXPECT_EQ(chirp.c->chirp_length, 1024);
  // 1000: the 2 in front, then 4 and the fives.
  context thousand(P::ordered, 1000);
  const int want[] = {2, 4, 5, 5, 5};
  ASSERT_EQ(thousand.c->factor_count, 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(thousand.c->factors[i].factor, want[i]);
}

// A scrambled context of a mixed-radix length above the reorder limit leaves the forward output
// in a fixed order of its own: the same values as the ordered transform, permuted, which its
// inverse entry takes back. At the limit the order is natural.
TYPED_TEST(EngineLines, ScrambledOrderAboveTheReorderLimit) {
  using T = TypeParam;
  using P = precision<T>;
  using E = typename P::element;
  const int limit = P::reorder_limit;
  // The limit itself factors (2000 = 2 4 2 ... , 5000 likewise); the next mixed-radix lengths
  // above it are the first even ones.
  const int above = limit + 2;
  for (int n : {limit, above}) {
    context ordered(P::ordered, n), scrambled(P::scrambled, n);
    ASSERT_EQ(ordered.status, engine_ok);
    ASSERT_EQ(scrambled.status, engine_ok);
    ASSERT_EQ(primitive_dft_route(scrambled.c), route_mixed_radix) << n;
    const auto x = random_line<T>(n, n);
    std::vector<E> natural(n), y(x);
    ASSERT_EQ(P::forward(P::ordered, x.data(), natural.data(), ordered.c, nullptr), engine_ok);
    ASSERT_EQ(P::forward(P::scrambled, y.data(), y.data(), scrambled.c, nullptr), engine_ok);
    const auto want = naive_dft(x, -1);
    if (n <= limit) {
      EXPECT_LE(relative_rms(y, want), bound<T>(n));
    } else {
      EXPECT_GT(relative_rms(y, want), 0.1) << "expected a permuted order";
      // The multiset of values is the transform's: every output is matched to the nearest
      // unmatched reference value (searched among those of nearby real part), each once.
      std::vector<int> order(n);
      for (int k = 0; k < n; ++k) order[k] = k;
      std::sort(order.begin(), order.end(),
                [&](int a, int b) { return want[a].real() < want[b].real(); });
      std::vector<char> used(n, 0);
      long double num = 0, den = 0;
      for (int k = 0; k < n; ++k) {
        const lc v = widen(y[k]);
        auto it = std::lower_bound(order.begin(), order.end(), v.real(),
                                   [&](int a, long double r) { return want[a].real() < r; });
        int best = -1;
        long double best_d = 0;
        for (long i = std::max<long>(0, it - order.begin() - 64);
             i < std::min<long>(n, it - order.begin() + 64); ++i) {
          const int j = order[i];
          const long double d = std::norm(want[j] - v);
          if (!used[j] && (best < 0 || d < best_d)) {
            best = j;
            best_d = d;
          }
        }
        ASSERT_GE(best, 0);
        used[best] = 1;
        num += best_d;
        den += std::norm(want[best]);
      }
      EXPECT_LE(static_cast<double>(sqrtl(num / den)), bound<T>(n));
    }
    ASSERT_EQ(P::inverse(P::scrambled, y.data(), y.data(), scrambled.c, nullptr), engine_ok);
    std::vector<lc> back(n);
    for (int k = 0; k < n; ++k) back[k] = widen(x[k]) * static_cast<long double>(n);
    EXPECT_LE(relative_rms(y, back), 2 * bound<T>(n)) << n;
  }
}

// Statuses of create: null context pointer -8, length below 1 -6, a flag other than 1, 2, 4, 8
// -16, a type that is no context type -17, a chirp beyond the largest order -15, a line too
// long for its scratch size -9; the output pointer is left as it was.
TEST(EngineStatus, Create) {
  PrimitiveDftContext* const sentinel = reinterpret_cast<PrimitiveDftContext*>(0x10);
  PrimitiveDftContext* c = sentinel;
  EXPECT_EQ(primitive_dft_create(nullptr, context_complex_double, 8, scale_none, 0), engine_null);
  for (int n : {0, -1, -100000}) {
    EXPECT_EQ(primitive_dft_create(&c, context_complex_double, n, scale_none, 0),
              engine_bad_length);
    EXPECT_EQ(c, sentinel);
  }
  for (int flag : {0, 3, 5, 6, 7, 9, 16, -1})
    for (int n : {1, 3, 64, 100, 151}) {
      EXPECT_EQ(primitive_dft_create(&c, context_complex_single, n, flag, 0), engine_bad_flag);
      EXPECT_EQ(c, sentinel);
    }
  for (int type : {0, 1, 14, 17, 19, -15})
    EXPECT_EQ(primitive_dft_create(&c, type, 16, scale_none, 0), engine_bad_type);
  EXPECT_EQ(c, sentinel);
  // 2^29 + 1 = 3 x 178956971 leaves a rest above the largest factor: the chirp would need a
  // power of two of order 31, beyond the largest order.
  EXPECT_EQ(primitive_dft_create(&c, context_complex_single, (1 << 29) + 1, scale_none, 0),
            engine_bad_order);
  // Lines whose scratch exceeds what the int of the size query can report are refused as out
  // of memory before any table is built.
  EXPECT_EQ(primitive_dft_create(&c, context_complex_double, 1 << 27, scale_none, 0),
            engine_no_memory);
  EXPECT_EQ(primitive_dft_create(&c, context_complex_single, 1 << 30, scale_none, 0),
            engine_no_memory);
  EXPECT_EQ(c, sentinel);
}

// Every entry refuses a null context and null data with -8, and a context of another type with
// -17, before it touches the data.
TEST(EngineStatus, EntriesCheckTheirContext) {
  using C8 = zvx_complex8;
  using C16 = zvx_complex16;
  using entry8 = int (*)(const C8*, C8*, PrimitiveDftContext*, void*);
  using entry16 = int (*)(const C16*, C16*, PrimitiveDftContext*, void*);
  const struct {
    entry8 f;
    int type;
  } e8[] = {{primitive_dft_forward_c, context_complex_single},
            {primitive_dft_inverse_c, context_complex_single},
            {primitive_dft_forward_c_scrambled, context_complex_single_scrambled},
            {primitive_dft_inverse_c_scrambled, context_complex_single_scrambled}};
  const struct {
    entry16 f;
    int type;
  } e16[] = {{primitive_dft_forward_z, context_complex_double},
             {primitive_dft_inverse_z, context_complex_double},
             {primitive_dft_forward_z_scrambled, context_complex_double_scrambled},
             {primitive_dft_inverse_z_scrambled, context_complex_double_scrambled}};
  const int types[] = {context_complex_single, context_complex_single_scrambled,
                       context_complex_double, context_complex_double_scrambled};
  std::vector<C8> a8(12, C8{1, 2});
  std::vector<C16> a16(12, C16{1, 2});
  for (int type : types) {
    context ctx(type, 12);
    ASSERT_EQ(ctx.status, engine_ok);
    EXPECT_EQ(primitive_dft_type(ctx.c), type);
    for (const auto& e : e8) {
      const int want = e.type == type ? engine_ok : engine_bad_type;
      EXPECT_EQ(e.f(a8.data(), a8.data(), ctx.c, nullptr), want);
      EXPECT_EQ(e.f(a8.data(), a8.data(), nullptr, nullptr), engine_null);
      EXPECT_EQ(e.f(nullptr, a8.data(), ctx.c, nullptr), want == engine_ok ? engine_null : want);
      EXPECT_EQ(e.f(a8.data(), nullptr, ctx.c, nullptr), want == engine_ok ? engine_null : want);
    }
    for (const auto& e : e16) {
      const int want = e.type == type ? engine_ok : engine_bad_type;
      EXPECT_EQ(e.f(a16.data(), a16.data(), ctx.c, nullptr), want);
      EXPECT_EQ(e.f(a16.data(), a16.data(), nullptr, nullptr), engine_null);
      EXPECT_EQ(e.f(nullptr, a16.data(), ctx.c, nullptr), want == engine_ok ? engine_null : want);
    }
  }
  EXPECT_EQ(primitive_dft_type(nullptr), 0);
  EXPECT_EQ(primitive_dft_free(nullptr), engine_ok);
  int bytes = 0;
  EXPECT_EQ(primitive_dft_buffer_size(nullptr, &bytes), engine_null);
}

// Out of memory: create fails with -9 at every allocation it makes, releases what it built
// (the sanitizer build checks), and leaves the output pointer alone; a compute without scratch
// fails with -9 when its scratch cannot be had.
TEST(EngineStatus, NoMemoryOnEveryAllocation) {
  const int lengths[] = {3, 64, 128, 12, 2002, 149, 151, 302};
  for (int type : {context_complex_single, context_complex_double_scrambled})
    for (int n : lengths) {
      int failures = 0;
      for (int k = 0;; ++k) {
        PrimitiveDftContext* c = reinterpret_cast<PrimitiveDftContext*>(0x20);
        engine_fail_allocation_after(k);
        const int status = primitive_dft_create(&c, type, n, scale_none, 0);
        engine_fail_allocation_after(-1);
        if (status == engine_ok) {
          primitive_dft_free(c);
          break;
        }
        ASSERT_EQ(status, engine_no_memory) << n << " at allocation " << k;
        EXPECT_EQ(c, reinterpret_cast<PrimitiveDftContext*>(0x20));
        ++failures;
        ASSERT_LT(k, 100);
      }
      EXPECT_GE(failures, 1) << n;
    }
  context ctx(context_complex_double, 1000);
  std::vector<zvx_complex16> x(1000, zvx_complex16{1, 0});
  engine_fail_allocation_after(0);
  EXPECT_EQ(primitive_dft_forward_z(x.data(), x.data(), ctx.c, nullptr), engine_no_memory);
  engine_fail_allocation_after(-1);
  EXPECT_EQ(x[0].real, 1.0);
  EXPECT_EQ(primitive_dft_forward_z(x.data(), x.data(), ctx.c, nullptr), engine_ok);
  EXPECT_EQ(x[0].real, 1000.0);
}

// The allocator: 32-byte aligned, zero-filled blocks; sizes below 1 give null; null frees.
TEST(EngineAllocator, AlignedZeroFilledBlocks) {
  EXPECT_EQ(engine_allocate(0), nullptr);
  EXPECT_EQ(engine_allocate(-5), nullptr);
  engine_free(nullptr);
  for (long bytes : {1L, 31L, 32L, 33L, 1000L, 20480L, 1L << 20}) {
    auto* p = static_cast<unsigned char*>(engine_allocate(bytes));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 32, 0u);
    long nonzero = 0;
    for (long i = 0; i < bytes; ++i) nonzero += p[i] != 0;
    EXPECT_EQ(nonzero, 0);
    std::memset(p, 0xAB, bytes);
    engine_free(p);
  }
}

// Contexts are independent: two of one length, created and freed in any order, in a loop.
TEST(EngineContexts, CreateFreeLoops) {
  const int lengths[] = {1, 2, 5, 16, 100, 149, 151, 302, 1024, 1812, 6000};
  for (int round = 0; round < 2; ++round)
    for (int n : lengths) {
      context a(context_complex_double, n), b(context_complex_double, n);
      ASSERT_EQ(a.status, engine_ok);
      ASSERT_EQ(b.status, engine_ok);
      auto x = random_line<double>(n, n);
      std::vector<zvx_complex16> ya(n), yb(n);
      primitive_dft_free(a.c);
      a.c = nullptr;
      ASSERT_EQ(primitive_dft_forward_z(x.data(), yb.data(), b.c, nullptr), engine_ok);
      context c(context_complex_single_scrambled, n);
      ASSERT_EQ(c.status, engine_ok);
      EXPECT_LE(relative_rms(yb, naive_dft(x, -1)), bound<double>(n));
    }
}

}  // namespace
