/* Vector math and random bits through the companion library, and the vector threaders. */
#ifndef ZVX_NVO_H
#define ZVX_NVO_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

ZVX_EXTERN_C_END

#endif
