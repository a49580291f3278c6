/* The Helmholtz equation on the whole sphere, periodic in the longitude phi, the colatitude
 * theta running from pole to pole: u = cos(theta) + sin(theta)^2 cos(2 phi), a sum of harmonics
 * of degree 1 and 2, so -lap u = 2 cos(theta) + 6 sin(theta)^2 cos(2 phi). Row j of f holds the
 * np+1 longitudes of theta = j pi / nt, the last equal to the first. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

int main(void) {
  const int np = 128, nt = 64;
  const double pi = 3.141592653589793;
  const double ap = 0, bp = 2 * pi, at = 0, bt = pi, q = 1;
  int ipar[128] = {0}, stat = 0;
  double* dpar = malloc(sizeof(double) * (20 + np + nt + 3 * np / 2));
  double* f = malloc(sizeof(double) * (np + 1) * (nt + 1));
  DFTI_DESCRIPTOR_HANDLE sines = NULL, cosines = NULL;

  for (int j = 0; j <= nt; ++j)
    for (int i = 0; i <= np; ++i) {
      const double t = pi * j / nt, p = 2 * pi * i / np;
      f[j * (np + 1) + i] = (2 + q) * cos(t) + (6 + q) * sin(t) * sin(t) * cos(2 * p);
    }
  d_init_sph_p(&ap, &bp, &at, &bt, &np, &nt, &q, ipar, dpar, &stat);
  if (stat == 0) d_commit_sph_p(f, &sines, &cosines, ipar, dpar, &stat);
  if (stat == 0) d_sph_p(f, &sines, &cosines, ipar, dpar, &stat);
  if (stat != 0) {
    fprintf(stderr, "the solve failed with status %d\n", stat);
    return 1;
  }
  free_sph_p(&sines, &cosines, ipar, &stat);

  double error = 0;
  for (int j = 0; j <= nt; ++j)
    for (int i = 0; i <= np; ++i) {
      const double t = pi * j / nt, p = 2 * pi * i / np;
      const double exact = cos(t) + sin(t) * sin(t) * cos(2 * p);
      error = fmax(error, fabs(f[j * (np + 1) + i] - exact));
    }
  printf("Helmholtz on the globe, %d x %d intervals: largest error %.3e\n", np, nt, error);
  free(dpar);
  free(f);
  /* Second order: some 2.5e-3 at 64 rows, a quarter of it at 128. */
  return error < 5e-3 ? 0 : 1;
}
