/* The whole public interface of libzvx_c3.so. Each subsystem has its own header as well. */
#ifndef ZVX_H
#define ZVX_H

#include "zvx_common.h"
#include "zvx_service.h"
#include "zvx_blas12.h"
#include "zvx_blas3.h"
#include "zvx_lapack.h"
#include "zvx_nvo.h"
#include "zvx_spblas.h"
#include "zvx_dft.h"
#include "zvx_trig.h"
#include "zvx_poisson.h"
#include "zvx_gmp.h"

#endif
