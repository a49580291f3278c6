// xdsexy and xssexy: C = A^T * B for tall A and B (k by n, leading dimension k) and a small
// dense n by n result with leading dimension n.
//
// When k is much larger than n the GEMM frame has nothing to cut, so these cut k: p pieces each
// multiply their band of rows into a matrix of their own in scratch, and the calling thread sums
// the p matrices into C in the order of the pieces, so the rounding of the result does not
// depend on which thread ran which piece. The serial policy still cuts into two pieces; otherwise
// there is one piece more than threads.
#include <omp.h>

#include <algorithm>

#include "blas/level3/operations.h"
#include "service/service.h"

namespace {

using namespace zvx;
using namespace zvx::l3ops;

// Alignment of the scratch block: a cache line pair, so each piece's matrix starts on a line.
constexpr int cross_scratch_alignment = 128;

template <class T>
void cross_product(const int* k, const int* n, const T* a, const T* b, T* c) {
  const int kk = *k, nn = *n;
  const int serial = zvx::serial_policy();
  const int p = serial == 1 ? 2 : omp_get_max_threads() + 1;
  const int chunk = kk / p;
  const long nn2 = static_cast<long>(nn) * nn;
  auto length = [&](int i) {
    return i == p - 1 ? kk - (p - 1) * chunk : std::min(chunk, kk - i * chunk);
  };
  T* scratch = static_cast<T*>(
      zvx::scratch_allocate(static_cast<unsigned>(nn2 * p * sizeof(T)), cross_scratch_alignment));
  if (scratch == nullptr && nn2 > 0) {
    // No scratch: the same pieces go straight into C, each added to the sum so far.
    for (int i = 0; i < p; ++i)
      gemm_serial("T", "N", nn, nn, length(i), T(1), a + static_cast<long>(i) * chunk, kk,
                  b + static_cast<long>(i) * chunk, kk, i == 0 ? T(0) : T(1), c, nn);
    return;
  }
  auto piece = [&](int i) {
    gemm_serial("T", "N", nn, nn, length(i), T(1), a + static_cast<long>(i) * chunk, kk,
                b + static_cast<long>(i) * chunk, kk, T(0), scratch + i * nn2, nn);
  };
  if (serial == 1) {
    for (int i = 0; i < p; ++i) piece(i);
  } else {
#pragma omp parallel for schedule(static, 1)
    for (int i = 0; i < p; ++i) piece(i);
  }
  for (long e = 0; e < nn2; ++e) c[e] = 0;
  for (int i = 0; i < p; ++i) {
    const T* s = scratch + i * nn2;
    for (long e = 0; e < nn2; ++e) c[e] += s[e];
  }
  zvx::scratch_free(scratch);
}

}  // namespace

ZVX_EXPORT void xdsexy(const int* k, const int* n, const double* a, const double* b, double* c) {
  cross_product(k, n, a, b, c);
}
ZVX_EXPORT void xssexy(const int* k, const int* n, const float* a, const float* b, float* c) {
  cross_product(k, n, a, b, c);
}
