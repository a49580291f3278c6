// Level-1 and level-2 kernels for the other subsystems of the library (LAPACK kernels, level 3,
// sparse BLAS, transforms). They are the engines under the exported entries, with lengths as
// `long` and 0-based unit-stride vectors; the exported entries (include/zvx_blas12.h) may be
// called as well and carry the full argument rules.
#pragma once
#include "blas/level12/kernels.h"

namespace zvx::blas12 {

// y := alpha * op(A) * x + beta * y through the strip frame of the gemv entries: `trans` is read
// as the entry of the type reads it.
template <class T>
void gemv(const char* trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx,
          T beta, T* y, int incy);

}  // namespace zvx::blas12
