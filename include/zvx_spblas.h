/* Sparse BLAS: products and triangular solves on CSR, CSC, COO, DIA, skyline and BSR storage.
 *
 * Double precision only. Every argument by pointer unless said otherwise; 32-bit indices. The
 * entries check nothing. matdescra: position 0 the matrix type (G general, T triangular, S or H
 * symmetric, D diagonal, A skew-symmetric), 1 the triangle (U/L), 2 the diagonal (U unit, N
 * non-unit), 3 the index base ("C" zero-based; read by zvx_dcsrmv and zvx_dbsrmv only).
 * Multiplies read an unknown type as symmetric, lower, non-unit; solves read every type but D as
 * triangular. Row pointers count from their first element (pntrb[0] may be any number). Dense
 * operands are column-major with leading dimensions ldb, ldc. */
#ifndef ZVX_SPBLAS_H
#define ZVX_SPBLAS_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* CSR and CSC: y := alpha * op(A) * x + beta * y, C := alpha * op(A) * B + beta * C, and the
   solves y := alpha * inv(op(A)) * x, C := alpha * inv(op(A)) * B. */
ZVX_API void zvx_dcsrmv(const char* transa, const int* m, const int* k, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* x, const double* beta, double* y);
ZVX_API void zvx_dcscmv(const char* transa, const int* m, const int* k, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* x, const double* beta, double* y);
ZVX_API void zvx_dcsrmm(const char* transa, const int* m, const int* n, const int* k, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
ZVX_API void zvx_dcscmm(const char* transa, const int* m, const int* n, const int* k, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
ZVX_API void zvx_dcsrsv(const char* transa, const int* m, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* x, double* y);
ZVX_API void zvx_dcscsv(const char* transa, const int* m, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* x, double* y);
ZVX_API void zvx_dcsrsm(const char* transa, const int* m, const int* n, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* b, const int* ldb, double* c, const int* ldc);
ZVX_API void zvx_dcscsm(const char* transa, const int* m, const int* n, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* b, const int* ldb, double* c, const int* ldc);

/* COO: triplets in any order; duplicates add up in products. Solves take separate x and y. */
ZVX_API void zvx_dcoomv(const char* transa, const int* m, const int* k, const double* alpha, const char* matdescra, const double* val, const int* rowind, const int* colind, const int* nnz, const double* x, const double* beta, double* y);
ZVX_API void zvx_dcoomm(const char* transa, const int* m, const int* n, const int* k, const double* alpha, const char* matdescra, const double* val, const int* rowind, const int* colind, const int* nnz, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
ZVX_API void zvx_dcoosv(const char* transa, const int* m, const double* alpha, const char* matdescra, const double* val, const int* rowind, const int* colind, const int* nnz, const double* x, double* y);
ZVX_API void zvx_dcoosm(const char* transa, const int* m, const int* n, const double* alpha, const char* matdescra, const double* val, const int* rowind, const int* colind, const int* nnz, const double* b, const int* ldb, double* c, const int* ldc);

/* DIA: val(lval, ndiag), idiag[d] = column - row of diagonal d (solves want ascending offsets). */
ZVX_API void zvx_ddiamv(const char* transa, const int* m, const int* k, const double* alpha, const char* matdescra, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* x, const double* beta, double* y);
ZVX_API void zvx_ddiamm(const char* transa, const int* m, const int* n, const int* k, const double* alpha, const char* matdescra, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
ZVX_API void zvx_ddiasv(const char* transa, const int* m, const double* alpha, const char* matdescra, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* x, double* y);
ZVX_API void zvx_ddiasm(const char* transa, const int* m, const int* n, const double* alpha, const char* matdescra, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* b, const int* ldb, double* c, const int* ldc);

/* Skyline: line i holds pntr[i+1] - pntr[i] values ending with the diagonal; the lower triangle
   is stored by rows, the upper by columns. */
ZVX_API void zvx_dskymv(const char* transa, const int* m, const int* k, const double* alpha, const char* matdescra, const double* val, const int* pntr, const double* x, const double* beta, double* y);
ZVX_API void zvx_dskymm(const char* transa, const int* m, const int* n, const int* k, const double* alpha, const char* matdescra, const double* val, const int* pntr, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
ZVX_API void zvx_dskysv(const char* transa, const int* m, const double* alpha, const char* matdescra, const double* val, const int* pntr, const double* x, double* y);
ZVX_API void zvx_dskysm(const char* transa, const int* m, const int* n, const double* alpha, const char* matdescra, const double* val, const int* pntr, const double* b, const int* ldb, double* c, const int* ldc);

/* BSR: m and k count block rows and columns of lb x lb blocks, column-major inside a block
   (row-major with zero-based "C" indexing). beta 0 multiplies (NaN in y stays). */
ZVX_API void zvx_dbsrmv(const char* transa, const int* m, const int* k, const int* lb, const double* alpha, const char* matdescra, const double* val, const int* indx, const int* pntrb, const int* pntre, const double* x, const double* beta, double* y);

/* Short forms on square one-based matrices (ia holds m + 1 row starts): y := op(A) * x, the
   symmetric product from one triangle, and the triangular solve. */
ZVX_API void zvx_dcsrgemv(const char* transa, const int* m, const double* a, const int* ia, const int* ja, const double* x, double* y);
ZVX_API void zvx_dcsrsymv(const char* uplo, const int* m, const double* a, const int* ia, const int* ja, const double* x, double* y);
ZVX_API void zvx_dcsrtrsv(const char* uplo, const char* transa, const char* diag, const int* m, const double* a, const int* ia, const int* ja, const double* x, double* y);
ZVX_API void zvx_dcoogemv(const char* transa, const int* m, const double* val, const int* rowind, const int* colind, const int* nnz, const double* x, double* y);
ZVX_API void zvx_dcoosymv(const char* uplo, const int* m, const double* val, const int* rowind, const int* colind, const int* nnz, const double* x, double* y);
ZVX_API void zvx_dcootrsv(const char* uplo, const char* transa, const char* diag, const int* m, const double* val, const int* rowind, const int* colind, const int* nnz, const double* x, double* y);
ZVX_API void zvx_ddiagemv(const char* transa, const int* m, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* x, double* y);
ZVX_API void zvx_ddiasymv(const char* uplo, const int* m, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* x, double* y);
ZVX_API void zvx_ddiatrsv(const char* uplo, const char* transa, const char* diag, const int* m, const double* val, const int* lval, const int* idiag, const int* ndiag, const double* x, double* y);
/* Every block row holds the named triangle with its diagonal block first; y := A * x. */
ZVX_API void zvx_dbsrsymv(const char* uplo, const int* m, const int* lb, const double* a, const int* ia, const int* ja, const double* x, double* y);

/* Zero-based interface (m and flag by value where shown). zvx_cspblas_dcsrsymv_af: rows hold one
   triangle, sorted, the diagonal first (upper) or last (lower). zvx_cspblas_dbsrsymv: uplo has two
   characters; "A" in position 1 means every block row starts with its diagonal block (y := A * x),
   otherwise y += A * x from the named triangle. */
ZVX_API void zvx_cspblas_dcsrsymv(const char* uplo, const int* m, const double* a, const int* ia, const int* ja, const double* x, double* y);
ZVX_API void zvx_cspblas_dcsrsymv_af(const char* uplo, int m, const double* a, const int* ia, const int* ja, const double* x, double* y, int flag);
ZVX_API void zvx_cspblas_dbsrsymv(const char* uplo, const int* m, const int* lb, const double* a, const int* ia, const int* ja, const double* x, double* y);

/* Solve with an incomplete LDLt factor (1 x 1 and 2 x 2 pivots), zero-based. mode 1: nothing;
   0: full solve with the pivots of mask (becomes 2 when there is no 2 x 2 pivot); other: the fast
   form for 1 x 1 pivots, whose backward sweep runs only from 2,000 rows on. b is overwritten. */
ZVX_API void zvx_ildlt_sv(const int* n, const double* val, const int* ia, const int* ja, const double* d, const double* e, const void* unused, const unsigned* mask, double* b, double* x, int* mode);

ZVX_EXTERN_C_END

#endif
