// The table of level-1 and level-2 kernels of one instruction set, chosen once at run time
// (dispatch.cpp). Where a kernel of a narrower build measured faster on a processor, the wide
// table points at it.
#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {
namespace {

#if ZVX_ISA_LEVEL == 2
// Kernels of the AVX-512 table that run the 32-byte kernels of the AVX2/FMA build, where those
// measured faster on processors that split 64-byte operations into two 32-byte halves. There a
// wide FMA does no more work than two narrow ones, while a lane reduction over 16 (single) or 8
// (double) lanes takes one more level of full-width shuffles per strip than over 8 or 4.
//
// Single transposed: the reductions of the 64-row strips, 16 columns of 16 lanes, cost as much
// as the four FMAs of each column; the 32-byte kernel measured 10-15% faster at order 1,000.
// Measured again at orders 1,000 and 1,024 (the matrix in the last-level cache, A 16 bytes off
// a line as allocations come, both builds in one process, least CPU time of 400 alternating
// samples): whole-column dots without the strips' reductions are only 1-4% faster, so the
// reductions are not what is left against the peer; the wide kernel on eight columns 27-28%
// slower (every 64-byte load straddles two lines), on sixteen 10-46%; four columns a pass up to
// 19% slower; requests for the next group's columns 18-24% slower, 512 bytes or 1 KiB down the
// column 15-18%; loads taken from vector boundaries, so that none straddles two lines, -4..+4%.
void sgemv_t_narrow(long m, long n, float alpha, const float* a, long lda, const float* x, float* y, bool prefetch) {
  isa_avx2::kernel_table()->s.gemv_t(m, n, alpha, a, lda, x, y, prefetch);
}
// Double transposed with columns of at most two strips: the short last strip and the reduction
// of every strip weigh most there (order 100: 5-15% faster). Taller columns stream from the outer
// caches or memory, where the wide kernel's eight streams of whole lines measured faster (order
// 1,000 and 4,000, and the panels of the triangular solves, 10-25%).
constexpr long dgemv_t_narrow_rows = 2 * strip_rows;
void dgemv_t_by_size(long m, long n, double alpha, const double* a, long lda, const double* x, double* y, bool prefetch) {
  if (m <= dgemv_t_narrow_rows)
    isa_avx2::kernel_table()->d.gemv_t(m, n, alpha, a, lda, x, y, prefetch);
  else
    gemv_t<double>(m, n, alpha, a, lda, x, y, prefetch);
}
#define ZVX_SGEMV_T sgemv_t_narrow
#define ZVX_DGEMV_T dgemv_t_by_size
#else
#define ZVX_SGEMV_T gemv_t<float>
#define ZVX_DGEMV_T gemv_t<double>
#endif

constexpr kernel_set table = {
    {axpy<float>, axpy2<float>, dot<float>, scal<float>, copy<float>, swap<float>, asum<float>, sumsq_s,
     iamax<float>, gemv_n<float>, ZVX_SGEMV_T, column_dots<float>, band_dots<float>, symv<float>, trsv_diagonal_block<float>,
     trmv_transposed_diagonal_block<float>, trmv_diagonal_block<float>},
    {axpy<double>, axpy2<double>, dot<double>, scal<double>, copy<double>, swap<double>, asum<double>, sumsq_d,
     iamax<double>, gemv_n<double>, ZVX_DGEMV_T, column_dots<double>, band_dots<double>, symv<double>, trsv_diagonal_block<double>,
     trmv_transposed_diagonal_block<double>, trmv_diagonal_block<double>},
    {caxpy<float>, cdot<float>, cscal<float>, ciamax<float>, cgemv_n<float>, cgemv_t<float>, ccolumn_dots<float>, cgemv_rest_n<float>,
     hemv<float>, ctrmv_diagonal_block<float>, ctrsv_diagonal_block<float>},
    {caxpy<double>, cdot<double>, cscal<double>, ciamax<double>, cgemv_n<double>, cgemv_t<double>, ccolumn_dots<double>, cgemv_rest_n<double>,
     hemv<double>, ctrmv_diagonal_block<double>, ctrsv_diagonal_block<double>},
};
#undef ZVX_SGEMV_T
#undef ZVX_DGEMV_T

}  // namespace

const kernel_set* kernel_table() { return &table; }

}  // namespace zvx::blas12::ZVX_ISA_NS
