/* A C program written for the standard CBLAS interface, linked against libzvx_blas.so.3 through
 * pkg-config (zvx_blas): a row-major product C = A B and a dot product, each checked against the
 * sums written out by hand. Exits with status 1 when a value is wrong. */
#include <math.h>
#include <stdio.h>
#include <zvx_cblas.h>

int main(void) {
  /* A is 2 x 3 and B is 3 x 2, both row-major. */
  const double a[6] = {1, 2, 3, 4, 5, 6};
  const double b[6] = {7, 8, 9, 10, 11, 12};
  double c[4] = {0, 0, 0, 0};
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a, 3, b, 2, 0.0, c, 2);
  const double expected[4] = {1 * 7 + 2 * 9 + 3 * 11, 1 * 8 + 2 * 10 + 3 * 12,
                              4 * 7 + 5 * 9 + 6 * 11, 4 * 8 + 5 * 10 + 6 * 12};
  int wrong = 0;
  printf("C = A B (row-major):\n");
  for (int i = 0; i < 2; ++i) {
    printf("  %6.1f %6.1f\n", c[2 * i], c[2 * i + 1]);
    for (int j = 0; j < 2; ++j) wrong |= fabs(c[2 * i + j] - expected[2 * i + j]) > 0;
  }
  const double dot = cblas_ddot(3, a, 1, b, 2); /* 1*7 + 2*9 + 3*11 */
  printf("ddot of the first row of A and the first column of B: %.1f\n", dot);
  wrong |= dot != 58.0;
  printf(wrong ? "wrong result\n" : "results agree with the hand-written sums\n");
  return wrong;
}
