/* The first 10,000 decimal digits of pi by the streaming spigot on mpz_* calls, checked against
 * an independent computation by Machin's formula in fixed point. Written for the GMP integer
 * interface: only the include and the link line are this library's. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zvx_gmp.h"

/* atan(1/x) * 10^digits in fixed point, by its alternating series. */
static void arctan_inverse(mpz_t result, unsigned long x, const mpz_t one) {
  mpz_t term, power;
  mpz_init(term);
  mpz_init_set(power, one);
  mpz_set_ui(result, 0);
  mpz_tdiv_q_ui(power, power, x);
  for (unsigned long k = 1; mpz_sgn(power) != 0; k += 2) {
    mpz_tdiv_q_ui(term, power, k);
    if ((k / 2) % 2 == 0)
      mpz_add(result, result, term);
    else
      mpz_sub(result, result, term);
    mpz_tdiv_q_ui(power, power, x * x);
  }
  mpz_clear(term);
  mpz_clear(power);
}

int main(int argc, char** argv) {
  int digits = argc > 1 ? atoi(argv[1]) : 10000;
  char* spigot = malloc((size_t)digits + 1);

  /* The spigot: a linear fractional transformation (q r; 0 t) composed term by term, a digit
   * extracted when floor((3q+r)/t) and floor((4q+r)/t) agree. */
  mpz_t q, r, t, a, b;
  mpz_init_set_ui(q, 1);
  mpz_init_set_ui(r, 0);
  mpz_init_set_ui(t, 1);
  mpz_init(a);
  mpz_init(b);
  int n = 0;
  for (unsigned long k = 1; n < digits; ++k) {
    unsigned long k2 = 2 * k + 1;
    mpz_addmul_ui(r, q, 2);
    mpz_mul_ui(r, r, k2);
    mpz_mul_ui(q, q, k);
    mpz_mul_ui(t, t, k2);
    if (mpz_cmp(q, r) > 0) continue;
    mpz_mul_ui(a, q, 3);
    mpz_add(a, a, r);
    mpz_add(b, a, q);
    mpz_tdiv_q(a, a, t);
    mpz_tdiv_q(b, b, t);
    if (mpz_cmp(a, b) != 0) continue;
    unsigned long d = mpz_get_ui(a);
    spigot[n++] = (char)('0' + d);
    mpz_submul_ui(r, t, d);
    mpz_mul_ui(r, r, 10);
    mpz_mul_ui(q, q, 10);
  }
  spigot[n] = '\0';

  /* Machin: pi = 16 atan(1/5) - 4 atan(1/239), with ten guard digits. */
  mpz_t one, x, y;
  mpz_init(one);
  mpz_init(x);
  mpz_init(y);
  mpz_ui_pow_ui(one, 10, (unsigned long)digits + 9);
  arctan_inverse(x, 5, one);
  arctan_inverse(y, 239, one);
  mpz_mul_ui(x, x, 16);
  mpz_submul_ui(x, y, 4);
  char* machin = mpz_get_str(NULL, 10, x);

  int ok = strncmp(spigot, machin, (size_t)digits) == 0;
  printf("%c.", spigot[0]);
  for (int i = 1; i < n; ++i) {
    putchar(spigot[i]);
    if (i % 64 == 0) putchar('\n');
  }
  printf("\n%d digits of pi: spigot and Machin's formula %s\n", digits, ok ? "agree" : "DISAGREE");

  void (*release)(void*, size_t);
  mp_get_memory_functions(NULL, NULL, &release);
  release(machin, strlen(machin) + 1);
  free(spigot);
  mpz_clear(q), mpz_clear(r), mpz_clear(t), mpz_clear(a), mpz_clear(b);
  mpz_clear(one), mpz_clear(x), mpz_clear(y);
  return ok ? 0 : 1;
}
