// DIA entries against dense long double references. Elements of a stored diagonal that fall
// outside the matrix hold NaN, so any read of them shows in the result.
#include "spblas/reference.h"

using namespace sptest;

namespace {

struct dia_arrays {
  long m, k, lval;
  std::vector<int> idiag;
  std::vector<double> val;
  dmat s;
};

dia_arrays make_dia(long m, long k, std::vector<int> offsets, unsigned seed, bool dense = true) {
  const bool dominant = true;
  dia_arrays a{m, k, m + 2, offsets, {}, dense ? dmat(m, k) : dmat()};
  a.val.assign(static_cast<size_t>(a.lval * offsets.size()), NAN);
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (size_t d = 0; d < offsets.size(); ++d)
    for (long i = 0; i < m; ++i) {
      const long j = i + offsets[d];
      if (j < 0 || j >= k) continue;
      double v = u(gen);
      if (offsets[d] == 0 && dominant) v = (v < 0 ? -1.0 : 1.0) * (offsets.size() + 1.0) + v;
      a.val[static_cast<size_t>(i + a.lval * static_cast<long>(d))] = v;
      if (dense) a.s(i, j) += v;
    }
  return a;
}

kind multiply_kind(const char* d, bool& lower, bool& unit) {
  const char t = static_cast<char>(toupper(d[0]));
  const bool known = std::string("GTSHDA").find(t) != std::string::npos;
  lower = !(known && t != 'D' && t != 'G' && toupper(d[1]) == 'U');
  unit = known && t != 'A' && t != 'G' && toupper(d[2]) == 'U';
  return kind_of(t);
}

void check_multiply(const dia_arrays& a, const char* descr, char trans, long n, double alpha,
                    double beta) {
  const bool tr = toupper(trans) != 'N';
  const long in = tr ? a.m : a.k, out = tr ? a.k : a.m, ldb = in + 1, ldc = out + 1;
  const auto b = random_vector(ldb * n, 121);
  auto c = random_vector(ldc * n, 122);
  if (beta == 0.0) c[0] = NAN;
  bool lower, unit;
  const kind type = multiply_kind(descr, lower, unit);
  std::vector<double> scale;
  auto want = product(effective(a.s, type, lower, unit), tr, n, alpha, b, ldb, beta, c, ldc, &scale, &a.s);
  for (long j = 0; j < n; ++j)
    for (long i = out; i < ldc; ++i) want[static_cast<size_t>(i + j * ldc)] = c[static_cast<size_t>(i + j * ldc)];
  const int m = static_cast<int>(a.m), k = static_cast<int>(a.k), nn = static_cast<int>(n),
            lv = static_cast<int>(a.lval), nd = static_cast<int>(a.idiag.size()),
            lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_ddiamv(&trans, &m, &k, &alpha, descr, a.val.data(), &lv, a.idiag.data(), &nd, b.data(), &beta, c.data());
  else
    zvx_ddiamm(&trans, &m, &nn, &k, &alpha, descr, a.val.data(), &lv, a.idiag.data(), &nd, b.data(), &lb, &beta, c.data(), &lc);
  expect_close(c, want, &scale, product_tol, std::string("dia ") + descr + " " + trans + " n " + std::to_string(n));
}

TEST(DiaMultiply, EveryTypeBothDirectionsPairsOfColumns) {
  const dia_arrays sq = make_dia(40, 40, {3, -7, 0, 1, -1, 12}, 131);  // any order for products
  for (const char* t = type_letters; *t; ++t)
    for (char u : std::string("ULx"))
      for (char d : std::string("UNx"))
        for (char trans : {'N', 'T'})
          for (long n : {1L, 2L, 3L}) {
            const char descr[4] = {*t, u, d, 0};
            check_multiply(sq, descr, trans, n, 1.5, n == 2 ? 0.0 : 0.5);
          }
  check_multiply(sq, "G", 'N', 3, 0.0, 2.0);  // alpha 0: beta alone
  for (auto [m, k] : {std::pair<long, long>{20, 33}, {33, 20}, {1, 1}})
    for (char trans : {'N', 'T'}) check_multiply(make_dia(m, k, {-4, 0, 2, 25}, 132), "G", trans, 3, 1.0, 1.0);
}

void check_solve(const dia_arrays& a, const char* descr, char trans, long n, double alpha,
                 const std::vector<double>* expected = nullptr) {
  const long m = a.m, ldb = m + 1, ldc = m + 2;
  const auto b = random_vector(ldb * n, 141);
  auto c = random_vector(ldc * n, 142);
  const bool diag = toupper(descr[0]) == 'D', lower = toupper(descr[1]) == 'L',
             unit = toupper(descr[2]) != 'N', tr = toupper(trans) != 'N';
  std::vector<double> want;
  if (diag) {
    dmat dm(m, m);
    for (long i = 0; i < m; ++i) dm(i, i) = unit ? 1.0L : a.s(i, i);
    want = solve(dm, true, n, alpha, b, ldb, c, ldc);
  } else {
    const dmat t = solve_matrix(a.s, lower, unit);
    want = solve(tr ? t.t() : t, tr ? !lower : lower, n, alpha, b, ldb, c, ldc);
  }
  if (expected) {  // a solve that is not carried out: alpha * b
    want = c;
    for (long j = 0; j < n; ++j)
      for (long i = 0; i < m; ++i) want[static_cast<size_t>(i + j * ldc)] = alpha * b[static_cast<size_t>(i + j * ldb)];
  }
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lv = static_cast<int>(a.lval),
            nd = static_cast<int>(a.idiag.size()), lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_ddiasv(&trans, &mm, &alpha, descr, a.val.data(), &lv, a.idiag.data(), &nd, b.data(), c.data());
  else
    zvx_ddiasm(&trans, &mm, &nn, &alpha, descr, a.val.data(), &lv, a.idiag.data(), &nd, b.data(), &lb, c.data(), &lc);
  expect_close(c, want, nullptr, solve_tol, std::string("dia solve ") + descr + " " + trans + " n " + std::to_string(n));
}

TEST(DiaSolve, BlocksOfIndependentRowsEveryCase) {
  // Ascending offsets; nearest off-diagonals at 2 and 3 give blocks of 2 and 3 rows, and 41
  // rows leave a remainder.
  const dia_arrays a = make_dia(41, 41, {-9, -2, 0, 3, 5}, 151);
  for (const char* t : {"T", "G", "Q"})
    for (char u : std::string("ULx"))
      for (char d : std::string("UNx"))
        for (char trans : {'N', 'T'})
          for (long n : {1L, 3L}) {
            const char descr[4] = {t[0], u, d, 0};
            check_solve(a, descr, trans, n, n == 1 ? 1.0 : -1.5);
          }
  for (char d : std::string("UN"))
    for (char trans : {'N', 'T'}) {
      const char descr[4] = {'D', 'L', d, 0};
      check_solve(a, descr, trans, 2, 2.0);
    }
  // Without a stored main diagonal: unit solves with the implied one, non-unit leaves alpha * x.
  const dia_arrays upper_only = make_dia(23, 23, {1, 4}, 152);
  const dia_arrays lower_only = make_dia(23, 23, {-6, -1}, 153);
  for (char trans : {'N', 'T'}) {
    check_solve(upper_only, "TUU", trans, 1, 1.0);
    check_solve(lower_only, "TLU", trans, 2, 1.0);
    check_solve(upper_only, "TUN", trans, 1, 2.0, &upper_only.val);
    check_solve(lower_only, "DLN", trans, 1, 2.0, &lower_only.val);
  }
  check_solve(make_dia(1, 1, {0}, 154), "TLN", 'N', 1, 3.0);
}

TEST(DiaShort, GemvSymvTrsv) {
  const dia_arrays a = make_dia(30, 30, {-3, 0, 2, 7}, 161);
  const int m = 30, lv = static_cast<int>(a.lval), nd = 4;
  const auto x = random_vector(30, 162);
  for (char trans : {'N', 'T'}) {
    std::vector<double> y(30, NAN);
    const auto want = product(a.s, trans == 'T', 1, 1.0, x, 30, 0.0, y, 30, nullptr);
    zvx_ddiagemv(&trans, &m, a.val.data(), &lv, a.idiag.data(), &nd, x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("diagemv ") + trans);
  }
  for (char uplo : {'U', 'L'}) {
    std::vector<double> y(30, NAN);
    const auto want = product(effective(a.s, kind::symmetric, uplo == 'L', false), false, 1, 1.0, x, 30, 0.0, y, 30, nullptr);
    zvx_ddiasymv(&uplo, &m, a.val.data(), &lv, a.idiag.data(), &nd, x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("diasymv ") + uplo);
  }
  for (char uplo : {'U', 'L'})
    for (char trans : {'N', 'T'})
      for (char diag : {'U', 'N'}) {
        std::vector<double> y(30, NAN);
        const bool lower = uplo == 'L';
        const dmat t = solve_matrix(a.s, lower, diag == 'U');
        const auto want = solve(trans == 'T' ? t.t() : t, trans == 'T' ? !lower : lower, 1, 1.0, x, 30, y, 30);
        zvx_ddiatrsv(&uplo, &trans, &diag, &m, a.val.data(), &lv, a.idiag.data(), &nd, x.data(), y.data());
        expect_close(y, want, nullptr, solve_tol, std::string("diatrsv ") + uplo + trans + diag);
      }
}

// 45,000 output rows make two row tiles, split over the threads.
TEST(DiaThreads, RowTilesAndColumnSharesMatchOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const dia_arrays a = make_dia(45001, 45001, {-300, -1, 0, 2, 5000}, 171, false);
  const int m = 45001, n = 3, lv = static_cast<int>(a.lval), nd = 5;
  const auto b = random_vector(45001L * n, 172);
  const double alpha = 1.25, beta = 0.5;
  const int threads = omp_get_max_threads();
  auto run_all = [&]() {
    std::vector<std::vector<double>> r;
    std::vector<double> c(45001L * n, 1.0);
    for (const char* d : {"G", "TLN", "TUU", "DxN"})
      for (char trans : {'N', 'T'}) {
        zvx_ddiamm(&trans, &m, &n, &m, &alpha, d, a.val.data(), &lv, a.idiag.data(), &nd, b.data(), &m, &beta, c.data(), &m);
        r.push_back(c);
      }
    zvx_ddiasm("N", &m, &n, &alpha, "TLN", a.val.data(), &lv, a.idiag.data(), &nd, b.data(), &m, c.data(), &m);
    r.push_back(c);
    return r;
  };
  const auto many = run_all();
  omp_set_num_threads(1);
  const auto one = run_all();
  omp_set_num_threads(threads);
  for (size_t i = 0; i < many.size(); ++i) expect_close(many[i], one[i], nullptr, 1e-12, "dia result " + std::to_string(i));
}

}  // namespace
