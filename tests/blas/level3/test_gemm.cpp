// sgemm, dgemm, cgemm, zgemm against the naive long double reference: every spelling of the
// options, sizes on both sides of every tile, block and depth boundary of the engines (for each
// instruction set the suite runs under) and of the decisions callers can see, leading
// dimensions beyond the sizes, and the special values of alpha, beta and the sizes.
#include <cmath>
#include <limits>
#include <type_traits>

#include "blas/level3/gemm_reference.h"

// The blocks of the 512-bit engines, as their build reads them from the tuning header.
#define ZVX_ISA_NS wide_blocks
#define ZVX_ISA_LEVEL 2
#include "blas/level3/tuning.h"
#undef ZVX_ISA_LEVEL
#undef ZVX_ISA_NS

namespace {

using namespace gemm_test;

template <class T>
class Gemm : public ::testing::Test {};
using GemmTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(Gemm, GemmTypes);

template <class T>
T alpha_value() {
  return make<T>(0.75, -0.5);
}
template <class T>
T beta_value() {
  return make<T>(-1.25, 0.375);
}

// Every spelling: the letters the routines know in both cases, and one they do not know
// (a transpose for the real types, a conjugate transpose for the complex ones).
TYPED_TEST(Gemm, EverySpellingOfTheOptions) {
  using T = TypeParam;
  const char letters[] = {'N', 'n', 'T', 't', 'C', 'c', 'X'};
  unsigned seed = 1;
  for (char ta : letters)
    for (char tb : letters)
      EXPECT_TRUE(run_case<T>(ta, tb, 29, 19, 37, alpha_value<T>(), beta_value<T>(), seed++));
}

// Rows across the row tiles of every instruction set (4, 8, 12, 16, 24, 48 reals or complex
// values), the padded last tile, a block that ends one vector past whole tiles (cut as two
// smaller tiles: 4 and 7 vectors of every type and set are among the sizes) and the even split
// of up to 64 rows among the direct tiles;
// columns across the register tiles (2, 3, 4, 8); both for the packed path and for the direct
// tiles of problems with all sizes at most 64.
TYPED_TEST(Gemm, RowAndColumnTileEdges) {
  using T = TypeParam;
  unsigned seed = 100;
  for (int m : {1, 2, 3, 4, 5, 7, 8, 9, 11, 12, 13, 15, 16, 17, 20, 23, 24, 25, 31, 32, 33, 47,
                48, 49, 50, 56, 63, 64, 73, 97, 112}) {
    // Small problems go straight from the operands; a depth above 64 takes the packed path.
    EXPECT_TRUE(run_case<T>('N', 'N', m, 7, 21, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('N', 'N', m, 7, 70, alpha_value<T>(), beta_value<T>(), seed++));
  }
  for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 16, 17, 25, 64, 65}) {
    EXPECT_TRUE(run_case<T>('T', 'N', 13, n, 19, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('N', 'T', 13, n, 19, alpha_value<T>(), beta_value<T>(), seed++));
  }
}

// The wide direct tiles of the real types with 512-bit vectors: rows a multiple of four vectors
// (32 and 64 doubles, 64 singles; other sets and the complex types take the usual direct tiles
// at the same sizes), every count of columns left past whole 6-column tiles (0 to 5, the 2 left
// after at least one whole tile taken as two tiles of 4), B as it is and transposed, the
// shortcut of alpha and beta 1, and leading dimensions further beyond the sizes.
TYPED_TEST(Gemm, WideDirectTileColumns) {
  using T = TypeParam;
  unsigned seed = 150;
  for (int m : {32, 64})
    for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 32, 59, 62, 63, 64}) {
      EXPECT_TRUE(run_case<T>('N', 'N', m, n, 33, alpha_value<T>(), beta_value<T>(), seed++));
      EXPECT_TRUE(run_case<T>('N', 'T', m, n, 64, make<T>(1), make<T>(1), seed++, 5));
    }
}

// Products of at most 512 rows read B = op(B) in place (with 512-bit vectors; elsewhere B is
// always packed), larger ones pack it: rows on both sides of the limit, B as it is against a
// transposed B, whole column panels and a narrow last one, a depth of one step and one of
// several, whose later steps start down the columns of B.
TYPED_TEST(Gemm, BInPlaceRowLimit) {
  using T = TypeParam;
  unsigned seed = 180;
  for (int m : {511, 512, 513})
    for (char tb : {'N', 'T'}) {
      EXPECT_TRUE(run_case<T>('N', tb, m, 19, 70, alpha_value<T>(), beta_value<T>(), seed++));
      EXPECT_TRUE(run_case<T>('T', tb, m, 5, 530, alpha_value<T>(), beta_value<T>(), seed++));
    }
}

// Depths around the longest depth step of each engine and instruction set (64, 128, 256) and
// their multiples, where the count of steps changes and the steps become uneven (257 = 129 +
// 128, 513 = 171 + 171 + 171, 769 = 193 + 192 + 192 + 192), and short depths (1 to 65).
TYPED_TEST(Gemm, DepthBoundaries) {
  using T = TypeParam;
  unsigned seed = 200;
  for (int k : {1, 2, 7, 8, 9, 15, 16, 17, 23, 24, 31, 32, 33, 47, 48, 57, 58, 63, 64, 65, 71,
                127, 128, 129, 135, 191, 255, 256, 257, 263, 383, 511, 512, 513, 520, 769})
    EXPECT_TRUE(run_case<T>(k % 2 ? 'N' : 'T', k % 3 ? 'T' : 'N', 26, 10, k, alpha_value<T>(),
                            beta_value<T>(), seed++));
}

// Blocks of C: row blocks of 128, 240, 256, 480 and 2,048 rows, column blocks of 255, 256, 512
// and 1,024.
TYPED_TEST(Gemm, BlockBoundaries) {
  using T = TypeParam;
  unsigned seed = 300;
  for (int m : {127, 128, 129, 239, 240, 241, 255, 256, 257, 479, 480, 481, 2047, 2048, 2049})
    EXPECT_TRUE(run_case<T>('N', 'T', m, 5, 9, alpha_value<T>(), beta_value<T>(), seed++));
  for (int n : {254, 255, 256, 257, 511, 512, 513, 1023, 1024, 1025})
    EXPECT_TRUE(run_case<T>('T', 'N', 9, n, 10, alpha_value<T>(), beta_value<T>(), seed++));
  // Two row blocks of a staged C (single complex stages a C whose columns do not start on cache
  // lines once the depth takes more than one step of 128; here ldc = 2,054), and a C of the same
  // depth updated in place (ldc = 256 values, whole lines for every type).
  EXPECT_TRUE(run_case<T>('N', 'N', 2049, 6, 130, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('N', 'N', 251, 9, 300, alpha_value<T>(), beta_value<T>(), seed++));
  // Several blocks in both directions with a tail of depth: every piece of the driver at once.
  EXPECT_TRUE(run_case<T>('N', 'N', 500, 260, 137, alpha_value<T>(), beta_value<T>(), seed++));
}

// The 512-bit engine's tuning of each type.
template <class T>
constexpr auto wide_tuning() {
  if constexpr (std::is_same_v<T, float>) return wide_blocks::gemm_tune_s;
  else if constexpr (std::is_same_v<T, double>) return wide_blocks::gemm_tune_d;
  else if constexpr (std::is_same_v<T, zvx_complex8>) return wide_blocks::gemm_tune_c;
  else return wide_blocks::gemm_tune_z;
}

// Column blocks of the 512-bit engines: a whole block and one column into the next, with B
// packed (transposed) and with B read in place (as it is, few rows); for the complex types over a
// depth of 130, more than one of their steps (single complex then stages its C, whose columns
// here do not start on cache lines).
TYPED_TEST(Gemm, WideColumnBlockBoundaries) {
  using T = TypeParam;
  constexpr int nb = wide_tuning<T>().nb;
  constexpr bool complex = !std::is_same_v<T, float> && !std::is_same_v<T, double>;
  unsigned seed = 350;
  for (int n : {nb, nb + 1}) {
    EXPECT_TRUE(run_case<T>('N', 'T', 5, n, 7, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('N', 'N', 5, n, complex ? 130 : 9, alpha_value<T>(),
                            beta_value<T>(), seed++));
  }
}

// The longest depth step of the 512-bit engines as the header sets it: one step of kb - 1 and
// of kb, two uneven steps at kb + 1 and three at 2 kb + 1, with A and B packed both ways and
// with B read in place, and a C past one register tile in both directions.
TYPED_TEST(Gemm, WideDepthStepBoundaries) {
  using T = TypeParam;
  constexpr int kb = wide_tuning<T>().kb;
  unsigned seed = 370;
  for (int k : {kb - 1, kb, kb + 1, 2 * kb + 1}) {
    EXPECT_TRUE(run_case<T>('N', 'N', 53, 11, k, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('T', 'T', 53, 11, k, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('N', 'N', 600, 3, k, alpha_value<T>(), beta_value<T>(), seed++));
  }
}

// The thresholds a caller can see: the 16 of the threaded frame, and single complex's choice of
// its direct kernel (a size below 4; m + n + k below 50 and a high share of data).
TYPED_TEST(Gemm, DecisionThresholds) {
  using T = TypeParam;
  unsigned seed = 400;
  for (int s : {15, 16, 17}) {
    EXPECT_TRUE(run_case<T>('N', 'N', s, s, s, alpha_value<T>(), beta_value<T>(), seed++));
    EXPECT_TRUE(run_case<T>('T', 'T', s, 3, 2, alpha_value<T>(), beta_value<T>(), seed++));
  }
  EXPECT_TRUE(run_case<T>('N', 'C', 3, 100, 100, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('C', 'N', 100, 3, 100, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('T', 'C', 100, 100, 3, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('N', 'N', 4, 4, 4, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('C', 'T', 13, 100, 100, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('N', 'N', 40, 5, 4, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('N', 'N', 20, 20, 9, alpha_value<T>(), beta_value<T>(), seed++));
  EXPECT_TRUE(run_case<T>('N', 'T', 9, 9, 70, alpha_value<T>(), beta_value<T>(), seed++));
}

// Alpha and beta of 1, -1, 0 and complex values, with every combination of the shortcuts of
// the engines (alpha folded or applied to the sums; beta skipped, filled or multiplied).
TYPED_TEST(Gemm, AlphaAndBetaValues) {
  using T = TypeParam;
  unsigned seed = 500;
  const T values[] = {make<T>(1), make<T>(-1), make<T>(0), make<T>(2.5), make<T>(0, 1),
                      make<T>(-0.5, 1.5), make<T>(1, 0.25)};
  for (const T& al : values)
    for (const T& be : values)
      EXPECT_TRUE(run_case<T>('N', 'T', 30, 11, 40, al, be, seed++));
}

// The leading dimensions may be far beyond the sizes; only the rows within m of C change.
TYPED_TEST(Gemm, LargeLeadingDimensions) {
  using T = TypeParam;
  EXPECT_TRUE(run_case<T>('N', 'N', 37, 21, 45, alpha_value<T>(), beta_value<T>(), 600, 301));
  EXPECT_TRUE(run_case<T>('T', 'C', 37, 21, 45, alpha_value<T>(), beta_value<T>(), 601, 97));
}

template <class T>
T nan_value() {
  const auto q = std::numeric_limits<typename traits<T>::real>::quiet_NaN();
  return traits<T>::complex ? narrow<T>(lc(q, q)) : narrow<T>(lc(q, 0));
}

template <class T>
bool is_nan(const T& x) {
  const lc v = widen(x);
  return std::isnan(v.real()) || std::isnan(v.imag());
}

// Short, wide products (fewer rows than a row tile, many columns, a depth past 1,024), which the
// engines compute transposed unless an operand is conjugated: a single row and a ragged count
// against the vector widths and column tiles, column counts across the pieces of C^T (4,096
// columns), the op combinations, leading dimensions beyond the sizes, and beta 0 over NaN.
TYPED_TEST(Gemm, ShortWideProducts) {
  using T = TypeParam;
  unsigned seed = 350;
  for (const char* ops : {"NN", "NT", "TN", "TT", "CN"})
    EXPECT_TRUE(run_case<T>(ops[0], ops[1], 20, 117, 1026, alpha_value<T>(), beta_value<T>(),
                            seed++, 0));
  EXPECT_TRUE(run_case<T>('T', 'T', 1, 98, 1025, alpha_value<T>(), beta_value<T>(), seed++, 5));
  if constexpr (std::is_same_v<T, float>)  // pieces of C^T: the same code for every type
    EXPECT_TRUE(run_case<T>('N', 'T', 1, 4100, 1030, alpha_value<T>(), make<T>(1), seed++));
  std::mt19937 g(seed);
  matrix<T> a(20, 1024), b(1024, 120), c(20, 120, 3);
  a.randomise(g);
  b.randomise(g);
  for (int j = 0; j < 120; ++j)
    for (int i = 0; i < c.ld; ++i) c.at(i, j) = i < 20 ? nan_value<T>() : make<T>(7, -7);
  const matrix<T> before = c;
  const T alpha = alpha_value<T>(), beta = make<T>(0);
  call("N", "N", 20, 120, 1024, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta, c.v.data(),
       c.ld);
  std::vector<lc> want;
  std::vector<long double> bound;
  matrix<T> zero_c = c;
  for (auto& x : zero_c.v) x = make<T>(0);
  reference(op::n, op::n, 20, 120, 1024, alpha, a, b, beta, zero_c, want, bound);
  EXPECT_TRUE(matches(c, before, want, bound));
}

// Alpha 0 reads neither A nor B: NaNs there never reach C, and null operands are never touched.
TYPED_TEST(Gemm, AlphaZeroReadsNeitherOperand) {
  using T = TypeParam;
  for (int k : {0, 5, 300}) {
    matrix<T> a(40, std::max(k, 1)), b(std::max(k, 1), 30), c(40, 30);
    for (auto& x : a.v) x = nan_value<T>();
    for (auto& x : b.v) x = nan_value<T>();
    for (int j = 0; j < 30; ++j)
      for (int i = 0; i < 40; ++i) c.at(i, j) = make<T>(i - j, i + j);
    const T alpha = make<T>(0), beta = make<T>(2);
    call("N", "N", 40, 30, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta, c.v.data(),
         c.ld);
    for (int j = 0; j < 30; ++j)
      for (int i = 0; i < 40; ++i)
        ASSERT_EQ(widen(c.at(i, j)), lc(2.0L * (i - j), traits<T>::complex ? 2.0L * (i + j) : 0))
            << i << "," << j << " k=" << k;
    call("T", "C", 40, 30, k, &alpha, nullptr, 1, nullptr, 1, &beta, c.v.data(), c.ld);
    EXPECT_EQ(widen(c.at(3, 2)), lc(4.0L, traits<T>::complex ? 20.0L : 0));
  }
}

// Beta 0 fills: NaN and infinity in C are overwritten, not multiplied.
TYPED_TEST(Gemm, BetaZeroOverwritesNaN) {
  using T = TypeParam;
  for (int k : {0, 3, 70}) {
    std::mt19937 g(700 + k);
    matrix<T> a(33, std::max(k, 1)), b(std::max(k, 1), 9), c(33, 9);
    a.randomise(g);
    b.randomise(g);
    for (auto& x : c.v) x = nan_value<T>();
    c.at(4, 4) = make<T>(std::numeric_limits<double>::infinity());
    for (const T alpha : {make<T>(0), make<T>(1.5, 0.5)}) {
      const T beta = make<T>(0);
      call("N", "N", 33, 9, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &beta, c.v.data(),
           c.ld);
      for (int j = 0; j < 9; ++j)
        for (int i = 0; i < 33; ++i) ASSERT_FALSE(is_nan(c.at(i, j))) << i << "," << j;
      std::vector<lc> want;
      std::vector<long double> bound;
      matrix<T> zero_c = c;
      for (auto& x : zero_c.v) x = make<T>(0);
      reference(op::n, op::n, 33, 9, k, alpha, a, b, beta, zero_c, want, bound);
      EXPECT_TRUE(matches(c, c, want, bound));
    }
  }
}

// k 0 with alpha non-zero still scales C by beta; a NaN beta multiplies (it is neither 0 nor
// 1), so every element becomes NaN.
TYPED_TEST(Gemm, DepthZeroScalesAndNaNBetaMultiplies) {
  using T = TypeParam;
  matrix<T> c(21, 18);
  for (int j = 0; j < 18; ++j)
    for (int i = 0; i < 21; ++i) c.at(i, j) = make<T>(i + 1, j);
  const T alpha = make<T>(1.5), beta = make<T>(-2);
  const T dummy[1] = {make<T>(0)};
  call("N", "N", 21, 18, 0, &alpha, dummy, 21, dummy, 1, &beta, c.v.data(), c.ld);
  for (int j = 0; j < 18; ++j)
    for (int i = 0; i < 21; ++i)
      ASSERT_EQ(widen(c.at(i, j)), lc(-2.0L * (i + 1), traits<T>::complex ? -2.0L * j : 0));
  const T nan_beta = nan_value<T>();
  for (int k : {0, 4, 40}) {
    std::mt19937 g(800 + k);
    matrix<T> a(21, std::max(k, 1)), b(std::max(k, 1), 18);
    a.randomise(g);
    b.randomise(g);
    matrix<T> cc(21, 18);
    cc.randomise(g);
    call("N", "N", 21, 18, k, &alpha, a.v.data(), a.ld, b.v.data(), b.ld, &nan_beta,
         cc.v.data(), cc.ld);
    for (int j = 0; j < 18; ++j)
      for (int i = 0; i < 21; ++i) ASSERT_TRUE(is_nan(cc.at(i, j))) << i << "," << j;
  }
}

// m or n at most 0 returns at once: nothing is read or written.
TYPED_TEST(Gemm, EmptySizesReturn) {
  using T = TypeParam;
  matrix<T> c(5, 5);
  for (auto& x : c.v) x = make<T>(7, 7);
  const T alpha = make<T>(1), beta = make<T>(0);
  for (auto mn : {std::pair{0, 5}, std::pair{5, 0}, std::pair{-3, 5}, std::pair{5, -1},
                  std::pair{-2, -2}}) {
    call("N", "N", mn.first, mn.second, 5, &alpha, nullptr, 5, nullptr, 5, &beta, c.v.data(),
         5);
    for (auto& x : c.v) ASSERT_EQ(widen(x), widen(make<T>(7, 7)));
  }
}

}  // namespace
