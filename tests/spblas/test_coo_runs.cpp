// The COO product of one vector as it meets its triplets: sorted stencil rows (bands of every
// width, lists that end around a block of eight rows and around the distance the streams are
// requested ahead), runs that break deep inside a long list, rows out of order and repeated, and
// the output cleared, kept or scaled as the product writes it. References are long double sums
// over the triplets; a list sorted by row must besides give exactly what the CSR product gives.
#include "spblas/reference.h"
#include "spblas/spblas.h"

using namespace sptest;

namespace {

namespace tune = zvx::spblas;

struct coo_list {
  std::vector<int> row, col;  // one-based
  std::vector<double> val;
  int nnz = 0;
};

coo_list to_list(const std::vector<triplet>& e) {
  coo_list a;
  for (const auto& t : e) {
    a.row.push_back(t.r + 1);
    a.col.push_back(t.c + 1);
    a.val.push_back(t.v);
  }
  a.nnz = static_cast<int>(e.size());
  if (e.empty()) {  // valid pointers
    a.row.push_back(1);
    a.col.push_back(1);
    a.val.push_back(0.0);
  }
  return a;
}

// y := alpha * op(A) x + beta * y through zvx_dcoomv, checked against the long double sums; y
// starts random with a NaN in its first and last rows when beta is 0 (they must not survive).
std::vector<double> coomv_checked(const std::vector<triplet>& e, long m, char trans, double alpha, double beta,
                                  const std::string& what) {
  const coo_list a = to_list(e);
  std::vector<triplet> op = e;
  if (trans != 'N')
    for (auto& t : op) std::swap(t.r, t.c);
  const auto x = random_vector(m, 81);
  auto y = random_vector(m, 82);
  if (beta == 0.0) y[0] = y[static_cast<size_t>(m - 1)] = NAN;
  std::vector<double> want, scale;
  reference(m, op, 1, alpha, x, m, beta, y, m, want, scale);
  const int mm = static_cast<int>(m);
  zvx_dcoomv(&trans, &mm, &mm, &alpha, "Gxxxxx", a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), &beta,
             y.data());
  expect_close(y, want, &scale, product_tol, what);
  return y;
}

// The same product through zvx_dcsrmv on the CSR form of the triplets.
std::vector<double> csrmv(const std::vector<triplet>& e, long m, double alpha, double beta) {
  const csr_arrays a = to_csr(m, m, e, 1, 1);
  const auto x = random_vector(m, 81);
  auto y = random_vector(m, 82);
  if (beta == 0.0) y[0] = y[static_cast<size_t>(m - 1)] = NAN;
  const int mm = static_cast<int>(m);
  zvx_dcsrmv("N", &mm, &mm, &alpha, "Gxxxxx", a.val.data(), a.indx.data(), a.pntrb.data(), a.pntre.data(), x.data(),
             &beta, y.data());
  return y;
}

// Rows (of a sorted stencil of `width`) such that the list ends a block of eight rows before, at
// and after the triplet from which the streams are no longer requested ahead, and past a few such
// distances; and short lists around one block.
std::vector<long> row_counts(int width) {
  const long ahead_rows = tune::coo_stream_ahead / width;
  return {1, 7, 8, 9, 16, 17, ahead_rows - 8, ahead_rows + 8, ahead_rows + 16 + 5, 3 * ahead_rows + 11};
}

TEST(CooRuns, SortedStencilsOfEveryWidthGiveTheCsrProduct) {
  for (int width = 1; width <= 10; ++width)
    for (long m : row_counts(width)) {
      if (m < 1) continue;
      const auto e = stencil(m, m, width, 90 + width);  // sorted by row, columns rising
      for (double beta : {0.0, 1.0, 0.5, -2.0}) {
        const std::string what = "width " + std::to_string(width) + " rows " + std::to_string(m) + " beta " +
                                 std::to_string(beta);
        const auto got = coomv_checked(e, m, 'N', 1.25, beta, what);
        const auto csr = csrmv(e, m, 1.25, beta);
        size_t differ = 0;
        for (size_t i = 0; i < got.size(); ++i) differ += got[i] != csr[i];
        EXPECT_EQ(differ, 0u) << what << ": elements that differ from the CSR product";
      }
    }
}

// A long sorted 5-point-like stencil with one fault placed past several prefetch distances, at a
// row that is not the start of a block of eight, so that a run of bands breaks mid-vector.
TEST(CooRuns, RunsThatBreakDeepInsideALongList) {
  const int width = 5;
  const long m = 4 * tune::coo_stream_ahead / width + 13;
  const int at = static_cast<int>(3 * tune::coo_stream_ahead / width + 3);
  const auto base = stencil(m, m, width, 95);
  auto edit = [&](auto&& keep) {
    std::vector<triplet> out;
    for (const auto& t : base) keep(t, out);
    return out;
  };
  struct fault {
    const char* name;
    std::vector<triplet> e;
  };
  std::vector<fault> faults;
  faults.push_back({"empty row", edit([&](const triplet& t, auto& out) { if (t.r != at) out.push_back(t); })});
  faults.push_back({"short row", edit([&](const triplet& t, auto& out) { if (t.r != at || t.c != at) out.push_back(t); })});
  faults.push_back({"moved column", edit([&](const triplet& t, auto& out) {
                      triplet u = t;
                      if (t.r == at && t.c == at + 1) u.c = at + 3;
                      out.push_back(u);
                    })});
  faults.push_back({"rows skipped", edit([&](const triplet& t, auto& out) { if (t.r < at || t.r > at + 12) out.push_back(t); })});
  {  // rows at and at + 1 exchanged in the list
    std::vector<triplet> e;
    for (long r = 0; r < m; ++r) {
      const long from = r == at ? at + 1 : r == at + 1 ? at : r;
      for (const auto& t : base)
        if (t.r == from) e.push_back(t);
    }
    faults.push_back({"rows out of order", e});
  }
  {  // a row that goes on right after a block: one more entry at the head of the next row's run
    std::vector<triplet> e = base;
    const auto pos = std::find_if(e.begin(), e.end(), [&](const triplet& t) { return t.r == at + 1; });
    e.insert(pos, triplet{at, static_cast<int>(m - 1), 0.375});
    faults.push_back({"row goes on", e});
  }
  // rows up to at + k, then from at - 16 on (a band across the rows written so far, for one k at
  // least), then thirty rows again at the end (bands of rows all written before)
  for (int k = 0; k < 8; ++k) {
    std::vector<triplet> e;
    for (const auto& t : base)
      if (t.r < at + k) e.push_back(t);
    for (const auto& t : base)
      if (t.r >= at - 16) e.push_back(t);
    for (const auto& t : base)
      if (t.r >= at && t.r < at + 30) e.push_back(t);
    faults.push_back({"rows again", e});
  }
  // rows at and at + 1 relabeled: the columns still form bands, the rows no longer
  faults.push_back({"rows relabeled", edit([&](const triplet& t, auto& out) {
                      triplet u = t;
                      if (t.r == at) u.r = at + 1;
                      if (t.r == at + 1) u.r = at;
                      out.push_back(u);
                    })});
  for (const auto& f : faults)
    for (double beta : {0.0, 0.5}) {
      const std::string what = std::string(f.name) + " beta " + std::to_string(beta);
      coomv_checked(f.e, m, 'N', -0.75, beta, what);
    }
}

// An overwritten y large enough to be stored past the caches, at three alignments to a cache line:
// the rows before the first line boundary go singly, then the bands are streamed. Sorted stencils
// give the CSR product's bits; an empty row and rows out of order halfway, and a list ending a few
// rows short of y (the rest of y written as zeros), are checked against the long double sums.
TEST(CooRuns, LargeClearedOutputAtSeveralAlignments) {
  const long m = tune::stream_store_min_bytes / static_cast<long>(sizeof(double)) + 21;
  const int mm = static_cast<int>(m);
  const auto x = random_vector(m, 111);
  const auto sorted = stencil(m, m, 5, 112);
  const csr_arrays c = to_csr(m, m, sorted, 1, 1);
  std::vector<double> from_csr(static_cast<size_t>(m));
  const double alpha = 0.625, zero = 0.0;
  zvx_dcsrmv("N", &mm, &mm, &alpha, "Gxxxxx", c.val.data(), c.indx.data(), c.pntrb.data(), c.pntre.data(), x.data(),
             &zero, from_csr.data());
  std::vector<triplet> broken;
  const int mid = static_cast<int>(m / 2 + 3);
  for (const auto& t : sorted)
    if (t.r != mid && t.r != mid + 1 && t.r < m - 5) broken.push_back(t);
  for (const auto& t : sorted)
    if (t.r == mid + 1) broken.push_back(t);  // after the rest of its half: rows out of order
  std::vector<double> want, scale;
  const std::vector<double> no_y(static_cast<size_t>(m), 0.0);
  reference(m, broken, 1, alpha, x, m, 0.0, no_y, m, want, scale);
  const coo_list a = to_list(sorted), b = to_list(broken);
  std::vector<double> store(static_cast<size_t>(m) + 16);
  for (int shift : {0, 1, 7}) {
    // y starts `shift` doubles past a cache line (no, one or seven rows go singly first)
    const auto line = (reinterpret_cast<uintptr_t>(store.data()) + 63) / 64 * 64;
    double* y = store.data() + (line - reinterpret_cast<uintptr_t>(store.data())) / sizeof(double) + shift;
    std::fill(store.begin(), store.end(), NAN);
    zvx_dcoomv("N", &mm, &mm, &alpha, "Gxxxxx", a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), &zero, y);
    long differ = 0;
    for (long i = 0; i < m; ++i) differ += !(y[i] == from_csr[static_cast<size_t>(i)]);
    EXPECT_EQ(differ, 0) << "shift " << shift << ": elements that differ from the CSR product";
    std::fill(store.begin(), store.end(), NAN);
    zvx_dcoomv("N", &mm, &mm, &alpha, "Gxxxxx", b.val.data(), b.row.data(), b.col.data(), &b.nnz, x.data(), &zero, y);
    expect_close(std::vector<double>(y, y + m), want, &scale, product_tol, "broken list, shift " + std::to_string(shift));
  }
}

// Triplets in no order, with repeats, rows that hold none, and the transposed product: every output
// (cleared, kept, scaled) reaches the rows no triplet names.
TEST(CooRuns, ShuffledRepeatedAndMissingRowsForEveryBeta) {
  const long m = 3 * tune::coo_stream_ahead / 4 + 29;
  auto e = random_triplets(m, m, 3, false, 97);
  e.erase(std::remove_if(e.begin(), e.end(), [](const triplet& t) { return t.r % 7 == 3 || t.c % 11 == 5; }), e.end());
  const size_t n = e.size();
  for (size_t i = 0; i < n; i += 5) e.push_back({e[i].r, e[i].c, 0.5});  // repeats add up
  std::mt19937 gen(98);
  std::shuffle(e.begin(), e.end(), gen);
  for (char trans : {'N', 'T'})
    for (double beta : {0.0, 1.0, 0.5}) {
      const std::string what = std::string("shuffled ") + trans + " beta " + std::to_string(beta);
      coomv_checked(e, m, trans, 2.0, beta, what);
    }
  // all the triplets on one row, and none at all
  std::vector<triplet> one_row;
  for (long c = 0; c < m; c += 3) one_row.push_back({static_cast<int>(m / 2), static_cast<int>(c), 0.25});
  for (double beta : {0.0, 0.5}) {
    coomv_checked(one_row, m, 'N', 1.0, beta, "one row, beta " + std::to_string(beta));
    coomv_checked({}, m, 'N', 1.0, beta, "no triplets, beta " + std::to_string(beta));
  }
}

// The short form writes every row of y, the rows no triplet names included, from a y full of NaN.
TEST(CooRuns, ShortFormWritesEveryRow) {
  const long m = tune::coo_stream_ahead / 5 + 37;
  auto e = stencil(m, m, 5, 99);
  e.erase(std::remove_if(e.begin(), e.end(), [](const triplet& t) { return t.r % 13 == 0; }), e.end());
  for (bool shuffled : {false, true}) {
    if (shuffled) {
      std::mt19937 gen(100);
      std::shuffle(e.begin(), e.end(), gen);
    }
    const coo_list a = to_list(e);
    const auto x = random_vector(m, 101);
    const int mm = static_cast<int>(m);
    for (char trans : {'N', 'T'}) {
      std::vector<triplet> op = e;
      if (trans != 'N')
        for (auto& t : op) std::swap(t.r, t.c);
      std::vector<double> y(static_cast<size_t>(m), NAN), want, scale;
      reference(m, op, 1, 1.0, x, m, 0.0, y, m, want, scale);
      zvx_dcoogemv(&trans, &mm, a.val.data(), a.row.data(), a.col.data(), &a.nnz, x.data(), y.data());
      expect_close(y, want, &scale, product_tol, std::string("coogemv ") + trans + (shuffled ? " shuffled" : ""));
    }
  }
  const coo_list none = to_list({});
  std::vector<double> y(static_cast<size_t>(m), NAN);
  const auto x = random_vector(m, 102);
  const int mm = static_cast<int>(m);
  zvx_dcoogemv("N", &mm, none.val.data(), none.row.data(), none.col.data(), &none.nnz, x.data(), y.data());
  for (double v : y) ASSERT_EQ(v, 0.0);
}

}  // namespace
