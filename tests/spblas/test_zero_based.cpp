// The zero-based symmetric products and the incomplete LDLt solve against long double
// references.
#include "spblas/reference.h"

using namespace sptest;

namespace {

// One triangle of a symmetric matrix, zero-based, rows sorted, the diagonal first in each row
// for upper storage and last for lower; some rows are empty.
struct tri_arrays {
  std::vector<double> a;
  std::vector<int> ia, ja;
  std::vector<triplet> e;
};
tri_arrays make_triangle(long m, bool lower, unsigned seed) {
  auto all = random_triplets(m, m, 5, true, seed, 0.0);
  tri_arrays t{{}, {0}, {}, {}};
  std::mt19937 gen(seed + 1);
  long row = 0;
  for (long i = 0; i < m; ++i) {
    const bool empty = std::uniform_real_distribution<double>(0, 1)(gen) < 0.05;
    while (row < static_cast<long>(all.size()) && all[static_cast<size_t>(row)].r == i) {
      const auto x = all[static_cast<size_t>(row++)];
      if (!empty && (lower ? x.c <= x.r : x.c >= x.r)) {
        t.a.push_back(x.v);
        t.ja.push_back(x.c);
        t.e.push_back(x);
      }
    }
    t.ia.push_back(static_cast<int>(t.a.size()));
  }
  if (t.a.empty()) { t.a.push_back(0); t.ja.push_back(0); }
  return t;
}

std::vector<double> symmetric_reference(long m, const std::vector<triplet>& e, const std::vector<double>& x) {
  std::vector<ld> y(static_cast<size_t>(m), 0.0L);
  for (const auto& t : e) {
    y[static_cast<size_t>(t.r)] += static_cast<ld>(t.v) * x[static_cast<size_t>(t.c)];
    if (t.r != t.c) y[static_cast<size_t>(t.c)] += static_cast<ld>(t.v) * x[static_cast<size_t>(t.r)];
  }
  return {y.begin(), y.end()};
}

TEST(ZeroBasedSymv, EitherTriangleBothEntries) {
  for (long m : {1L, 2L, 37L, 998L, 1000L, 25001L})
    for (bool lower : {false, true}) {
      const tri_arrays t = make_triangle(m, lower, 281 + static_cast<unsigned>(m));
      const auto x = random_vector(m, 282);
      const auto want = symmetric_reference(m, t.e, x);
      std::vector<double> y(static_cast<size_t>(m), NAN), z(static_cast<size_t>(m), NAN);
      const int mm = static_cast<int>(m);
      zvx_cspblas_dcsrsymv(lower ? "L" : "U", &mm, t.a.data(), t.ia.data(), t.ja.data(), x.data(), y.data());
      zvx_cspblas_dcsrsymv_af(lower ? "l" : "x", mm, t.a.data(), t.ia.data(), t.ja.data(), x.data(), z.data(), 0);
      expect_close(y, want, nullptr, 1e-13, "cspblas csrsymv m " + std::to_string(m) + (lower ? " lower" : " upper"));
      expect_close(z, want, nullptr, 1e-13, "cspblas csrsymv_af m " + std::to_string(m));
    }
}

// From 500 rows per thread the product splits rows; every contribution is collected, lower
// storage included, so threaded and serial results agree.
TEST(ZeroBasedThreads, SymvAfMatchesOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const int threads = omp_get_max_threads();
  for (long m : {999L, 1000L, 30011L})
    for (bool lower : {false, true}) {
      const tri_arrays t = make_triangle(m, lower, 291);
      const auto x = random_vector(m, 292);
      std::vector<double> many(static_cast<size_t>(m)), one(static_cast<size_t>(m));
      const int mm = static_cast<int>(m);
      zvx_cspblas_dcsrsymv_af(lower ? "L" : "U", mm, t.a.data(), t.ia.data(), t.ja.data(), x.data(), many.data(), 1);
      omp_set_num_threads(1);
      zvx_cspblas_dcsrsymv_af(lower ? "L" : "U", mm, t.a.data(), t.ia.data(), t.ja.data(), x.data(), one.data(), 1);
      omp_set_num_threads(threads);
      expect_close(many, one, nullptr, 1e-13, "symv_af threads m " + std::to_string(m));
      expect_close(many, symmetric_reference(m, t.e, x), nullptr, 1e-13, "symv_af reference");
    }
}

// An incomplete LDLt factor: U unit upper (rows of val, columns beyond the pivot), D with 1 x 1
// and 2 x 2 pivots. The solve is x = inv(U) inv(D) inv(U') b.
struct ldlt_factor {
  long n;
  std::vector<double> val, d, e;
  std::vector<int> ia, ja;
  std::vector<unsigned> mask;
  std::vector<std::vector<std::pair<long, double>>> u;  // strict upper part by rows
  std::vector<bool> pair_first;
};
ldlt_factor make_factor(long n, bool pairs, unsigned seed) {
  ldlt_factor f{n, {}, std::vector<double>(static_cast<size_t>(n)), std::vector<double>(static_cast<size_t>(n), 0.0), {0}, {},
                std::vector<unsigned>(static_cast<size_t>(n / 32 + 1), 0u), std::vector<std::vector<std::pair<long, double>>>(static_cast<size_t>(n)), std::vector<bool>(static_cast<size_t>(n), false)};
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (long i = 0; i < n; ++i) f.d[static_cast<size_t>(i)] = 4.0 + u(gen);
  for (long i = 0; i < n;) {
    const bool pair = pairs && i + 1 < n && u(gen) > 0.3;
    const long rows = pair ? 2 : 1, first_col = i + rows;
    std::vector<long> cols;
    for (int q = 0; q < 3 && first_col < n; ++q) cols.push_back(std::uniform_int_distribution<long>(first_col, n - 1)(gen));
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    for (long c : cols)
      for (long r = 0; r < rows; ++r) {
        const double v = u(gen) * 0.3;
        f.val.push_back(v);
        f.ja.push_back(static_cast<int>(c));
        f.u[static_cast<size_t>(i + r)].push_back({c, v});
      }
    if (pair) {
      f.ia.push_back(static_cast<int>(f.val.size()));  // the pair's entries sit in row i
      f.ia.push_back(static_cast<int>(f.val.size()));
      f.mask[static_cast<size_t>(i / 32)] |= 1u << (i % 32);
      f.mask[static_cast<size_t>((i + 1) / 32)] |= 1u << ((i + 1) % 32);
      f.e[static_cast<size_t>(i)] = 1.0 + 0.5 * u(gen);
      f.pair_first[static_cast<size_t>(i)] = true;
    } else {
      f.ia.push_back(static_cast<int>(f.val.size()));
    }
    i += rows;
  }
  if (f.val.empty()) { f.val.push_back(0); f.ja.push_back(0); }
  return f;
}

// inv(D) inv(U') b, and then inv(U) of it when `backward`.
std::vector<double> ldlt_reference(const ldlt_factor& f, std::vector<double> b, bool backward) {
  const long n = f.n;
  std::vector<ld> z(b.begin(), b.end());
  for (long i = 0; i < n; ++i)
    for (const auto& [j, v] : f.u[static_cast<size_t>(i)]) z[static_cast<size_t>(j)] -= v * z[static_cast<size_t>(i)];
  std::vector<ld> w(static_cast<size_t>(n));
  for (long i = 0; i < n; ++i) {
    if (f.pair_first[static_cast<size_t>(i)]) {
      const ld a = f.d[static_cast<size_t>(i)], c = f.d[static_cast<size_t>(i + 1)], e = f.e[static_cast<size_t>(i)];
      const ld det = a * c - e * e;
      w[static_cast<size_t>(i)] = (c * z[static_cast<size_t>(i)] - e * z[static_cast<size_t>(i + 1)]) / det;
      w[static_cast<size_t>(i + 1)] = (a * z[static_cast<size_t>(i + 1)] - e * z[static_cast<size_t>(i)]) / det;
      ++i;
    } else {
      w[static_cast<size_t>(i)] = z[static_cast<size_t>(i)] / f.d[static_cast<size_t>(i)];
    }
  }
  if (backward)
    for (long i = n - 1; i >= 0; --i)
      for (const auto& [j, v] : f.u[static_cast<size_t>(i)]) w[static_cast<size_t>(i)] -= v * w[static_cast<size_t>(j)];
  return {w.begin(), w.end()};
}

std::vector<double> run_ildlt(const ldlt_factor& f, std::vector<double> b, int& mode) {
  std::vector<double> x(static_cast<size_t>(f.n), NAN);
  const int n = static_cast<int>(f.n);
  zvx_ildlt_sv(&n, f.val.data(), f.ia.data(), f.ja.data(), f.d.data(), f.e.data(), nullptr, f.mask.data(),
               b.data(), x.data(), &mode);
  return x;
}

TEST(IncompleteLdlt, PivotsOfOneAndTwoRows) {
  for (long n : {1L, 2L, 45L, 300L}) {
    const ldlt_factor f = make_factor(n, true, 301 + static_cast<unsigned>(n));
    const auto b = random_vector(n, 302);
    int mode = 0;
    const auto x = run_ildlt(f, b, mode);
    expect_close(x, ldlt_reference(f, b, true), nullptr, 1e-12, "ildlt mode 0 n " + std::to_string(n));
    const bool any_pair = std::find(f.pair_first.begin(), f.pair_first.end(), true) != f.pair_first.end();
    EXPECT_EQ(mode, any_pair ? 0 : 2);
  }
}

TEST(IncompleteLdlt, ModesOneAndTheFastFormAroundItsTile) {
  // mode 1: nothing is touched
  const ldlt_factor small = make_factor(20, false, 311);
  std::vector<double> b = random_vector(20, 312), x(20, 7.0);
  const auto b0 = b;
  int mode = 1;
  const int n20 = 20;
  zvx_ildlt_sv(&n20, small.val.data(), small.ia.data(), small.ja.data(), small.d.data(), small.e.data(), nullptr,
               small.mask.data(), b.data(), x.data(), &mode);
  EXPECT_EQ(b, b0);
  EXPECT_EQ(x, std::vector<double>(20, 7.0));
  EXPECT_EQ(mode, 1);
  // no 2 x 2 pivot: mode 0 solves and turns into 2
  mode = 0;
  expect_close(run_ildlt(small, b0, mode), ldlt_reference(small, b0, true), nullptr, 1e-12, "ildlt 1x1");
  EXPECT_EQ(mode, 2);
  // the fast form: below one backward tile of rows only the forward sweep and the division run
  for (long n : {1999L, 2000L, 4321L}) {
    const ldlt_factor f = make_factor(n, false, 313);
    const auto rhs = random_vector(n, 314);
    int fast = 2;
    const auto got = run_ildlt(f, rhs, fast);
    expect_close(got, ldlt_reference(f, rhs, n >= 2000), nullptr, 1e-12, "ildlt fast n " + std::to_string(n));
    int full = 0;
    const auto exact = run_ildlt(f, rhs, full);
    if (n >= 2000) expect_close(got, exact, nullptr, 1e-12, "fast equals full");
  }
}

}  // namespace
