// BSR: CSR over dense lb x lb blocks. The block size is a template parameter for 2, 3 and 5, the
// sizes for which the symmetric kernels are written out (the compiler unrolls every loop over a
// block and keeps the slice of x in registers), and a run-time value for all others. One-based
// input stores blocks column-major, zero-based input row-major.
#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include "spblas/spblas.h"
#include "zvx_spblas.h"

namespace zvx::spblas {
namespace {

template <int LB>
struct block_view {
  const bsr& a;
  long lb() const {
    if constexpr (LB > 0) return LB;
    else return a.lb;
  }
  const double* block(long p) const { return a.val + p * lb() * lb(); }
  // element (r, c) of a block
  double at(const double* blk, long r, long c) const {
    return a.zero_based ? blk[r * lb() + c] : blk[c * lb() + r];
  }
};

// Which elements of a block take part: all, or one triangle of a diagonal block.
enum class part { whole, lower_incl, lower_strict, upper_incl, upper_strict };

inline bool takes(part w, long r, long c) {
  switch (w) {
    case part::whole: return true;
    case part::lower_incl: return r >= c;
    case part::lower_strict: return r > c;
    case part::upper_incl: return r <= c;
    default: return r < c;
  }
}

// out(0:lb) += s * B * in, or s * B' * in when `transposed`.
template <int LB>
inline void block_apply(const block_view<LB>& v, const double* blk, part w, bool transposed,
                        double s, const double* in, double* out) {
  const long lb = v.lb();
  for (long r = 0; r < lb; ++r) {
    double sum = 0.0;
    for (long c = 0; c < lb; ++c) {
      const long rr = transposed ? c : r, cc = transposed ? r : c;
      if (w == part::whole || takes(w, rr, cc)) sum += v.at(blk, rr, cc) * in[c];
    }
    out[r] += s * sum;
  }
}

// The serial kernels of the general, triangular, skew and diagonal types.
template <int LB>
void bsr_serial(matrix_type type, bool nontrans, bool lower, bool nonunit, long m, long k,
                double alpha, const bsr& a, const double* x, double* y) {
  const block_view<LB> v{a};
  const long lb = v.lb();
  for (long i = 0; i < m; ++i) {
    for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
      const long q = a.col(p);
      const double* blk = v.block(p);
      const bool inside = lower ? q < i : q > i;
      // Not transposed the block meets x(q) and adds to y(i); transposed the other way round.
      const double* in = x + (nontrans ? q : i) * lb;
      double* out = y + (nontrans ? i : q) * lb;
      switch (type) {
        case matrix_type::general:
          block_apply(v, blk, part::whole, !nontrans, alpha, in, out);
          break;
        case matrix_type::triangular:
          if (inside) {
            block_apply(v, blk, part::whole, !nontrans, alpha, in, out);
          } else if (q == i) {
            const part w = lower ? (nonunit ? part::lower_incl : part::lower_strict)
                                 : (nonunit ? part::upper_incl : part::upper_strict);
            block_apply(v, blk, w, !nontrans, alpha, in, out);
          }
          break;
        case matrix_type::skew:
          if (inside) {
            block_apply(v, blk, part::whole, false, alpha, x + q * lb, y + i * lb);
            block_apply(v, blk, part::whole, true, -alpha, x + i * lb, y + q * lb);
          }
          break;
        default:  // diagonal
          if (q == i && nonunit) block_apply(v, blk, part::whole, !nontrans, alpha, in, out);
          break;
      }
    }
  }
  if ((type == matrix_type::triangular || type == matrix_type::diagonal) && !nonunit) {
    const long len = std::min(m, k) * lb;
    for (long r = 0; r < len; ++r) y[r] += alpha * x[r];
  }
}

// Symmetric product of the block rows [r0, r1) into `out`.
template <int LB>
void bsr_sym_rows(bool lower, bool nonunit, long r0, long r1, double alpha, const bsr& a,
                  const double* x, double* out) {
  const block_view<LB> v{a};
  const long lb = v.lb();
  for (long i = r0; i < r1; ++i) {
    for (long p = a.begin(i), e = a.end(i); p < e; ++p) {
      const long q = a.col(p);
      const double* blk = v.block(p);
      if (lower ? q < i : q > i) {
        block_apply(v, blk, part::whole, false, alpha, x + q * lb, out + i * lb);
        block_apply(v, blk, part::whole, true, alpha, x + i * lb, out + q * lb);
      } else if (q == i && nonunit) {
        block_apply(v, blk, part::whole, false, alpha, x + i * lb, out + i * lb);
      }
    }
  }
}

// Rows [r0, r1) of y := A * x where each block row starts with its diagonal block, of which
// only the named triangle is read.
template <int LB>
void bsr_diag_first_rows(bool lower, long r0, long r1, const bsr& a, const double* x,
                         double* out) {
  const block_view<LB> v{a};
  const long lb = v.lb();
  for (long i = r0; i < r1; ++i) {
    const long s = a.begin(i), e = a.end(i);
    if (e <= s) continue;
    const double* t = x + i * lb;
    double sum[LB > 0 ? LB : 64];
    double* acc = lb <= 64 ? sum : nullptr;
    double* heap = nullptr;
    if (!acc) acc = heap = static_cast<double*>(must_allocate(sizeof(double) * lb));
    const double* d = v.block(s);
    for (long r = 0; r < lb; ++r) {
      double u = 0.0;
      for (long c = 0; c < lb; ++c) {
        const bool mine = lower ? r >= c : r <= c;
        u += (mine ? v.at(d, r, c) : v.at(d, c, r)) * t[c];
      }
      acc[r] = u;
    }
    for (long p = s + 1; p < e; ++p) {
      const long q = a.col(p);
      const double* blk = v.block(p);
      block_apply(v, blk, part::whole, true, 1.0, t, out + q * lb);
      block_apply(v, blk, part::whole, false, 1.0, x + q * lb, acc);
    }
    for (long r = 0; r < lb; ++r) out[i * lb + r] += acc[r];
    std::free(heap);
  }
}

template <class F>
void by_block_size(long lb, F&& f) {
  switch (lb) {
    case 2: f(std::integral_constant<int, 2>{}); break;
    case 3: f(std::integral_constant<int, 3>{}); break;
    case 5: f(std::integral_constant<int, 5>{}); break;
    default: f(std::integral_constant<int, 0>{}); break;
  }
}

// Runs rows(r0, r1, out) on private vectors of m * lb doubles per thread, then adds them onto y
// in thread order; serial into y when threads aren't allowed or the vectors can't be had.
template <class Rows>
void private_vectors(long m, long lb, bool allowed, double* y, Rows&& rows) {
  const long len = m * lb;
  double* buffer = nullptr;
  int t = 1;
  if (allowed && may_thread()) {
    t = omp_get_max_threads();
    buffer = static_cast<double*>(std::malloc(sizeof(double) * len * t));
  }
  if (!buffer) {
    rows(0L, m, y);
    return;
  }
  std::fill(buffer, buffer + len * t, 0.0);
  int used = 1;
#pragma omp parallel num_threads(t)
  {
    const int q = omp_get_thread_num(), nt = omp_get_num_threads();
#pragma omp single
    used = nt;
    long r0, r1;
    share(m, nt, q, r0, r1);
    rows(r0, r1, buffer + q * len);
  }
  for (int q = 0; q < used; ++q) {
    const double* from = buffer + q * len;
    for (long r = 0; r < len; ++r) y[r] += from[r];
  }
  std::free(buffer);
}

}  // namespace

void bsrmmsym(bool lower, bool nonunit, long m, double alpha, const bsr& a, const double* x,
              double* y) {
  if (m <= 0) return;
  by_block_size(a.lb, [&](auto size) {
    constexpr int LB = decltype(size)::value;
    private_vectors(m, a.lb, true, y, [&](long r0, long r1, double* out) {
      bsr_sym_rows<LB>(lower, nonunit, r0, r1, alpha, a, x, out);
    });
  });
}

void bsrsymv_diag_first(bool lower, long m, const bsr& a, const double* x, double* y,
                        bool may_split) {
  if (m <= 0) return;
  std::fill(y, y + m * a.lb, 0.0);
  by_block_size(a.lb, [&](auto size) {
    constexpr int LB = decltype(size)::value;
    private_vectors(m, a.lb, may_split, y, [&](long r0, long r1, double* out) {
      bsr_diag_first_rows<LB>(lower, r0, r1, a, x, out);
    });
  });
}

void bsr_multiply(const descr& d, bool nontrans, long m, long k, double alpha, const bsr& a,
                  const double* x, double* y) {
  if (d.type == matrix_type::symmetric || d.type == matrix_type::none) {
    bsrmmsym(d.lower, d.nonunit, m, alpha, a, x, y);
    if (!d.nonunit) {
      const long len = std::min(m, k) * a.lb;
      for (long r = 0; r < len; ++r) y[r] += alpha * x[r];
    }
    return;
  }
  if (d.type == matrix_type::general && nontrans) {
    simd::kernels().bsr_rows(m, a.lb, a.zero_based, a.val, a.indx, a.pntrb, a.pntre,
                             a.zero_based ? 0 : 1, x, alpha, y);
    return;
  }
  // The transpose of a skew matrix is its negative.
  const double s = d.type == matrix_type::skew && !nontrans ? -alpha : alpha;
  by_block_size(a.lb, [&](auto size) {
    constexpr int LB = decltype(size)::value;
    bsr_serial<LB>(d.type, nontrans, d.lower, d.nonunit, m, k, s, a, x, y);
  });
}

}  // namespace zvx::spblas

using namespace zvx;
using namespace zvx::spblas;

ZVX_EXPORT void zvx_dbsrmv(const char* transa, const int* m, const int* k, const int* lb,
                           const double* alpha, const char* matdescra, const double* val,
                           const int* indx, const int* pntrb, const int* pntre, const double* x,
                           const double* beta, double* y) {
  if (*m == 0 || *k == 0) return;
  const bool nontrans = is_letter(transa, 'N');
  const bool zero_based = is_letter(matdescra + 3, 'C');
  const long out = (nontrans ? *m : *k) * static_cast<long>(*lb);
  // beta 0 multiplies too: NaN in y stays.
  if (*beta != 1.0)
    for (long r = 0; r < out; ++r) y[r] *= *beta;
  if (*alpha == 0.0) return;
  const descr d = read_multiply(matdescra, false);
  const bsr a{val, indx, pntrb, pntre, *lb, zero_based};
  bsr_multiply(d, nontrans, *m, *k, *alpha, a, x, y);
}

ZVX_EXPORT void zvx_dbsrsymv(const char* uplo, const int* m, const int* lb, const double* a,
                             const int* ia, const int* ja, const double* x, double* y) {
  if (*m == 0) return;
  const bsr mat{a, ja, ia, ia + 1, *lb, false};
  bsrsymv_diag_first(!is_letter(uplo, 'U'), *m, mat, x, y, false);
}

ZVX_EXPORT void zvx_cspblas_dbsrsymv(const char* uplo, const int* m, const int* lb,
                                     const double* a, const int* ia, const int* ja,
                                     const double* x, double* y) {
  if (*m <= 0) return;
  const bsr mat{a, ja, ia, ia + 1, *lb, true};
  const bool lower = !is_letter(uplo, 'U');
  if (is_letter(uplo + 1, 'A')) bsrsymv_diag_first(lower, *m, mat, x, y, true);
  else bsrmmsym(lower, true, *m, 1.0, mat, x, y);
}
