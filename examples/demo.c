/* A tour of what the library offers so far: version, processor, thread policy, scratch memory,
 * tuning queries, a few BLAS and LAPACK kernels, vector math and the error reporter. */
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
  /* Level 1 and 3: a dot product and a small matrix product. */
  double x[4] = {1, 2, 3, 4}, y[4] = {4, 3, 2, 1};
  int four = 4, one = 1;
  printf("ddot        : (1,2,3,4).(4,3,2,1) = %g\n", ddot(&four, x, &one, y, &one));
  double ma[4] = {1, 3, 2, 4}, mb[4] = {5, 7, 6, 8}, mc[4] = {0, 0, 0, 0}; /* column-major 2x2 */
  double alpha = 1.0, beta = 0.0;
  int two = 2;
  dgemm("N", "N", &two, &two, &two, &alpha, ma, &two, mb, &two, &beta, mc, &two);
  printf("dgemm       : [1 2; 3 4] * [5 6; 7 8] = [%g %g; %g %g]\n", mc[0], mc[2], mc[1], mc[3]);

  /* LAPACK kernel: Cholesky factor of [4 2; 2 3]. */
  double spd[4] = {4, 2, 2, 3};
  int info = 0;
  dpotrf_l_small("L", &two, spd, &two, &info);
  printf("dpotrf      : L = [%g 0; %g %g], info %d\n", spd[0], spd[1], spd[3], info);

  /* Vector math through the companion file. */
  double angles[3] = {0.0, 3.14159265358979323846 / 6, 3.14159265358979323846 / 2}, sines[3];
  vdSin(3, angles, sines);
  printf("vdSin       : sin(0, pi/6, pi/2) = %.15g %.15g %.15g\n", sines[0], sines[1], sines[2]);

  printf("error line  : ");
  fflush(stdout);
  info = 3;
  default_xerbla("DEMO  ", &info, 6);
  return 0;
}
