/* Level-3 BLAS: general, symmetric, Hermitian and triangular matrix products and solves. */
#ifndef ZVX_BLAS3_H
#define ZVX_BLAS3_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

ZVX_EXTERN_C_END

#endif
