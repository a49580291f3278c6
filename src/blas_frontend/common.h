// Shared pieces of the standard-interface front end (libzvx_blas.so.3): letter tests as the
// standard interface reads them, scalar tests for the quick returns, the error reports.
#pragma once
#include <cstddef>
#include "zvx_blas12.h"
#include "zvx_blas3.h"
#include "blas/level12/level12.h"

#define FRONT_API extern "C" __attribute__((visibility("default")))

namespace zvx::front {

// The standard interface reads only the first character of an option, in either case.
inline bool letter(char c, char lower) { return (c | 0x20) == lower; }
inline bool is_n(char c) { return letter(c, 'n'); }
inline bool is_t(char c) { return letter(c, 't'); }
inline bool is_c(char c) { return letter(c, 'c'); }
inline bool is_u(char c) { return letter(c, 'u'); }
inline bool is_l(char c) { return letter(c, 'l'); }
inline bool is_r(char c) { return letter(c, 'r'); }
inline int imax(int a, int b) { return a > b ? a : b; }

inline bool zero(float a) { return a == 0.0f; }
inline bool zero(double a) { return a == 0.0; }
inline bool zero(zvx_complex8 a) { return a.real == 0.0f && a.imag == 0.0f; }
inline bool zero(zvx_complex16 a) { return a.real == 0.0 && a.imag == 0.0; }
inline bool one(float a) { return a == 1.0f; }
inline bool one(double a) { return a == 1.0; }
inline bool one(zvx_complex8 a) { return a.real == 1.0f && a.imag == 0.0f; }
inline bool one(zvx_complex16 a) { return a.real == 1.0 && a.imag == 0.0; }

// Hands a bad argument to xerbla_: `name` is the routine's name in capitals, blank-padded to six.
void report(const char* name, int info);

}  // namespace zvx::front

// The error handler of the Fortran interface; a program may define its own.
FRONT_API void xerbla_(const char* name, const int* info, size_t name_len);
