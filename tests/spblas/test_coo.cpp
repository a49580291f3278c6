// COO entries against dense long double references: unsorted triplets, duplicates, every type,
// the solve that sorts at each call, and the short forms.
#include "spblas/reference.h"

using namespace sptest;

namespace {

struct coo_arrays {
  std::vector<double> val;
  std::vector<int> row, col;
  int nnz;
};
coo_arrays to_coo(std::vector<triplet> e, unsigned shuffle_seed) {
  if (shuffle_seed) {
    std::mt19937 gen(shuffle_seed);
    std::shuffle(e.begin(), e.end(), gen);
  }
  coo_arrays a;
  for (const auto& t : e) {
    a.val.push_back(t.v);
    a.row.push_back(t.r + 1);
    a.col.push_back(t.c + 1);
  }
  a.nnz = static_cast<int>(e.size());
  if (e.empty()) { a.val.push_back(0); a.row.push_back(1); a.col.push_back(1); }
  return a;
}

// Multiply reading: as CSR (unknown type symmetric lower non-unit).
kind multiply_kind(const char* d, bool& lower, bool& unit) {
  const char t = static_cast<char>(toupper(d[0]));
  const bool known = std::string("GTSHDA").find(t) != std::string::npos;
  lower = !(known && t != 'D' && t != 'G' && toupper(d[1]) == 'U');
  unit = known && t != 'A' && t != 'G' && toupper(d[2]) == 'U';
  return kind_of(t);
}

void check_multiply(long m, long k, const std::vector<triplet>& e, const char* descr, char trans,
                    long n, double alpha, double beta, unsigned shuffle) {
  const coo_arrays a = to_coo(e, shuffle);
  const dmat s = stored(m, k, e);
  const bool tr = toupper(trans) != 'N';
  const long in = tr ? m : k, out = tr ? k : m, ldb = in + 1, ldc = out + 2;
  const auto b = random_vector(ldb * n, 61);
  auto c = random_vector(ldc * n, 62);
  if (beta == 0.0) c[0] = NAN;
  bool lower, unit;
  const kind type = multiply_kind(descr, lower, unit);
  std::vector<double> scale;
  auto want = product(effective(s, type, lower, unit), tr, n, alpha, b, ldb, beta, c, ldc, &scale, &s);
  for (long j = 0; j < n; ++j)
    for (long i = out; i < ldc; ++i) want[static_cast<size_t>(i + j * ldc)] = c[static_cast<size_t>(i + j * ldc)];
  const int mm = static_cast<int>(m), kk = static_cast<int>(k), nn = static_cast<int>(n),
            lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_dcoomv(&trans, &mm, &kk, &alpha, descr, a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), &beta, c.data());
  else
    zvx_dcoomm(&trans, &mm, &nn, &kk, &alpha, descr, a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), &lb, &beta, c.data(), &lc);
  expect_close(c, want, &scale, product_tol, std::string("coo ") + descr + " " + trans + " n " + std::to_string(n));
}

TEST(CooMultiply, EveryTypeUnsortedWithDuplicates) {
  auto e = random_triplets(35, 35, 5, true, 71, 0.1);
  const auto extra = random_triplets(35, 35, 2, false, 72);
  e.insert(e.end(), extra.begin(), extra.end());  // duplicates of some positions
  e.push_back({3, 3, 0.5});                        // a second diagonal entry adds up
  for (const char* t = type_letters; *t; ++t)
    for (char u : std::string("ULx"))
      for (char d : std::string("UNx"))
        for (char trans : {'N', 'T', 'n'}) {
          const char descr[5] = {*t, u, d, 'x', 0};
          check_multiply(35, 35, e, descr, trans, 1, 1.5, 0.0, 73);
          check_multiply(35, 35, e, descr, trans, 1, 1.5, 1.0, 0);  // rows in order
          check_multiply(35, 35, e, descr, trans, 3, -0.5, 2.0, 74);
        }
  for (auto [m, k] : {std::pair<long, long>{17, 40}, {40, 17}, {1, 1}})
    for (char trans : {'N', 'T'})
      for (long n : {1L, 5L}) check_multiply(m, k, random_triplets(m, k, 3, false, 75), "G", trans, n, 1.0, 0.5, 76);
}

TEST(CooMultiply, UnitDiagonalTypeIsAlphaTimesInputAndEmptyMatrices) {
  // "D" with unit diagonal: alpha * x whatever the arrays hold
  const std::vector<triplet> e = {{0, 0, 9.0}, {1, 2, 4.0}};
  check_multiply(3, 3, e, "DxU", 'N', 1, 2.0, 0.0, 0);
  // nnz 0: mv still adds the unit diagonal of T, mm returns after the scaling
  const coo_arrays none = to_coo({}, 0);
  const int m = 3, n = 1, zero = 0;
  const double alpha = 2.0, beta = 1.0, x[3] = {1, 2, 3};
  double y[3] = {1, 1, 1}, c[3] = {1, 1, 1};
  zvx_dcoomv("N", &m, &m, &alpha, "TLU", none.val.data(), none.row.data(), none.col.data(), &zero, x, &beta, y);
  zvx_dcoomm("N", &m, &n, &m, &alpha, "TLU", none.val.data(), none.row.data(), none.col.data(), &zero, x, &m, &beta, c, &m);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(y[i], 1.0 + 2.0 * x[i]);
    EXPECT_EQ(c[i], 1.0);
  }
}

void check_solve(long m, const std::vector<triplet>& e, const char* descr, char trans, long n,
                 double alpha, unsigned shuffle) {
  const coo_arrays a = to_coo(e, shuffle);
  const dmat s = stored(m, m, e);
  const long ldb = m + 1, ldc = m + 3;
  const auto b = random_vector(ldb * n, 81);
  auto c = random_vector(ldc * n, 82);
  const bool diag = toupper(descr[0]) == 'D', lower = toupper(descr[1]) == 'L',
             unit = toupper(descr[2]) != 'N', tr = toupper(trans) != 'N';
  std::vector<double> want;
  if (diag) {
    dmat dm(m, m);
    for (long i = 0; i < m; ++i) dm(i, i) = unit ? 1.0L : s(i, i);
    want = solve(dm, true, n, alpha, b, ldb, c, ldc);
  } else {
    const dmat t = solve_matrix(s, lower, unit);
    want = solve(tr ? t.t() : t, tr ? !lower : lower, n, alpha, b, ldb, c, ldc);
  }
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1)
    zvx_dcoosv(&trans, &mm, &alpha, descr, a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), c.data());
  else
    zvx_dcoosm(&trans, &mm, &nn, &alpha, descr, a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), &lb, c.data(), &lc);
  expect_close(c, want, nullptr, solve_tol, std::string("coo solve ") + descr + " " + trans);
}

TEST(CooSolve, EveryTypeAnyOrderBothTriangles) {
  const auto e = random_triplets(30, 30, 6, true, 91, 0.2);
  for (const char* t : {"T", "G", "Q", "D", "s"})
    for (char u : std::string("ULx"))
      for (char d : std::string("UNx"))
        for (char trans : {'N', 'T', 'C'})
          for (unsigned shuffle : {0u, 92u}) {
            const char descr[4] = {t[0], u, d, 0};
            check_solve(30, e, descr, trans, 1, 1.0, shuffle);
            check_solve(30, e, descr, trans, 4, 2.0, shuffle);
          }
}

TEST(CooSolve, ReverseOrderDuplicateDiagonalAndEmptyMatrix) {
  auto e = random_triplets(12, 12, 3, true, 93);
  std::reverse(e.begin(), e.end());
  check_solve(12, e, "TLN", 'N', 1, 1.0, 0);
  check_solve(12, e, "TUN", 'T', 2, -1.0, 0);
  // two diagonal entries of one row: the later one in input order divides
  std::vector<triplet> two = {{0, 0, 2.0}, {1, 0, 1.0}, {1, 1, 3.0}, {1, 1, 4.0}};
  const coo_arrays a = to_coo(two, 0);
  const int m = 2;
  const double one = 1.0, x[2] = {4.0, 6.0};
  double y[2];
  zvx_dcoosv("N", &m, &one, "TLN", a.val.data(), a.row.data(), a.col.data(), &a.nnz, x, y);
  EXPECT_DOUBLE_EQ(y[0], 2.0);
  EXPECT_DOUBLE_EQ(y[1], (6.0 - 2.0) / 4.0);
  // no triplets: the identity, scaled
  const coo_arrays none = to_coo({}, 0);
  const int zero = 0;
  const double three = 3.0;
  zvx_dcoosv("N", &m, &three, "TLN", none.val.data(), none.row.data(), none.col.data(), &zero, x, y);
  EXPECT_EQ(y[0], 12.0);
  EXPECT_EQ(y[1], 18.0);
  zvx_dcootrsv("L", "N", "N", &m, none.val.data(), none.row.data(), none.col.data(), &zero, x, y);
  EXPECT_EQ(y[0], 4.0);
}

TEST(CooShort, GemvSymvTrsv) {
  const long m = 26;
  const auto e = random_triplets(m, m, 4, true, 101, 0.1);
  const coo_arrays a = to_coo(e, 102);
  const dmat s = stored(m, m, e);
  const int mm = static_cast<int>(m);
  const auto x = random_vector(m, 103);
  for (char trans : {'N', 'T'}) {
    std::vector<double> y(static_cast<size_t>(m), NAN);
    const auto want = product(s, trans == 'T', 1, 1.0, x, m, 0.0, y, m, nullptr);
    zvx_dcoogemv(&trans, &mm, a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("coogemv ") + trans);
  }
  for (char uplo : {'U', 'L'}) {
    std::vector<double> y(static_cast<size_t>(m), NAN);
    const auto want = product(effective(s, kind::symmetric, uplo == 'L', false), false, 1, 1.0, x, m, 0.0, y, m, nullptr);
    zvx_dcoosymv(&uplo, &mm, a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("coosymv ") + uplo);
  }
  for (char uplo : {'U', 'L'})
    for (char trans : {'N', 'T'})
      for (char diag : {'U', 'N'}) {
        std::vector<double> y(static_cast<size_t>(m), NAN);
        const bool lower = uplo == 'L';
        const dmat t = solve_matrix(s, lower, diag == 'U');
        const auto want = solve(trans == 'T' ? t.t() : t, trans == 'T' ? !lower : lower, 1, 1.0, x, m, y, m);
        zvx_dcootrsv(&uplo, &trans, &diag, &mm, a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), y.data());
        expect_close(y, want, nullptr, solve_tol, std::string("cootrsv ") + uplo + trans + diag);
      }
}

// Above 1,000,000 triplets with several columns the kernels split the columns of c.
TEST(CooThreads, LargeTripletListsMatchOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const long m = 100003;
  const auto e = random_triplets(m, m, 10, true, 111);
  ASSERT_GT(e.size(), 1000000u);
  const coo_arrays a = to_coo(e, 112);
  const int mm = static_cast<int>(m), n = 3;
  const auto b = random_vector(m * n, 113);
  const double alpha = 0.75, beta = 0.5;
  const int threads = omp_get_max_threads();
  auto run_all = [&]() {
    std::vector<std::vector<double>> r;
    std::vector<double> c(static_cast<size_t>(m * n), 1.0);
    for (const char* d : {"G", "TLN", "SUU", "AL", "DxN"}) {
      zvx_dcoomm("N", &mm, &n, &mm, &alpha, d, a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), &mm, &beta, c.data(), &mm);
      r.push_back(c);
    }
    zvx_dcoosm("T", &mm, &n, &alpha, "TLN", a.val.data(), a.row.data(), a.col.data(), &a.nnz, b.data(), &mm, c.data(), &mm);
    r.push_back(c);
    return r;
  };
  const auto many = run_all();
  omp_set_num_threads(1);
  const auto one = run_all();
  omp_set_num_threads(threads);
  for (size_t i = 0; i < many.size(); ++i) expect_close(many[i], one[i], nullptr, 1e-12, "coo result " + std::to_string(i));
}

}  // namespace
