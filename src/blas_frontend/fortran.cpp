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
// The two helpers of the standard set: letter comparison without regard to case, and the report
// of a routine named by an array of characters (from C), handed to xerbla_ blank-padded to 32.
FRONT_API int lsame_(const char* ca, const char* cb, size_t, size_t) {
  auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  return upper(*ca) == upper(*cb);
}
FRONT_API void xerbla_array_(const char* name, const int* name_len, const int* info, size_t) {
  char padded[32];
  for (int i = 0; i < 32; ++i) padded[i] = i < *name_len ? name[i] : ' ';
  xerbla_(padded, info, sizeof padded);
}

using namespace zvx::front;
#include "fortran_wrappers.inc"
