/* The potential of two opposite charges in a box, for a picture of a solution: -lap u = f on
 * the unit square with f two Gaussian charges, +Q at (0.3, 0.35) and -Q at (0.7, 0.65), the
 * sides x = 0, x = 1 and y = 0 grounded (u = 0) and the lid y = 1 held at u = sin(pi x).
 *
 * With a file name as argument the grid is written there as text, one row of u(x, y) for
 * x = 0..1 per line, from y = 0 up (scripts/render_poisson.py turns it into
 * docs/poisson_solution.png). The program checks itself: the computed grid must satisfy the
 * five-point equations it was asked to solve, point by point. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

static double charges(double x, double y) {
  const double s2 = 2 * 0.04 * 0.04, a = 1000;
  const double p = (x - 0.3) * (x - 0.3) + (y - 0.35) * (y - 0.35);
  const double m = (x - 0.7) * (x - 0.7) + (y - 0.65) * (y - 0.65);
  return a * (exp(-p / s2) - exp(-m / s2));
}

int main(int argc, char** argv) {
  const int nx = 256, ny = 256;
  const double ax = 0, bx = 1, ay = 0, by = 1, q = 0, pi = 3.14159265358979323846;
  const double hx = (bx - ax) / nx, hy = (by - ay) / ny;
  const size_t count = (size_t)(nx + 1) * (ny + 1);
  int ipar[128] = {0}, stat = 0;
  double* dpar = malloc(sizeof(double) * (5 + nx + 3 * nx / 2 + 8));
  double* f = malloc(sizeof(double) * count);
  double* rhs = malloc(sizeof(double) * count);
  double *bd_ax = calloc(ny + 1, sizeof(double)), *bd_bx = calloc(ny + 1, sizeof(double));
  double *bd_ay = calloc(nx + 1, sizeof(double)), *bd_by = malloc(sizeof(double) * (nx + 1));
  DFTI_DESCRIPTOR_HANDLE handle = NULL;

  for (int i = 0; i <= nx; ++i) bd_by[i] = sin(pi * i * hx);
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) f[j * (nx + 1) + i] = charges(i * hx, j * hy);
  for (size_t k = 0; k < count; ++k) rhs[k] = f[k];

  d_init_helmholtz_2d(&ax, &bx, &ay, &by, &nx, &ny, "DDDD", &q, ipar, dpar, &stat);
  if (stat == 0) d_commit_helmholtz_2d(f, bd_ax, bd_bx, bd_ay, bd_by, &handle, ipar, dpar, &stat);
  if (stat == 0) d_helmholtz_2d(f, bd_ax, bd_bx, bd_ay, bd_by, &handle, ipar, dpar, &stat);
  if (stat != 0) {
    fprintf(stderr, "the solve failed with status %d\n", stat);
    return 1;
  }
  free_helmholtz_2d(&handle, ipar, &stat);

  /* The five-point equations at the inner points, relative to the largest charge density. */
  double residual = 0, largest = 0, umin = 0, umax = 0;
  for (int j = 1; j < ny; ++j)
    for (int i = 1; i < nx; ++i) {
      const double* u = f + j * (nx + 1) + i;
      const double lap = (u[-1] - 2 * u[0] + u[1]) / (hx * hx) +
                         (u[-(nx + 1)] - 2 * u[0] + u[nx + 1]) / (hy * hy);
      residual = fmax(residual, fabs(-lap - rhs[j * (nx + 1) + i]));
      largest = fmax(largest, fabs(rhs[j * (nx + 1) + i]));
    }
  for (size_t k = 0; k < count; ++k) {
    umin = fmin(umin, f[k]);
    umax = fmax(umax, f[k]);
  }
  printf("two charges in a box, %d x %d intervals: u from %.4f to %.4f, largest residual of "
         "the five-point equations %.2e of the largest charge density\n",
         nx, ny, umin, umax, residual / largest);

  int written = 1;
  if (argc > 1) {
    FILE* out = fopen(argv[1], "w");
    written = out != NULL;
    for (int j = 0; written && j <= ny; ++j)
      for (int i = 0; i <= nx; ++i)
        fprintf(out, "%.9g%c", f[j * (nx + 1) + i], i == nx ? '\n' : ' ');
    if (out != NULL && fclose(out) != 0) written = 0;
    if (!written) fprintf(stderr, "cannot write %s\n", argv[1]);
  }
  free(dpar);
  free(f);
  free(rhs);
  free(bd_ax);
  free(bd_bx);
  free(bd_ay);
  free(bd_by);
  return residual / largest < 1e-10 && written ? 0 : 1;
}
