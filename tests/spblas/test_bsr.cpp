// BSR entries against dense long double references on the expanded matrix: block sizes 2, 3 and
// 5 (written out) and 1 and 4 (generic), one-based column-major and zero-based row-major blocks.
#include "spblas/reference.h"

using namespace sptest;

namespace {

struct bsr_arrays {
  long m, k, lb;
  std::vector<double> val;
  std::vector<int> indx, ia;  // ia: m + 1 starts from `origin`
  dmat s;                     // expanded, (m lb) x (k lb)
};

// Blocks of block row i: a random set of block columns (sorted), the diagonal block included.
// `layout`: "full" any block columns; "upper"/"lower": the named triangle with the diagonal
// block first in each row.
bsr_arrays make_bsr(long m, long k, long lb, bool zero_based, int origin, unsigned seed,
                    const std::string& layout = "full", int per_row = 3) {
  // Large matrices serve the thread comparisons only and get no dense expansion.
  const bool dense = m * lb * k * lb <= 4000000;
  bsr_arrays a{m, k, lb, {}, {}, {origin}, dense ? dmat(m * lb, k * lb) : dmat()};
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (long i = 0; i < m; ++i) {
    std::vector<long> cols;
    for (int q = 0; q < per_row; ++q) {
      long c = std::uniform_int_distribution<long>(0, k - 1)(gen);
      if (layout == "upper") c = std::max(c, i);
      if (layout == "lower") c = std::min(c, i);
      cols.push_back(c);
    }
    if (i < k) cols.push_back(i);
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    if (layout != "full") {  // diagonal block first
      std::stable_partition(cols.begin(), cols.end(), [&](long c) { return c == i; });
    }
    for (long c : cols) {
      a.indx.push_back(static_cast<int>(c + (zero_based ? 0 : 1)));
      for (long e = 0; e < lb * lb; ++e) {
        // element (r, cc) sits at cc * lb + r one-based, r * lb + cc zero-based
        const long r = zero_based ? e / lb : e % lb, cc = zero_based ? e % lb : e / lb;
        double v = u(gen);
        if (c == i && r == cc) v = (v < 0 ? -1.0 : 1.0) * (lb * (per_row + 1.0)) + v;
        a.val.push_back(v);
        if (dense) a.s(i * lb + r, c * lb + cc) = v;
      }
    }
    a.ia.push_back(a.ia.back() + static_cast<int>(cols.size()));
  }
  return a;
}

// The product each type gives, by blocks: blocks strictly inside the triangle whole (mirrored
// for S, negated mirror for A), diagonal blocks by their own rule.
dmat block_effective(const dmat& s, long lb, kind type, bool lower, bool unit) {
  if (type == kind::general || type == kind::triangular) return effective(s, type, lower, unit);
  dmat e(s.m, s.k);
  for (long r = 0; r < s.m; ++r)
    for (long c = 0; c < s.k; ++c) {
      const long bi = r / lb, bq = c / lb;
      const bool inside = lower ? bq < bi : bq > bi;
      if (inside && type == kind::symmetric) { e(r, c) += s(r, c); e(c, r) += s(r, c); }
      if (inside && type == kind::skew) { e(r, c) += s(r, c); e(c, r) -= s(r, c); }
      if (bq == bi && !unit && (type == kind::symmetric || type == kind::diagonal)) e(r, c) += s(r, c);
    }
  if (unit && (type == kind::symmetric || type == kind::diagonal))
    for (long r = 0; r < std::min(s.m, s.k); ++r) e(r, r) = 1.0L;
  return e;
}

void check_bsrmv(const bsr_arrays& a, bool zero_based, const char* descr_in, char trans, double alpha,
                 double beta) {
  char descr[7] = "xxxFxx";  // six characters, as callers hand them; position 3 the base
  for (int i = 0; i < 3 && descr_in[i]; ++i) descr[i] = descr_in[i];
  if (zero_based) descr[3] = 'C';
  const bool tr = toupper(trans) != 'N';
  const long in = (tr ? a.m : a.k) * a.lb, out = (tr ? a.k : a.m) * a.lb;
  const auto x = random_vector(in, 221);
  auto y = random_vector(out, 222);
  const char t = static_cast<char>(toupper(descr[0]));
  const bool known = std::string("GTSHDA").find(t) != std::string::npos;
  const bool lower = !(known && t != 'D' && t != 'G' && toupper(descr[1]) == 'U');
  const bool unit = known && t != 'A' && t != 'G' && toupper(descr[2]) == 'U';
  std::vector<double> scale;
  // A symmetric product takes no transposition, though its diagonal blocks are used as stored.
  const bool op_tr = tr && kind_of(t) != kind::symmetric;
  const auto want = product(block_effective(a.s, a.lb, kind_of(t), lower, unit), op_tr, 1, alpha, x, in,
                            beta, y, out, &scale, &a.s);
  const int m = static_cast<int>(a.m), k = static_cast<int>(a.k), lb = static_cast<int>(a.lb);
  zvx_dbsrmv(&trans, &m, &k, &lb, &alpha, descr, a.val.data(), a.indx.data(), a.ia.data(),
             a.ia.data() + 1, x.data(), &beta, y.data());
  expect_close(y, want, &scale, product_tol,
               std::string("bsrmv ") + descr + " " + trans + " lb " + std::to_string(a.lb));
}

TEST(BsrMultiply, EveryTypeEveryBlockSizeBothInterfaces) {
  for (long lb : {1L, 2L, 3L, 4L, 5L})
    for (bool zero_based : {false, true}) {
      const bsr_arrays a = make_bsr(9, 9, lb, zero_based, zero_based ? 0 : 5, 231 + lb);
      for (const char* t = type_letters; *t; ++t)
        for (char u : std::string("ULx"))
          for (char d : std::string("UNx"))
            for (char trans : {'N', 'T', 'n'}) {
              const char descr[4] = {*t, u, d, 0};
              check_bsrmv(a, zero_based, descr, trans, 1.5, lb == 3 ? 1.0 : -0.5);
            }
    }
  for (char trans : {'N', 'T'}) check_bsrmv(make_bsr(7, 12, 3, false, 1, 239), false, "G", trans, 1.0, 0.0);
}

TEST(BsrMultiply, BetaZeroMultipliesSoNanStaysAndEarlyReturns) {
  const bsr_arrays a = make_bsr(3, 3, 2, false, 1, 241);
  const int m = 3, k = 3, lb = 2, zero_m = 0;
  const double one = 1.0, zero = 0.0, two = 2.0;
  std::vector<double> x(6, 1.0), y(6, 1.0);
  y[2] = NAN;
  zvx_dbsrmv("N", &m, &k, &lb, &one, "Gxxxxx", a.val.data(), a.indx.data(), a.ia.data(), a.ia.data() + 1, x.data(), &zero, y.data());
  EXPECT_TRUE(std::isnan(y[2]));
  EXPECT_FALSE(std::isnan(y[0]));
  std::vector<double> z(6, 3.0);
  zvx_dbsrmv("N", &zero_m, &k, &lb, &one, "Gxxxxx", a.val.data(), a.indx.data(), a.ia.data(), a.ia.data() + 1, x.data(), &two, z.data());
  EXPECT_EQ(z[0], 3.0);
}

// Symmetric from the named triangle, each row starting with its diagonal block, of which only
// the named triangle is read (the other holds NaN here).
dmat diag_first_matrix(const bsr_arrays& a, bool lower) {
  dmat e(a.s.m, a.s.k);
  for (long r = 0; r < a.s.m; ++r)
    for (long c = 0; c < a.s.k; ++c) {
      const long bi = r / a.lb, bq = c / a.lb;
      if (bi != bq) { if (a.s(r, c) != 0) { e(r, c) = a.s(r, c); e(c, r) = a.s(r, c); } }
      else if (lower ? r >= c : r <= c) { e(r, c) = a.s(r, c); e(c, r) = a.s(r, c); }
    }
  return e;
}

void poison_other_triangle(bsr_arrays& a, bool zero_based, bool lower) {
  for (long i = 0; i < a.m; ++i) {
    const long p = a.ia[static_cast<size_t>(i)] - a.ia[0];
    for (long e = 0; e < a.lb * a.lb; ++e) {
      const long r = zero_based ? e / a.lb : e % a.lb, cc = zero_based ? e % a.lb : e / a.lb;
      if (lower ? r < cc : r > cc) a.val[static_cast<size_t>(p * a.lb * a.lb + e)] = NAN;
    }
  }
}

TEST(BsrSymmetric, DiagonalBlockFirstOneAndZeroBased) {
  for (long lb : {1L, 2L, 3L, 4L, 5L})
    for (bool lower : {false, true})
      for (bool zero_based : {false, true}) {
        bsr_arrays a = make_bsr(11, 11, lb, zero_based, zero_based ? 0 : 1, 251 + lb, lower ? "lower" : "upper");
        const dmat want_m = diag_first_matrix(a, lower);
        poison_other_triangle(a, zero_based, lower);
        const long len = 11 * lb;
        const auto x = random_vector(len, 252);
        std::vector<double> y(static_cast<size_t>(len), NAN);
        const auto want = product(want_m, false, 1, 1.0, x, len, 0.0, y, len, nullptr);
        const int m = 11, l = static_cast<int>(lb);
        if (zero_based) {
          const char uplo[3] = {lower ? 'L' : 'U', lower ? 'a' : 'A', 0};
          zvx_cspblas_dbsrsymv(uplo, &m, &l, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
        } else {
          const char uplo = lower ? 'x' : 'U';  // anything but "U" is lower
          zvx_dbsrsymv(&uplo, &m, &l, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
        }
        expect_close(y, want, nullptr, 1e-13, "diag-first lb " + std::to_string(lb) + (lower ? " lower" : " upper"));
      }
}

TEST(BsrSymmetric, ZeroBasedNamedTriangleAddsOntoY) {
  for (long lb : {2L, 3L, 4L, 5L})
    for (char tri : {'U', 'L'}) {
      const bsr_arrays a = make_bsr(10, 10, lb, true, 0, 261 + lb);
      const long len = 10 * lb;
      const auto x = random_vector(len, 262);
      auto y = random_vector(len, 263);
      std::vector<double> scale;
      const auto want = product(block_effective(a.s, lb, kind::symmetric, tri != 'U', false), false, 1,
                                1.0, x, len, 1.0, y, len, &scale, &a.s);
      const int m = 10, l = static_cast<int>(lb);
      const char uplo[3] = {tri, 'N', 0};
      zvx_cspblas_dbsrsymv(uplo, &m, &l, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
      expect_close(y, want, &scale, product_tol, std::string("cspblas bsrsymv ") + tri);
    }
}

// The symmetric kernels run on private vectors per thread at any size.
TEST(BsrThreads, SymmetricKernelsMatchOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const int threads = omp_get_max_threads();
  for (long lb : {3L, 4L}) {
    const long m = 3001;
    const bsr_arrays a = make_bsr(m, m, lb, true, 0, 271, "upper", 4);
    const long len = m * lb;
    const auto x = random_vector(len, 272);
    const int mm = static_cast<int>(m), l = static_cast<int>(lb);
    const double one = 1.0, beta = 0.5;
    auto run_all = [&]() {
      std::vector<std::vector<double>> r;
      std::vector<double> y(static_cast<size_t>(len), 1.0);
      zvx_cspblas_dbsrsymv("UA", &mm, &l, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
      r.push_back(y);
      zvx_cspblas_dbsrsymv("UN", &mm, &l, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
      r.push_back(y);
      zvx_dbsrmv("N", &mm, &mm, &l, &one, "SUNC", a.val.data(), a.indx.data(), a.ia.data(), a.ia.data() + 1, x.data(), &beta, y.data());
      r.push_back(y);
      return r;
    };
    const auto many = run_all();
    omp_set_num_threads(1);
    const auto one_thread = run_all();
    omp_set_num_threads(threads);
    for (size_t i = 0; i < many.size(); ++i) expect_close(many[i], one_thread[i], nullptr, 1e-12, "bsr result " + std::to_string(i));
  }
}

}  // namespace
