/* The Laplace equation on the unit square with mixed sides, against its known solution
 * u = sin(x) exp(y): Dirichlet at x = 0 and y = 1, Neumann at x = 1 and y = 0.
 *
 * Neumann data is the outward normal derivative on the sides y = const, and half of it on the
 * sides x = const. Grid values stand at f[j*(nx+1)+i] for x = i/nx, y = j/ny. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

int main(void) {
  const int nx = 64, ny = 64;
  const double ax = 0, bx = 1, ay = 0, by = 1, q = 0;
  int ipar[128] = {0}, stat = 0;
  double* dpar = malloc(sizeof(double) * (5 + nx + 3 * nx / 2 + 8));
  double* f = malloc(sizeof(double) * (nx + 1) * (ny + 1));
  double *bd_ax = malloc(sizeof(double) * (ny + 1)), *bd_bx = malloc(sizeof(double) * (ny + 1));
  double *bd_ay = malloc(sizeof(double) * (nx + 1)), *bd_by = malloc(sizeof(double) * (nx + 1));
  DFTI_DESCRIPTOR_HANDLE handle = NULL;

  for (int j = 0; j <= ny; ++j) {
    const double y = (double)j / ny;
    bd_ax[j] = 0;                         /* u(0, y) */
    bd_bx[j] = 0.5 * cos(1.0) * exp(y);   /* half of du/dx at x = 1 */
  }
  for (int i = 0; i <= nx; ++i) {
    const double x = (double)i / nx;
    bd_ay[i] = -sin(x);                   /* -du/dy at y = 0 */
    bd_by[i] = sin(x) * exp(1.0);         /* u(x, 1) */
  }
  for (int k = 0; k < (nx + 1) * (ny + 1); ++k) f[k] = 0; /* -lap u + q u = 0 */

  d_init_helmholtz_2d(&ax, &bx, &ay, &by, &nx, &ny, "DNND", &q, ipar, dpar, &stat);
  if (stat == 0) d_commit_helmholtz_2d(f, bd_ax, bd_bx, bd_ay, bd_by, &handle, ipar, dpar, &stat);
  if (stat == 0) d_helmholtz_2d(f, bd_ax, bd_bx, bd_ay, bd_by, &handle, ipar, dpar, &stat);
  if (stat != 0) {
    fprintf(stderr, "the solve failed with status %d\n", stat);
    return 1;
  }
  free_helmholtz_2d(&handle, ipar, &stat);

  double error = 0;
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      const double exact = sin((double)i / nx) * exp((double)j / ny);
      error = fmax(error, fabs(f[j * (nx + 1) + i] - exact));
    }
  printf("2-D Laplace, %d x %d intervals, sides DNND: largest error %.3e\n", nx, ny, error);
  free(dpar);
  free(f);
  free(bd_ax);
  free(bd_bx);
  free(bd_ay);
  free(bd_by);
  /* Second order: the error goes as 1/n^2; 64 intervals give some 3e-4. */
  return error < 1e-3 ? 0 : 1;
}
