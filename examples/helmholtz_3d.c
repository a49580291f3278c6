/* The Helmholtz equation -lap u + q u = f on the unit cube, u = sin(pi x) sin(pi y) cos(pi z / 2):
 * zero Dirichlet values on the four sides in x and y, Neumann data (the outward normal
 * derivative) on the faces z = 0 and z = 1. Grid values stand at f[(k*(ny+1)+j)*(nx+1)+i]. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

int main(void) {
  const int nx = 32, ny = 32, nz = 32;
  const double a = 0, b = 1, q = 2;
  const double pi = 3.141592653589793;
  const size_t plane = (size_t)(nx + 1) * (ny + 1), total = plane * (nz + 1);
  int ipar[128] = {0}, stat = 0;
  double* dpar = malloc(sizeof(double) * (10 + nx + ny + 3 * (nx + ny) / 2 + 8));
  double* f = malloc(sizeof(double) * total);
  double* zero_x = calloc((size_t)(ny + 1) * (nz + 1), sizeof(double));
  double* zero_y = calloc((size_t)(nx + 1) * (nz + 1), sizeof(double));
  double* g_az = malloc(sizeof(double) * plane);
  double* g_bz = malloc(sizeof(double) * plane);
  DFTI_DESCRIPTOR_HANDLE xhandle = NULL, yhandle = NULL;
  const double c = 2.25 * pi * pi + q; /* -lap u = (pi^2 + pi^2 + pi^2/4) u */

  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j)
      for (int i = 0; i <= nx; ++i) {
        const double x = (double)i / nx, y = (double)j / ny, z = (double)k / nz;
        f[k * plane + j * (nx + 1) + i] = c * sin(pi * x) * sin(pi * y) * cos(pi * z / 2);
      }
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) {
      const double s = sin(pi * i / nx) * sin(pi * j / ny);
      g_az[j * (nx + 1) + i] = 0;                 /* -du/dz at z = 0 */
      g_bz[j * (nx + 1) + i] = -pi / 2 * s;       /* du/dz at z = 1 */
    }

  d_init_helmholtz_3d(&a, &b, &a, &b, &a, &b, &nx, &ny, &nz, "DDDDNN", &q, ipar, dpar, &stat);
  if (stat == 0)
    d_commit_helmholtz_3d(f, zero_x, zero_x, zero_y, zero_y, g_az, g_bz, &xhandle, &yhandle, ipar,
                          dpar, &stat);
  if (stat == 0)
    d_helmholtz_3d(f, zero_x, zero_x, zero_y, zero_y, g_az, g_bz, &xhandle, &yhandle, ipar, dpar,
                   &stat);
  if (stat != 0) {
    fprintf(stderr, "the solve failed with status %d\n", stat);
    return 1;
  }
  free_helmholtz_3d(&xhandle, &yhandle, ipar, &stat);

  double error = 0;
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j)
      for (int i = 0; i <= nx; ++i) {
        const double exact = sin(pi * i / nx) * sin(pi * j / ny) * cos(pi * k / nz / 2);
        error = fmax(error, fabs(f[k * plane + j * (nx + 1) + i] - exact));
      }
  printf("3-D Helmholtz, q = %g, %d^3 intervals, sides DDDDNN: largest error %.3e\n", q, nx, error);
  free(dpar);
  free(f);
  free(zero_x);
  free(zero_y);
  free(g_az);
  free(g_bz);
  return error < 2e-3 ? 0 : 1;
}
