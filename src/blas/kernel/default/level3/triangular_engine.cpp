// Serial engines of trmm (B = alpha * op(A) * B or alpha * B * op(A)) and trsm (the solve of the
// same forms for X, overwriting B), A triangular.
//
// Each engine is a fixed ladder of levels (operations_tuning.h). A level cuts the triangle into
// diagonal blocks of its order and the free dimension of B (columns on the left side, rows on the
// right) into chunks; it hands each diagonal block to the next level and updates the rest of B
// with the GEMM engine. The bottom level hands its blocks to small kernels that copy their
// triangle of op(A) into a local dense block (diagonal replaced by its reciprocals, computed once,
// for the solve; by 1 for a unit diagonal, which is never read) and substitute or multiply.
//
// Blocks are visited so that every block of B is read by the GEMM updates before it is itself
// overwritten (trmm), or is final before it is used (trsm): a triangle that acts as lower goes
// forward on the left side and backward on the right side, an upper one the other way. Zeros on
// a non-unit diagonal give infinities and NaNs by IEEE arithmetic, without a report.
#include <algorithm>

#include "blas/kernel/default/level3/operations.h"
#include "blas/kernel/default/level3/operations_tuning.h"

namespace zvx::l3ops {
namespace {

enum class tri_op { n, t, c };

struct tri_shape {
  bool left;     // op(A) acts from the left
  bool lower;    // op(A) is lower triangular (A lower without transpose, or upper with one)
  tri_op op;     // how A is read
  bool unit;     // unit diagonal, never read
  const char* gemm_op;  // op of A for the GEMM engine: "N", "T" or "C"
};

// Pointer to the stored element behind op(A)(r, c).
template <class T>
inline const T* op_at(const tri_shape& s, const T* a, long lda, int r, int c) {
  return s.op == tri_op::n ? a + r + c * lda : a + c + r * lda;
}

// The local dense copy of op(A) on a diagonal block of order bs: the triangle of op(A), the
// diagonal as its value (trmm; 1 when unit) or its reciprocal (trsm; 1 when unit).
template <bool solve, class T>
void copy_block(const tri_shape& s, int bs, const T* a, long lda, T* t) {
  constexpr int ld = tuning::tri_kernel_max;
  for (int j = 0; j < bs; ++j) {
    const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
    for (int i = i0; i < i1; ++i) {
      T v = *op_at(s, a, lda, i, j);
      if (s.op == tri_op::c) v = conj(v);
      t[i + j * ld] = v;
    }
    if (s.unit) {
      t[j + j * ld] = from_real<T>(1);
    } else {
      T v = a[j + j * lda];
      if (s.op == tri_op::c) v = conj(v);
      t[j + j * ld] = solve ? reciprocal(v) : v;
    }
  }
}

// Solve kernel: op(A) X = B (left, rows rows x cols) or X op(A) = B (right), order at most
// tri_kernel_max. Left: each column of B by substitution with columns of the local triangle;
// right: each column of X is a combination of the columns already solved, walked down the rows.
template <class T>
void trsm_kernel(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b, long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
  copy_block<true>(s, bs, a, lda, t);
  if (s.left) {
    for (int c = 0; c < cols; ++c) {
      T* x = b + c * ldb;
      if (s.lower) {
        for (int i = 0; i < bs; ++i) {
          const T xi = x[i] * t[i + i * ld];
          x[i] = xi;
          const T* ti = t + i * ld;
          for (int j = i + 1; j < bs; ++j) x[j] = x[j] - ti[j] * xi;
        }
      } else {
        for (int i = bs - 1; i >= 0; --i) {
          const T xi = x[i] * t[i + i * ld];
          x[i] = xi;
          const T* ti = t + i * ld;
          for (int j = 0; j < i; ++j) x[j] = x[j] - ti[j] * xi;
        }
      }
    }
  } else {
    // X op(A) = B: column j of X is (B(:, j) - sum of X(:, i) op(A)(i, j) over the solved i)
    // times the reciprocal.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? bs - 1 - q : q;
      T* xj = b + j * ldb;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] - xi[r] * tij;
      }
      const T dj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * dj;
    }
  }
}

// Multiply kernel: B = alpha * op(A) * B (left) or alpha * B * op(A) (right) in place, order at
// most tri_kernel_max; alpha is applied as each result column is complete.
template <class T>
void trmm_kernel(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
                 long ldb) {
  constexpr int ld = tuning::tri_kernel_max;
  alignas(64) T t[ld * ld];
  const int bs = s.left ? rows : cols;
  copy_block<false>(s, bs, a, lda, t);
  if (s.left) {
    // Column form: x_k feeds the rows it reaches before it is itself scaled by its diagonal; the
    // order (ascending for upper, descending for lower) reads every x_k before it changes.
    for (int c = 0; c < cols; ++c) {
      T* x = b + c * ldb;
      for (int q = 0; q < bs; ++q) {
        const int k = s.lower ? bs - 1 - q : q;
        const T xk = x[k];
        const T* tk = t + k * ld;
        const int i0 = s.lower ? k + 1 : 0, i1 = s.lower ? bs : k;
        for (int i = i0; i < i1; ++i) x[i] = x[i] + tk[i] * xk;
        x[k] = tk[k] * xk;
      }
      for (int i = 0; i < bs; ++i) x[i] = alpha * x[i];
    }
  } else {
    // Column j of the result combines columns of B that are still unchanged: descending j for
    // upper, ascending for lower.
    for (int q = 0; q < bs; ++q) {
      const int j = s.lower ? q : bs - 1 - q;
      T* xj = b + j * ldb;
      const T djj = t[j + j * ld];
      for (int r = 0; r < rows; ++r) xj[r] = xj[r] * djj;
      const int i0 = s.lower ? j + 1 : 0, i1 = s.lower ? bs : j;
      for (int i = i0; i < i1; ++i) {
        const T tij = t[i + j * ld];
        const T* xi = b + i * ldb;
        for (int r = 0; r < rows; ++r) xj[r] = xj[r] + xi[r] * tij;
      }
      for (int r = 0; r < rows; ++r) xj[r] = alpha * xj[r];
    }
  }
}

// One level of the ladder: `a` and `b` point at this level's diagonal block of A and its block
// of B; rows x cols is the block of B.
template <bool solve, class T, int level>
void tri_level(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
               long ldb) {
  using ladder = std::conditional_t<solve, tuning::trsm_ladder<T>, tuning::trmm_ladder<T>>;
  constexpr int levels = sizeof(ladder::orders) / sizeof(int);
  constexpr int order = ladder::orders[level];
  constexpr int chunk = tuning::tri_free_chunk;
  const T one = from_real<T>(1);
  // The sign and scale of the GEMM update: the solve subtracts solved blocks, the multiply adds
  // with the call's alpha.
  const T upd = solve ? from_real<T>(-1) : alpha;
  const int tdim = s.left ? rows : cols, fdim = s.left ? cols : rows;
  const int nblocks = (tdim + order - 1) / order;
  // Forward when op(A) is lower on the left or upper on the right (solve), or the opposite
  // (multiply).
  const bool forward = solve ? (s.left == s.lower) : (s.left != s.lower);
  for (int q = 0; q < nblocks; ++q) {
    const int blk = forward ? q : nblocks - 1 - q;
    const int off = blk * order;
    const int bs = std::min(order, tdim - off);
    const int end = off + bs;
    const T* ad = a + off + off * lda;
    for (int c0 = 0; c0 < fdim; c0 += chunk) {
      const int cw = std::min(chunk, fdim - c0);
      T* bd = s.left ? b + off + c0 * ldb : b + c0 + off * ldb;
      const int r = s.left ? bs : cw, cc = s.left ? cw : bs;
      if constexpr (level + 1 < levels) {
        tri_level<solve, T, level + 1>(s, r, cc, alpha, ad, lda, bd, ldb);
      } else if constexpr (solve) {
        trsm_kernel(s, r, cc, ad, lda, bd, ldb);
      } else {
        trmm_kernel(s, r, cc, alpha, ad, lda, bd, ldb);
      }
      // The rest of B: with a lower op(A) on the left the rows after the block (solve) or before
      // it (multiply) meet the block through op(A)(rows, block) or op(A)(block, rows).
      if (s.left) {
        T* bc = b + c0 * ldb;
        if (solve && s.lower) {
          gemm_serial(s.gemm_op, "N", tdim - end, cw, bs, upd, op_at(s, a, lda, end, off), lda,
                      bd, ldb, one, bc + end, ldb);
        } else if (solve) {
          gemm_serial(s.gemm_op, "N", off, cw, bs, upd, op_at(s, a, lda, 0, off), lda, bd, ldb,
                      one, bc, ldb);
        } else if (s.lower) {
          gemm_serial(s.gemm_op, "N", bs, cw, off, upd, op_at(s, a, lda, off, 0), lda, bc, ldb,
                      one, bd, ldb);
        } else {
          gemm_serial(s.gemm_op, "N", bs, cw, tdim - end, upd, op_at(s, a, lda, off, end), lda,
                      bc + end, ldb, one, bd, ldb);
        }
      } else {
        T* bc = b + c0;
        if (solve && !s.lower) {
          gemm_serial("N", s.gemm_op, cw, tdim - end, bs, upd, bd, ldb,
                      op_at(s, a, lda, off, end), lda, one, bc + end * ldb, ldb);
        } else if (solve) {
          gemm_serial("N", s.gemm_op, cw, off, bs, upd, bd, ldb, op_at(s, a, lda, off, 0), lda,
                      one, bc, ldb);
        } else if (!s.lower) {
          gemm_serial("N", s.gemm_op, cw, bs, off, upd, bc, ldb, op_at(s, a, lda, 0, off), lda,
                      one, bd, ldb);
        } else {
          gemm_serial("N", s.gemm_op, cw, bs, tdim - end, upd, bc + end * ldb, ldb,
                      op_at(s, a, lda, end, off), lda, one, bd, ldb);
        }
      }
    }
  }
}

template <class T>
tri_shape read_shape(const char* side, const char* uplo, const char* transa, const char* diag) {
  tri_shape s;
  s.left = lsame(side, "L") & 1;
  const bool upper = lsame(uplo, "U") & 1;
  if (lsame(transa, "N") & 1) {
    s.op = tri_op::n;
    s.gemm_op = "N";
  } else if (!is_complex<T> || (lsame(transa, "T") & 1)) {
    s.op = tri_op::t;
    s.gemm_op = "T";
  } else {
    s.op = tri_op::c;
    s.gemm_op = "C";
  }
  s.lower = (s.op == tri_op::n) != upper;
  s.unit = !(lsame(diag, "N") & 1);
  return s;
}

template <class T>
void fill_zero(int m, int n, T* b, long ldb) {
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) b[i + j * ldb] = T{};
}

}  // namespace

template <class T>
void trsm_engine(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb) {
  const int mm = *m, nn = *n;
  const long lb = *ldb;
  if (nn == 0) return;
  if (is_zero(*alpha)) {
    fill_zero(mm, nn, b, lb);
    return;
  }
  const tri_shape s = read_shape<T>(side, uplo, transa, diag);
  // The solve proper runs with alpha 1: B is scaled first.
  if (!is_one(*alpha))
    for (int j = 0; j < nn; ++j)
      for (int i = 0; i < mm; ++i) b[i + j * lb] = *alpha * b[i + j * lb];
  tri_level<true, T, 0>(s, mm, nn, from_real<T>(1), a, *lda, b, lb);
}

template <class T>
void trmm_engine(const char* side, const char* uplo, const char* transa, const char* diag,
                 const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
                 const int* ldb) {
  const int mm = *m, nn = *n;
  const long lb = *ldb;
  if (nn == 0) return;
  if (is_zero(*alpha)) {
    fill_zero(mm, nn, b, lb);
    return;
  }
  const tri_shape s = read_shape<T>(side, uplo, transa, diag);
  tri_level<false, T, 0>(s, mm, nn, *alpha, a, *lda, b, lb);
}

#define ZVX_TRI_ENGINES(T)                                                                     \
  template void trsm_engine<T>(const char*, const char*, const char*, const char*, const int*, \
                               const int*, const T*, const T*, const int*, T*, const int*);    \
  template void trmm_engine<T>(const char*, const char*, const char*, const char*, const int*, \
                               const int*, const T*, const T*, const int*, T*, const int*);
ZVX_TRI_ENGINES(float)
ZVX_TRI_ENGINES(double)
ZVX_TRI_ENGINES(zvx_complex8)
ZVX_TRI_ENGINES(zvx_complex16)
#undef ZVX_TRI_ENGINES

}  // namespace zvx::l3ops
