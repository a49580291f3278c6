/* A tour of what the library offers so far: version, processor, thread policy, scratch memory,
 * tuning queries and the error reporter. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "zvx.h"

int main(void) {
  char line[128];
  zvxgetversionstring_c(line, (int)sizeof line);
  printf("library     : %s\n", line);
  printf("built for   : %s (front-end code %d)\n", gettargetprocessor(), dll_cpu_version());
  printf("counter     : %.3f GHz\n", getcpufrequency());
  printf("thread mode : %s\n", in_serial() ? "serial (set OMP_NUM_THREADS or ZVX_SERIAL=NO for threads)" : "parallel");

  void* a = zvx_allocate(1u << 20, 128);
  zvx_deallocate(a);
  void* b = zvx_allocate(1u << 20, 128);
  printf("scratch     : 1 MiB at %p, aligned to 128: %s, same block on reuse: %s\n", b,
         ((uintptr_t)b % 128) == 0 ? "yes" : "no", a == b ? "yes" : "no");
  zvx_deallocate(b);
  freebuffers();

  int query = 1, n1 = 1000, n2 = 1000, n3 = -1, n4 = -1;
  printf("ilaenv      : DGETRF block %d, DPOTRF block %d, DGEQRF block %d\n",
         ilaenv(&query, "DGETRF", " ", &n1, &n2, &n3, &n4, 6, 1),
         ilaenv(&query, "DPOTRF", " ", &n1, &n2, &n3, &n4, 6, 1),
         ilaenv(&query, "DGEQRF", " ", &n1, &n2, &n3, &n4, 6, 1));
  int major, minor, patch;
  ilaver(&major, &minor, &patch);
  printf("ilaver      : %d.%d.%d\n", major, minor, patch);
  printf("lsame       : 'n' vs 'N' -> %d, 'a' vs 'B' -> %d\n", lsame("n", "N"), lsame("a", "B"));

  double t0 = dsecnd();
  volatile double s = 0;
  for (int i = 0; i < 1000000; ++i) s += i * 0.5;
  printf("dsecnd      : a million additions took %.6f s\n", dsecnd() - t0);
  printf("error line  : ");
  fflush(stdout);
  int info = 3;
  default_xerbla("DEMO  ", &info, 6);
  return 0;
}
