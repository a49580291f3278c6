/* Level-1 and level-2 BLAS and the sparse-vector routines. */
#ifndef ZVX_BLAS12_H
#define ZVX_BLAS12_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

ZVX_EXTERN_C_END

#endif
