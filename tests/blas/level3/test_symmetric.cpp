// symm, hemm, syrk, herk, syr2k, her2k against long double references, in every side, uplo and
// trans, at sizes around the block orders (32, 64, 128, 256). The triangle of A that is not stored is
// poisoned with NaN (a read would show), a Hermitian diagonal carries imaginary garbage, and the
// triangle of C that is not the result, and the padding rows, must come back bitwise unchanged.
#include "blas/level3/operations_reference.h"

namespace {

using namespace ops_test;

template <class T>
class Symmetric : public ::testing::Test {};
using AllTypes = ::testing::Types<float, double, zvx_complex8, zvx_complex16>;
TYPED_TEST_SUITE(Symmetric, AllTypes);

// A of order `order` with triangle uplo stored and the other poisoned; returns the full matrix.
template <class T>
matrix<T> stored_triangle(int order, char uplo, bool herm, std::mt19937& g,
                          std::vector<lc>& full) {
  matrix<T> a(order, order, 2);
  a.randomise(g);
  full.assign(static_cast<size_t>(order) * order, 0);
  const bool upper = uplo == 'U' || uplo == 'u';
  for (int j = 0; j < order; ++j)
    for (int i = 0; i < order; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      if (!stored) a.at(i, j) = nan_value<T>();
    }
  for (int j = 0; j < order; ++j)
    for (int i = 0; i < order; ++i) {
      const bool stored = upper ? i <= j : i >= j;
      lc v = stored ? widen(a.at(i, j)) : widen(a.at(j, i));
      if (herm && !stored) v = std::conj(v);
      if (herm && i == j) v = lc(v.real(), 0);
      full[i + static_cast<size_t>(j) * order] = v;
    }
  return a;
}

template <class T>
void symm_case(bool herm, char side, char uplo, int m, int n, T alpha, T beta, unsigned seed,
               bool nan_c = false) {
  std::mt19937 g(seed);
  const bool left = side == 'L' || side == 'l';
  const int order = left ? m : n;
  std::vector<lc> full;
  const matrix<T> a = stored_triangle<T>(order, uplo, herm, g, full);
  matrix<T> b(m, n, 1), c(m, n, 3);
  b.randomise(g);
  c.randomise(g);
  if (nan_c)
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) c.at(i, j) = nan_value<T>();
  const matrix<T> before = c;
  std::vector<lc> want(static_cast<size_t>(m) * n);
  std::vector<long double> bound(want.size());
  const lc al = widen(alpha), be = widen(beta);
  const long double eps = std::numeric_limits<R<T>>::epsilon();
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      lc s = 0;
      long double mag = 0;
      if (al != lc(0))
        for (int l = 0; l < order; ++l) {
          const lc p = left ? full[i + static_cast<size_t>(l) * order] * widen(b.at(l, j))
                            : widen(b.at(i, l)) * full[l + static_cast<size_t>(j) * order];
          s += p;
          mag += std::abs(p);
        }
      const lc cij = widen(before.at(i, j));
      const size_t p = i + static_cast<size_t>(j) * m;
      want[p] = al * s + (be == lc(0) ? lc(0) : be * cij);
      bound[p] = 8 * eps * ((order + 4) * std::abs(al) * mag + (be == lc(0) ? 0 : 2 * std::abs(be) * std::abs(cij))) + 1e-30L;
    }
  symm(herm, side, uplo, m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta, c.v.data(), c.ld);
  EXPECT_TRUE(check(c, before, want, bound, std::vector<char>(want.size(), 1)))
      << (herm ? "hemm " : "symm ") << side << uplo << " m=" << m << " n=" << n;
}

TYPED_TEST(Symmetric, Multiply) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -0.5), beta = make<T>(-1.25, 0.5);
  unsigned seed = 1;
  for (bool herm : {false, true}) {
    if (herm && !traits<T>::complex) continue;
    for (char side : {'L', 'r'})
      for (char uplo : {'U', 'l'})
        for (auto [m, n] : {std::pair{1, 1}, {5, 3}, {129, 7}, {7, 130}, {40, 33}})
          symm_case<T>(herm, side, uplo, m, n, alpha, beta, seed++);
  }
}

// Double symm cuts at 256: orders past one and two blocks, on both sides, leave blocks of 1
// and 3, whose calls 2 and 3 take panels of 256 and 512.
TEST(SymmetricLarge, MultiplyPastTheDoubleBlock) {
  unsigned seed = 700;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (int order : {257, 515}) {
        const int m = side == 'L' ? order : 9, n = side == 'L' ? 6 : order;
        symm_case<double>(false, side, uplo, m, n, 0.75, -1.25, seed++);
      }
}

TYPED_TEST(Symmetric, MultiplyScalarsZeroAndOne) {
  using T = TypeParam;
  for (bool herm : {false, true}) {
    if (herm && !traits<T>::complex) continue;
    // alpha 0: beta 0 clears C even where it held NaN; beta 1 leaves it; beta 2 scales.
    symm_case<T>(herm, 'L', 'U', 20, 9, make<T>(0), make<T>(0), 3, true);
    symm_case<T>(herm, 'R', 'L', 20, 9, make<T>(0), make<T>(1), 4);
    symm_case<T>(herm, 'R', 'U', 20, 19, make<T>(0), make<T>(2, 1), 5);
    // beta 0 with alpha non-zero overwrites NaN.
    symm_case<T>(herm, 'L', 'L', 130, 4, make<T>(1, 1), make<T>(0), 6, true);
    symm_case<T>(herm, 'L', 'U', 18, 17, make<T>(1), make<T>(1), 7);
  }
}

template <class T>
void rank_case(int kind, char uplo, char trans, int n, int k, T alpha, T beta, unsigned seed,
               bool nan_c = false) {
  std::mt19937 g(seed);
  const bool herm = kind == 1 || kind == 3, two = kind >= 2;
  const bool notrans = trans == 'N' || trans == 'n';
  const bool upper = uplo == 'U' || uplo == 'u';
  matrix<T> a(notrans ? n : k, notrans ? k : n, 2), b(notrans ? n : k, notrans ? k : n, 1);
  matrix<T> c(n, n, 2);
  a.randomise(g);
  b.randomise(g);
  c.randomise(g);
  if (nan_c)
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        if (upper ? i <= j : i >= j) c.at(i, j) = nan_value<T>();
  const matrix<T> before = c;
  if (herm) {  // real scalars where the routine takes real ones
    beta = make<T>(widen(beta).real());
    if (kind == 1) alpha = make<T>(widen(alpha).real());
  }
  // op(X)(i, l): row i of the n by k operand.
  auto opx = [&](const matrix<T>& x, int i, int l) {
    if (notrans) return widen(x.at(i, l));
    return herm ? std::conj(widen(x.at(l, i))) : widen(x.at(l, i));
  };
  auto h = [&](lc v) { return herm ? std::conj(v) : v; };
  const lc al = widen(alpha), be = widen(beta);
  const long double eps = std::numeric_limits<R<T>>::epsilon();
  std::vector<lc> want(static_cast<size_t>(n) * n);
  std::vector<long double> bound(want.size());
  std::vector<char> in_result(want.size(), 0);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      const size_t p = i + static_cast<size_t>(j) * n;
      if (!(upper ? i <= j : i >= j)) continue;
      in_result[p] = 1;
      lc s = 0;
      long double mag = 0;
      if (al != lc(0))
        for (int l = 0; l < k; ++l) {
          if (!two) {
            const lc t = al * opx(a, i, l) * h(opx(a, j, l));
            s += t;
            mag += std::abs(t);
          } else {
            const lc t1 = al * opx(a, i, l) * h(opx(b, j, l));
            const lc t2 = (herm ? std::conj(al) : al) * opx(b, i, l) * h(opx(a, j, l));
            s += t1 + t2;
            mag += std::abs(t1) + std::abs(t2);
          }
        }
      // A call that does anything leaves a Hermitian diagonal real.
      const bool acts = !((al == lc(0) || k == 0) && be == lc(1));
      lc cij = widen(before.at(i, j));
      if (herm && i == j && acts) cij = lc(cij.real(), 0);
      lc w = acts ? s + (be == lc(0) ? lc(0) : be * cij) : cij;
      if (herm && i == j && acts) w = lc(w.real(), 0);
      want[p] = w;
      bound[p] = 8 * eps * ((k + 4) * mag + (be == lc(0) ? 0 : 2 * std::abs(be) * std::abs(cij))) + 1e-30L;
    }
  rank<T>(kind, uplo, trans, n, k, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta, c.v.data(),
          c.ld);
  static const char* names[] = {"syrk", "herk", "syr2k", "her2k"};
  EXPECT_TRUE(check(c, before, want, bound, in_result))
      << names[kind] << " " << uplo << trans << " n=" << n << " k=" << k;
  if (herm && n > 0 && !(al == lc(0) || k == 0) ) {
    for (int j = 0; j < n; ++j) EXPECT_EQ(widen(c.at(j, j)).imag(), 0) << "diagonal " << j;
  }
}

TYPED_TEST(Symmetric, RankUpdates) {
  using T = TypeParam;
  const T alpha = make<T>(0.5, 0.25), beta = make<T>(1.5, -0.75);
  unsigned seed = 100;
  for (int kind = 0; kind < 4; ++kind) {
    const bool herm = kind == 1 || kind == 3;
    if (herm && !traits<T>::complex) continue;
    for (char uplo : {'U', 'l'})
      for (char trans : {'N', herm ? 'C' : 'T'})
        for (int n : {1, 17, 33, 65, 129})
          for (int k : {0, 3, 40}) rank_case<T>(kind, uplo, trans, n, k, alpha, beta, seed++);
    // Real types read "C" as a transpose.
    if (!traits<T>::complex) rank_case<T>(kind, 'U', 'C', 20, 5, alpha, beta, seed++);
  }
}

// The direct diagonal tiles of dsyrk and zherk without transpose: orders that end inside a tile
// (its rows read under a mask, its columns cut short) and depths longer than a tile, next to
// the block boundaries of 64.
TEST(SymmetricLarge, RankUpdateDiagonalTiles) {
  unsigned seed = 800;
  for (char uplo : {'U', 'L'})
    for (int n : {3, 9, 63, 64, 70, 131})
      for (int k : {1, 77}) {
        rank_case<double>(0, uplo, 'N', n, k, 0.5, 1.5, seed++);
        rank_case<zvx_complex16>(1, uplo, 'N', n, k, make<zvx_complex16>(0.5, 0),
                                 make<zvx_complex16>(1.5, 0), seed++);
      }
}

// An order of three or more blocks in every type, so that the triangle is split in halves of
// whole blocks more than once and the rectangles between the halves differ in shape.
TYPED_TEST(Symmetric, RankUpdatesManyBlocks) {
  using T = TypeParam;
  const T alpha = make<T>(0.5, 0.25), beta = make<T>(1.5, -0.75);
  unsigned seed = 900;
  for (int kind = 0; kind < 4; ++kind) {
    const bool herm = kind == 1 || kind == 3;
    if (herm && !traits<T>::complex) continue;
    for (char uplo : {'U', 'l'})
      for (char trans : {'N', herm ? 'C' : 'T'})
        rank_case<T>(kind, uplo, trans, 300, 16, alpha, beta, seed++);
  }
}

TYPED_TEST(Symmetric, RankUpdateScalars) {
  using T = TypeParam;
  for (int kind = 0; kind < 4; ++kind) {
    const bool herm = kind == 1 || kind == 3;
    if (herm && !traits<T>::complex) continue;
    // beta 0 overwrites NaN in the triangle; the other triangle stays as it was.
    rank_case<T>(kind, 'U', 'N', 70, 6, make<T>(1), make<T>(0), 1, true);
    rank_case<T>(kind, 'L', 'N', 10, 6, make<T>(1), make<T>(0), 2, true);
    // alpha 0 (or k 0) with beta 2 only scales the triangle; alpha 0, beta 1 leaves C alone.
    rank_case<T>(kind, 'L', herm ? 'C' : 'T', 30, 4, make<T>(0), make<T>(2), 3);
    rank_case<T>(kind, 'U', 'N', 30, 0, make<T>(1), make<T>(2), 4);
    rank_case<T>(kind, 'U', 'N', 30, 4, make<T>(0), make<T>(1), 5);
  }
}

TEST(SymmetricHermitian, DiagonalImaginaryPartsAreNotRead) {
  // chemm: whatever the imaginary parts stored on the diagonal of A, the result is the same.
  std::mt19937 g(77);
  const int m = 9, n = 4;
  matrix<zvx_complex8> a(m, m), b(m, n), c1(m, n), c2(m, n);
  a.randomise(g);
  b.randomise(g);
  c1.randomise(g);
  c2 = c1;
  matrix<zvx_complex8> a2 = a;
  for (int i = 0; i < m; ++i) a2.at(i, i).imag = 1000.0f + i;
  const zvx_complex8 alpha{1, 0.5f}, beta{0.5f, 0};
  symm(true, 'L', 'L', m, n, alpha, a.v.data(), a.ld, b.v.data(), b.ld, beta, c1.v.data(), c1.ld);
  symm(true, 'L', 'L', m, n, alpha, a2.v.data(), a2.ld, b.v.data(), b.ld, beta, c2.v.data(), c2.ld);
  for (size_t i = 0; i < c1.v.size(); ++i) {
    EXPECT_EQ(c1.v[i].real, c2.v[i].real);
    EXPECT_EQ(c1.v[i].imag, c2.v[i].imag);
  }
}

}  // namespace
