// The triangular kernels at the bottom of the trmm and trsm ladders, compiled once per
// instruction set (their substitution loops vectorize along a column of the local triangle or of
// B, so the width of the vectors matters), and what the engine and the kernels share.
#pragma once
#include "common/options.h"
#include "common/scalar.h"
#include "blas/level3/tuning.h"

namespace zvx::l3ops {

struct tri_shape {
  bool left;     // op(A) acts from the left
  bool lower;    // op(A) is lower triangular (A lower without transpose, or upper with one)
  op a_op;       // how A is read
  bool unit;     // unit diagonal, never read
  const char* gemm_op;  // op of A for the GEMM engine: "N", "T" or "C"
};

// Pointer to the stored element behind op(A)(r, c).
template <class T>
inline const T* op_at(const tri_shape& s, const T* a, long lda, int r, int c) {
  return s.a_op == op::n ? a + r + c * lda : a + c + r * lda;
}

// Per instruction set: trsm_kernel solves op(A) X = B (left) or X op(A) = B (right) in place on
// a rows x cols block of B with a diagonal block of order at most tuning::tri_kernel_max;
// trmm_kernel forms alpha op(A) B or alpha B op(A) in place; herk_diagonal adds
// alpha op(A) op(A)^H to the chosen triangle of a diagonal block of zherk (real diagonal), and
// syrk_diagonal alpha op(A) op(A)^T to that of dsyrk.
#define ZVX_TRI_KERNEL_DECLS(ns)                                                                \
  namespace ns {                                                                                \
  void trsm_kernel(const tri_shape&, int, int, const float*, long, float*, long);               \
  void trsm_kernel(const tri_shape&, int, int, const double*, long, double*, long);             \
  void trsm_kernel(const tri_shape&, int, int, const zvx_complex8*, long, zvx_complex8*, long); \
  void trsm_kernel(const tri_shape&, int, int, const zvx_complex16*, long, zvx_complex16*,      \
                   long);                                                                       \
  void trmm_kernel(const tri_shape&, int, int, float, const float*, long, float*, long);        \
  void trmm_kernel(const tri_shape&, int, int, double, const double*, long, double*, long);     \
  void trmm_kernel(const tri_shape&, int, int, zvx_complex8, const zvx_complex8*, long,         \
                   zvx_complex8*, long);                                                        \
  void trmm_kernel(const tri_shape&, int, int, zvx_complex16, const zvx_complex16*, long,       \
                   zvx_complex16*, long);                                                       \
  void herk_diagonal(bool, bool, int, int, double, const zvx_complex16*, long, zvx_complex16*,  \
                     long);                                                                     \
  void syrk_diagonal(bool, bool, int, int, double, const double*, long, double*, long);         \
  }
ZVX_TRI_KERNEL_DECLS(isa_portable)
ZVX_TRI_KERNEL_DECLS(isa_avx2)
ZVX_TRI_KERNEL_DECLS(isa_avx512)
#undef ZVX_TRI_KERNEL_DECLS

}  // namespace zvx::l3ops
