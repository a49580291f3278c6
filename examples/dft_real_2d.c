/* A 2-D real image transform: a 640 x 480 real image (the first dimension contiguous) to its
 * conjugate-even spectrum of 321 x 480 complex values, and back with the scale 1/(n1*n2).
 * One spectrum value is checked against a direct sum, and the round trip against the image. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "zvx.h"

static int check(int status, const char* what) {
  if (status == DFTI_NO_ERROR) return 0;
  char text[DFTI_MESSAGE_BYTES + 1];
  const int length = DFTI_MESSAGE_BYTES;
  const int n = dfti_error_message_external(text, &length, &status);
  text[n] = '\0';
  fprintf(stderr, "%s failed: %s\n", what, text);
  return 1;
}

int main(void) {
  const int n1 = 640, n2 = 480, half = n1 / 2 + 1;
  const int lengths[2] = {n1, n2};
  const int precision = DFTI_DOUBLE, domain = DFTI_REAL, rank = 2;
  const int storage = DFTI_CONJUGATE_EVEN_STORAGE, complex_complex = DFTI_COMPLEX_COMPLEX;
  const int placement = DFTI_PLACEMENT, not_in_place = DFTI_NOT_INPLACE;
  const int input_strides = DFTI_INPUT_STRIDES, output_strides = DFTI_OUTPUT_STRIDES;
  const int backward_scale = DFTI_BACKWARD_SCALE;
  const int real_strides[3] = {0, 1, n1}, complex_strides[3] = {0, 1, half};
  const double scale = 1.0 / ((double)n1 * n2);

  double* image = malloc(sizeof(double) * n1 * n2);
  double* back = malloc(sizeof(double) * n1 * n2);
  zvx_complex16* spectrum = malloc(sizeof(zvx_complex16) * half * n2);
  if (image == NULL || back == NULL || spectrum == NULL) return 1;
  for (int j = 0; j < n2; ++j)
    for (int i = 0; i < n1; ++i)
      image[i + n1 * j] = exp(-((i - 300.0) * (i - 300.0) + (j - 200.0) * (j - 200.0)) / 5000.0) +
                          0.1 * cos(2 * M_PI * (7.0 * i / n1 + 3.0 * j / n2));

  /* Forward: real strides on the input side, complex strides on the output side. */
  DFTI_DESCRIPTOR_HANDLE forward = NULL, backward = NULL;
  if (check(dfti_create_descriptor_highd(&forward, &precision, &domain, &rank, lengths), "create") ||
      check(dfti_set_value_intval(&forward, &storage, &complex_complex), "storage") ||
      check(dfti_set_value_intval(&forward, &placement, &not_in_place), "placement") ||
      check(dfti_set_value_intvec(&forward, &input_strides, real_strides), "strides") ||
      check(dfti_set_value_intvec(&forward, &output_strides, complex_strides), "strides") ||
      check(dfti_commit_descriptor_external(&forward), "commit") ||
      check(dfti_compute_forward_dz_out(&forward, image, spectrum), "forward"))
    return 1;
  /* Backward: the sides swap. */
  if (check(dfti_create_descriptor_highd(&backward, &precision, &domain, &rank, lengths), "create") ||
      check(dfti_set_value_intval(&backward, &storage, &complex_complex), "storage") ||
      check(dfti_set_value_intval(&backward, &placement, &not_in_place), "placement") ||
      check(dfti_set_value_intvec(&backward, &input_strides, complex_strides), "strides") ||
      check(dfti_set_value_intvec(&backward, &output_strides, real_strides), "strides") ||
      check(dfti_set_value_dblval(&backward, &backward_scale, &scale), "scale") ||
      check(dfti_commit_descriptor_external(&backward), "commit") ||
      check(dfti_compute_backward_zd_out(&backward, spectrum, back), "backward"))
    return 1;

  /* The spectrum at (7, 3) carries the cosine: a direct sum gives it. */
  const int k1 = 7, k2 = 3;
  double re = 0, im = 0;
  for (int j = 0; j < n2; ++j)
    for (int i = 0; i < n1; ++i) {
      const double a = -2 * M_PI * ((double)k1 * i / n1 + (double)k2 * j / n2);
      re += image[i + n1 * j] * cos(a);
      im += image[i + n1 * j] * sin(a);
    }
  const zvx_complex16 got = spectrum[k1 + half * k2];
  const double spectrum_error = hypot(got.real - re, got.imag - im) / hypot(re, im);
  printf("2-D real %d x %d image: spectrum of %d x %d complex values\n", n1, n2, half, n2);
  printf("X(7, 3) = %.6f %+.6fi, direct sum %.6f %+.6fi (relative error %.1e)\n", got.real,
         got.imag, re, im, spectrum_error);

  double err = 0, norm = 0;
  for (long i = 0; i < (long)n1 * n2; ++i) {
    err += (back[i] - image[i]) * (back[i] - image[i]);
    norm += image[i] * image[i];
  }
  const double relative = sqrt(err / norm);
  printf("relative RMS error of the round trip: %.3e (%s)\n", relative,
         relative < 1e-14 && spectrum_error < 1e-12 ? "ok" : "too large");
  dfti_free_descriptor_external(&forward);
  dfti_free_descriptor_external(&backward);
  free(image);
  free(back);
  free(spectrum);
  return relative < 1e-14 && spectrum_error < 1e-12 ? 0 : 1;
}
