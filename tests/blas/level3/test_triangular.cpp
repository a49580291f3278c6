// trmm and trsm against long double references in all side, uplo, transa and diag cases, at
// sizes around the orders of their ladders. The triangle of A that is not stored holds NaN, and
// so does a unit diagonal, so that any read shows. trsm is checked by its residual: op(A) X
// (or X op(A)) against alpha B in long double.
#include "blas/level3/operations_reference.h"
#include "blas/level3/tuning.h"

namespace {

using namespace ops_test;

template <class T>
class Triangular : public ::testing::Test {};
using AllTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(Triangular, AllTypes);

// A well-conditioned triangle: diagonal 1 to 2 in magnitude, the rest small enough that the
// solve stays tame at any order; every stored element then multiplied by `scale`.
template <class T>
matrix<T> triangle(int order, char uplo, char diag, std::mt19937& g, std::vector<lc>& opa,
                   char trans, long double scale = 1) {
  matrix<T> a(order, order, 1);
  a.randomise(g);
  const bool upper = uplo == 'U', unit = diag == 'U';
  for (int j = 0; j < order; ++j)
    for (int i = 0; i < order; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      if (!stored || (i == j && unit)) {
        a.at(i, j) = nan_value<T>();
      } else if (i == j) {
        const lc v = widen(a.at(i, j));
        a.at(i, j) = narrow<T>((v + (v.real() >= 0 ? lc(1) : lc(-1))) * scale);
      } else {
        a.at(i, j) = narrow<T>(widen(a.at(i, j)) * (scale / std::max(order, 1)));
      }
    }
  // op(A) in full, with zeros outside the triangle and 1 on a unit diagonal.
  const op o = read_op<T>(trans);
  opa.assign(static_cast<size_t>(order) * order, 0);
  for (int j = 0; j < order; ++j)
    for (int i = 0; i < order; ++i) {
      const int si = o == op::n ? i : j, sj = o == op::n ? j : i;
      const bool stored = upper ? si <= sj : si >= sj;
      lc v = 0;
      if (i == j && unit) v = 1;
      else if (stored) v = o == op::c ? std::conj(widen(a.at(si, sj))) : widen(a.at(si, sj));
      opa[i + static_cast<size_t>(j) * order] = v;
    }
  return a;
}

template <class T>
void tri_case(bool solve, char side, char uplo, char trans, char diag, int m, int n, T alpha,
              unsigned seed, long double scale = 1) {
  std::mt19937 g(seed);
  const bool left = side == 'L';
  const int order = left ? m : n;
  std::vector<lc> opa;
  const matrix<T> a = triangle<T>(order, uplo, diag, g, opa, trans, scale);
  matrix<T> b(m, n, 2);
  b.randomise(g);
  const matrix<T> before = b;
  tri<T>(solve, side, uplo, trans, diag, m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld);
  const lc al = widen(alpha);
  const long double eps = std::numeric_limits<R<T>>::epsilon();
  // The product op(A) * Y or Y * op(A) with Y = B before (trmm) or after (trsm).
  const matrix<T>& y = solve ? b : before;
  std::vector<lc> prod(static_cast<size_t>(m) * n), want(prod.size());
  std::vector<long double> bound(prod.size());
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      lc s = 0;
      long double mag = 0;
      for (int l = 0; l < order; ++l) {
        const lc p = left ? opa[i + static_cast<size_t>(l) * order] * widen(y.at(l, j))
                          : widen(y.at(i, l)) * opa[l + static_cast<size_t>(j) * order];
        s += p;
        mag += std::abs(p);
      }
      const size_t p = i + static_cast<size_t>(j) * m;
      const lc b0 = widen(before.at(i, j));
      if (solve) {
        // Residual of the solve, compared as a matrix whose "result" is alpha * B.
        prod[p] = s;
        want[p] = al * b0;
        bound[p] = 64 * eps * (order + 4) * (mag + std::abs(al * b0)) + 1e-30L;
      } else {
        prod[p] = al * s;
        want[p] = al * s;
        bound[p] = 8 * eps * (order + 4) * std::abs(al) * mag + 1e-30L;
      }
    }
  if (solve) {
    // Compare the residual; padding rows are checked below.
    long double worst = 0;
    size_t where = 0;
    for (size_t p = 0; p < prod.size(); ++p) {
      const long double r = std::abs(prod[p] - want[p]) / bound[p];
      if (!(r <= worst)) {
        worst = r;
        where = p;
      }
    }
    EXPECT_LE(worst, 1) << "trsm " << side << uplo << trans << diag << " m=" << m << " n=" << n
                        << " at " << where;
    for (int j = 0; j < n; ++j)
      for (int i = m; i < b.ld; ++i) EXPECT_EQ(widen(b.at(i, j)), widen(before.at(i, j)));
  } else {
    EXPECT_TRUE(check(b, before, want, bound, std::vector<char>(want.size(), 1)))
        << "trmm " << side << uplo << trans << diag << " m=" << m << " n=" << n;
  }
}

TYPED_TEST(Triangular, EveryCase) {
  using T = TypeParam;
  const T alpha = make<T>(-0.75, 0.5);
  const char* transes = traits<T>::complex ? "NTC" : "NTC";
  unsigned seed = 1;
  for (bool solve : {false, true})
    for (char side : {'L', 'R'})
      for (char uplo : {'U', 'L'})
        for (const char* t = transes; *t; ++t)
          for (char diag : {'N', 'U'})
            for (auto [m, n] : {std::pair{1, 1}, {17, 5}, {33, 34}, {6, 65}, {70, 3}})
              tri_case<T>(solve, side, uplo, *t, diag, m, n, alpha, seed++);
}

// Orders at and just past every level of the ladders (the tuning header's), so that each level
// boundary is crossed with and without a remainder.
template <class Ladder>
std::vector<int> ladder_edges() {
  std::vector<int> edges;
  for (int order : Ladder::orders) {
    edges.push_back(order);
    edges.push_back(order + 1);
  }
  return edges;
}

TYPED_TEST(Triangular, LadderBoundaries) {
  using T = TypeParam;
  namespace tuning = zvx::l3ops::tuning;
  unsigned seed = 900;
  for (bool solve : {false, true})
    for (int order : solve ? ladder_edges<tuning::trsm_ladder<T>>() : ladder_edges<tuning::trmm_ladder<T>>())
      for (char side : {'L', 'R'}) {
        const int m = side == 'L' ? order : 3, n = side == 'L' ? 3 : order;
        tri_case<T>(solve, side, side == 'L' ? 'L' : 'U', 'N', 'N', m, n, make<T>(1), seed++);
        tri_case<T>(solve, side, side == 'L' ? 'U' : 'L', 'T', 'U', m, n, make<T>(2), seed++);
      }
}

// Triangles scaled near the ends of the exponent range: the complex reciprocal of a diagonal
// element must not square its parts in the working precision (1e300 squared overflows a double,
// 1e-300 squared underflows). The residual check runs in long double, so it sees the scaled
// operator exactly. A unit diagonal with large off-diagonal elements makes the solution itself
// overflow, so the unit cases take the small scale only.
TYPED_TEST(Triangular, SolveKeepsTheRangeOfScaledDiagonals) {
  using T = TypeParam;
  const bool dbl = sizeof(R<T>) == 8;
  const long double big = dbl ? 1e300L : 1e35L, small = dbl ? 1e-300L : 1e-35L;
  unsigned seed = 5000;
  for (long double scale : {big, small})
    for (char side : {'L', 'R'})
      for (char uplo : {'U', 'L'})
        for (char trans : {'N', 'T', 'C'})
          for (char diag : {'N', 'U'}) {
            if (diag == 'U' && scale > 1) continue;
            // 9 stays inside one diagonal block; 70 crosses blocks, so the products of the
            // solved rows with the scaled off-diagonal blocks run through the GEMM engines.
            for (auto [m, n] : {std::pair{9, 4}, {70, 5}, {5, 70}})
              tri_case<T>(true, side, uplo, trans, diag, m, n, make<T>(0.5, -0.25), seed++, scale);
          }
}

TEST(TriangularLarge, SolvePastTheTopBlock) {
  // dtrsm and strsm cut at 512 on the top level; 513 leaves a block of 1.
  tri_case<double>(true, 'L', 'L', 'N', 'N', 513, 2, 1.0, 5);
  tri_case<double>(true, 'R', 'U', 'T', 'N', 2, 513, 1.0, 6);
  tri_case<float>(true, 'L', 'U', 'N', 'U', 513, 2, 1.0f, 7);
}

TEST(TriangularLarge, MultiplyPastTheTopBlock) {
  // dtrmm cuts at 512 on the top level; 513 and 700 leave a block of 1 and one of 188.
  tri_case<double>(false, 'L', 'L', 'N', 'N', 513, 2, 1.0, 8);
  tri_case<double>(false, 'L', 'U', 'T', 'U', 700, 3, 2.0, 9);
  tri_case<double>(false, 'R', 'U', 'N', 'N', 2, 513, 1.0, 10);
  tri_case<double>(false, 'R', 'L', 'T', 'U', 3, 700, 2.0, 11);
}

TEST(TriangularLarge, MultiplyBottomChunks) {
  // Double trmm's bottom level walks the free dimension in chunks of 64: 64, 65 and 130 columns
  // (rows on the right side) against orders with a last bottom block of 8 and of 13 rows.
  unsigned seed = 40;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (auto [order, free] : {std::pair{200, 65}, {45, 130}, {77, 64}}) {
        const int m = side == 'L' ? order : free, n = side == 'L' ? free : order;
        tri_case<double>(false, side, uplo, 'N', 'N', m, n, -0.5, seed++);
        tri_case<double>(false, side, uplo, 'T', 'U', m, n, 1.5, seed++);
      }
}

TYPED_TEST(Triangular, AlphaZeroFillsWithoutReadingA) {
  using T = TypeParam;
  for (bool solve : {false, true}) {
    const int m = 20, n = 7;
    matrix<T> a(m, m), b(m, n, 1);
    for (auto& x : a.v) x = nan_value<T>();
    std::mt19937 g(3);
    b.randomise(g);
    const matrix<T> before = b;
    tri<T>(solve, 'L', 'U', 'N', 'N', m, n, make<T>(0), a.v.data(), a.ld, b.v.data(), b.ld);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < b.ld; ++i) {
        if (i < m) EXPECT_EQ(widen(b.at(i, j)), lc(0));
        else EXPECT_EQ(widen(b.at(i, j)), widen(before.at(i, j)));
      }
  }
}

TEST(TriangularSolve, ZeroOnTheDiagonalFollowsIEEE) {
  // An exact zero on a non-unit diagonal: infinities or NaNs in B, and the call returns.
  const int m = 40, n = 3;
  matrix<double> a(m, m), b(m, n);
  for (int i = 0; i < m; ++i) a.at(i, i) = 1;
  a.at(5, 5) = 0;
  for (auto& x : b.v) x = 1;
  const double one = 1;
  dtrsm("L", "L", "N", "N", &m, &n, &one, a.v.data(), &a.ld, b.v.data(), &b.ld);
  EXPECT_EQ(b.at(0, 0), 1);
  EXPECT_FALSE(std::isfinite(b.at(5, 0)));
}

}  // namespace
