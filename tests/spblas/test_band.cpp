// Products of rows of a few entries, which go eight rows at a time: stencil bands of every width
// up to and past the vector of eight doubles, the breaks that send a block back to single rows
// (an empty row, a moved column, a longer row, gaps between rows, a row that goes on after a
// block of triplets), one to seventeen columns with beta 0, 1 and other, the large overwritten
// output stored past the caches, and the split of rows by entries among threads. References are
// long double sums over the triplets.
#include "spblas/reference.h"
#include "spblas/spblas.h"

using namespace sptest;

namespace {

namespace tune = zvx::spblas;

// Breaks of the band: row 17 empty, a column of row 42 moved by one, an extra entry in row 61.
std::vector<triplet> broken(const std::vector<triplet>& e, long k) {
  std::vector<triplet> out;
  bool moved = false;
  for (const auto& t : e) {
    if (t.r == 17) continue;
    triplet u = t;
    if (t.r == 42 && !moved && t.c + 1 < k) {
      u.c = t.c + 1;  // may meet the next column: duplicates add up
      moved = true;
    }
    out.push_back(u);
    if (t.r == 61 && t.c == 61) out.push_back({61, static_cast<int>(k - 1), 0.75});
  }
  return out;
}

void check_csr(const std::vector<triplet>& e, long m, int origin, int base, bool gaps, long n, double beta,
               const std::string& what) {
  const csr_arrays a = to_csr(m, m, e, origin, base, false, gaps);
  const long ldb = m + 2, ldc = m + 3;
  const auto b = random_vector(ldb * n, 11);
  auto c = random_vector(ldc * n, 12);
  if (beta == 0.0 && base == 1) c[5] = NAN;  // the one-based entries overwrite with beta 0
  const double alpha = 1.5;
  std::vector<double> want, scale;
  reference(m, e, n, alpha, b, ldb, beta, c, ldc, want, scale);
  for (long j = 0; j < n; ++j)  // rows past m are untouched
    for (long i = m; i < ldc; ++i) scale[static_cast<size_t>(i + j * ldc)] = 1e-300;
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = static_cast<int>(ldb), lc = static_cast<int>(ldc);
  // Position 3 of the descriptor picks the zero-based entries, which take row-major operands.
  const char* descr = base == 0 ? "GxxCxx" : "Gxxxxx";
  if (n == 1) {
    zvx_dcsrmv("N", &mm, &mm, &alpha, descr, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(),
               b.data(), &beta, c.data());
  } else {
    zvx_dcsrmm("N", &mm, &nn, &mm, &alpha, descr, a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(),
               b.data(), &lb, &beta, c.data(), &lc);
  }
  expect_close(c, want, &scale, product_tol, what);
}

TEST(CsrShortRows, StencilBandsOfEveryWidthWithAndWithoutBreaks) {
  // 8 * 11 + 3 rows: full blocks of eight and a remainder.
  const long m = 8 * 11 + 3;
  for (int width = 1; width <= 10; ++width)
    for (bool brk : {false, true}) {
      const auto e0 = stencil(m, m, width, 20 + width);
      const auto e = brk ? broken(e0, m) : e0;
      for (int origin : {0, 1})
        for (bool gaps : {false, true})
          for (long n : {1L, 2L, 7L, 8L, 9L, 12L, 16L, 17L})
            for (double beta : {0.0, 0.5, 1.0}) {
              const std::string what = "width " + std::to_string(width) + (brk ? " broken" : "") + " origin " +
                                       std::to_string(origin) + (gaps ? " gaps" : "") + " n " + std::to_string(n) +
                                       " beta " + std::to_string(beta);
              check_csr(e, m, origin, 1, gaps, n, beta, what);
            }
      // the zero-based entry, one column
      check_csr(e, m, 0, 0, false, 1, 0.0, "zero-based width " + std::to_string(width));
      check_csr(e, m, 0, 0, false, 1, 0.5, "zero-based accumulate width " + std::to_string(width));
      // the short form writes y from rows given by one array of m + 1 starts
      const csr_arrays a = to_csr(m, m, e, 1, 1);
      const auto x = random_vector(m, 13);
      std::vector<double> y(static_cast<size_t>(m), NAN), want, scale;
      reference(m, e, 1, 1.0, x, m, 0.0, y, m, want, scale);
      const int mm = static_cast<int>(m);
      zvx_dcsrgemv("N", &mm, a.val.data(), a.ia.data(), a.indx.data(), x.data(), y.data());
      expect_close(y, want, &scale, product_tol, "csrgemv width " + std::to_string(width));
    }
}

// The 5-point stencil of a grid (rows of 3, 4 and 5 entries) with enough rows that eight
// overwritten columns reach the size stored past the caches, c placed one element past a cache
// line, with a leading dimension that keeps every column aligned alike and one that doesn't.
TEST(CsrShortRows, LargeOverwrittenOutputOfEightColumns) {
  const long n = 8;
  const long side = 1 + static_cast<long>(std::sqrt(static_cast<double>(tune::stream_store_min_bytes) / (8.0 * n)));
  const long m = side * side;
  ASSERT_GE(n * m * 8, tune::stream_store_min_bytes);
  std::mt19937 gen(31);
  std::uniform_real_distribution<double> val(-1.0, 1.0);
  std::vector<triplet> e;
  for (long r = 0; r < side; ++r)
    for (long q = 0; q < side; ++q) {
      const int i = static_cast<int>(r * side + q);
      if (r > 0) e.push_back({i, static_cast<int>(i - side), val(gen)});
      if (q > 0) e.push_back({i, i - 1, val(gen)});
      e.push_back({i, i, 4.0 + val(gen)});
      if (q + 1 < side) e.push_back({i, i + 1, val(gen)});
      if (r + 1 < side) e.push_back({i, static_cast<int>(i + side), val(gen)});
    }
  const csr_arrays a = to_csr(m, m, e, 1, 1);
  const auto b = random_vector(m * n, 32);
  const int mm = static_cast<int>(m), nn = static_cast<int>(n), lb = mm;
  const double alpha = -0.5, beta = 0.0;
  for (long ldc : {(m + 7) / 8 * 8, (m + 7) / 8 * 8 + 1}) {
    // one element past a 64-byte boundary
    std::vector<double> store(static_cast<size_t>(ldc * n + 16), 2.0);
    const size_t lead = (64 - reinterpret_cast<uintptr_t>(store.data()) % 64) % 64 / 8 + 1;
    std::vector<double> c(store.begin() + static_cast<long>(lead), store.begin() + static_cast<long>(lead) + ldc * n);
    double* cp = store.data() + lead;
    std::vector<double> want, scale;
    reference(m, e, n, alpha, b, m, beta, c, ldc, want, scale);
    for (long j = 0; j < n; ++j)
      for (long i = m; i < ldc; ++i) scale[static_cast<size_t>(i + j * ldc)] = 1e-300;
    const int lc = static_cast<int>(ldc);
    zvx_dcsrmm("N", &mm, &nn, &mm, &alpha, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(),
               b.data(), &lb, &beta, cp, &lc);
    std::vector<double> got(cp, cp + ldc * n);
    expect_close(got, want, &scale, product_tol, "ldc " + std::to_string(ldc));
    EXPECT_EQ(store[lead - 1], 2.0);
    EXPECT_EQ(store[lead + static_cast<size_t>(ldc * n)], 2.0);
  }
}

void check_coo(std::vector<triplet> e, long m, char trans, double beta, const std::string& what) {
  std::vector<int> rows, cols;
  std::vector<double> vals;
  for (const auto& t : e) {
    rows.push_back(t.r + 1);
    cols.push_back(t.c + 1);
    vals.push_back(t.v);
  }
  const int nnz = static_cast<int>(e.size());
  if (trans != 'N')
    for (auto& t : e) std::swap(t.r, t.c);
  const auto x = random_vector(m, 41);
  auto y = random_vector(m, 42);
  if (beta == 0.0) y[0] = y[m - 1] = NAN;
  const double alpha = 0.75;
  std::vector<double> want, scale;
  reference(m, e, 1, alpha, x, m, beta, y, m, want, scale);
  const int mm = static_cast<int>(m);
  zvx_dcoomv(&trans, &mm, &mm, &alpha, "Gxxxxx", vals.data(), rows.data(), cols.data(), &nnz, x.data(), &beta, y.data());
  expect_close(y, want, &scale, product_tol, what);
}

TEST(CooShortRows, StencilBandsInOrderShuffledAndWithRowsThatGoOn) {
  const long m = 8 * 9 + 5;
  for (int width = 1; width <= 10; ++width) {
    const std::string w = "width " + std::to_string(width);
    auto e = stencil(m, m, width, 50 + width);
    // rows 0 and m - 1 missing: the written output clears them
    e.erase(std::remove_if(e.begin(), e.end(), [&](const triplet& t) { return t.r == 0 || t.r == m - 1; }), e.end());
    for (double beta : {0.0, 0.5})
      for (char trans : {'N', 'T'}) check_coo(e, m, trans, beta, w + " in order, " + trans + " beta " + std::to_string(beta));
    // row 8 goes on right after the block of rows 1 .. 8, row 20 comes back at the end
    auto on = e;
    const auto after8 = std::find_if(on.begin(), on.end(), [](const triplet& t) { return t.r == 9; });
    on.insert(after8, triplet{8, static_cast<int>(m - 2), 0.5});
    on.push_back({20, 3, -0.25});
    on.push_back({20, 3, 0.125});  // a duplicate adds up
    for (double beta : {0.0, 0.5}) check_coo(on, m, 'N', beta, w + " rows that go on, beta " + std::to_string(beta));
    std::mt19937 gen(60 + width);
    std::shuffle(on.begin(), on.end(), gen);
    check_coo(on, m, 'N', 0.0, w + " shuffled");
    // the whole list twice: the second pass meets bands of rows that are written already
    auto twice = e;
    twice.insert(twice.end(), e.begin(), e.end());
    for (double beta : {0.0, 0.5}) check_coo(twice, m, 'N', beta, w + " listed twice, beta " + std::to_string(beta));
  }
}

// Rows that grow from a few entries to many, split among threads by entries: the same bits as
// one thread for every product that goes through the split.
TEST(CsrThreads, RowsSplitByEntriesMatchOneThread) {
  if (in_serial() == 1) GTEST_SKIP() << "the thread policy of this process is serial";
  const long m = 3 * tune::gemv_parallel_rows + 5;
  auto e = stencil(m, m, 5, 70);
  std::mt19937 gen(71);
  std::uniform_int_distribution<int> col(0, static_cast<int>(m - 1));
  for (long i = m / 2; i < m; ++i)  // the second half grows up to 30 more entries a row
    for (long q = 0; q < 30 * (i - m / 2) / (m - m / 2); ++q) e.push_back({static_cast<int>(i), col(gen), 0.5});
  const csr_arrays a = to_csr(m, m, e, 1, 1);
  const int mm = static_cast<int>(m), n = 8;
  const auto b = random_vector(m * n, 72);
  const double alpha = 1.25, beta = 0.0, beta2 = -0.5;
  auto run = [&] {
    std::vector<std::vector<double>> r;
    std::vector<double> y(static_cast<size_t>(m), 1.0), c(static_cast<size_t>(m * n), 1.0);
    zvx_dcsrgemv("N", &mm, a.val.data(), a.ia.data(), a.indx.data(), b.data(), y.data());
    r.push_back(y);
    for (double bt : {beta, beta2}) {
      zvx_dcsrmv("N", &mm, &mm, &alpha, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &bt, y.data());
      r.push_back(y);
      zvx_dcsrmm("N", &mm, &n, &mm, &alpha, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), b.data(), &mm, &bt, c.data(), &mm);
      r.push_back(c);
    }
    return r;
  };
  const int threads = omp_get_max_threads();
  const auto many = run();
  omp_set_num_threads(1);
  const auto one = run();
  omp_set_num_threads(threads);
  ASSERT_EQ(many.size(), one.size());
  for (size_t i = 0; i < many.size(); ++i) expect_close(many[i], one[i], nullptr, 0.0, "result " + std::to_string(i));
  // and the first against the long double reference
  std::vector<double> y(static_cast<size_t>(m)), want, scale;
  reference(m, e, 1, 1.0, b, m, 0.0, y, m, want, scale);
  expect_close(many[0], want, &scale, product_tol, "csrgemv of growing rows");
}

// The split itself: contiguous shares that cover every row once, each near its part of the
// entries, for rows of growing length.
TEST(CsrThreads, ShareByEntriesCoversTheRowsInBalancedParts) {
  const long m = 1000;
  std::vector<int> start(static_cast<size_t>(m + 1), 1);
  for (long i = 0; i < m; ++i) start[static_cast<size_t>(i + 1)] = start[static_cast<size_t>(i)] + static_cast<int>(i / 10);
  const long total = start[static_cast<size_t>(m)] - start[0];
  for (int t : {1, 2, 3, 7}) {
    long expect_begin = 0;
    for (int q = 0; q < t; ++q) {
      long b, e;
      tune::share_by_entries(start.data(), start.data() + 1, m, t, q, b, e);
      EXPECT_EQ(b, expect_begin) << t << " " << q;
      EXPECT_LE(b, e);
      const long entries = start[static_cast<size_t>(e)] - start[static_cast<size_t>(b)];
      // one row holds at most 100 entries, so a share misses its part by less than that
      EXPECT_LE(std::labs(entries - total / t), 100) << t << " " << q;
      expect_begin = e;
    }
    EXPECT_EQ(expect_begin, m) << t;
  }
}

}  // namespace
