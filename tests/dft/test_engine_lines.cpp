// The engine's multi-line entry against the naive long-double DFT: lengths on both sides of the
// limits the tuning header sets (the fixed kernels, the group buffer), counts on both sides of a
// group, columns, rows and arbitrary strides, in place and out of place, both directions and
// both precisions; a line's result equal to the same line transformed alone; nothing written
// outside the lines; every status.
#include <cstring>
#include <vector>

#include "dft/engine_test_support.h"
#include "dft_reference.h"

namespace {

using namespace engine_test;

template <class T>
struct lines_entries;
template <>
struct lines_entries<float> {
  using E = zvx_complex8;
  static constexpr long batch = tuning::lines_batch_single;
  static int run(int inverse, const E* x, long is, long id, E* y, long os, long od, long count,
                 PrimitiveDftContext* c, void* s) {
    return inverse ? primitive_dft_inverse_c_lines(x, is, id, y, os, od, count, c, s)
                   : primitive_dft_forward_c_lines(x, is, id, y, os, od, count, c, s);
  }
};
template <>
struct lines_entries<double> {
  using E = zvx_complex16;
  static constexpr long batch = tuning::lines_batch_double;
  static int run(int inverse, const E* x, long is, long id, E* y, long os, long od, long count,
                 PrimitiveDftContext* c, void* s) {
    return inverse ? primitive_dft_inverse_z_lines(x, is, id, y, os, od, count, c, s)
                   : primitive_dft_forward_z_lines(x, is, id, y, os, od, count, c, s);
  }
};

// The longest line whose two group buffers fit the tuning limit.
template <class T>
long longest_grouped() {
  return tuning::lines_batch_bytes / (2 * lines_entries<T>::batch * 2 * static_cast<long>(sizeof(T)));
}

template <class T>
class EngineMultiLine : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineMultiLine, Precisions);

struct shape {
  long is, id, os, od;  // element strides and line distances; in place uses the input's
  bool in_place;
};

// Runs `count` lines of length n in the layout and checks every line against the naive DFT and
// every position outside the lines against its sentinel.
template <class T>
void check_lines(PrimitiveDftContext* c, long n, long count, const shape& sh, int inverse,
                 bool scratch, double scale = 1.0) {
  using L = lines_entries<T>;
  using E = typename L::E;
  const long os = sh.in_place ? sh.is : sh.os, od = sh.in_place ? sh.id : sh.od;
  const long in_size = (n - 1) * sh.is + (count - 1) * sh.id + 1;
  const long out_size = (n - 1) * os + (count - 1) * od + 1;
  auto x = random_line<T>(in_size, static_cast<unsigned>(7 * n + count));
  std::vector<dft_test::cld> want(static_cast<size_t>(n * count));
  for (long l = 0; l < count; ++l)
    for (long k = 0; k < n; ++k)
      want[static_cast<size_t>(l * n + k)] =
          dft_test::cld(x[k * sh.is + l * sh.id].real, x[k * sh.is + l * sh.id].imag);
  dft_test::naive_dft(want, {n}, inverse ? +1 : -1);
  const E sentinel{T(1234.5), T(-678.25)};
  std::vector<E> y(static_cast<size_t>(out_size), sentinel);
  std::vector<char> written(static_cast<size_t>(sh.in_place ? in_size : out_size), 0);
  for (long l = 0; l < count; ++l)
    for (long k = 0; k < n; ++k) written[k * os + l * od] = 1;
  E* out = sh.in_place ? x.data() : y.data();
  std::vector<E> before = x;
  int bytes = -1;
  ASSERT_EQ(primitive_dft_lines_buffer_size(c, &bytes), engine_ok);
  std::vector<unsigned char> space(static_cast<size_t>(bytes) + 40);
  ASSERT_EQ(L::run(inverse, x.data(), sh.is, sh.id, out, os, od, count, c,
                   scratch ? space.data() + 8 : nullptr),
            engine_ok);
  for (long l = 0; l < count; ++l) {
    std::vector<E> got(static_cast<size_t>(n));
    std::vector<lc> ref(static_cast<size_t>(n));
    for (long k = 0; k < n; ++k) {
      got[k] = out[k * os + l * od];
      ref[k] = want[static_cast<size_t>(l * n + k)] * static_cast<long double>(scale);
    }
    ASSERT_LE(relative_rms(got, ref), bound<T>(n))
        << "n " << n << " count " << count << " line " << l << " inverse " << inverse;
  }
  const std::vector<E>& outside = sh.in_place ? x : y;
  for (size_t i = 0; i < outside.size(); ++i) {
    if (written[i]) continue;
    const E want_e = sh.in_place ? before[i] : sentinel;
    ASSERT_TRUE(outside[i].real == want_e.real && outside[i].imag == want_e.imag)
        << "position " << i << " outside the lines was written, n " << n;
  }
}

// Lengths about the fixed kernels, small powers of two and mixed lengths, a direct length, a
// chirp length, and the two sides of the group-buffer limit; counts about one group.
TYPED_TEST(EngineMultiLine, AgainstTheNaiveDft) {
  using T = TypeParam;
  using P = precision<T>;
  const long B = lines_entries<T>::batch, top = longest_grouped<T>();
  const long lengths[] = {1, 2, 3, tuning::fixed_kernel_limit, tuning::fixed_kernel_limit + 1,
                          8, 16, 32, 64, 128, 12, 60, 210, 97, tuning::direct_limit + 1, top,
                          2 * top};
  for (long n : lengths) {
    const long counts[] = {1, 3, B - 1, B, B + 1, 2 * B + 3};
    for (long count : counts) {
      // Long lines: one short group, out of place (the naive sums cost n^2 a line).
      if (n > 256 && count != 3) continue;
      const shape shapes[] = {
          {count + 3, 1, count + 3, 1, true},       // columns, in place
          {1, n + 2, 1, n, false},                  // rows, out of place
          {3, 3 * n + 1, count + 1, 1, false},      // strided lines into columns
      };
      for (const shape& sh : shapes) {
        if (n > 256 && sh.in_place) continue;
        for (int inverse = 0; inverse < 2; ++inverse) {
          context ctx(P::ordered, static_cast<int>(n));
          ASSERT_EQ(ctx.status, engine_ok);
          check_lines<T>(ctx.c, n, count, sh, inverse, (n + count) % 2 == 0);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

// Which lengths the entry takes in groups follows the routes and the buffer limit.
TYPED_TEST(EngineMultiLine, GroupedLengths) {
  using T = TypeParam;
  using P = precision<T>;
  const long top = longest_grouped<T>();
  const struct {
    long n;
    int grouped;
  } cases[] = {{tuning::fixed_kernel_limit, 0}, {tuning::fixed_kernel_limit + 1, 1}, {7, 1},
               {8, 1}, {64, 1}, {12, 1}, {97, 1}, {tuning::direct_limit + 1, 0},
               {top, 1}, {2 * top, 0}};
  for (const auto& k : cases) {
    context ctx(P::ordered, static_cast<int>(k.n));
    ASSERT_EQ(ctx.status, engine_ok);
    EXPECT_EQ(primitive_dft_lines_grouped(ctx.c), k.grouped) << k.n;
  }
  EXPECT_EQ(primitive_dft_lines_grouped(nullptr), 0);
}

// A line's result does not depend on the count, its place in a group or the layout: bit for bit
// the same as the line transformed alone (the property threaded callers rely on).
TYPED_TEST(EngineMultiLine, LineResultIndependentOfItsGroup) {
  using T = TypeParam;
  using P = precision<T>;
  using L = lines_entries<T>;
  using E = typename L::E;
  const long B = L::batch;
  for (long n : {5L, 16L, 64L, 60L, 97L}) {
    context ctx(P::ordered, static_cast<int>(n));
    ASSERT_EQ(ctx.status, engine_ok);
    const long count = 2 * B + 3;
    const auto x = random_line<T>(n * count, static_cast<unsigned>(n));  // rows of n
    std::vector<E> all(x.size());
    ASSERT_EQ(L::run(0, x.data(), 1, n, all.data(), 1, n, count, ctx.c, nullptr), engine_ok);
    std::vector<E> columns(x.size());
    ASSERT_EQ(L::run(0, x.data(), 1, n, columns.data(), count, 1, count, ctx.c, nullptr),
              engine_ok);
    for (long l = 0; l < count; l += 5) {
      std::vector<E> alone(static_cast<size_t>(n));
      ASSERT_EQ(L::run(0, x.data() + l * n, 1, n, alone.data(), 1, n, 1, ctx.c, nullptr),
                engine_ok);
      for (long k = 0; k < n; ++k) {
        EXPECT_EQ(std::memcmp(&alone[k], &all[l * n + k], sizeof(E)), 0) << n << " " << l;
        EXPECT_EQ(std::memcmp(&alone[k], &columns[k * count + l], sizeof(E)), 0) << n << " " << l;
      }
    }
  }
}

// The context's scaling flag and a scrambled context (natural order below the reorder limit,
// digit-reversed above it) behave as their single-line entries do.
TYPED_TEST(EngineMultiLine, ScalingAndScrambledContexts) {
  using T = TypeParam;
  using P = precision<T>;
  using L = lines_entries<T>;
  using E = typename L::E;
  const long B = L::batch;
  for (long n : {16L, 60L, 151L}) {  // grouped, grouped, one at a time
    context fwd(P::ordered, static_cast<int>(n), scale_forward_by_n);
    ASSERT_EQ(fwd.status, engine_ok);
    check_lines<T>(fwd.c, n, B + 1, shape{B + 1, 1, B + 1, 1, true}, 0, true, 1.0 / n);
    context inv(P::ordered, static_cast<int>(n), scale_inverse_by_n);
    ASSERT_EQ(inv.status, engine_ok);
    check_lines<T>(inv.c, n, B + 1, shape{B + 1, 1, B + 1, 1, true}, 1, false, 1.0 / n);
  }
  // Scrambled contexts: at or below the reorder limit the lines come out in natural order;
  // above it each line equals what the single-line scrambled entry gives, digit-reversed.
  const long B2 = B;
  {
    context ctx(P::scrambled, 60);
    ASSERT_EQ(ctx.status, engine_ok);
    check_lines<T>(ctx.c, 60, B2 + 1, shape{1, 61, B2 + 1, 1, false}, 0, true);
    check_lines<T>(ctx.c, 60, B2 + 1, shape{1, 61, B2 + 1, 1, false}, 1, false);
  }
  const long above = 2L * 3 * 3 * 3 * 3 * 5 * 7;  // 5670, above both reorder limits
  ASSERT_GT(above, P::reorder_limit);
  context ctx(P::scrambled, static_cast<int>(above));
  ASSERT_EQ(ctx.status, engine_ok);
  const long count = 3;
  const auto x = random_line<T>(above * count, 11);
  std::vector<E> got(x.size());
  ASSERT_EQ(L::run(0, x.data(), count, 1, got.data(), count, 1, count, ctx.c, nullptr),
            engine_ok);
  for (long l = 0; l < count; ++l) {
    std::vector<E> line(static_cast<size_t>(above)), one(static_cast<size_t>(above));
    for (long k = 0; k < above; ++k) line[k] = x[k * count + l];
    ASSERT_EQ(P::forward(P::scrambled, line.data(), one.data(), ctx.c, nullptr), engine_ok);
    for (long k = 0; k < above; ++k)
      ASSERT_EQ(std::memcmp(&one[k], &got[k * count + l], sizeof(E)), 0) << k;
  }
}

// Statuses: null context or data, a context of the other precision, a negative count; count 0
// writes nothing.
TEST(EngineMultiLineStatus, Checks) {
  context c8(context_complex_single, 16), c16(context_complex_double, 16);
  ASSERT_EQ(c8.status, engine_ok);
  ASSERT_EQ(c16.status, engine_ok);
  std::vector<zvx_complex8> a8(16, zvx_complex8{1, 2});
  std::vector<zvx_complex16> a16(16, zvx_complex16{1, 2});
  for (auto f : {primitive_dft_forward_c_lines, primitive_dft_inverse_c_lines}) {
    EXPECT_EQ(f(a8.data(), 1, 16, a8.data(), 1, 16, 1, nullptr, nullptr), engine_null);
    EXPECT_EQ(f(nullptr, 1, 16, a8.data(), 1, 16, 1, c8.c, nullptr), engine_null);
    EXPECT_EQ(f(a8.data(), 1, 16, nullptr, 1, 16, 1, c8.c, nullptr), engine_null);
    EXPECT_EQ(f(a8.data(), 1, 16, a8.data(), 1, 16, 1, c16.c, nullptr), engine_bad_type);
    EXPECT_EQ(f(a8.data(), 1, 16, a8.data(), 1, 16, -1, c8.c, nullptr), engine_bad_length);
    EXPECT_EQ(f(a8.data(), 1, 16, a8.data(), 1, 16, 0, c8.c, nullptr), engine_ok);
  }
  for (auto f : {primitive_dft_forward_z_lines, primitive_dft_inverse_z_lines}) {
    EXPECT_EQ(f(a16.data(), 1, 16, a16.data(), 1, 16, 1, nullptr, nullptr), engine_null);
    EXPECT_EQ(f(nullptr, 1, 16, a16.data(), 1, 16, 1, c16.c, nullptr), engine_null);
    EXPECT_EQ(f(a16.data(), 1, 16, a16.data(), 1, 16, 1, c8.c, nullptr), engine_bad_type);
    EXPECT_EQ(f(a16.data(), 1, 16, a16.data(), 1, 16, -1, c16.c, nullptr), engine_bad_length);
    EXPECT_EQ(f(a16.data(), 1, 16, a16.data(), 1, 16, 0, c16.c, nullptr), engine_ok);
  }
  for (const auto& e : a8) EXPECT_TRUE(e.real == 1 && e.imag == 2);
  for (const auto& e : a16) EXPECT_TRUE(e.real == 1 && e.imag == 2);
  int bytes = 0;
  EXPECT_EQ(primitive_dft_lines_buffer_size(nullptr, &bytes), engine_null);
  EXPECT_EQ(primitive_dft_lines_buffer_size(c8.c, nullptr), engine_null);
  engine_fail_allocation_after(0);
  EXPECT_EQ(primitive_dft_forward_c_lines(a8.data(), 1, 16, a8.data(), 1, 16, 1, c8.c, nullptr),
            engine_no_memory);
  engine_fail_allocation_after(-1);
}

}  // namespace
