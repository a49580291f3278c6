// Skyline entries against dense long double references: lines of random length, the lower
// triangle stored by rows and the upper one by columns.
#include "spblas/reference.h"

using namespace sptest;

namespace {

struct sky_arrays {
  long m;
  bool lower;
  std::vector<double> val;
  std::vector<int> pntr;
  dmat s;
};

sky_arrays make_sky(long m, bool lower, int origin, unsigned seed) {
  sky_arrays a{m, lower, {}, {origin}, dmat(m, m)};
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (long i = 0; i < m; ++i) {
    const long len = 1 + std::uniform_int_distribution<long>(0, std::min<long>(i, 6))(gen);
    for (long q = 0; q < len; ++q) {
      const long other = i - len + 1 + q;
      double v = u(gen);
      if (other == i) v = (v < 0 ? -1.0 : 1.0) * 8.0 + v;
      else v /= 7.0;
      a.val.push_back(v);
      if (lower) a.s(i, other) = v;
      else a.s(other, i) = v;
    }
    a.pntr.push_back(a.pntr.back() + static_cast<int>(len));
  }
  return a;
}

std::vector<double> identity_product(long m, long k, long n, double alpha, const std::vector<double>& b,
                                     long ldb, double beta, std::vector<double> c, long ldc, bool tr) {
  const long out = tr ? k : m, len = std::min(m, k);
  for (long j = 0; j < n; ++j)
    for (long i = 0; i < out; ++i) {
      double& ci = c[static_cast<size_t>(i + j * ldc)];
      const ld v = (beta == 0.0 ? 0.0L : static_cast<ld>(beta) * ci) +
                   (i < len ? static_cast<ld>(alpha) * b[static_cast<size_t>(i + j * ldb)] : 0.0L);
      ci = static_cast<double>(v);
    }
  return c;
}

void check_multiply(const sky_arrays& a, const char* descr, char trans, long n, double alpha, double beta) {
  const bool tr = toupper(trans) != 'N';
  const long m = a.m, ldb = m + 1, ldc = m + 2;
  const auto b = random_vector(ldb * n, 181);
  auto c = random_vector(ldc * n, 182);
  if (beta == 0.0) c[0] = NAN;
  const char t = static_cast<char>(toupper(descr[0]));
  const bool unit = toupper(descr[2]) == 'U';
  std::vector<double> scale, want;
  if (t == 'T' || t == 'S' || t == 'H' || t == 'A' || t == 'D') {
    const kind type = kind_of(t);
    want = product(effective(a.s, type, a.lower, type == kind::skew ? false : unit), tr, n, alpha, b, ldb,
                   beta, c, ldc, &scale, &a.s);
  } else {  // no kernel for general or unknown types: the identity step alone
    want = identity_product(m, m, n, alpha, b, ldb, beta, c, ldc, tr);
  }
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_dskymv(&trans, &mm, &mm, &alpha, descr, a.val.data(), a.pntr.data(), b.data(), &beta, c.data());
  else
    zvx_dskymm(&trans, &mm, &nn, &mm, &alpha, descr, a.val.data(), a.pntr.data(), b.data(), &lb, &beta, c.data(), &lc);
  expect_close(c, want, scale.empty() ? nullptr : &scale, product_tol,
               std::string("sky ") + descr + " " + trans + " n " + std::to_string(n));
}

TEST(SkyMultiply, EveryTypeBothStoragesAndOrigins) {
  for (bool lower : {true, false})
    for (int origin : {0, 1, 5}) {
      const sky_arrays a = make_sky(27, lower, origin, 191 + origin);
      // Skyline names the lower triangle: "L" is lower, anything else upper.
      const char tri = lower ? 'L' : (origin == 1 ? 'U' : 'x');
      for (const char* t = type_letters; *t; ++t)
        for (char d : std::string("UNx"))
          for (char trans : {'N', 'T'})
            for (long n : {1L, 3L}) {
              const char descr[4] = {*t, tri, d, 0};
              check_multiply(a, descr, trans, n, 1.5, n == 1 ? 0.0 : -0.5);
            }
    }
}

void check_solve(const sky_arrays& a, const char* descr, char trans, long n, double alpha) {
  const long m = a.m, ldb = m + 1, ldc = m + 2;
  const auto b = random_vector(ldb * n, 201);
  auto c = random_vector(ldc * n, 202);
  const bool diag = toupper(descr[0]) == 'D', unit = toupper(descr[2]) != 'N', tr = toupper(trans) != 'N';
  std::vector<double> want;
  if (diag) {
    dmat dm(m, m);
    for (long i = 0; i < m; ++i) dm(i, i) = unit ? 1.0L : a.s(i, i);
    want = solve(dm, true, n, alpha, b, ldb, c, ldc);
  } else {
    const dmat t = solve_matrix(a.s, a.lower, unit);
    want = solve(tr ? t.t() : t, tr ? !a.lower : a.lower, n, alpha, b, ldb, c, ldc);
  }
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_dskysv(&trans, &mm, &alpha, descr, a.val.data(), a.pntr.data(), b.data(), c.data());
  else
    zvx_dskysm(&trans, &mm, &nn, &alpha, descr, a.val.data(), a.pntr.data(), b.data(), &lb, c.data(), &lc);
  expect_close(c, want, nullptr, solve_tol, std::string("sky solve ") + descr + " " + trans);
}

TEST(SkySolve, LinesAsRowsAndAsColumns) {
  for (bool lower : {true, false})
    for (int origin : {0, 1, 5}) {
      const sky_arrays a = make_sky(31, lower, origin, 211 + origin);
      const char tri = lower ? 'L' : 'U';
      for (const char* t : {"T", "G", "D", "Q"})
        for (char d : std::string("UNx"))
          for (char trans : {'N', 'T'}) {
            const char descr[4] = {t[0], tri, d, 0};
            check_solve(a, descr, trans, 1, 2.0);
            check_solve(a, descr, trans, 3, 1.0);
          }
    }
  check_solve(make_sky(1, true, 1, 215), "TLN", 'N', 1, -1.0);
}

TEST(SkySolve, AlphaZeroAndEmptySizes) {
  const sky_arrays a = make_sky(3, true, 1, 216);
  const int m = 3, zero_m = 0;
  const double zero = 0.0, two = 2.0;
  const double x[3] = {NAN, NAN, NAN};
  double y[3] = {5, 5, 5};
  zvx_dskysv("N", &zero_m, &two, "TLN", a.val.data(), a.pntr.data(), x, y);
  EXPECT_EQ(y[0], 5.0);
  zvx_dskysv("N", &m, &zero, "TLN", a.val.data(), a.pntr.data(), x, y);
  for (double v : y) EXPECT_EQ(v, 0.0);
}

}  // namespace
