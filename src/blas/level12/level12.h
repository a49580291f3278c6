// Level-1 and level-2 kernels for the other subsystems of the library (LAPACK kernels, level 3,
// sparse BLAS, transforms). They are the engines under the exported entries, with lengths as
// `long` and 0-based unit-stride vectors; the exported entries (include/zvx_blas12.h) may be
// called as well and carry the full argument rules.
#pragma once
#include "blas/level12/kernels.h"
#include "blas/level12/tuning.h"
#include "common/pages.h"

namespace zvx::blas12 {

// Operands of translation_request_from_bytes to translation_request_to_bytes have a line of each
// page requested before the kernels walk them (common/pages.h).
inline void request_operand(const void* p, double bytes) {
  if (bytes >= (double)translation_request_from_bytes && bytes <= (double)translation_request_to_bytes)
    request_pages(p, (long)bytes);
}
template <class T> inline void request_matrix(const T* a, long m, long n, long lda) {
  if (m > 0 && n > 0) request_operand(a, ((double)(n - 1) * lda + m) * sizeof(T));
}

// y := alpha * op(A) * x + beta * y through the strip frame of the gemv entries: `trans` is read
// as the entry of the type reads it.
template <class T>
void gemv(const char* trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx,
          T beta, T* y, int incy);

// The bodies of the published entries that other subsystems call (the LAPACK kernels), scalars by
// value: each published entry is a call of its body, so a caller here gets the same results
// without passing through a name that another library in the process could interpose.
namespace entry {
float dot(int n, const float* x, int incx, const float* y, int incy);     // sdot
double dot(int n, const double* x, int incx, const double* y, int incy);  // ddot
zvx_complex8 dotc(int n, const zvx_complex8* x, int incx, const zvx_complex8* y, int incy);
zvx_complex16 dotc(int n, const zvx_complex16* x, int incx, const zvx_complex16* y, int incy);
void scal(int n, float alpha, float* x, int incx);
void scal(int n, double alpha, double* x, int incx);
void scal(int n, float alpha, zvx_complex8* x, int incx);    // csscal
void scal(int n, double alpha, zvx_complex16* x, int incx);  // zdscal
int iamax(int n, const float* x, int incx);
int iamax(int n, const double* x, int incx);
void swap(int n, float* x, int incx, float* y, int incy);
void swap(int n, double* x, int incx, double* y, int incy);
// A += alpha x y' (ger) or alpha x y^H (gerc).
void ger(int m, int n, double alpha, const double* x, int incx, const double* y, int incy,
         double* a, int lda);
void gerc(int m, int n, zvx_complex8 alpha, const zvx_complex8* x, int incx,
          const zvx_complex8* y, int incy, zvx_complex8* a, int lda);
void syr(const char* uplo, int n, float alpha, const float* x, int incx, float* a, int lda);
void syr(const char* uplo, int n, double alpha, const double* x, int incx, double* a, int lda);
}  // namespace entry

}  // namespace zvx::blas12
