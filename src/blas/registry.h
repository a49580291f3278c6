// The registry of the dense kernels: for each instruction-set level one record that holds every
// kernel slot of level 1, 2 and 3 (the GEMM engines, the triangular and rank-update kernels at
// the bottom of the level-3 ladders, the level-1/2 loops). The record of this process is chosen
// once, at the first query, by the processor (service/cpu_features.h); callers keep what they
// read from it, so the choice costs one load afterwards. Adding an instruction set means one more
// record here and the kernel files compiled for it.
#pragma once
#include "blas/level12/kernels.h"
#include "blas/level3/gemm_engine.h"
#include "blas/level3/triangular_kernels.h"
#include "service/cpu_features.h"

namespace zvx {

// The bottom kernels of the trsm and trmm ladders of one type.
template <class T>
struct triangular_slots {
  void (*trsm)(const l3ops::tri_shape&, int rows, int cols, const T* a, long lda, T* b, long ldb);
  void (*trmm)(const l3ops::tri_shape&, int rows, int cols, T alpha, const T* a, long lda, T* b,
               long ldb);
};

struct dense_kernels {
  isa level;
  gemm_engine_fn<float> gemm_s;
  gemm_engine_fn<double> gemm_d;
  gemm_engine_fn<zvx_complex8> gemm_c;
  gemm_engine_fn<zvx_complex16> gemm_z;
  triangular_slots<float> tri_s;
  triangular_slots<double> tri_d;
  triangular_slots<zvx_complex8> tri_c;
  triangular_slots<zvx_complex16> tri_z;
  // Diagonal blocks of zherk and of dsyrk without transpose, by direct register tiles.
  void (*herk_diagonal)(bool upper, bool notrans, int bs, int k, double alpha,
                        const zvx_complex16* a, long lda, zvx_complex16* c, long ldc);
  void (*syrk_diagonal)(bool upper, bool notrans, int bs, int k, double alpha, const double* a,
                        long lda, double* c, long ldc);
  const blas12::kernel_set* level12;
};

// The record of this process's instruction set.
const dense_kernels& dense_registry();

template <class T>
inline const triangular_slots<T>& triangular_kernels_for() {
  const dense_kernels& r = dense_registry();
  if constexpr (std::is_same_v<T, float>) return r.tri_s;
  else if constexpr (std::is_same_v<T, double>) return r.tri_d;
  else if constexpr (std::is_same_v<T, zvx_complex8>) return r.tri_c;
  else return r.tri_z;
}

}  // namespace zvx
