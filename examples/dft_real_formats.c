/* A real 1-D transform of 8 points in each packed format: the spectrum R(k) + i I(k), k = 0..4,
 * of a real sequence is conjugate-even, so about 8 reals hold it; the formats differ only in
 * where each number stands. The input is a constant, a cosine of frequency 1 and a sine of
 * frequency 2, whose spectrum is R(0) = 4, R(1) = 4 and I(2) = -1 and zero elsewhere, so the
 * places are easy to spot. */
#include <math.h>
#include <stdio.h>

#include "zvx.h"

enum { N = 8 };

static int transform(int format, double* out, int* count) {
  const int precision = DFTI_DOUBLE, domain = DFTI_REAL, rank = 1, n = N;
  const int packed = DFTI_PACKED_FORMAT, storage = DFTI_CONJUGATE_EVEN_STORAGE,
            placement = DFTI_PLACEMENT, not_in_place = DFTI_NOT_INPLACE;
  double x[N];
  for (int j = 0; j < N; ++j) x[j] = 0.5 + cos(2 * M_PI * j / N) + 0.25 * sin(2 * 2 * M_PI * j / N);
  DFTI_DESCRIPTOR_HANDLE h = NULL;
  int status = dfti_create_descriptor_1d(&h, &precision, &domain, &rank, &n);
  if (status == 0) status = dfti_set_value_intval(&h, &placement, &not_in_place);
  if (status == 0 && format == DFTI_CCE_FORMAT) {
    /* CCE is the layout of conjugate-even storage as complex values. */
    const int complex_complex = DFTI_COMPLEX_COMPLEX;
    status = dfti_set_value_intval(&h, &storage, &complex_complex);
  } else if (status == 0) {
    status = dfti_set_value_intval(&h, &packed, &format);
  }
  if (status == 0) status = dfti_commit_descriptor_external(&h);
  if (status == 0) {
    if (format == DFTI_CCE_FORMAT)
      status = dfti_compute_forward_dz_out(&h, x, (zvx_complex16*)out);
    else
      status = dfti_compute_forward_d_out(&h, x, out);
  }
  dfti_free_descriptor_external(&h);
  *count = format == DFTI_CCS_FORMAT || format == DFTI_CCE_FORMAT ? N + 2 : N;
  return status;
}

int main(void) {
  const struct {
    int format;
    const char* name;
    const char* layout;
  } formats[] = {
      {DFTI_CCS_FORMAT, "CCS ", "R0 0 R1 I1 R2 I2 R3 I3 R4 0"},
      {DFTI_PACK_FORMAT, "Pack", "R0 R1 I1 R2 I2 R3 I3 R4"},
      {DFTI_PERM_FORMAT, "Perm", "R0 R4 R1 I1 R2 I2 R3 I3"},
      {DFTI_CCE_FORMAT, "CCE ", "(R0,0) (R1,I1) (R2,I2) (R3,I3) (R4,0) as complex values"},
  };
  int failed = 0;
  printf("x(j) = 0.5 + cos(2 pi j / 8) + 0.25 sin(4 pi j / 8), j = 0..7: R0 = 4, R1 = 4, I2 = -1\n\n");
  for (int f = 0; f < 4; ++f) {
    double out[N + 2];
    int count = 0;
    const int status = transform(formats[f].format, out, &count);
    if (status != 0) {
      printf("%s: status %d\n", formats[f].name, status);
      failed = 1;
      continue;
    }
    printf("%s layout: %s\n     values:", formats[f].name, formats[f].layout);
    for (int i = 0; i < count; ++i) printf(" %g", fabs(out[i]) < 1e-12 ? 0.0 : out[i]);
    printf("\n\n");
    /* R0 = 4 always comes first; R1 = 4 stands at index 2 in CCS and Perm, 1 in Pack. */
    const int r1 = formats[f].format == DFTI_PACK_FORMAT ? 1 : 2;
    if (fabs(out[0] - 4) > 1e-12 || fabs(out[r1] - 4) > 1e-12 || fabs(out[r1 + 3] + 1) > 1e-12)
      failed = 1;
  }
  printf("%s\n", failed ? "unexpected values" : "ok");
  return failed;
}
