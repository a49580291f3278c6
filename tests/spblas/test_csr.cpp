// CSR and CSC entries, their short forms and the zero-based path of zvx_dcsrmv, against dense
// long double products and substitutions built from the same triplets.
#include "spblas/reference.h"
#include "spblas/spblas.h"

using namespace sptest;

namespace {

// The flags a multiply reads from a descriptor: upper only on "U", unit only on "U"; "D" doesn't
// read the triangle, "A" doesn't read the diagonal, an unknown type is symmetric lower non-unit.
struct flags {
  kind type;
  bool lower, unit;
};
flags multiply_flags(const char* d) {
  const char t = static_cast<char>(toupper(d[0]));
  flags f{kind_of(t), true, false};
  const bool known = std::string("GTSHDA").find(t) != std::string::npos;
  if (known && t != 'D' && t != 'G') f.lower = toupper(d[1]) != 'U';
  if (known && t != 'A' && t != 'G') f.unit = toupper(d[2]) == 'U';
  return f;
}

struct case_matrix {
  long m, k;
  std::vector<triplet> e;
  dmat s;
};
case_matrix make(long m, long k, int per_row, unsigned seed, double empty_rows = 0.0) {
  case_matrix c{m, k, random_triplets(m, k, per_row, true, seed, empty_rows), {}};
  c.s = stored(m, k, c.e);
  return c;
}

void check_multiply(bool csc, const case_matrix& mat, const char* descr_in, char trans, int origin,
                    long n, double alpha, double beta, bool gaps = false) {
  // Callers hand six characters; position 3 is read by zvx_dcsrmv.
  char descr[7] = "xxxxxx";
  for (int i = 0; i < 6 && descr_in[i]; ++i) descr[i] = descr_in[i];
  const csr_arrays a = to_csr(mat.m, mat.k, mat.e, origin, 1, csc, gaps);
  const bool tr = toupper(trans) != 'N';
  const long in = tr ? mat.m : mat.k, out = tr ? mat.k : mat.m;
  const long ldb = in + 2, ldc = out + 3;
  const auto b = random_vector(ldb * n, 7);
  auto c = random_vector(ldc * n, 8);
  if (beta == 0.0) c[0] = NAN;  // beta 0 wipes NaN in the one-based entries
  const flags f = multiply_flags(descr);
  std::vector<double> scale;
  const auto want = product(effective(mat.s, f.type, f.lower, f.unit), tr, n, alpha, b, ldb, beta,
                            c, ldc, &scale, &mat.s);
  const int m = static_cast<int>(mat.m), k = static_cast<int>(mat.k), nn = static_cast<int>(n);
  const int lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  if (n == 1) {
    (csc ? zvx_dcscmv : zvx_dcsrmv)(&trans, &m, &k, &alpha, descr, a.val.data(), a.indx.data(),
                                    a.pntrb.data(), a.pntre.data(), b.data(), &beta, c.data());
  } else {
    (csc ? zvx_dcscmm : zvx_dcsrmm)(&trans, &m, &nn, &k, &alpha, descr, a.val.data(),
                                    a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &lb,
                                    &beta, c.data(), &lc);
  }
  // Rows of c past the output are untouched.
  for (long j = 0; j < n; ++j)
    for (long i = out; i < ldc; ++i) {
      auto& w = const_cast<std::vector<double>&>(want);
      w[static_cast<size_t>(i + j * ldc)] = c[static_cast<size_t>(i + j * ldc)];
    }
  expect_close(c, want, &scale, product_tol,
               std::string(csc ? "csc" : "csr") + " " + descr + " trans " + trans + " origin " +
                   std::to_string(origin) + " n " + std::to_string(n));
}

TEST(CsrMultiply, EveryTypeLetterTriangleDiagonalAndTransposition) {
  const case_matrix sq = make(37, 37, 5, 11, 0.1);
  const std::string triangles = "ULx", diagonals = "UNx";
  for (bool csc : {false, true})
    for (const char* t = type_letters; *t; ++t)
      for (char u : triangles)
        for (char d : diagonals)
          for (char trans : {'N', 'T', 'c'}) {
            const char descr[6] = {*t, u, d, 'F', 'x', 0};
            check_multiply(csc, sq, descr, trans, 1, 1, 1.5, 0.0);
            check_multiply(csc, sq, descr, trans, 0, 3, -0.75, 1.0);
            check_multiply(csc, sq, descr, trans, 5, 11, 2.0, -0.5);
          }
}

TEST(CsrMultiply, LowerCaseLettersReadLikeUpperCase) {
  const case_matrix sq = make(29, 29, 4, 12);
  for (bool csc : {false, true})
    for (const char* descr : {"tlu", "sun", "dxu", "aux", "hln", "g"})
      for (char trans : {'n', 't'}) check_multiply(csc, sq, descr, trans, 1, 2, 1.25, 0.5);
}

TEST(CsrMultiply, RectangularGeneralWithEmptyRowsAndOrigins) {
  for (auto [m, k] : {std::pair<long, long>{23, 41}, {41, 23}, {1, 1}, {1, 9}, {9, 1}}) {
    const case_matrix r = make(m, k, 3, 13, 0.3);
    for (bool csc : {false, true})
      for (int origin : {0, 1, 5})
        for (char trans : {'N', 'T'})
          for (long n : {1L, 2L, 5L, 8L, 13L}) check_multiply(csc, r, "G", trans, origin, n, 0.5, 2.0);
  }
}

TEST(CsrMultiply, FullMatrixUnderTriangularTypesCancelsTheOtherTriangle) {
  // A dense pattern: every entry of the other triangle is added and taken out again.
  std::vector<triplet> e;
  for (int i = 0; i < 12; ++i)
    for (int j = 0; j < 12; ++j) e.push_back({i, j, 1.0 + i * 0.5 - j * 0.25});
  case_matrix full{12, 12, e, stored(12, 12, e)};
  for (const char* d : {"TLN", "TUN", "TLU", "TUU", "SLN", "SUU", "ALx", "AUx"})
    for (char trans : {'N', 'T'})
      for (long n : {1L, 4L}) check_multiply(false, full, d, trans, 1, n, 1.0, 0.0);
}

TEST(CsrMultiply, DuplicatesAddUpAndUnitIgnoresTheStoredDiagonal) {
  std::vector<triplet> e = {{0, 0, 2.0}, {0, 0, 3.0}, {1, 0, 1.0}, {1, 1, 4.0}, {2, 2, 5.0},
                            {2, 1, -1.0}, {2, 1, 0.5}};
  case_matrix dup{3, 3, e, stored(3, 3, e)};
  for (const char* d : {"G", "DxN", "TLN", "SLN"}) check_multiply(false, dup, d, 'N', 1, 1, 1.0, 0.0);
  // unit: the stored diagonal 5 or 0 gives the same product
  std::vector<triplet> five = {{0, 0, 5.0}, {1, 0, 2.0}, {1, 1, 5.0}}, zero = {{0, 0, 0.0}, {1, 0, 2.0}, {1, 1, 0.0}};
  const auto a5 = to_csr(2, 2, five, 1, 1), a0 = to_csr(2, 2, zero, 1, 1);
  const int m = 2;
  const double alpha = 1.0, beta = 0.0, x[2] = {1.0, 3.0};
  double y5[2], y0[2];
  zvx_dcsrmv("N", &m, &m, &alpha, "TLUxxx", a5.val.data(), a5.indx.data(), a5.pntrb.data(), a5.pntre.data(), x, &beta, y5);
  zvx_dcsrmv("N", &m, &m, &alpha, "TLUxxx", a0.val.data(), a0.indx.data(), a0.pntrb.data(), a0.pntre.data(), x, &beta, y0);
  EXPECT_EQ(y5[0], 1.0);
  EXPECT_EQ(y5[1], 5.0);
  EXPECT_EQ(y0[0], y5[0]);
  EXPECT_EQ(y0[1], y5[1]);
}

TEST(CsrMultiply, EarlyReturnsAndTheZeroBasedBeta) {
  const case_matrix sq = make(5, 5, 2, 14);
  const auto a = to_csr(5, 5, sq.e, 1, 1);
  const auto z = to_csr(5, 5, sq.e, 0, 0);
  const double x[5] = {1, 2, 3, 4, 5};
  const double two = 2.0, zero = 0.0, one = 1.0;
  const int m0 = 0, m = 5;
  double y[5] = {1, 2, 3, 4, 5};
  zvx_dcsrmv("N", &m0, &m, &one, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &two, y);
  zvx_dcsrmv("N", &m, &m0, &one, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &two, y);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(y[i], i + 1.0);
  // alpha 0: only beta acts
  zvx_dcsrmv("N", &m, &m, &zero, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &two, y);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(y[i], 2.0 * (i + 1.0));
  // beta 0: one-based clears NaN, zero-based multiplies it (NaN stays)
  double yo[5] = {NAN, 0, 0, 0, 0}, yz[5] = {NAN, 0, 0, 0, 0};
  zvx_dcsrmv("N", &m, &m, &zero, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &zero, yo);
  zvx_dcsrmv("N", &m, &m, &zero, "GxxC", z.val.data(), z.indx.data(), z.pntrb.data(), z.pntre.data(), x, &zero, yz);
  EXPECT_EQ(yo[0], 0.0);
  EXPECT_TRUE(std::isnan(yz[0]));
}

// Rows long enough that the product requests x ahead: lengths from below to past the distance
// it requests ahead, empty rows among them, lists that end a few entries before, at and after that
// distance from the last row (exact arrays: a request past the entries reads outside them), one- and
// zero-based, beta 0 and not. Long double sums over the triplets are the reference.
TEST(CsrMultiply, LongRowsAroundTheDistanceXIsRequestedAhead) {
  const long d = zvx::spblas::x_prefetch_distance, step = zvx::spblas::x_prefetch_step;
  const long mean = zvx::spblas::x_prefetch_rows_min;
  const long k = 3000;
  for (long total : {mean, d - 1, d, d + 1, d + step + 3, 3 * d + 7, 40 * d + 5}) {
    std::vector<triplet> e;
    std::mt19937 gen(static_cast<unsigned>(total));
    std::uniform_real_distribution<double> val(-1.0, 1.0);
    std::uniform_int_distribution<long> col(0, k - 1);
    long placed = 0, m = 0;
    for (; placed < total; ++m) {
      if (m % 5 == 3) continue;  // empty row
      const long want = std::min(total - placed, m % 3 == 0 ? 2 * d + 1 : mean + m % 7);
      std::vector<long> cols;
      while (static_cast<long>(cols.size()) < want) {
        cols.push_back(col(gen));
        std::sort(cols.begin(), cols.end());
        cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
      }
      for (long c : cols) e.push_back({static_cast<int>(m), static_cast<int>(c), val(gen)});
      placed += want;
    }
    const auto x = random_vector(k, 31);
    const int mm = static_cast<int>(m), kk = static_cast<int>(k);
    for (int zero_based : {0, 1})
      for (double beta : {0.0, 0.75}) {
        const csr_arrays a = to_csr(m, k, e, zero_based ? 0 : 1, zero_based ? 0 : 1);
        // exactly the entries: nothing after the last row's
        const std::vector<double> v(a.val.begin(), a.val.begin() + static_cast<long>(e.size()));
        const std::vector<int> ix(a.indx.begin(), a.indx.begin() + static_cast<long>(e.size()));
        auto y = random_vector(m, 32);
        std::vector<double> want, scale;
        const double alpha = -1.25;
        reference(m, e, 1, alpha, x, k, beta, y, m, want, scale);
        if (beta == 0.0 && !zero_based) y[0] = NAN;  // beta 0 wipes it in the one-based entry
        zvx_dcsrmv("N", &mm, &kk, &alpha, zero_based ? "GxxC" : "Gxxx", v.data(), ix.data(), a.pntrb.data(),
                   a.pntre.data(), x.data(), &beta, y.data());
        expect_close(y, want, &scale, product_tol,
                     "entries " + std::to_string(total) + (zero_based ? " zero-based" : " one-based") + " beta " +
                         std::to_string(beta));
      }
  }
}

// The zero-based path of zvx_dcsrmv: zero-based columns and pointers, every type.
TEST(CsrMultiply, ZeroBasedPathEveryType) {
  const case_matrix sq = make(31, 31, 4, 15, 0.1);
  for (int origin : {0, 3}) {
    const auto a = to_csr(31, 31, sq.e, origin, 0);
    for (const char* t = type_letters; *t; ++t)
      for (char u : std::string("ULx"))
        for (char d : std::string("UNx"))
          for (char trans : {'N', 'T', 'n'}) {
            const char descr[5] = {*t, u, d, 'C', 0};
            const flags f = multiply_flags(descr);
            const auto x = random_vector(31, 3);
            auto y = random_vector(31, 4);
            const double alpha = 1.5, beta = -0.5;
            std::vector<double> scale;
            const auto want = product(effective(sq.s, f.type, f.lower, f.unit), trans != 'N' && trans != 'n',
                                      1, alpha, x, 31, beta, y, 31, &scale, &sq.s);
            const int m = 31;
            zvx_dcsrmv(&trans, &m, &m, &alpha, descr, a.val.data(), a.indx.data(), a.pntrb.data(),
                       a.pntre.data(), x.data(), &beta, y.data());
            expect_close(y, want, &scale, product_tol, std::string("zero-based ") + descr + trans);
          }
  }
}

void check_solve(bool csc, const case_matrix& mat, const char* descr, char trans, int origin,
                 long n, double alpha, bool matrix_rhs, bool gaps = false) {
  const csr_arrays a = to_csr(mat.m, mat.k, mat.e, origin, 1, csc, gaps);
  const long m = mat.m, ldb = m + 1, ldc = m + 2;
  const auto b = random_vector(ldb * n, 21);
  auto c = random_vector(ldc * n, 22);
  const bool diag = toupper(descr[0]) == 'D', lower = toupper(descr[1]) == 'L',
             unit = toupper(descr[2]) != 'N', tr = trans != 'N' && trans != 'n';
  std::vector<double> want;
  if (diag) {
    dmat dm(m, m);
    for (long i = 0; i < m; ++i) dm(i, i) = unit ? 1.0L : mat.s(i, i);
    want = solve(dm, true, n, alpha, b, ldb, c, ldc);
  } else {
    const dmat t = solve_matrix(mat.s, lower, unit);
    want = solve(tr ? t.t() : t, tr ? !lower : lower, n, alpha, b, ldb, c, ldc);
  }
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = static_cast<int>(ldb),
            lc = static_cast<int>(ldc);
  if (!matrix_rhs) {
    (csc ? zvx_dcscsv : zvx_dcsrsv)(&trans, &mm, &alpha, descr, a.val.data(), a.indx.data(),
                                    a.pntrb.data(), a.pntre.data(), b.data(), c.data());
  } else {
    (csc ? zvx_dcscsm : zvx_dcsrsm)(&trans, &mm, &nn, &alpha, descr, a.val.data(), a.indx.data(),
                                    a.pntrb.data(), a.pntre.data(), b.data(), &lb, c.data(), &lc);
  }
  expect_close(c, want, nullptr, solve_tol,
               std::string(csc ? "csc" : "csr") + " solve " + descr + " " + trans + " n " +
                   std::to_string(n));
}

TEST(CsrSolve, EveryTypeUnderTheSolveRuleBothSweeps) {
  // Full rows: the sweeps read only their triangle, so the other one must not matter.
  const case_matrix sq = make(33, 33, 6, 31, 0.15);
  for (bool csc : {false, true})
    for (const char* t : {"T", "G", "S", "Q", "D", "d", "t"})
      for (char u : std::string("ULx"))
        for (char d : std::string("UNx"))
          for (char trans : {'N', 'T', 'C'})
            for (int origin : {0, 1, 5}) {
              const char descr[5] = {t[0], u, d, 'x', 0};
              check_solve(csc, sq, descr, trans, origin, 1, 1.0, false);
              check_solve(csc, sq, descr, trans, origin, 1, -2.5, false);
              check_solve(csc, sq, descr, trans, origin, 3, 0.5, true);
              check_solve(csc, sq, descr, trans, origin, 10, 1.0, true);
            }
}

// Row ends and row starts as two arrays: unused slots (NaN) between rows are never read.
TEST(CsrPointers, IndependentStartAndEndArrays) {
  const case_matrix sq = make(29, 29, 5, 35, 0.1);
  for (bool csc : {false, true})
    for (const char* d : {"G", "TLN", "TUU", "SLN", "SUU", "AL", "DxN", "Q"})
      for (char trans : {'N', 'T'})
        for (long n : {1L, 9L}) check_multiply(csc, sq, d, trans, 5, n, 1.5, 0.0, true);
  for (bool csc : {false, true})
    for (const char* d : {"TLN", "TUN", "TLU", "TUU", "DxN"})
      for (char trans : {'N', 'T'})
        for (long n : {1L, 3L}) check_solve(csc, sq, d, trans, 5, n, 2.0, n > 1, true);
}

// A non-unit row without entries divides by the entry where the walk of the rows before stopped
// (their diagonal), so no read leaves the stored arrays.
TEST(CsrSolve, EmptyRowDividesByThePreviousDiagonal) {
  const std::vector<triplet> e = {{0, 0, 2.0}, {2, 0, 1.0}, {2, 2, 4.0}};
  const auto a = to_csr(3, 3, e, 1, 1);
  const int m = 3, n = 1;
  const double one = 1.0, x[3] = {2.0, 6.0, 9.0};
  double y[3], c[3];
  zvx_dcsrsv("N", &m, &one, "TLN", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, y);
  zvx_dcsrsm("N", &m, &n, &one, "TLN", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &m, c, &m);
  EXPECT_DOUBLE_EQ(y[0], 1.0);
  EXPECT_DOUBLE_EQ(y[1], 3.0);  // 6 / 2
  EXPECT_DOUBLE_EQ(y[2], 2.0);  // (9 - 1) / 4
  for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(c[i], y[i]);
}

TEST(CsrSolve, AlphaZeroClearsWithoutReadingAndSizeOneWorks) {
  const case_matrix sq = make(4, 4, 2, 32);
  const auto a = to_csr(4, 4, sq.e, 1, 1);
  const int m = 4, n = 2, ld = 4;
  const double zero = 0.0;
  const double x[8] = {NAN, NAN, NAN, NAN, NAN, NAN, NAN, NAN};
  double y[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  zvx_dcsrsv("N", &m, &zero, "TLN", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, y);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(y[i], 0.0);
  zvx_dcscsm("T", &m, &n, &zero, "TUN", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x, &ld, y, &ld);
  for (double v : y) EXPECT_EQ(v, 0.0);
  const case_matrix one = make(1, 1, 0, 33);
  for (const char* d : {"TLN", "TUU", "DxN"})
    for (char trans : {'N', 'T'}) {
      check_solve(false, one, d, trans, 1, 1, 3.0, false);
      check_solve(true, one, d, trans, 1, 2, 3.0, true);
    }
}

TEST(CsrShort, GemvSymvTrsvOnSquareOneBased) {
  const case_matrix sq = make(40, 40, 5, 41, 0.1);
  const auto a = to_csr(40, 40, sq.e, 1, 1);
  const int m = 40;
  const auto x = random_vector(40, 42);
  for (char trans : {'N', 'T', 't'}) {
    std::vector<double> y(40, NAN);
    const auto want = product(sq.s, trans != 'N', 1, 1.0, x, 40, 0.0, y, 40, nullptr);
    zvx_dcsrgemv(&trans, &m, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("csrgemv ") + trans);
  }
  for (char uplo : {'U', 'L', 'l', 'x'}) {
    std::vector<double> y(40, NAN);
    const bool lower = uplo == 'L' || uplo == 'l';
    const auto want = product(effective(sq.s, kind::symmetric, lower, false), false, 1, 1.0, x, 40,
                              0.0, y, 40, nullptr);
    zvx_dcsrsymv(&uplo, &m, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
    expect_close(y, want, nullptr, 1e-13, std::string("csrsymv ") + uplo);
  }
  for (char uplo : {'U', 'L'})
    for (char trans : {'N', 'T'})
      for (char diag : {'U', 'N'}) {
        std::vector<double> y(40, NAN);
        const bool lower = uplo == 'L';
        const dmat t = solve_matrix(sq.s, lower, diag == 'U');
        const auto want = solve(trans == 'T' ? t.t() : t, trans == 'T' ? !lower : lower, 1, 1.0, x, 40, y, 40);
        zvx_dcsrtrsv(&uplo, &trans, &diag, &m, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
        expect_close(y, want, nullptr, solve_tol, std::string("csrtrsv ") + uplo + trans + diag);
      }
}

// Sizes above every threshold: 2,000 rows of csrgemv, 10,001 of the symmetric vector kernel;
// the threaded results (OMP_NUM_THREADS=2 in their own CTest entry) equal the serial ones.
TEST(CsrThreads, LargeProductsAndSolvesMatchOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const long m = 20011;
  const auto e = random_triplets(m, m, 7, true, 51, 0.01);
  const auto a = to_csr(m, m, e, 1, 1);
  const int mm = static_cast<int>(m), n = 4, ldm = mm;
  const auto b = random_vector(m * n, 52);
  const double alpha = 1.5, beta = 0.25;
  const int threads = omp_get_max_threads();
  auto run_all = [&]() {
    std::vector<std::vector<double>> r;
    std::vector<double> y(static_cast<size_t>(m), 1.0), c(static_cast<size_t>(m * n), 1.0);
    for (const char* d : {"Gxxxxx", "TLNxxx", "TUUxxx", "SLNxxx", "SUNxxx", "ALxxxx", "DxNxxx"})
      for (char trans : {'N', 'T'}) {
        zvx_dcsrmv(&trans, &mm, &mm, &alpha, d, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &beta, y.data());
        r.push_back(y);
        zvx_dcsrmm(&trans, &mm, &n, &mm, &alpha, d, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &ldm, &beta, c.data(), &ldm);
        r.push_back(c);
        zvx_dcscmm(&trans, &mm, &n, &mm, &alpha, d, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &ldm, &beta, c.data(), &ldm);
        r.push_back(c);
      }
    for (const char* d : {"TLN", "TUN", "DxN"})
      for (char trans : {'N', 'T'}) {
        zvx_dcsrsm(&trans, &mm, &n, &alpha, d, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &ldm, c.data(), &ldm);
        r.push_back(c);
        zvx_dcscsm(&trans, &mm, &n, &alpha, d, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &ldm, c.data(), &ldm);
        r.push_back(c);
      }
    zvx_dcsrgemv("N", &mm, a.val.data(), a.ia.data(), a.indx.data(), b.data(), y.data());
    r.push_back(y);
    zvx_dcsrsymv("L", &mm, a.val.data(), a.ia.data(), a.indx.data(), b.data(), y.data());
    r.push_back(y);
    zvx_dcsrsymv("U", &mm, a.val.data(), a.ia.data(), a.indx.data(), b.data(), y.data());
    r.push_back(y);
    return r;
  };
  const auto many = run_all();
  omp_set_num_threads(1);
  const auto one = run_all();
  omp_set_num_threads(threads);
  ASSERT_EQ(many.size(), one.size());
  for (size_t i = 0; i < many.size(); ++i) expect_close(many[i], one[i], nullptr, 1e-12, "result " + std::to_string(i));
  // and the symmetric product against the long double reference, computed sparsely
  std::vector<ld> want(static_cast<size_t>(m), 0.0L);
  for (const auto& t : e) {
    if (t.c > t.r) continue;
    want[static_cast<size_t>(t.r)] += static_cast<ld>(t.v) * b[static_cast<size_t>(t.c)];
    if (t.c != t.r) want[static_cast<size_t>(t.c)] += static_cast<ld>(t.v) * b[static_cast<size_t>(t.r)];
  }
  std::vector<double> y(static_cast<size_t>(m));
  zvx_dcsrsymv("L", &mm, a.val.data(), a.ia.data(), a.indx.data(), b.data(), y.data());
  std::vector<double> w(want.begin(), want.end());
  expect_close(y, w, nullptr, 1e-13, "large csrsymv");
}

}  // namespace
