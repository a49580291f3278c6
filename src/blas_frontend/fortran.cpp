// The standard Fortran BLAS interface over the library's entries: each routine checks its
// arguments in the order and with the parameter numbers of the standard interface, reports the
// first bad one to xerbla_, takes the standard quick returns, and then calls the library's entry.
// The wrappers come from the table in routines.py.
//
// How the wrappers reach the engines: libzvx_blas.so.3 is linked from the same objects as
// libzvx_c3.so (an archive of them), and its version script exports only the standard names.
// The library's own entries (dgemm, ddot, ...) are therefore local symbols of this library,
// bound at link time: a process that also loads another BLAS, or libzvx_c3.so itself, can never
// divert a call of the front end into another library. Only xerbla_ stays interposable, as the
// standard interface requires (see report below).
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include "blas_frontend/common.h"

namespace zvx::front {

// xerbla_ is exported with default visibility and called through the dynamic linker (the
// library is not linked -Bsymbolic), so a definition in the program or in a library loaded
// before this one receives the report.
void report(const char* name, int info) { xerbla_(name, &info, 6); }

}  // namespace zvx::front

// The standard default handler: the message of the standard interface on the standard output,
// then the program stops, as the standard handler's STOP does.
FRONT_API void xerbla_(const char* name, const int* info, size_t name_len) {
  size_t len = name_len;
  while (len > 0 && name[len - 1] == ' ') --len;
  char number[8];
  if (*info >= -9 && *info <= 99) std::snprintf(number, sizeof number, "%2d", *info);
  else std::snprintf(number, sizeof number, "**");
  std::printf(" ** On entry to %.*s parameter number %s had an illegal value\n", (int)len, name,
              number);
  std::fflush(stdout);
  std::exit(0);
}

#include "fortran_bodies.inc"
using namespace zvx::front;
#include "fortran_wrappers.inc"
