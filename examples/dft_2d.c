/* A 2-D complex transform: forward, then backward with the scale 1/(n1*n2), which brings the data
 * back. The first dimension is the contiguous one: element (i1, i2) is at i1 + n1 * i2. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

static int check(int status, const char* what) {
  if (status != DFTI_NO_ERROR) {
    char text[DFTI_MESSAGE_BYTES + 1];
    const int length = DFTI_MESSAGE_BYTES;
    const int n = dfti_error_message_external(text, &length, &status);
    text[n] = '\0';
    fprintf(stderr, "%s failed: %s\n", what, text);
    return 1;
  }
  return 0;
}

int main(void) {
  const int n1 = 256, n2 = 100;
  const int lengths[2] = {n1, n2};
  const int precision = DFTI_DOUBLE, domain = DFTI_COMPLEX, rank = 2;
  const int backward_scale = DFTI_BACKWARD_SCALE;
  const double scale = 1.0 / ((double)n1 * n2);
  const long total = (long)n1 * n2;

  zvx_complex16* data = malloc(sizeof(zvx_complex16) * total);
  zvx_complex16* original = malloc(sizeof(zvx_complex16) * total);
  if (data == NULL || original == NULL) return 1;
  for (long i = 0; i < total; ++i) {
    data[i].real = sin(0.001 * i) + 0.5;
    data[i].imag = cos(0.003 * i);
    original[i] = data[i];
  }

  DFTI_DESCRIPTOR_HANDLE handle = NULL;
  if (check(dfti_create_descriptor_highd(&handle, &precision, &domain, &rank, lengths), "create") ||
      check(dfti_set_value_dblval(&handle, &backward_scale, &scale), "set scale") ||
      check(dfti_commit_descriptor_external(&handle), "commit") ||
      check(dfti_compute_forward_z(&handle, data), "forward"))
    return 1;

  /* The zero-frequency term of the forward transform is the sum of the input. */
  double sum_real = 0, sum_imag = 0;
  for (long i = 0; i < total; ++i) {
    sum_real += original[i].real;
    sum_imag += original[i].imag;
  }
  const double dc_error = hypot(data[0].real - sum_real, data[0].imag - sum_imag) /
                          hypot(sum_real, sum_imag);
  printf("zero-frequency term: %.6f %+.6fi, the input sums to %.6f %+.6fi (relative error %.1e)\n",
         data[0].real, data[0].imag, sum_real, sum_imag, dc_error);

  if (check(dfti_compute_backward_z(&handle, data), "backward")) return 1;

  /* After the round trip the data is the input again. */
  double err = 0, norm = 0;
  for (long i = 0; i < total; ++i) {
    const double dr = data[i].real - original[i].real, di = data[i].imag - original[i].imag;
    err += dr * dr + di * di;
    norm += original[i].real * original[i].real + original[i].imag * original[i].imag;
  }
  const double relative = sqrt(err / norm);
  printf("2-D %d x %d complex transform, forward then scaled backward\n", n1, n2);
  printf("relative RMS error of the round trip: %.3e (%s)\n", relative,
         relative < 1e-14 ? "ok" : "too large");

  check(dfti_free_descriptor_external(&handle), "free");
  free(data);
  free(original);
  return relative < 1e-14 && dc_error < 1e-12 ? 0 : 1;
}
