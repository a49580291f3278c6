// The engines as each instruction-set build of gemm_kernels.cpp defines them; gemm_engine.cpp
// picks one set once, by the processor.
#pragma once
#include "zvx_common.h"

#define ZVX_GEMM_ISA_DECLARE(ns)                                                                 \
  namespace ns {                                                                                 \
  void gemm_s(const char*, const char*, const int*, const int*, const int*, const float*,        \
              const float*, const int*, const float*, const int*, const float*, float*,          \
              const int*);                                                                       \
  void gemm_d(const char*, const char*, const int*, const int*, const int*, const double*,       \
              const double*, const int*, const double*, const int*, const double*, double*,      \
              const int*);                                                                       \
  void gemm_c(const char*, const char*, const int*, const int*, const int*, const zvx_complex8*, \
              const zvx_complex8*, const int*, const zvx_complex8*, const int*,                  \
              const zvx_complex8*, zvx_complex8*, const int*);                                   \
  void gemm_z(const char*, const char*, const int*, const int*, const int*,                      \
              const zvx_complex16*, const zvx_complex16*, const int*, const zvx_complex16*,      \
              const int*, const zvx_complex16*, zvx_complex16*, const int*);                     \
  }

ZVX_GEMM_ISA_DECLARE(isa_portable)
ZVX_GEMM_ISA_DECLARE(isa_avx2)
ZVX_GEMM_ISA_DECLARE(isa_avx512)
