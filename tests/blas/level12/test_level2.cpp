// Level-2 routines in all four types against long double products with a dense copy of the
// operator: every uplo/trans/diag letter (unknown ones included), sizes around the strip and
// block boundaries, band widths from 0 to beyond n, negative increments. Entries a routine must
// not read hold NaN in the storage, so a stray read shows in the result.
#include <cstring>

#include "common/capture.h"
#include "blas/level12/tuning.h"
#include "reference.h"

using namespace ref;

namespace {

template <class T> struct l2;
#define L2_API(p, T)                                              \
  template <> struct l2<T> {                                      \
    static constexpr auto gemv = p##gemv;                         \
    static constexpr auto gbmv = p##gbmv;                         \
    static constexpr auto trmv = p##trmv;                         \
    static constexpr auto trsv = p##trsv;                         \
    static constexpr auto tbmv = p##tbmv;                         \
    static constexpr auto tbsv = p##tbsv;                         \
    static constexpr auto tpmv = p##tpmv;                         \
    static constexpr auto tpsv = p##tpsv;
L2_API(s, float) static constexpr auto symv = ssymv; static constexpr auto spmv = sspmv; static constexpr auto sbmv = ssbmv; };
L2_API(d, double) static constexpr auto symv = dsymv; static constexpr auto spmv = dspmv; static constexpr auto sbmv = dsbmv; };
L2_API(c, zvx_complex8) static constexpr auto symv = chemv; static constexpr auto spmv = chpmv; static constexpr auto sbmv = chbmv; };
L2_API(z, zvx_complex16) static constexpr auto symv = zhemv; static constexpr auto spmv = zhpmv; static constexpr auto sbmv = zhbmv; };

template <class T> T nan_value() {
  const R_t<T> q = std::numeric_limits<R_t<T>>::quiet_NaN();
  return make<T>(lc(q, q));
}

// Dense column-major m x n matrix of long double complex values.
struct dense {
  int m, n;
  std::vector<lc> v;
  dense(int m_, int n_) : m(m_), n(n_), v((size_t)std::max(m_, 0) * std::max(n_, 0)) {}
  lc& operator()(int i, int j) { return v[i + (size_t)j * m]; }
};

// What a letter means: 'n' as stored, 't' transposed, 'c' conjugate-transposed.
char meaning_gemv(char t, bool cx) {
  if (t == 'N' || t == 'n') return 'n';
  if (!cx) return 't';
  return (t == 'T' || t == 't') ? 't' : 'c';
}
char meaning_tri(char t, bool cx) {
  if (t == 'N' || t == 'n') return 'n';
  if (cx && (t == 'C' || t == 'c')) return 'c';
  return 't';
}

// y := alpha op(M) x + beta y in long double, checked against `got`; beta 0 ignores y.
template <class T>
void check_product(dense& M, char op, lc alpha, const std::vector<T>& x, int incx, const std::vector<T>& y0, lc beta,
                   const std::vector<T>& got, int incy, const char* what) {
  const int rows = op == 'n' ? M.m : M.n, cols = op == 'n' ? M.n : M.m;
  for (int i = 0; i < rows; ++i) {
    lc s = 0;
    long double mag = 0;
    for (int j = 0; j < cols; ++j) {
      lc a = op == 'n' ? M(i, j) : M(j, i);
      if (op == 'c') a = std::conj(a);
      const lc p = a * L(x[at(j, cols, incx)]);
      s += p;
      mag += std::abs(p);
    }
    const lc yi = L(y0[at(i, rows, incy)]);
    const lc want = alpha * s + (beta == lc(0) ? lc(0) : beta * yi);
    ASSERT_TRUE(close<T>(L(got[at(i, rows, incy)]), want, std::abs(alpha) * mag + std::abs(beta * yi), 16 + 2 * cols))
        << what << " row " << i;
  }
}

const char gemv_letters[] = {'N', 'n', 'T', 't', 'C', 'c', 'X'};

// y := alpha op(A) x + beta y on an m x n matrix with one spare row, unit increments, checked
// against the long double product; the operands and the result stay for further checks.
template <class T> struct gemv_dense_case {
  int m, n, lda;
  std::vector<T> a, x, y, y1;
  T alpha, beta;
};
template <class T> gemv_dense_case<T> check_gemv_dense(char trans, int m, int n, const char* what) {
  const int one = 1, lda = m + 1;
  const bool t = trans != 'N';
  gemv_dense_case<T> g{m, n, lda, random_vector<T>((size_t)lda * n), random_vector<T>(t ? m : n),
                       random_vector<T>(t ? n : m), {}, random_value<T>(), random_value<T>()};
  dense M(m, n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) M(i, j) = L(g.a[i + (size_t)j * lda]);
  g.y1 = g.y;
  const char op[2] = {trans, 0};
  l2<T>::gemv(op, &m, &n, &g.alpha, g.a.data(), &lda, g.x.data(), &one, &g.beta, g.y1.data(), &one);
  check_product(M, trans == 'C' ? 'c' : t ? 't' : 'n', L(g.alpha), g.x, 1, g.y, L(g.beta), g.y1, 1, what);
  return g;
}
template <class T> void check_gemv_n_dense(int m, int n, const char* what) { check_gemv_dense<T>('N', m, n, what); }

template <class T> void check_gemv() {
  SCOPED_TRACE(info<T>::name);
  constexpr int strip = zvx::blas12::strip_rows;
  // Complex, not transposed: around the rows of one block of the widest vectors, and two blocks
  // and a few rows, with a partial chunk of columns.
  if constexpr (info<T>::cx) {
    using R = R_t<T>;
    constexpr int block = zvx::blas12::cgemv_n_register_vectors<R>(64) * (64 / (int)sizeof(R)) / 2;
    constexpr int chunk = (int)zvx::blas12::cgemv_n_column_chunk<R>;
    for (int m : {block - 1, block, block + 1, 2 * block + 3}) {
      SCOPED_TRACE(::testing::Message() << "block rows, m " << m);
      check_gemv_n_dense<T>(m, chunk + 3, "gemv blocks");
    }
  }
  for (int m : {0, 1, 5, strip - 1, strip, strip + 1, 2 * strip + 2, 4 * strip - 5})
    // Column counts whose remainders after the groups of vector width take every smaller group.
    for (int n : {0, 1, 2, 7, 13, 30, 64, 65})
      for (char t : gemv_letters)
        for (auto [incx, incy] : {std::pair{1, 1}, {-1, 1}, {2, -3}, {1, 2}}) {
          SCOPED_TRACE(::testing::Message() << "m " << m << " n " << n << " trans " << t << " incx " << incx << " incy " << incy);
          const char op = meaning_gemv(t, info<T>::cx);
          const int lda = std::max(m, 1) + 3;
          auto a = random_vector<T>((size_t)lda * std::max(n, 1));
          dense M(m, n);
          for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) M(i, j) = L(a[i + (size_t)j * lda]);
          const int lenx = op == 'n' ? n : m, leny = op == 'n' ? m : n;
          auto x = random_vector<T>(storage(lenx, incx));
          auto y = random_vector<T>(storage(leny, incy));
          const T alpha = random_value<T>(), beta = random_value<T>();
          auto y1 = y;
          l2<T>::gemv(&t, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y1.data(), &incy);
          if (m == 0 || n == 0) {  // returns before scaling y
            for (size_t i = 0; i < y.size(); ++i) ASSERT_TRUE(same_bits(y[i], y1[i]));
            continue;
          }
          check_product(M, op, L(alpha), x, incx, y, L(beta), y1, incy, "gemv");
        }
}

TEST(Gemv, AllTypesLettersSizesIncrements) {
  check_gemv<float>();
  check_gemv<double>();
  check_gemv<zvx_complex8>();
  check_gemv<zvx_complex16>();
}

TEST(Gemv, KernelTableSizesAndSpecialValues) {
  // Sizes on both sides of the small/large staircase, unit increments; the last one has columns
  // taller than those for which some instruction sets run the transposed kernel on narrower
  // vectors, and leaves three leftover column groups.
  for (auto [m, n] : {std::pair{250, 60}, {249, 60}, {250, 150}, {800, 75}, {801, 75}, {300, 130}, {301, 263}}) {
    for (char t : {'N', 'T'}) {
      const char op = t == 'N' ? 'n' : 't';
      const int one = 1;
      auto a = random_vector<double>((size_t)m * n);
      dense M(m, n);
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) M(i, j) = a[i + (size_t)j * m];
      auto x = random_vector<double>(op == 'n' ? n : m), y = random_vector<double>(op == 'n' ? m : n);
      const double alpha = 0.75, beta = -1.25;
      auto y1 = y;
      dgemv(&t, &m, &n, &alpha, a.data(), &m, x.data(), &one, &beta, y1.data(), &one);
      check_product(M, op, alpha, x, 1, y, beta, y1, 1, "dgemv table");
    }
  }
  const double nan = std::numeric_limits<double>::quiet_NaN();
  int m = 70, n = 3, one = 1;
  std::vector<double> a(m * n, 1.0), x(n, 1.0), y(m, nan);
  const double alpha = 1, zero = 0, two = 2;
  dgemv("N", &m, &n, &alpha, a.data(), &m, x.data(), &one, &zero, y.data(), &one);
  for (double v : y) EXPECT_EQ(v, 3);  // beta 0 wipes NaN
  std::vector<double> an(m * n, nan), xn(n, nan);
  dgemv("N", &m, &n, &zero, an.data(), &m, xn.data(), &one, &two, y.data(), &one);
  for (double v : y) EXPECT_EQ(v, 6);  // alpha 0 reads neither A nor x
  zvx_complex16 za = {0, 0}, zb = {0, 0}, zn = {nan, nan};
  std::vector<zvx_complex16> zy(m, zn), zA(m * n, zn), zx(n, zn);
  zgemv("C", &m, &n, &za, zA.data(), &m, zx.data(), &one, &zb, zy.data(), &one);
  for (int i = 0; i < n; ++i) EXPECT_TRUE(zy[i].real == 0 && zy[i].imag == 0);  // y has n elements
  EXPECT_TRUE(std::isnan(zy[n].real));
}

// Not transposed with unit increments: columns up to and beyond the prefetch distance walk in
// blocks of different heights; 19 columns leave a short chunk after the first.
template <class T> void check_gemv_long_columns() {
  SCOPED_TRACE(info<T>::name);
  for (int m : {1000, 1100, 2090}) {
    SCOPED_TRACE(m);
    check_gemv_n_dense<T>(m, 19, "gemv long columns");
  }
  // Past column_stream_bytes, where the blocks request their columns' lines ahead.
  const int n = (int)(zvx::blas12::column_stream_bytes / ((long)sizeof(T) * 2090)) + 3;
  check_gemv_n_dense<T>(2090, n, "gemv long columns beyond the second level");
}

TEST(Gemv, LongColumnsNotTransposed) {
  check_gemv_long_columns<float>();
  check_gemv_long_columns<double>();
}

// Transposed on matrices just past the bound from which the columns' lines are requested ahead
// (gemv_t_stream_bytes for the real types, column_stream_bytes for the complex ones): rows that
// end in a short strip, columns that leave a partial group, and the same matrix under the bound,
// which must give the same bits (the requests change no arithmetic).
template <class T> void check_gemv_t_streaming(char trans) {
  SCOPED_TRACE(::testing::Message() << info<T>::name << " " << trans);
  long bound;
  if constexpr (info<T>::cx) bound = zvx::blas12::column_stream_bytes;
  else bound = zvx::blas12::gemv_t_stream_bytes<T>;
  const int n = (int)std::sqrt((double)bound / sizeof(T)) + 7;
  const int m = n + 13, one = 1;
  ASSERT_GT((double)m * n * sizeof(T), (double)bound);
  const auto g = check_gemv_dense<T>(trans, m, n, "gemv T streaming");
  // The first 32 columns alone are well under the bound; their results must match bit for bit.
  const int few = 32;
  const char op[2] = {trans, 0};
  auto y2 = g.y;
  l2<T>::gemv(op, &m, &few, &g.alpha, g.a.data(), &g.lda, g.x.data(), &one, &g.beta, y2.data(), &one);
  for (int j = 0; j < few; ++j) ASSERT_TRUE(same_bits(g.y1[j], y2[j])) << "column " << j;
}

TEST(Gemv, TransposedBeyondTheSecondLevel) {
  check_gemv_t_streaming<float>('T');
  check_gemv_t_streaming<double>('T');
  for (char trans : {'T', 'C'}) {
    check_gemv_t_streaming<zvx_complex8>(trans);
    check_gemv_t_streaming<zvx_complex16>(trans);
  }
}

// Complex not transposed on matrices past cgemv_n_stream_bytes (their strips alone past it too),
// whose blocks request every line ahead: two chunks of columns and a short one, and rows that
// leave a partial block, vectors and scalar rows after the strips.
template <class T> void check_cgemv_n_from_memory() {
  SCOPED_TRACE(info<T>::name);
  const long bytes = zvx::blas12::cgemv_n_stream_bytes;
  const int n = 2 * (int)zvx::blas12::cgemv_n_column_chunk<R_t<T>> + 7;
  const int m = (int)(bytes / ((long)sizeof(T) * n)) + (int)zvx::blas12::strip_rows + 37;
  ASSERT_GT((double)(m / zvx::blas12::strip_rows * zvx::blas12::strip_rows) * n * sizeof(T), (double)bytes);
  check_gemv_n_dense<T>(m, n, "complex gemv from memory");
}

TEST(Gemv, ComplexNotTransposedFromMemory) {
  check_cgemv_n_from_memory<zvx_complex8>();
  check_cgemv_n_from_memory<zvx_complex16>();
}

// Single precision not transposed walks groups of four columns: leading dimensions of 4 KiB
// multiples (every column in one cache set), column counts that leave one to three columns after
// the groups and a short block for the rest rows, a matrix just past the size from which the walk
// requests its lines ahead, and one past the size it takes as streaming from memory.
TEST(Gemv, SinglePrecisionColumnGroups) {
  struct shape { int m, n, lda; };
  const int ahead_n = (int)(zvx::blas12::sgemv_n_prefetch_from_bytes / (4 * 1000)) + 3;
  const int memory_n = (int)(zvx::blas12::sgemv_n_memory_bytes / (4 * 200)) + 7;
  for (auto [m, n, lda] : {shape{1000, 19, 1024}, shape{1024, 35, 1024}, shape{64, 17, 2048}, shape{130, 18, 4096},
                           shape{63, 33, 1024}, shape{1000, ahead_n, 1000}, shape{200, memory_n, 200}}) {
    SCOPED_TRACE(testing::Message() << m << " x " << n << " lda " << lda);
    const int one = 1;
    auto a = random_vector<float>((size_t)lda * n);
    auto x = random_vector<float>(n), y = random_vector<float>(m);
    const float alpha = random_value<float>(), beta = random_value<float>();
    auto y1 = y;
    sgemv("N", &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y1.data(), &one);
    for (int i = 0; i < m; ++i) {
      long double want = 0, size = 0;
      for (int j = 0; j < n; ++j) {
        const long double p = (long double)a[i + (size_t)j * lda] * x[j];
        want += p;
        size += fabsl(p);
      }
      want = (long double)alpha * want + (long double)beta * y[i];
      size = fabsl((long double)alpha) * size + fabsl((long double)beta * y[i]);
      // Each of the n + 2 roundings of single precision is at most half an ulp of the running size.
      ASSERT_LE(fabsl(y1[i] - want), (n + 2) * 6e-8L * size) << "row " << i;
    }
  }
}

template <class T> void check_ger() {
  SCOPED_TRACE(info<T>::name);
  using F = void (*)(const int*, const int*, const T*, const T*, const int*, const T*, const int*, T*, const int*);
  std::vector<std::pair<F, bool>> forms;
  if constexpr (std::is_same_v<T, float>) forms = {{sger, false}};
  if constexpr (std::is_same_v<T, double>) forms = {{dger, false}};
  if constexpr (std::is_same_v<T, zvx_complex8>) forms = {{cgeru, false}, {cgerc, true}};
  if constexpr (std::is_same_v<T, zvx_complex16>) forms = {{zgeru, false}, {zgerc, true}};
  for (auto [ger, conjugate] : forms)
    for (int m : {0, 1, 7, 64, 99})
      for (int n : {0, 1, 5, 33})
        for (auto [incx, incy] : {std::pair{1, 1}, {-2, 1}, {1, -1}, {3, 2}}) {
          const int lda = std::max(m, 1) + 1;
          auto a = random_vector<T>((size_t)lda * std::max(n, 1));
          auto x = random_vector<T>(storage(m, incx)), y = random_vector<T>(storage(n, incy));
          const T alpha = random_value<T>();
          auto a1 = a;
          ger(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, a1.data(), &lda);
          for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) {
              lc yj = L(y[at(j, n, incy)]);
              if (conjugate) yj = std::conj(yj);
              const lc want = L(a[i + (size_t)j * lda]) + L(alpha) * L(x[at(i, m, incx)]) * yj;
              ASSERT_TRUE(close<T>(L(a1[i + (size_t)j * lda]), want, 4, 8)) << m << " " << n << " " << i << " " << j;
            }
        }
}

TEST(Ger, AllForms) {
  check_ger<float>();
  check_ger<double>();
  check_ger<zvx_complex8>();
  check_ger<zvx_complex16>();
  // A zero in y leaves its column alone even where x holds infinity.
  int m = 3, n = 2, one = 1;
  double x[3] = {INFINITY, 1, 2}, y[2] = {0, 1}, a[6] = {1, 2, 3, 4, 5, 6}, alpha = 2;
  dger(&m, &n, &alpha, x, &one, y, &one, a, &m);
  EXPECT_EQ(a[0], 1);
  EXPECT_EQ(a[2], 3);
  EXPECT_EQ(a[4], 7);
}

// The triangular operator a storage form holds, with its letters interpreted: unknown uplo is
// lower, unknown diag unit.
struct tri_case {
  char uplo, trans, diag;
};
const tri_case tri_cases[] = {{'U', 'N', 'N'}, {'u', 'n', 'n'}, {'L', 'N', 'N'}, {'U', 'T', 'U'}, {'L', 'T', 'N'},
                              {'U', 'C', 'N'}, {'l', 'c', 'u'}, {'X', 'N', 'N'}, {'U', 'X', 'X'}, {'Q', 't', 'N'}};

enum class storage_kind { full, band, packed };

// Fills storage of the kind from random values; the dense operator in M (triangle only, diagonal
// 1 when unit); unreferenced storage holds NaN. Off-diagonal values are kept small so the solves
// are well conditioned. Every stored value is then multiplied by `scale`.
template <class T>
std::vector<T> make_triangle(storage_kind kind, bool upper, bool unit, int n, int k, int lda, dense& M,
                             long double scale = 1) {
  std::vector<T> s;
  if (kind == storage_kind::full) s.assign((size_t)lda * std::max(n, 1), nan_value<T>());
  else if (kind == storage_kind::band) s.assign((size_t)lda * std::max(n, 1), nan_value<T>());
  else s.assign((size_t)n * (n + 1) / 2 + 1, nan_value<T>());
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      const bool in = upper ? (i <= j && (kind != storage_kind::band || j - i <= k))
                            : (i >= j && (kind != storage_kind::band || i - j <= k));
      if (!in) continue;
      T v = random_value<T>();
      if (i == j) v = make<T>(L(v) + lc(2, 0));
      else v = make<T>(L(v) * (long double)(1.0 / (n + 1)));
      v = make<T>(L(v) * scale);
      size_t p;
      if (kind == storage_kind::full) p = i + (size_t)j * lda;
      else if (kind == storage_kind::band) p = (upper ? (size_t)(k + i - j) : (size_t)(i - j)) + (size_t)j * lda;
      else p = upper ? i + (size_t)j * (j + 1) / 2 : (size_t)j * n - (size_t)j * (j - 1) / 2 + i - j;
      if (i == j && unit) {
        s[p] = nan_value<T>();  // a unit diagonal is not read
        M(i, j) = 1;
      } else {
        s[p] = v;
        M(i, j) = L(v);
      }
    }
  return s;
}

template <class T> void check_triangular(storage_kind kind, long double scale = 1) {
  SCOPED_TRACE(info<T>::name);
  // Around the row blocks of the unit-increment solve and multiply, and the triangles that end the
  // halving of complex blocks (a leaf, one row more, two leaves and one), and the transposed
  // multiply's smaller blocks (real and complex); the last order makes the transposed panels beside the blocks span
  // several strips and a short one.
  constexpr int sb = zvx::blas12::trsv_block, mb = zvx::blas12::trmv_block, leaf = (int)zvx::blas12::triangular_leaf;
  constexpr int tb = zvx::blas12::trmv_transposed_block, ctb = zvx::blas12::ctrmv_transposed_block;
  constexpr int strip = (int)zvx::blas12::strip_rows;
  const std::vector<int> sizes = kind == storage_kind::full ? std::vector<int>{0, 1, leaf, leaf + 1, 2 * leaf + 1, tb - 1, tb, tb + 1, 2 * tb + 3, ctb + 1, 2 * ctb + 3, sb - 1, sb, sb + 1, mb, mb + 1, 3 * sb + 1, 2 * mb + 2, 4 * strip + 3}
                                                             : std::vector<int>{0, 1, 4, 17, 40};
  for (int n : sizes)
    for (int k : kind == storage_kind::band ? std::vector<int>{0, 1, 3, n + 2} : std::vector<int>{0})
      for (const tri_case& c : tri_cases)
        for (int incx : {1, -1, 2, -3}) {
          SCOPED_TRACE(::testing::Message() << "n " << n << " k " << k << " " << c.uplo << c.trans << c.diag << " incx " << incx);
          const bool upper = c.uplo == 'U' || c.uplo == 'u';
          const bool unit = !(c.diag == 'N' || c.diag == 'n');
          // A unit diagonal under large off-diagonal elements makes the solution overflow.
          if (unit && scale > 1) continue;
          const char op = meaning_tri(c.trans, info<T>::cx);
          const int lda = kind == storage_kind::band ? k + 2 : std::max(n, 1) + 2;
          dense M(n, n);
          auto a = make_triangle<T>(kind, upper, unit, n, k, lda, M, scale);
          auto x = random_vector<T>(storage(n, incx));
          // Multiply: x1 = op(M) x.
          auto x1 = x;
          if (kind == storage_kind::full) l2<T>::trmv(&c.uplo, &c.trans, &c.diag, &n, a.data(), &lda, x1.data(), &incx);
          else if (kind == storage_kind::band) l2<T>::tbmv(&c.uplo, &c.trans, &c.diag, &n, &k, a.data(), &lda, x1.data(), &incx);
          else l2<T>::tpmv(&c.uplo, &c.trans, &c.diag, &n, a.data(), x1.data(), &incx);
          check_product(M, op, 1, x, incx, x, 0, x1, incx, "multiply");
          // Solve: op(M) x2 = x, checked by the residual.
          auto x2 = x;
          if (kind == storage_kind::full) l2<T>::trsv(&c.uplo, &c.trans, &c.diag, &n, a.data(), &lda, x2.data(), &incx);
          else if (kind == storage_kind::band) l2<T>::tbsv(&c.uplo, &c.trans, &c.diag, &n, &k, a.data(), &lda, x2.data(), &incx);
          else l2<T>::tpsv(&c.uplo, &c.trans, &c.diag, &n, a.data(), x2.data(), &incx);
          std::vector<T> back(x.size());
          for (int i = 0; i < n; ++i) {
            lc s = 0;
            for (int j = 0; j < n; ++j) {
              lc m = op == 'n' ? M(i, j) : M(j, i);
              if (op == 'c') m = std::conj(m);
              s += m * L(x2[at(j, n, incx)]);
            }
            ASSERT_TRUE(close<T>(s, L(x[at(i, n, incx)]), 4, 16 + 2 * n)) << "solve row " << i;
          }
        }
}

TEST(Triangular, FullBandPackedAllTypes) {
  for (storage_kind kind : {storage_kind::full, storage_kind::band, storage_kind::packed}) {
    SCOPED_TRACE((int)kind);
    check_triangular<float>(kind);
    check_triangular<double>(kind);
    check_triangular<zvx_complex8>(kind);
    check_triangular<zvx_complex16>(kind);
  }
}

// Multiply and solve on triangles past column_stream_bytes, whose panels ask for their lines
// ahead (the transposed panels as they take their dots, the complex not transposed ones however
// small they are): the smallest such order plus a few rows (so the last panels end in a short
// strip and a partial group of columns), every form, against long double sums read straight from
// the storage. The other triangle
// holds NaN, so a read or request that strays into it shows in the result.
template <class T> void check_streaming_triangles() {
  SCOPED_TRACE(info<T>::name);
  const long bytes = zvx::blas12::column_stream_bytes;
  const int n = (int)std::ceil(std::sqrt(2.0 * (double)bytes / sizeof(T))) + 5, lda = n + 3;
  ASSERT_GT((double)n * n * sizeof(T) / 2, (double)bytes);
  std::vector<T> a((size_t)lda * n);
  for (const char uplo : {'U', 'L'}) {
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        T& e = a[i + (size_t)j * lda];
        if (uplo == 'U' ? i > j : i < j) e = nan_value<T>();
        else e = i == j ? make<T>(L(random_value<T>()) + lc(2, 0)) : make<T>(L(random_value<T>()) / (long double)(n + 1));
      }
    auto A = [&](int i, int j) { return L(a[i + (size_t)j * lda]); };
    for (const char trans : {'T', 'N'})
    for (const char diag : {'N', 'U'}) {
      SCOPED_TRACE(::testing::Message() << "n " << n << " " << uplo << trans << diag);
      const bool unit = diag == 'U';
      const auto x = random_vector<T>(n);
      // Row i of the transposed triangle is column i of the stored one; not transposed, row i.
      auto row_dot = [&](int i, const std::vector<T>& v) {
        lc s = unit ? L(v[i]) : A(i, i) * L(v[i]);
        if (trans == 'T') {
          const int from = uplo == 'U' ? 0 : i + 1, to = uplo == 'U' ? i : n;
          for (int k = from; k < to; ++k) s += A(k, i) * L(v[k]);
        } else {
          const int from = uplo == 'U' ? i + 1 : 0, to = uplo == 'U' ? n : i;
          for (int k = from; k < to; ++k) s += A(i, k) * L(v[k]);
        }
        return s;
      };
      const int incx = 1, ld = lda;
      auto x1 = x;
      l2<T>::trmv(&uplo, &trans, &diag, &n, a.data(), &ld, x1.data(), &incx);
      for (int i = 0; i < n; ++i) ASSERT_TRUE(close<T>(L(x1[i]), row_dot(i, x), 4, 16)) << "multiply row " << i;
      auto x2 = x;
      l2<T>::trsv(&uplo, &trans, &diag, &n, a.data(), &ld, x2.data(), &incx);
      for (int i = 0; i < n; ++i) ASSERT_TRUE(close<T>(row_dot(i, x2), L(x[i]), 4, 16 + 2 * n)) << "solve row " << i;
    }
  }
}

TEST(Triangular, PanelsBeyondTheSecondLevel) {
  check_streaming_triangles<float>();
  check_streaming_triangles<double>();
  check_streaming_triangles<zvx_complex8>();
  check_streaming_triangles<zvx_complex16>();
}

// Real diagonal blocks multiply by the reciprocals of their diagonal only where that is as good
// as dividing: a subnormal diagonal (whose reciprocal overflows) and a huge one (whose reciprocal
// is subnormal) must still divide. Diagonal operators with power-of-two entries make every
// quotient exact, so the solution is known to the bit; the extreme element sits in the first,
// a middle and the last row, around one block (the off-diagonal zeros still go through the dots
// and updates of the groups).
template <class T> void check_extreme_diagonals() {
  SCOPED_TRACE(info<T>::name);
  using lim = std::numeric_limits<T>;
  constexpr int sb = zvx::blas12::trsv_block;
  const T tiny = std::ldexp(T(1), lim::min_exponent - 8), huge = std::ldexp(T(1.5), lim::max_exponent - 1);
  for (int n : {sb - 1, sb, sb + 3})
    for (int p : {0, n / 2, n - 1})
      for (T extreme : {tiny, huge})
        for (const char* form : {"UN", "LN", "UT", "LT"})
          for (int incx : {1, -2}) {
            SCOPED_TRACE(::testing::Message() << "n " << n << " p " << p << " d " << (double)extreme << " " << form << " incx " << incx);
            const char uplo = form[0], trans = form[1], diag = 'N';
            std::vector<T> a((size_t)n * n, T(0));
            std::vector<T> b(storage(n, incx), T(0)), want(n);
            for (int i = 0; i < n; ++i) {
              const T d = i == p ? extreme : std::ldexp(T(1), i % 5 - 2);
              a[i + (size_t)i * n] = d;
              const T bi = i == p ? extreme * T(0.75) : T(uniform());
              b[at(i, n, incx)] = bi;
              want[i] = (T)((long double)bi / (long double)d);
            }
            l2<T>::trsv(&uplo, &trans, &diag, &n, a.data(), &n, b.data(), &incx);
            for (int i = 0; i < n; ++i) ASSERT_EQ(b[at(i, n, incx)], want[i]) << "row " << i;
          }
}

TEST(Triangular, RealBlocksDivideAtExtremeDiagonals) {
  check_extreme_diagonals<float>();
  check_extreme_diagonals<double>();
}

// A unit diagonal is not multiplied or divided by: an infinite unknown solved last keeps its
// infinite real part and its zero imaginary part less the finite terms of the others, where a
// product with (1, 0) would make the imaginary part inf * 0, NaN. Full storage (the blocked
// solves, both sides of a block boundary), band and packed; every uplo and trans letter.
template <class T> void check_unit_diagonal_infinity() {
  SCOPED_TRACE(info<T>::name);
  const R_t<T> inf = std::numeric_limits<R_t<T>>::infinity();
  for (storage_kind kind : {storage_kind::full, storage_kind::band, storage_kind::packed})
    for (int n : {1, 5, zvx::blas12::trsv_block + 3})
      for (char uplo : {'U', 'L'})
        for (char trans : {'N', 'T', 'C'}) {
          SCOPED_TRACE(::testing::Message() << (int)kind << " n " << n << " " << uplo << trans);
          const char diag = 'U';
          const int k = 2, lda = kind == storage_kind::band ? k + 2 : n + 2, incx = 1;
          dense M(n, n);
          auto a = make_triangle<T>(kind, uplo == 'U', true, n, k, lda, M);
          auto x = random_vector<T>(storage(n, incx));
          // Solved last: the bottom row when the solve goes down (lower N, upper T/C).
          const bool down = (uplo == 'L') == (trans == 'N');
          const int last = down ? n - 1 : 0;
          x[last] = make<T>(lc(inf, 0));
          if (kind == storage_kind::full) l2<T>::trsv(&uplo, &trans, &diag, &n, a.data(), &lda, x.data(), &incx);
          else if (kind == storage_kind::band) l2<T>::tbsv(&uplo, &trans, &diag, &n, &k, a.data(), &lda, x.data(), &incx);
          else l2<T>::tpsv(&uplo, &trans, &diag, &n, a.data(), x.data(), &incx);
          EXPECT_EQ(L(x[last]).real(), (long double)inf);
          EXPECT_TRUE(std::isfinite(L(x[last]).imag()));
          for (int i = 0; i < n; ++i)
            if (i != last) EXPECT_TRUE(std::isfinite(L(x[i]).real()) && std::isfinite(L(x[i]).imag())) << i;
        }
}

TEST(Triangular, UnitDiagonalKeepsAnInfiniteUnknownComplex) {
  check_unit_diagonal_infinity<zvx_complex8>();
  check_unit_diagonal_infinity<zvx_complex16>();
}

// Transposed band multiplies with unit increment take the dots of the full-length columns in
// groups: band widths below, at and above the vector widths (4, 8, 16 lanes) and their doubles,
// orders that leave a partial last group after whole ones, and columns shorter than the band at
// the top (upper) or bottom (lower) of the matrix, which the grouped pass leaves to the sweep.
template <class T> void check_band_transposed_groups() {
  SCOPED_TRACE(info<T>::name);
  constexpr int g = (int)zvx::blas12::band_dot_group_columns;
  for (int n : {g + 1, 2 * g + 37})
    for (int k : {1, 3, 4, 7, 8, 9, 16, 17, 31, 32, 33, 64, 65})
      for (char uplo : {'U', 'L'})
        for (char trans : {'T', 'N'})
          for (char diag : {'N', 'U'}) {
            SCOPED_TRACE(::testing::Message() << "n " << n << " k " << k << " " << uplo << trans << diag);
            const int lda = k + 2, incx = 1;
            dense M(n, n);
            auto a = make_triangle<T>(storage_kind::band, uplo == 'U', diag == 'U', n, k, lda, M);
            auto x = random_vector<T>(storage(n, incx));
            auto x1 = x;
            l2<T>::tbmv(&uplo, &trans, &diag, &n, &k, a.data(), &lda, x1.data(), &incx);
            check_product(M, trans == 'N' ? 'n' : 't', 1, x, incx, x, 0, x1, incx, "band multiply");
          }
}

TEST(Triangular, BandTransposedColumnGroups) {
  check_band_transposed_groups<float>();
  check_band_transposed_groups<double>();
}

// Operators scaled near the ends of the exponent range: a complex division by a diagonal element
// must not square its parts in the working precision (1e300 squared overflows a double).
TEST(Triangular, ScaledNearTheRangeEnds) {
  for (storage_kind kind : {storage_kind::full, storage_kind::band, storage_kind::packed}) {
    SCOPED_TRACE((int)kind);
    for (long double s : {1e300L, 1e-300L}) {
      check_triangular<double>(kind, s);
      check_triangular<zvx_complex16>(kind, s);
    }
    for (long double s : {1e35L, 1e-35L}) {
      check_triangular<float>(kind, s);
      check_triangular<zvx_complex8>(kind, s);
    }
  }
}

// Symmetric (real) or Hermitian (complex) operator in full, packed or band storage; for the
// Hermitian forms the stored diagonal carries an imaginary part that must be ignored.
template <class T> void check_symmetric_multiply(storage_kind kind) {
  SCOPED_TRACE(info<T>::name);
  const bool herm = info<T>::cx;
  // 16 to 20, 33, 38 and 70: the unit-stride sweeps walk four groups of four columns at once,
  // with the groups that don't fill a walk, and the columns after the groups, on their own.
  for (int n : {0, 1, 3, 4, 5, 9, 16, 17, 20, 33, 38, 70})
    for (int k : kind == storage_kind::band ? std::vector<int>{0, 1, 4, n + 1} : std::vector<int>{0})
      for (char uplo : {'U', 'u', 'L', 'Z'})
        for (auto [incx, incy] : {std::pair{1, 1}, {-1, 2}, {2, -1}}) {
          SCOPED_TRACE(::testing::Message() << "n " << n << " k " << k << " uplo " << uplo << " incx " << incx << " incy " << incy);
          const bool upper = uplo == 'U' || uplo == 'u';
          const int lda = kind == storage_kind::band ? k + 1 : std::max(n, 1) + 1;
          dense M(n, n);
          std::vector<T> a = make_triangle<T>(kind, upper, false, n, k, lda, M);
          for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) {
              const bool stored = upper ? i <= j : i >= j;
              if (i == j && herm) M(i, j) = lc(M(i, j).real(), 0);
              else if (!stored) M(i, j) = herm ? std::conj(M(j, i)) : M(j, i);
            }
          auto x = random_vector<T>(storage(n, incx)), y = random_vector<T>(storage(n, incy));
          const T alpha = random_value<T>(), beta = random_value<T>();
          auto y1 = y;
          if (kind == storage_kind::full) l2<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y1.data(), &incy);
          else if (kind == storage_kind::packed) l2<T>::spmv(&uplo, &n, &alpha, a.data(), x.data(), &incx, &beta, y1.data(), &incy);
          else l2<T>::sbmv(&uplo, &n, &k, &alpha, a.data(), &lda, x.data(), &incx, &beta, y1.data(), &incy);
          check_product(M, 'n', L(alpha), x, incx, y, L(beta), y1, incy, "symmetric multiply");
        }
}

TEST(SymmetricMultiply, FullPackedBandAllTypes) {
  for (storage_kind kind : {storage_kind::full, storage_kind::packed, storage_kind::band}) {
    SCOPED_TRACE((int)kind);
    check_symmetric_multiply<float>(kind);
    check_symmetric_multiply<double>(kind);
    check_symmetric_multiply<zvx_complex8>(kind);
    check_symmetric_multiply<zvx_complex16>(kind);
  }
  // alpha 0 and beta 0 store zeros and read no A.
  int n = 6, one = 1;
  const double nan = std::numeric_limits<double>::quiet_NaN(), zero = 0;
  std::vector<double> a(36, nan), x(6, nan), y(6, nan);
  dsymv("U", &n, &zero, a.data(), &n, x.data(), &one, &zero, y.data(), &one);
  for (double v : y) EXPECT_EQ(v, 0);
}

// The first order whose triangle is large enough for the walks to request their columns ahead.
template <class T> int first_order_fetching_ahead() {
  int n = 1;
  while ((double)n * n * sizeof(T) / 2 <= zvx::blas12::symv_prefetch_from_bytes) ++n;
  return n;
}

// Leading dimensions whose columns share few sets of the first-level cache make the unit-stride
// sweep walk fewer groups at once: 4 KiB multiples one group, 2 KiB off two, others four. Every
// walk keeps each element's order of operations, so one matrix stored at each leading dimension
// gives the same bits, and the long double product bounds all of them. The orders include the
// last one whose walks don't request their columns ahead and the first that does.
template <class T> void check_symmetric_walks() {
  SCOPED_TRACE(info<T>::name);
  const int per_kib = 1024 / (int)sizeof(T);
  const int ldas[] = {4 * per_kib + 8, 4 * per_kib, 8 * per_kib, 5 * per_kib, 4 * per_kib + 1};
  const int ahead = first_order_fetching_ahead<T>();
  for (int lda : ldas) ASSERT_GE(lda, ahead);
  for (int n : {37, 203, ahead - 1, ahead})
    for (char uplo : {'U', 'L'}) {
      SCOPED_TRACE(::testing::Message() << "n " << n << " uplo " << uplo);
      const bool upper = uplo == 'U';
      dense M(n, n);
      std::vector<T> packed((size_t)n * n);
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          const bool stored = upper ? i <= j : i >= j;
          if (stored) packed[i + (size_t)j * n] = random_value<T>();
        }
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          const bool stored = upper ? i <= j : i >= j;
          M(i, j) = L(stored ? packed[i + (size_t)j * n] : packed[j + (size_t)i * n]);
        }
      auto x = random_vector<T>(n), y = random_vector<T>(n);
      const T alpha = random_value<T>(), beta = random_value<T>();
      const int one = 1;
      std::vector<T> first;
      for (int lda : ldas) {
        SCOPED_TRACE(::testing::Message() << "lda " << lda);
        std::vector<T> a((size_t)lda * n, nan_value<T>());
        for (int j = 0; j < n; ++j)
          for (int i = upper ? 0 : j; i <= (upper ? j : n - 1); ++i) a[i + (size_t)j * lda] = packed[i + (size_t)j * n];
        auto y1 = y;
        l2<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y1.data(), &one);
        check_product(M, 'n', L(alpha), x, 1, y, L(beta), y1, 1, "symv walk");
        if (first.empty()) first = y1;
        else
          for (int i = 0; i < n; ++i) ASSERT_TRUE(same_bits(first[i], y1[i])) << "row " << i;
      }
    }
}

TEST(SymmetricMultiply, LeadingDimensionsOfSharedCacheSets) {
  check_symmetric_walks<float>();
  check_symmetric_walks<double>();
}

// Columns long enough for walks of four groups: at the order where they start (and one past a
// multiple of four, so that a column is left alone), stored at leading dimensions that allow
// four, two and one group a walk. All give the same bits, within the long double product.
TEST(SymmetricMultiply, WideWalksAtTheirFirstOrder) {
  using T = double;
  const int n = (int)(zvx::blas12::symv_wide_walk_bytes / (long)sizeof(T) + 4) / 4 * 4 + 1;
  const int page = 4096 / (int)sizeof(T) * ((n * (int)sizeof(T) + 4095) / 4096);
  const int ldas[] = {n, page, page + 2048 / (int)sizeof(T)};
  std::vector<T> tri((size_t)n * n);
  for (auto& v : tri) v = random_value<T>();
  auto x = random_vector<T>(n), y = random_vector<T>(n);
  const T alpha = random_value<T>(), beta = random_value<T>();
  const int one = 1;
  for (char uplo : {'U', 'L'}) {
    SCOPED_TRACE(uplo);
    const bool upper = uplo == 'U';
    // Element (i, k) of the symmetric operator from the stored triangle of tri.
    auto sym = [&](int i, int k) {
      const bool stored = upper ? i <= k : i >= k;
      return stored ? tri[i + (size_t)k * n] : tri[k + (size_t)i * n];
    };
    std::vector<T> first;
    for (int lda : ldas) {
      SCOPED_TRACE(lda);
      std::vector<T> a((size_t)lda * n, nan_value<T>());
      for (int k = 0; k < n; ++k)
        for (int i = upper ? 0 : k; i <= (upper ? k : n - 1); ++i) a[i + (size_t)k * lda] = tri[i + (size_t)k * n];
      auto y1 = y;
      dsymv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y1.data(), &one);
      if (first.empty()) {
        for (int i = 0; i < n; ++i) {
          long double s = 0, mag = 0;
          for (int k = 0; k < n; ++k) {
            const long double p = (long double)sym(i, k) * x[k];
            s += p;
            mag += std::fabs(p);
          }
          const long double want = (long double)alpha * s + (long double)beta * y[i];
          ASSERT_TRUE(close<T>(y1[i], want, std::fabs((long double)alpha) * mag + std::fabs((long double)beta * y[i]), 16 + 2 * n))
              << "row " << i;
        }
        first = y1;
      } else {
        for (int i = 0; i < n; ++i) ASSERT_TRUE(same_bits(first[i], y1[i])) << "row " << i;
      }
    }
  }
}

// Hermitian full storage with unit increments, at orders around the vector widths and the groups
// of four columns (the columns after the groups take a loop of their own), each stored at leading
// dimensions that make the sweep walk different numbers of groups at once: the order itself, 4 KiB
// multiples, 2 KiB off them and one more than the order. The unstored triangle and the imaginary
// part of the diagonal hold NaN, which must not reach y. Every walk keeps each element's order of
// operations, so all leading dimensions give the same bits.
template <class T> void check_hermitian_vector_sweep() {
  SCOPED_TRACE(info<T>::name);
  using Rt = R_t<T>;
  const Rt nan = std::numeric_limits<Rt>::quiet_NaN();
  const int per_kib = 1024 / (int)sizeof(T);
  for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 32, 33, 64, 67, 203})
    for (char uplo : {'U', 'L'}) {
      SCOPED_TRACE(::testing::Message() << "n " << n << " uplo " << uplo);
      const bool upper = uplo == 'U';
      const int page = 4 * per_kib * ((n + 4 * per_kib - 1) / (4 * per_kib));
      const int ldas[] = {n, page, page + 2 * per_kib, n + 1};
      dense M(n, n);
      std::vector<T> stored((size_t)n * n);
      for (int j = 0; j < n; ++j)
        for (int i = upper ? 0 : j; i <= (upper ? j : n - 1); ++i) {
          T v = random_value<T>();
          if (i == j) v.imag = nan;
          stored[i + (size_t)j * n] = v;
        }
      for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
          const bool in = upper ? i <= j : i >= j;
          if (i == j) M(i, j) = lc(stored[i + (size_t)j * n].real, 0);
          else if (in) M(i, j) = L(stored[i + (size_t)j * n]);
          else M(i, j) = std::conj(L(stored[j + (size_t)i * n]));
        }
      auto x = random_vector<T>(n), y = random_vector<T>(n);
      const T alpha = random_value<T>(), beta = random_value<T>();
      const int one = 1;
      std::vector<T> first;
      for (int lda : ldas) {
        SCOPED_TRACE(::testing::Message() << "lda " << lda);
        std::vector<T> a((size_t)lda * n, nan_value<T>());
        for (int j = 0; j < n; ++j)
          for (int i = upper ? 0 : j; i <= (upper ? j : n - 1); ++i) a[i + (size_t)j * lda] = stored[i + (size_t)j * n];
        auto y1 = y;
        l2<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y1.data(), &one);
        check_product(M, 'n', L(alpha), x, 1, y, L(beta), y1, 1, "hemv sweep");
        if (first.empty()) first = y1;
        else
          for (int i = 0; i < n; ++i) ASSERT_TRUE(same_bits(first[i], y1[i])) << "row " << i;
      }
    }
}

TEST(SymmetricMultiply, HermitianVectorSweep) {
  check_hermitian_vector_sweep<zvx_complex8>();
  check_hermitian_vector_sweep<zvx_complex16>();
}

// Random general band of m x n with kl/ku off-diagonals in band storage `a` (leading dimension
// lda; elements outside the band keep what `a` held) and the same values in the dense reference.
template <class T> void fill_general_band(std::vector<T>& a, dense& M, int m, int n, int kl, int ku, int lda) {
  for (int j = 0; j < n; ++j)
    for (int i = std::max(0, j - ku); i <= std::min(m - 1, j + kl); ++i) {
      const T v = random_value<T>();
      a[(size_t)(ku + i - j) + (size_t)j * lda] = v;
      M(i, j) = L(v);
    }
}

template <class T> void check_gbmv() {
  SCOPED_TRACE(info<T>::name);
  for (int m : {0, 1, 6, 20})
    for (int n : {0, 1, 5, 21})
      for (auto [kl, ku] : {std::pair{0, 0}, {1, 2}, {3, 0}, {25, 25}})
        for (char t : {'N', 'T', 'C', 'X'})
          for (auto [incx, incy] : {std::pair{1, 1}, {-2, 1}, {1, -3}}) {
            SCOPED_TRACE(::testing::Message() << m << " " << n << " " << kl << " " << ku << " " << t << " " << incx << " " << incy);
            const char op = meaning_tri(t, info<T>::cx);
            const int lda = kl + ku + 2;
            std::vector<T> a((size_t)lda * std::max(n, 1), nan_value<T>());
            dense M(m, n);
            fill_general_band(a, M, m, n, kl, ku, lda);
            const int lenx = op == 'n' ? n : m, leny = op == 'n' ? m : n;
            auto x = random_vector<T>(storage(lenx, incx)), y = random_vector<T>(storage(leny, incy));
            const T alpha = random_value<T>(), beta = random_value<T>();
            auto y1 = y;
            l2<T>::gbmv(&t, &m, &n, &kl, &ku, &alpha, a.data(), &lda, x.data(), &incx, &beta, y1.data(), &incy);
            if (m == 0 || n == 0) {
              for (size_t i = 0; i < y.size(); ++i) ASSERT_TRUE(same_bits(y[i], y1[i]));
              continue;
            }
            check_product(M, op, L(alpha), x, incx, y, L(beta), y1, incy, "gbmv");
          }
}

// Transposed real band products take the columns holding the whole band in groups of
// band_dot_group_columns: wide and tall matrices whose full columns span several groups and end
// part way through one, with partial columns on both sides.
template <class T> void check_gbmv_transposed_groups() {
  SCOPED_TRACE(info<T>::name);
  constexpr int g = (int)zvx::blas12::band_dot_group_columns;
  const int one = 1;
  for (auto [m, n] : {std::pair{2 * g + 9, 2 * g + 9}, {g + 40, 2 * g + 3}, {3 * g + 1, g + 20}})
    for (auto [kl, ku] : {std::pair{3, 5}, {0, 7}, {6, 0}, {32, 32}})
      for (char t : {'T', 'C'}) {
        SCOPED_TRACE(::testing::Message() << m << " " << n << " " << kl << " " << ku << " " << t);
        const int lda = kl + ku + 1;
        std::vector<T> a((size_t)lda * n, nan_value<T>());
        dense M(m, n);
        fill_general_band(a, M, m, n, kl, ku, lda);
        auto x = random_vector<T>(m), y = random_vector<T>(n);
        const T alpha = random_value<T>(), beta = random_value<T>();
        auto y1 = y;
        l2<T>::gbmv(&t, &m, &n, &kl, &ku, &alpha, a.data(), &lda, x.data(), &one, &beta, y1.data(), &one);
        check_product(M, 't', L(alpha), x, 1, y, L(beta), y1, 1, "gbmv");
      }
}

TEST(BandMultiply, TransposedRealGroupsOfFullColumns) {
  check_gbmv_transposed_groups<float>();
  check_gbmv_transposed_groups<double>();
}

TEST(BandMultiply, GeneralBandAllTypes) {
  check_gbmv<float>();
  check_gbmv<double>();
  check_gbmv<zvx_complex8>();
  check_gbmv<zvx_complex16>();
}

// Rank updates: one routine runner per form, with the dense expectation built alongside.
template <class T> struct rank_form {
  const char* name;
  bool packed, two, herm;
  std::function<void(const char*, int, const void* alpha, const T* x, int incx, const T* y, int incy, T* a, int lda)> run;
};

template <class T> std::vector<rank_form<T>> rank_forms();
#define RF_REAL(T, p)                                                                                                        \
  template <> std::vector<rank_form<T>> rank_forms<T>() {                                                                    \
    return {                                                                                                                  \
        {#p "syr", false, false, false, [](const char* u, int n, const void* al, const T* x, int ix, const T*, int, T* a, int lda) { p##syr(u, &n, (const T*)al, x, &ix, a, &lda); }}, \
        {#p "spr", true, false, false, [](const char* u, int n, const void* al, const T* x, int ix, const T*, int, T* a, int) { p##spr(u, &n, (const T*)al, x, &ix, a); }}, \
        {#p "syr2", false, true, false, [](const char* u, int n, const void* al, const T* x, int ix, const T* y, int iy, T* a, int lda) { p##syr2(u, &n, (const T*)al, x, &ix, y, &iy, a, &lda); }}, \
        {#p "spr2", true, true, false, [](const char* u, int n, const void* al, const T* x, int ix, const T* y, int iy, T* a, int) { p##spr2(u, &n, (const T*)al, x, &ix, y, &iy, a); }}}; \
  }
RF_REAL(float, s)
RF_REAL(double, d)
#define RF_CX(T, R, p)                                                                                                       \
  template <> std::vector<rank_form<T>> rank_forms<T>() {                                                                    \
    return {                                                                                                                  \
        {#p "her", false, false, true, [](const char* u, int n, const void* al, const T* x, int ix, const T*, int, T* a, int lda) { p##her(u, &n, (const R*)al, x, &ix, a, &lda); }}, \
        {#p "hpr", true, false, true, [](const char* u, int n, const void* al, const T* x, int ix, const T*, int, T* a, int) { p##hpr(u, &n, (const R*)al, x, &ix, a); }}, \
        {#p "her2", false, true, true, [](const char* u, int n, const void* al, const T* x, int ix, const T* y, int iy, T* a, int lda) { p##her2(u, &n, (const T*)al, x, &ix, y, &iy, a, &lda); }}, \
        {#p "hpr2", true, true, true, [](const char* u, int n, const void* al, const T* x, int ix, const T* y, int iy, T* a, int) { p##hpr2(u, &n, (const T*)al, x, &ix, y, &iy, a); }}}; \
  }
RF_CX(zvx_complex8, float, c)
RF_CX(zvx_complex16, double, z)

template <class T> void check_rank_updates() {
  for (const auto& f : rank_forms<T>()) {
    SCOPED_TRACE(f.name);
    // 37 and 70: unit increments run vector axpys on each side of the diagonal (one pass for
    // both operands of the real two-operand forms), with whole vectors and tails; 147: columns
    // longer than eight vectors of 16 singles, whose odd leading dimension makes them start
    // with an alignment head; {1, 2} keeps one unit increment on the strided path.
    for (int n : {0, 1, 4, 13, 37, 70, 147})
      for (char uplo : {'U', 'l', 'W'})
        for (auto [incx, incy] : {std::pair{1, 1}, {-1, 2}, {3, -2}, {1, 2}}) {
          const bool upper = uplo == 'U';
          const int lda = std::max(n, 1) + 1;
          dense M(n, n);
          auto a = make_triangle<T>(f.packed ? storage_kind::packed : storage_kind::full, upper, false, n, 0, lda, M);
          auto x = random_vector<T>(storage(n, incx)), y = random_vector<T>(storage(n, incy));
          if (n > 2) {  // a zero in x (and y) skips a column
            x[at(1, n, incx)] = make<T>(0);
            y[at(1, n, incy)] = make<T>(0);
          }
          // Alpha is real for the one-operand Hermitian forms: pass the real part first in memory.
          T alpha = random_value<T>();
          lc al = L(alpha);
          if (f.herm && !f.two) al = lc(al.real(), 0);
          auto a1 = a;
          f.run(&uplo, n, &alpha, x.data(), incx, y.data(), incy, a1.data(), lda);
          auto cj = [&](lc v) { return f.herm ? std::conj(v) : v; };
          for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) {
              if (upper ? i > j : i < j) continue;
              const size_t p = f.packed ? (upper ? i + (size_t)j * (j + 1) / 2 : (size_t)j * n - (size_t)j * (j - 1) / 2 + i - j)
                                        : i + (size_t)j * lda;
              const lc xi = L(x[at(i, n, incx)]), xj = L(x[at(j, n, incx)]);
              lc want = M(i, j) + al * xi * cj(xj);
              if (f.two) {
                const lc yi = L(y[at(i, n, incy)]), yj = L(y[at(j, n, incy)]);
                want = M(i, j) + al * xi * cj(yj) + cj(al) * yi * cj(xj);
              }
              if (f.herm && i == j) want = lc(want.real(), 0);
              ASSERT_TRUE(close<T>(L(a1[p]), want, 8, 8)) << "n " << n << " uplo " << uplo << " " << i << " " << j;
              if (f.herm && i == j) EXPECT_EQ(L(a1[p]).imag(), 0);
            }
        }
  }
}

TEST(RankUpdates, SymmetricAndHermitianAllForms) {
  check_rank_updates<float>();
  check_rank_updates<double>();
  check_rank_updates<zvx_complex8>();
  check_rank_updates<zvx_complex16>();
}

TEST(RankUpdates, ComplexSymmetricPacked) {
  for (int n : {0, 1, 5, 12})
    for (char uplo : {'U', 'l'})
      for (int incx : {1, -2}) {
        const bool upper = uplo == 'U';
        dense M(n, n);
        auto a = make_triangle<zvx_complex8>(storage_kind::packed, upper, false, n, 0, 1, M);
        auto x = random_vector<zvx_complex8>(storage(n, incx));
        const zvx_complex8 alpha = random_value<zvx_complex8>();
        auto a1 = a;
        cspr(&uplo, &n, &alpha, x.data(), &incx, a1.data());
        for (int j = 0; j < n; ++j)
          for (int i = upper ? 0 : j; i <= (upper ? j : n - 1); ++i) {
            const size_t p = upper ? i + (size_t)j * (j + 1) / 2 : (size_t)j * n - (size_t)j * (j - 1) / 2 + i - j;
            const lc want = M(i, j) + L(alpha) * L(x[at(i, n, incx)]) * L(x[at(j, n, incx)]);  // no conjugate
            ASSERT_TRUE(close<zvx_complex8>(L(a1[p]), want, 8, 8));
          }
      }
  // Argument checks, in order, reported through the error reporter byte for byte; nothing changes.
  struct bad { char uplo; int n, incx; const char* text; };
  for (const bad& b : {bad{'X', 3, 1, "ZVX ERROR : Parameter 1 was incorrect on entry to CSPR  \n"},
                       bad{'X', -1, 0, "ZVX ERROR : Parameter 1 was incorrect on entry to CSPR  \n"},
                       bad{'u', -1, 0, "ZVX ERROR : Parameter 2 was incorrect on entry to CSPR  \n"},
                       bad{'L', 2, 0, "ZVX ERROR : Parameter 5 was incorrect on entry to CSPR  \n"}}) {
    zvx_complex8 ap[6] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}}, x[3] = {{1, 0}, {1, 0}, {1, 0}}, alpha = {1, 0};
    const std::string out = zvx_test::capture_stderr([&] { cspr(&b.uplo, &b.n, &alpha, x, &b.incx, ap); });
    EXPECT_EQ(out, b.text);
    EXPECT_EQ(ap[0].real, 1);
    EXPECT_EQ(ap[5].imag, 6);
  }
}

}  // namespace
