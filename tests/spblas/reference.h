// Reference for the sparse tests: matrices are drawn as triplets, turned into each storage
// format here, and their meaning (what a matrix type keeps, mirrors or implies) is rebuilt as a
// dense long double matrix by the rules of the interface, so every result is checked against a
// plain dense loop that shares no code with the library.
#pragma once
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "zvx.h"

namespace sptest {

using ld = long double;

struct triplet {
  int r, c;  // 0-based
  double v;
};

// Dense m x k, row-major, long double.
struct dmat {
  long m = 0, k = 0;
  std::vector<ld> a;
  dmat() = default;
  dmat(long m_, long k_) : m(m_), k(k_), a(static_cast<size_t>(m_ * k_), 0.0L) {}
  ld& operator()(long i, long j) { return a[static_cast<size_t>(i * k + j)]; }
  ld operator()(long i, long j) const { return a[static_cast<size_t>(i * k + j)]; }
  dmat t() const {
    dmat r(k, m);
    for (long i = 0; i < m; ++i)
      for (long j = 0; j < k; ++j) r(j, i) = (*this)(i, j);
    return r;
  }
};

inline dmat stored(long m, long k, const std::vector<triplet>& e) {
  dmat s(m, k);
  for (const auto& t : e) s(t.r, t.c) += t.v;
  return s;
}

enum class kind { general, triangular, symmetric, diagonal, skew };

// What the multiply entries mean by a type: the named triangle kept, mirrored or negated, the
// diagonal as stored or implied.
inline dmat effective(const dmat& s, kind type, bool lower, bool unit) {
  dmat e(s.m, s.k);
  const long n = std::min(s.m, s.k);
  for (long i = 0; i < s.m; ++i) {
    for (long j = 0; j < s.k; ++j) {
      const bool in = lower ? j < i : j > i;
      switch (type) {
        case kind::general: e(i, j) = s(i, j); break;
        case kind::triangular:
          if (in) e(i, j) = s(i, j);
          break;
        case kind::symmetric:
          if (in) { e(i, j) += s(i, j); e(j, i) += s(i, j); }
          break;
        case kind::skew:
          if (in) { e(i, j) += s(i, j); e(j, i) -= s(i, j); }
          break;
        case kind::diagonal: break;
      }
    }
  }
  if (type != kind::general && type != kind::skew)
    for (long i = 0; i < n; ++i) e(i, i) = unit ? 1.0L : s(i, i);
  return e;
}

// c = beta * c + alpha * op(A) * b; b and c column-major with leading dimensions.
inline std::vector<double> product(const dmat& a, bool trans, long n, double alpha,
                                   const std::vector<double>& b, long ldb, double beta,
                                   std::vector<double> c, long ldc, std::vector<double>* scale,
                                   const dmat* cancelled = nullptr) {
  // `cancelled`: a square stored matrix whose entries the kernels may add and take out again;
  // their size widens the tolerance.
  const dmat op = trans ? a.t() : a;
  if (scale) scale->assign(c.size(), 0.0);
  for (long j = 0; j < n; ++j) {
    for (long i = 0; i < op.m; ++i) {
      ld sum = 0, mag = 0;
      for (long q = 0; q < op.k; ++q) {
        sum += op(i, q) * static_cast<ld>(b[static_cast<size_t>(q + j * ldb)]);
        mag += std::fabs(op(i, q) * static_cast<ld>(b[static_cast<size_t>(q + j * ldb)]));
        if (cancelled && cancelled->m == cancelled->k)
          mag += (std::fabs((*cancelled)(i, q)) + std::fabs((*cancelled)(q, i))) *
                 std::fabs(static_cast<ld>(b[static_cast<size_t>(q + j * ldb)]));
      }
      double& ci = c[static_cast<size_t>(i + j * ldc)];
      const ld old = beta == 0.0 ? 0.0L : static_cast<ld>(beta) * ci;
      if (scale) (*scale)[static_cast<size_t>(i + j * ldc)] = static_cast<double>(std::fabs(old) + std::fabs(alpha) * mag);
      ci = static_cast<double>(old + static_cast<ld>(alpha) * sum);
    }
  }
  return c;
}

// c = alpha * inv(T) * b for a triangular dense T (lower or upper by its pattern).
inline std::vector<double> solve(const dmat& t, bool lower, long n, double alpha,
                                 const std::vector<double>& b, long ldb, std::vector<double> c,
                                 long ldc) {
  const long m = t.m;
  for (long j = 0; j < n; ++j) {
    std::vector<ld> y(static_cast<size_t>(m));
    for (long s = 0; s < m; ++s) {
      const long i = lower ? s : m - 1 - s;
      ld sum = static_cast<ld>(b[static_cast<size_t>(i + j * ldb)]);
      for (long q = 0; q < m; ++q)
        if (q != i && t(i, q) != 0) sum -= t(i, q) * y[static_cast<size_t>(q)];
      y[static_cast<size_t>(i)] = sum / t(i, i);
    }
    for (long i = 0; i < m; ++i) c[static_cast<size_t>(i + j * ldc)] = static_cast<double>(alpha * y[static_cast<size_t>(i)]);
  }
  return c;
}

// The triangle a solve uses: lower or upper with the stored or implied diagonal.
inline dmat solve_matrix(const dmat& s, bool lower, bool unit) {
  dmat e(s.m, s.m);
  for (long i = 0; i < s.m; ++i)
    for (long j = 0; j < s.m; ++j)
      if (i == j) e(i, j) = unit ? 1.0L : s(i, i);
      else if (lower ? j < i : j > i) e(i, j) = s(i, j);
  return e;
}

// Random triplets: about `per_row` entries per row in [-1, 1], and when `diagonal` a dominant
// diagonal (so triangular solves are well conditioned). Sorted by row and column, no duplicates.
inline std::vector<triplet> random_triplets(long m, long k, int per_row, bool diagonal,
                                            unsigned seed, double empty_rows = 0.0) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> val(-1.0, 1.0), unit(0.0, 1.0);
  std::uniform_int_distribution<long> col(0, k - 1);
  std::vector<triplet> e;
  for (long i = 0; i < m; ++i) {
    if (empty_rows > 0 && unit(gen) < empty_rows && !(diagonal && i < k)) continue;
    std::vector<long> cols;
    for (int q = 0; q < per_row; ++q) cols.push_back(col(gen));
    if (diagonal && i < k) cols.push_back(i);
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    for (long c : cols) {
      double v = val(gen);
      if (diagonal && c == i) v = (per_row + 2.0) * (v < 0 ? -1.0 : 1.0) + v;
      else if (diagonal) v /= (per_row + 1.0);
      e.push_back({static_cast<int>(i), static_cast<int>(c), v});
    }
  }
  return e;
}

inline std::vector<double> random_vector(long n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> val(-1.0, 1.0);
  std::vector<double> v(static_cast<size_t>(n));
  for (auto& x : v) x = val(gen);
  return v;
}

// CSR with row pointers from `origin` (pntrb and pntre as two arrays) and column numbers from
// `base`. `by_columns` builds CSC instead.
struct csr_arrays {
  std::vector<double> val;
  std::vector<int> indx, pntrb, pntre, ia;  // ia: m + 1 starts from origin
};
// `gaps`: an unused slot holding NaN after every line, so pntre(i) stops short of pntrb(i+1).
inline csr_arrays to_csr(long m, long k, std::vector<triplet> e, int origin, int base,
                         bool by_columns = false, bool gaps = false) {
  const long lines = by_columns ? k : m;
  if (by_columns)
    for (auto& t : e) std::swap(t.r, t.c);
  std::stable_sort(e.begin(), e.end(), [](const triplet& x, const triplet& y) {
    return x.r != y.r ? x.r < y.r : x.c < y.c;
  });
  csr_arrays a;
  a.ia.assign(static_cast<size_t>(lines + 1), 0);
  for (const auto& t : e) a.ia[static_cast<size_t>(t.r + 1)]++;
  for (long i = 0; i < lines; ++i) a.ia[static_cast<size_t>(i + 1)] += a.ia[static_cast<size_t>(i)];
  for (auto& p : a.ia) p += origin;
  for (const auto& t : e) {
    a.val.push_back(t.v);
    a.indx.push_back(t.c + base);
  }
  a.pntrb.assign(a.ia.begin(), a.ia.end() - 1);
  a.pntre.assign(a.ia.begin() + 1, a.ia.end());
  if (gaps) {
    std::vector<double> val;
    std::vector<int> indx;
    for (long i = 0; i < lines; ++i) {
      const long s = a.pntrb[static_cast<size_t>(i)] - origin, t = a.pntre[static_cast<size_t>(i)] - origin;
      a.pntrb[static_cast<size_t>(i)] = static_cast<int>(val.size()) + origin;
      for (long p = s; p < t; ++p) {
        val.push_back(a.val[static_cast<size_t>(p)]);
        indx.push_back(a.indx[static_cast<size_t>(p)]);
      }
      a.pntre[static_cast<size_t>(i)] = static_cast<int>(val.size()) + origin;
      val.push_back(NAN);
      indx.push_back(base);
    }
    a.val = val;
    a.indx = indx;
  }
  if (a.val.empty()) { a.val.push_back(0.0); a.indx.push_back(base); }  // valid pointers
  return a;
}

// Element-wise closeness with a tolerance from the magnitude of the terms.
inline void expect_close(const std::vector<double>& got, const std::vector<double>& want,
                         const std::vector<double>* scale, double rel, const std::string& what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  size_t bad = 0;
  for (size_t i = 0; i < got.size(); ++i) {
    const double s = scale ? std::max((*scale)[i], 1e-300) : std::max(1.0, std::fabs(want[i]));
    const bool ok = (std::isnan(want[i]) && std::isnan(got[i])) ||
                    std::fabs(got[i] - want[i]) <= rel * s;
    if (!ok && bad++ < 3)
      ADD_FAILURE() << what << ": element " << i << " got " << got[i] << " want " << want[i];
  }
  EXPECT_EQ(bad, 0u) << what;
}

inline constexpr double product_tol = 1e-13;  // relative to the sum of |terms|
inline constexpr double solve_tol = 1e-11;    // diagonally dominant systems

inline const char* type_letters = "GTSHDAQ";  // Q: unknown, multiplied as symmetric lower
inline kind kind_of(char t) {
  switch (t) {
    case 'G': return kind::general;
    case 'T': return kind::triangular;
    case 'D': return kind::diagonal;
    case 'A': return kind::skew;
    default: return kind::symmetric;
  }
}

// Row i holds columns i + offset for the first `width` offsets that fall inside [0, k).
inline std::vector<triplet> stencil(long m, long k, int width, unsigned seed) {
  static const int offsets[] = {-9, -4, -1, 0, 1, 2, 5, 11, 13, 17};
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> val(-1.0, 1.0);
  std::vector<triplet> e;
  for (long i = 0; i < m; ++i)
    for (int q = 0; q < width; ++q) {
      const long c = i + offsets[q];
      if (c >= 0 && c < k) e.push_back({static_cast<int>(i), static_cast<int>(c), val(gen)});
    }
  return e;
}

// y := alpha * A * b(:, j) + beta * y in long double over the triplets, with the scale of the
// terms for the tolerance. Column-major, leading dimensions ldb and ldc.
inline void reference(long m, const std::vector<triplet>& e, long n, double alpha, const std::vector<double>& b,
               long ldb, double beta, const std::vector<double>& c, long ldc, std::vector<double>& want,
               std::vector<double>& scale) {
  want = c;
  scale.assign(c.size(), 0.0);
  std::vector<ld> sum(static_cast<size_t>(m)), mag(static_cast<size_t>(m));
  for (long j = 0; j < n; ++j) {
    std::fill(sum.begin(), sum.end(), 0.0L);
    std::fill(mag.begin(), mag.end(), 0.0L);
    for (const auto& t : e) {
      const ld term = static_cast<ld>(alpha) * t.v * b[static_cast<size_t>(t.c + j * ldb)];
      sum[static_cast<size_t>(t.r)] += term;
      mag[static_cast<size_t>(t.r)] += std::fabs(term);
    }
    for (long i = 0; i < m; ++i) {
      const size_t at = static_cast<size_t>(i + j * ldc);
      const ld old = beta == 0.0 ? 0.0L : static_cast<ld>(beta) * c[at];
      want[at] = static_cast<double>(sum[static_cast<size_t>(i)] + old);
      scale[at] = static_cast<double>(mag[static_cast<size_t>(i)] + std::fabs(old)) + 1e-300;
    }
  }
}

// Runs `f` with the threads the process allows, then again limited to one thread.
inline int threads_now() { return omp_get_max_threads(); }

}  // namespace sptest
