// What the threaded frames of symm, hemm, the rank updates, trmm and trsm share: the test before
// a fork and the region that cuts the dimension that is not the order of A into pieces.
//
// A frame's pieces are the runtime's thread count, cut by piece_of (pieces.h). The region is not
// forced to that many threads: a thread may take several pieces, and a runtime that declines to
// fork runs them all on the caller.
#pragma once
#include <omp.h>

#include <algorithm>

#include "blas/level3/operations.h"
#include "blas/level3/pieces.h"

namespace zvx::l3ops {

// The thread count for a region, or 0 when the call must stay serial: inside a parallel region
// the library never opens one of its own, and one thread means serial.
inline int frame_threads() {
  if (omp_in_parallel()) return 0;
  const int nt = omp_get_max_threads();
  return nt <= 1 ? 0 : nt;
}

// Runs piece(off, size) for the nt pieces of a dimension of length dim under a static schedule
// with chunk 1.
template <class Piece>
void split_region(int nt, int dim, Piece piece) {
#pragma omp parallel for schedule(static, 1)
  for (int i = 0; i < nt; ++i) {
    const zvx::piece p = piece_of(i, nt, dim);
    piece(p.offset, p.size);
  }
}

// The engines of symm and hemm share one argument list, and so one frame (symm_omp.cpp), which
// is instantiated for the complex types there so that hemm_omp.cpp can use it.
template <class T>
using multiply_engine = void (*)(const char*, const char*, const int*, const int*, const T*,
                                 const T*, const int*, const T*, const int*, const T*, T*,
                                 const int*);

template <class T>
void symm_frame(multiply_engine<T> engine, const char* side, const char* uplo, const int* m,
                const int* n, const T* alpha, const T* a, const int* lda, const T* b,
                const int* ldb, const T* beta, T* c, const int* ldc);

}  // namespace zvx::l3ops
