// Inner loops of the sparse kernels, compiled once per instruction set: the row dots of CSR (the
// product that carries most sparse work) and the unit-stride diagonal updates of DIA. Multiply-adds
// are explicit FMAs where the processor has them; the portable build multiplies and adds.
#include <cmath>

#include "spblas/spblas.h"

namespace zvx::spblas::simd::ZVX_ISA_NS {
namespace {

inline double madd(double a, double b, double c) {
#if ZVX_ISA_LEVEL >= 1
  return __builtin_fma(a, b, c);
#else
  return a * b + c;
#endif
}

// Four independent sums hide the latency of the multiply-add; the loads of x are gathers that the
// out-of-order core overlaps, so a scalar form is as fast as a vector gather on these rows.
inline double dot(long len, const double* val, const int* idx, const double* x) {
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  long p = 0;
  for (; p + 4 <= len; p += 4) {
    s0 = madd(val[p], x[idx[p]], s0);
    s1 = madd(val[p + 1], x[idx[p + 1]], s1);
    s2 = madd(val[p + 2], x[idx[p + 2]], s2);
    s3 = madd(val[p + 3], x[idx[p + 3]], s3);
  }
  for (; p < len; ++p) s0 = madd(val[p], x[idx[p]], s0);
  return (s0 + s1) + (s2 + s3);
}

double row_dot(long len, const double* val, const int* indx, int base, const double* x) {
  return dot(len, val, indx, x - base);
}

void csr_rows(long r0, long r1, const double* val, const int* indx, const int* pntrb,
              const int* pntre, int base, const double* x, double alpha, double* y,
              bool accumulate) {
  const long origin = pntrb[0];
  const double* xs = x - base;
  for (long i = r0; i < r1; ++i) {
    const long s = pntrb[i] - origin, e = pntre[i] - origin;
    const double sum = e > s ? dot(e - s, val + s, indx + s, xs) : 0.0;
    y[i] = accumulate ? madd(alpha, sum, y[i]) : alpha * sum;
  }
}

void diag_update(long len, double alpha, const double* v, const double* b, double* c) {
  for (long i = 0; i < len; ++i) c[i] = madd(v[i] * alpha, b[i], c[i]);
}

void diag_update2(long len, double alpha, const double* v, const double* b0, const double* b1,
                  double* c0, double* c1) {
  for (long i = 0; i < len; ++i) {
    const double t = v[i] * alpha;
    c0[i] = madd(t, b0[i], c0[i]);
    c1[i] = madd(t, b1[i], c1[i]);
  }
}

constexpr kernel_set set{csr_rows, row_dot, diag_update, diag_update2};

}  // namespace

const kernel_set* table() { return &set; }

}  // namespace zvx::spblas::simd::ZVX_ISA_NS
