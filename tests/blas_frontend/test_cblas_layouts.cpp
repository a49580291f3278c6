// Row-major CBLAS calls against column-major calls on the transposed data, complex double, for
// every family: a row-major matrix is handed over as the column-major storage (full, band or
// packed) of its transpose, and the results, transposed back, must agree. The complex families
// matter most: their row-major forms conjugate vectors around the call (gemv, gbmv and the
// triangular routines with ConjTrans, hemv, hbmv, hpmv, gerc, her, hpr, her2, hpr2).
#include <gtest/gtest.h>

#include <complex>
#include <string>
#include <vector>

#include "zvx_cblas.h"

namespace {

using cd = std::complex<double>;
using mat = std::vector<cd>;  // column-major, leading dimension = rows

cd value(int i, int j, int seed) {
  return cd(std::sin(0.7 * i + 1.3 * j + seed), std::cos(0.3 * i - 0.9 * j + 2 * seed));
}
mat full(int m, int n, int seed) {
  mat a(size_t(m) * n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) a[i + size_t(j) * m] = value(i, j, seed);
  return a;
}
mat transpose(const mat& a, int m, int n) {
  mat t(a.size());
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) t[j + size_t(i) * n] = a[i + size_t(j) * m];
  return t;
}
// A Hermitian matrix with a real diagonal; a triangular one with a strong diagonal.
mat hermitian(int n, int seed) {
  mat a = full(n, n, seed);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < j; ++i) a[j + size_t(i) * n] = std::conj(a[i + size_t(j) * n]);
  for (int i = 0; i < n; ++i) a[i + size_t(i) * n] = a[i + size_t(i) * n].real();
  return a;
}
mat triangular(int n, bool upper, int seed) {
  mat a = full(n, n, seed);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      if (upper ? i > j : i < j) a[i + size_t(j) * n] = 0;
      if (i == j) a[i + size_t(j) * n] += 4.0;
    }
  return a;
}
// Column-major band storage (kl sub-, ku super-diagonals) of an m x n matrix, lda = kl + ku + 1.
mat band(const mat& a, int m, int n, int kl, int ku) {
  int lda = kl + ku + 1;
  mat b(size_t(lda) * n, cd(99, 99));
  for (int j = 0; j < n; ++j)
    for (int i = std::max(0, j - ku); i < std::min(m, j + kl + 1); ++i)
      b[ku + i - j + size_t(j) * lda] = a[i + size_t(j) * m];
  return b;
}
// Column-major packed storage of one triangle.
mat packed(const mat& a, int n, bool upper) {
  mat p;
  for (int j = 0; j < n; ++j)
    for (int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) p.push_back(a[i + size_t(j) * n]);
  return p;
}
// Keeps a band of a full matrix (zero outside).
mat banded(mat a, int m, int n, int kl, int ku) {
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i)
      if (i - j > kl || j - i > ku) a[i + size_t(j) * m] = 0;
  return a;
}

void expect_near(const mat& got, const mat& want, const std::string& what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  double scale = 1;
  for (const cd& w : want) scale = std::max(scale, std::abs(w));
  for (size_t i = 0; i < got.size(); ++i)
    EXPECT_LE(std::abs(got[i] - want[i]), 1e-12 * scale) << what << " element " << i;
}
// The triangle `upper` of two n x n column-major matrices.
void expect_near_triangle(const mat& got, const mat& want, int n, bool upper,
                          const std::string& what) {
  mat g, w;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i)
      if (upper ? i <= j : i >= j) {
        g.push_back(got[i + size_t(j) * n]);
        w.push_back(want[i + size_t(j) * n]);
      }
  expect_near(g, w, what);
}

const cd alpha(0.75, -0.5), beta(-0.25, 1.5);
const CBLAS_TRANSPOSE transposes[] = {CblasNoTrans, CblasTrans, CblasConjTrans};
const CBLAS_UPLO uplos[] = {CblasUpper, CblasLower};
const CBLAS_UPLO swapped[] = {CblasLower, CblasUpper};
const CBLAS_LAYOUT R = CblasRowMajor, C = CblasColMajor;

TEST(CblasLayouts, GeneralMultiplies) {
  const int m = 7, n = 5, kl = 2, ku = 1;
  for (CBLAS_TRANSPOSE t : transposes)
    for (int inc : {1, -2}) {
      const int lx = t == CblasNoTrans ? n : m, ly = t == CblasNoTrans ? m : n;
      mat a = full(m, n, 1), at = transpose(a, m, n);
      mat x = full(lx * 2, 1, 2), y0 = full(ly * 2, 1, 3);
      mat yc = y0, yr = y0;
      cblas_zgemv(C, t, m, n, &alpha, a.data(), m, x.data(), inc, &beta, yc.data(), inc);
      cblas_zgemv(R, t, m, n, &alpha, at.data(), n, x.data(), inc, &beta, yr.data(), inc);
      expect_near(yr, yc, "zgemv trans " + std::to_string(t) + " inc " + std::to_string(inc));
      // Band: the row-major band of A is the column-major band of A^T, kl and ku exchanged.
      mat ab = banded(a, m, n, kl, ku);
      mat bc = band(ab, m, n, kl, ku), br = band(transpose(ab, m, n), n, m, ku, kl);
      yc = y0, yr = y0;
      cblas_zgbmv(C, t, m, n, kl, ku, &alpha, bc.data(), kl + ku + 1, x.data(), inc, &beta,
                  yc.data(), inc);
      cblas_zgbmv(R, t, m, n, kl, ku, &alpha, br.data(), kl + ku + 1, x.data(), inc, &beta,
                  yr.data(), inc);
      expect_near(yr, yc, "zgbmv trans " + std::to_string(t));
    }
}

TEST(CblasLayouts, HermitianMultiplies) {
  const int n = 6, k = 2;
  for (int u = 0; u < 2; ++u)
    for (int inc : {1, -2}) {
      mat h = hermitian(n, 4), ht = transpose(h, n, n);
      mat x = full(2 * n, 1, 5), y0 = full(2 * n, 1, 6), yc = y0, yr = y0;
      cblas_zhemv(C, uplos[u], n, &alpha, h.data(), n, x.data(), inc, &beta, yc.data(), inc);
      cblas_zhemv(R, uplos[u], n, &alpha, ht.data(), n, x.data(), inc, &beta, yr.data(), inc);
      expect_near(yr, yc, "zhemv");
      // Packed: row-major packed triangle u of H is the column-major packed other triangle of H^T.
      mat pc = packed(h, n, u == 0), pr = packed(ht, n, u != 0);
      yc = y0, yr = y0;
      cblas_zhpmv(C, uplos[u], n, &alpha, pc.data(), x.data(), inc, &beta, yc.data(), inc);
      cblas_zhpmv(R, uplos[u], n, &alpha, pr.data(), x.data(), inc, &beta, yr.data(), inc);
      expect_near(yr, yc, "zhpmv");
      mat hb = banded(h, n, n, k, k);
      mat bc = u == 0 ? band(hb, n, n, 0, k) : band(hb, n, n, k, 0);
      mat hbt = transpose(hb, n, n);
      mat br = u == 0 ? band(hbt, n, n, k, 0) : band(hbt, n, n, 0, k);
      yc = y0, yr = y0;
      cblas_zhbmv(C, uplos[u], n, k, &alpha, bc.data(), k + 1, x.data(), inc, &beta, yc.data(), inc);
      cblas_zhbmv(R, uplos[u], n, k, &alpha, br.data(), k + 1, x.data(), inc, &beta, yr.data(), inc);
      expect_near(yr, yc, "zhbmv");
    }
}

TEST(CblasLayouts, TriangularMultipliesAndSolves) {
  const int n = 6, k = 2;
  for (int u = 0; u < 2; ++u)
    for (CBLAS_TRANSPOSE t : transposes)
      for (CBLAS_DIAG d : {CblasNonUnit, CblasUnit}) {
        const bool up = u == 0;
        mat a = banded(triangular(n, up, 7), n, n, up ? 0 : k, up ? k : 0), at = transpose(a, n, n);
        mat x0 = full(n, 1, 8);
        std::string what = "uplo " + std::to_string(u) + " trans " + std::to_string(t) +
                           " diag " + std::to_string(d);
        auto both = [&](auto call) {
          mat xc = x0, xr = x0;
          call(C, a, xc);
          call(R, at, xr);
          return std::make_pair(xr, xc);
        };
        auto [r1, c1] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          cblas_ztrmv(l, uplos[u], t, d, n, m.data(), n, x.data(), 1); });
        expect_near(r1, c1, "ztrmv " + what);
        auto [r2, c2] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          cblas_ztrsv(l, uplos[u], t, d, n, m.data(), n, x.data(), -1); });
        expect_near(r2, c2, "ztrsv " + what);
        auto [r3, c3] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          // The column-major storage of the matrix the layout describes, in its own triangle.
          bool col = l == C;
          mat p = packed(m, n, col ? up : !up);
          cblas_ztpmv(l, uplos[u], t, d, n, p.data(), x.data(), 1); });
        expect_near(r3, c3, "ztpmv " + what);
        auto [r4, c4] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          bool col = l == C;
          mat p = packed(m, n, col ? up : !up);
          cblas_ztpsv(l, uplos[u], t, d, n, p.data(), x.data(), 2 - 1); });
        expect_near(r4, c4, "ztpsv " + what);
        auto [r5, c5] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          bool col = l == C, stored_up = col ? up : !up;
          mat b = stored_up ? band(m, n, n, 0, k) : band(m, n, n, k, 0);
          cblas_ztbmv(l, uplos[u], t, d, n, k, b.data(), k + 1, x.data(), 1); });
        expect_near(r5, c5, "ztbmv " + what);
        auto [r6, c6] = both([&](CBLAS_LAYOUT l, const mat& m, mat& x) {
          bool col = l == C, stored_up = col ? up : !up;
          mat b = stored_up ? band(m, n, n, 0, k) : band(m, n, n, k, 0);
          cblas_ztbsv(l, uplos[u], t, d, n, k, b.data(), k + 1, x.data(), -1); });
        expect_near(r6, c6, "ztbsv " + what);
      }
}

TEST(CblasLayouts, RankUpdates) {
  const int m = 5, n = 4;
  for (int inc : {1, -2}) {
    mat x = full(2 * m, 1, 9), y = full(2 * m, 1, 10), a0 = full(m, n, 11);
    mat ac = a0, ar = transpose(a0, m, n);
    cblas_zgeru(C, m, n, &alpha, x.data(), inc, y.data(), inc, ac.data(), m);
    cblas_zgeru(R, m, n, &alpha, x.data(), inc, y.data(), inc, ar.data(), n);
    expect_near(transpose(ar, n, m), ac, "zgeru");
    ac = a0, ar = transpose(a0, m, n);
    cblas_zgerc(C, m, n, &alpha, x.data(), inc, y.data(), inc, ac.data(), m);
    cblas_zgerc(R, m, n, &alpha, x.data(), inc, y.data(), inc, ar.data(), n);
    expect_near(transpose(ar, n, m), ac, "zgerc");
    for (int u = 0; u < 2; ++u) {
      const bool up = u == 0;
      mat h0 = hermitian(m, 12);
      mat hc = h0, hr = transpose(h0, m, m);
      cblas_zher(C, uplos[u], m, 0.5, x.data(), inc, hc.data(), m);
      cblas_zher(R, uplos[u], m, 0.5, x.data(), inc, hr.data(), m);
      expect_near_triangle(transpose(hr, m, m), hc, m, up, "zher");
      hc = h0, hr = transpose(h0, m, m);
      cblas_zher2(C, uplos[u], m, &alpha, x.data(), inc, y.data(), inc, hc.data(), m);
      cblas_zher2(R, uplos[u], m, &alpha, x.data(), inc, y.data(), inc, hr.data(), m);
      expect_near_triangle(transpose(hr, m, m), hc, m, up, "zher2");
      mat pc = packed(h0, m, up), pr = packed(transpose(h0, m, m), m, !up);
      cblas_zhpr(C, uplos[u], m, 0.5, x.data(), inc, pc.data());
      cblas_zhpr(R, uplos[u], m, 0.5, x.data(), inc, pr.data());
      mat full_c(size_t(m) * m), full_r(size_t(m) * m);
      // Unpack both and compare the triangle of the column-major result.
      auto unpack = [&](const mat& p, bool pup) {
        mat f(size_t(m) * m);
        size_t q = 0;
        for (int j = 0; j < m; ++j)
          for (int i = pup ? 0 : j; i < (pup ? j + 1 : m); ++i) f[i + size_t(j) * m] = p[q++];
        return f;
      };
      expect_near_triangle(transpose(unpack(pr, !up), m, m), unpack(pc, up), m, up, "zhpr");
      pc = packed(h0, m, up), pr = packed(transpose(h0, m, m), m, !up);
      cblas_zhpr2(C, uplos[u], m, &alpha, x.data(), inc, y.data(), inc, pc.data());
      cblas_zhpr2(R, uplos[u], m, &alpha, x.data(), inc, y.data(), inc, pr.data());
      expect_near_triangle(transpose(unpack(pr, !up), m, m), unpack(pc, up), m, up, "zhpr2");
    }
  }
}

TEST(CblasLayouts, Level3) {
  const int m = 6, n = 5, k = 4;
  for (CBLAS_TRANSPOSE ta : transposes)
    for (CBLAS_TRANSPOSE tb : transposes) {
      int ar = ta == CblasNoTrans ? m : k, ac_ = ta == CblasNoTrans ? k : m;
      int br = tb == CblasNoTrans ? k : n, bc = tb == CblasNoTrans ? n : k;
      mat a = full(ar, ac_, 13), b = full(br, bc, 14), c0 = full(m, n, 15);
      mat cc = c0, cr = transpose(c0, m, n);
      mat at = transpose(a, ar, ac_), bt = transpose(b, br, bc);
      cblas_zgemm(C, ta, tb, m, n, k, &alpha, a.data(), ar, b.data(), br, &beta, cc.data(), m);
      cblas_zgemm(R, ta, tb, m, n, k, &alpha, at.data(), ac_, bt.data(), bc, &beta, cr.data(), n);
      expect_near(transpose(cr, n, m), cc, "zgemm");
    }
  for (CBLAS_SIDE side : {CblasLeft, CblasRight})
    for (int u = 0; u < 2; ++u) {
      const bool up = u == 0;
      int na = side == CblasLeft ? m : n;
      mat h = hermitian(na, 16), b = full(m, n, 17), c0 = full(m, n, 18);
      mat ht = transpose(h, na, na), bt = transpose(b, m, n);
      mat cc = c0, cr = transpose(c0, m, n);
      cblas_zhemm(C, side, uplos[u], m, n, &alpha, h.data(), na, b.data(), m, &beta, cc.data(), m);
      cblas_zhemm(R, side, uplos[u], m, n, &alpha, ht.data(), na, bt.data(), n, &beta, cr.data(), n);
      expect_near(transpose(cr, n, m), cc, "zhemm");
      mat s = full(na, na, 19);
      for (int j = 0; j < na; ++j)
        for (int i = 0; i < j; ++i) s[j + size_t(i) * na] = s[i + size_t(j) * na];
      mat st = transpose(s, na, na);
      cc = c0, cr = transpose(c0, m, n);
      cblas_zsymm(C, side, uplos[u], m, n, &alpha, s.data(), na, b.data(), m, &beta, cc.data(), m);
      cblas_zsymm(R, side, uplos[u], m, n, &alpha, st.data(), na, bt.data(), n, &beta, cr.data(), n);
      expect_near(transpose(cr, n, m), cc, "zsymm");
      for (CBLAS_TRANSPOSE t : transposes)
        for (CBLAS_DIAG d : {CblasNonUnit, CblasUnit}) {
          mat tri = triangular(na, up, 20), trit = transpose(tri, na, na);
          mat bc_ = b, br_ = bt;
          cblas_ztrmm(C, side, uplos[u], t, d, m, n, &alpha, tri.data(), na, bc_.data(), m);
          cblas_ztrmm(R, side, uplos[u], t, d, m, n, &alpha, trit.data(), na, br_.data(), n);
          expect_near(transpose(br_, n, m), bc_, "ztrmm");
          bc_ = b, br_ = bt;
          cblas_ztrsm(C, side, uplos[u], t, d, m, n, &alpha, tri.data(), na, bc_.data(), m);
          cblas_ztrsm(R, side, uplos[u], t, d, m, n, &alpha, trit.data(), na, br_.data(), n);
          expect_near(transpose(br_, n, m), bc_, "ztrsm");
        }
    }
  for (int u = 0; u < 2; ++u) {
    const bool up = u == 0;
    for (CBLAS_TRANSPOSE t : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
      int ar = t == CblasNoTrans ? n : k, acol = t == CblasNoTrans ? k : n;
      mat a = full(ar, acol, 21), b = full(ar, acol, 22), c0 = hermitian(n, 23);
      mat at = transpose(a, ar, acol), bt = transpose(b, ar, acol);
      mat cc = c0, cr = transpose(c0, n, n);
      if (t != CblasConjTrans) {
        cblas_zsyrk(C, uplos[u], t, n, k, &alpha, a.data(), ar, &beta, cc.data(), n);
        cblas_zsyrk(R, uplos[u], t, n, k, &alpha, at.data(), acol, &beta, cr.data(), n);
        expect_near_triangle(transpose(cr, n, n), cc, n, up, "zsyrk");
        cc = c0, cr = transpose(c0, n, n);
        cblas_zsyr2k(C, uplos[u], t, n, k, &alpha, a.data(), ar, b.data(), ar, &beta, cc.data(), n);
        cblas_zsyr2k(R, uplos[u], t, n, k, &alpha, at.data(), acol, bt.data(), acol, &beta, cr.data(), n);
        expect_near_triangle(transpose(cr, n, n), cc, n, up, "zsyr2k");
      }
      if (t != CblasTrans) {
        cc = c0, cr = transpose(c0, n, n);
        cblas_zherk(C, uplos[u], t, n, k, 0.5, a.data(), ar, 1.5, cc.data(), n);
        cblas_zherk(R, uplos[u], t, n, k, 0.5, at.data(), acol, 1.5, cr.data(), n);
        expect_near_triangle(transpose(cr, n, n), cc, n, up, "zherk");
        cc = c0, cr = transpose(c0, n, n);
        cblas_zher2k(C, uplos[u], t, n, k, &alpha, a.data(), ar, b.data(), ar, 1.5, cc.data(), n);
        cblas_zher2k(R, uplos[u], t, n, k, &alpha, at.data(), acol, bt.data(), acol, 1.5, cr.data(), n);
        expect_near_triangle(transpose(cr, n, n), cc, n, up, "zher2k");
      }
    }
  }
}

}  // namespace
