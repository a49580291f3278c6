/* LAPACK inner kernels: small factorizations, reflectors, rotations and tridiagonal solves. */
#ifndef ZVX_LAPACK_H
#define ZVX_LAPACK_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

ZVX_EXTERN_C_END

#endif
