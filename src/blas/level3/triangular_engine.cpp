// Serial engines of trmm (B = alpha * op(A) * B or alpha * B * op(A)) and trsm (the solve of the
// same forms for X, overwriting B), A triangular.
//
// Each engine is a fixed ladder of levels (tuning.h). A level cuts the triangle into
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

#include "blas/level3/operations.h"
#include "blas/level3/tuning.h"
#include "blas/level3/triangular_kernels.h"
#include "blas/registry.h"

namespace zvx::l3ops {
namespace {

// The kernels of the instruction set chosen for this process.
template <class T>
void trsm_kernel(const tri_shape& s, int rows, int cols, const T* a, long lda, T* b, long ldb) {
  triangular_kernels_for<T>().trsm(s, rows, cols, a, lda, b, ldb);
}
template <class T>
void trmm_kernel(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
                 long ldb) {
  triangular_kernels_for<T>().trmm(s, rows, cols, alpha, a, lda, b, ldb);
}

// One level of the ladder: `a` and `b` point at this level's diagonal block of A and its block
// of B; rows x cols is the block of B.
template <bool solve, class T, int level>
void tri_level(const tri_shape& s, int rows, int cols, T alpha, const T* a, long lda, T* b,
               long ldb) {
  using ladder = std::conditional_t<solve, tuning::trsm_ladder<T>, tuning::trmm_ladder<T>>;
  constexpr int levels = sizeof(ladder::orders) / sizeof(int);
  constexpr int order = ladder::orders[level];
  constexpr int chunk = level + 1 == levels ? ladder::bottom_chunk : tuning::tri_free_chunk;
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
  s.left = is_left(side);
  const bool upper = is_upper(uplo);
  s.a_op = read_op<T>(transa);
  s.gemm_op = s.a_op == op::n ? "N" : s.a_op == op::t ? "T" : "C";
  s.lower = (s.a_op == op::n) != upper;
  s.unit = !is_nonunit(diag);
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
