/* Factoring by Pollard's rho method (Floyd's cycle finding, x -> x^2 + c) on mpz_* calls,
 * written for the GMP integer interface. Every factor found is checked: the factors multiply
 * back to the number. */
#include <stdio.h>

#include "zvx_gmp.h"

/* A strong probable-prime test to bases 2, 3, 5, 7, 11, 13 by mpz_powm. */
static int probably_prime(const mpz_t n) {
  if (mpz_cmp_ui(n, 16) < 0) {
    unsigned long v = mpz_get_ui(n);
    return v == 2 || v == 3 || v == 5 || v == 7 || v == 11 || v == 13;
  }
  if (mpz_even_p(n)) return 0;
  mpz_t d, nm1, a, y;
  mpz_init(d), mpz_init(nm1), mpz_init(a), mpz_init(y);
  mpz_sub_ui(nm1, n, 1);
  unsigned long s = mpz_scan1(nm1, 0);
  mpz_tdiv_q_2exp(d, nm1, s);
  int prime = 1;
  const unsigned long bases[] = {2, 3, 5, 7, 11, 13};
  for (int i = 0; i < 6 && prime; ++i) {
    mpz_set_ui(a, bases[i]);
    mpz_powm(y, a, d, n);
    if (mpz_cmp_ui(y, 1) == 0 || mpz_cmp(y, nm1) == 0) continue;
    int witness = 1;
    for (unsigned long r = 1; r < s && witness; ++r) {
      mpz_mul(y, y, y);
      mpz_mod(y, y, n);
      if (mpz_cmp(y, nm1) == 0) witness = 0;
    }
    if (witness) prime = 0;
  }
  mpz_clear(d), mpz_clear(nm1), mpz_clear(a), mpz_clear(y);
  return prime;
}

/* One non-trivial factor of composite odd n into f; 0 when the walks all fail. */
static int rho(mpz_t f, const mpz_t n) {
  mpz_t x, y, d, diff;
  mpz_init(x), mpz_init(y), mpz_init(d), mpz_init(diff);
  int found = 0;
  for (unsigned long c = 1; c < 50 && !found; ++c) {
    mpz_set_ui(x, 2);
    mpz_set_ui(y, 2);
    mpz_set_ui(d, 1);
    while (mpz_cmp_ui(d, 1) == 0) {
      mpz_mul(x, x, x), mpz_add_ui(x, x, c), mpz_mod(x, x, n);
      for (int twice = 0; twice < 2; ++twice) mpz_mul(y, y, y), mpz_add_ui(y, y, c), mpz_mod(y, y, n);
      mpz_sub(diff, x, y);
      mpz_gcd(d, diff, n);
    }
    if (mpz_cmp(d, n) != 0) {
      mpz_set(f, d);
      found = 1;
    }
  }
  mpz_clear(x), mpz_clear(y), mpz_clear(d), mpz_clear(diff);
  return found;
}

/* Splits n completely, printing the prime-looking factors; multiplies them into product. */
static void factor(const mpz_t n, mpz_t product) {
  if (mpz_cmp_ui(n, 1) == 0) return;
  mpz_t m, f, g;
  mpz_init_set(m, n), mpz_init(f), mpz_init(g);
  while (mpz_even_p(m)) {
    printf(" 2");
    mpz_mul_ui(product, product, 2);
    mpz_tdiv_q_2exp(m, m, 1);
  }
  for (unsigned long p = 3; p < 1000 && mpz_cmp_ui(m, 1) > 0; p += 2)
    while (mpz_divisible_ui_p(m, p)) {
      printf(" %lu", p);
      mpz_mul_ui(product, product, p);
      mpz_divexact_ui(m, m, p);
    }
  if (mpz_cmp_ui(m, 1) > 0) {
    if (probably_prime(m) || !rho(f, m)) {
      printf(" ");
      mpz_out_str(stdout, 10, m);
      mpz_mul(product, product, m);
    } else {
      mpz_divexact(g, m, f);
      factor(f, product);
      factor(g, product);
    }
  }
  mpz_clear(m), mpz_clear(f), mpz_clear(g);
}

int main(void) {
  const char* numbers[] = {"18446744073709551617",          /* 2^64 + 1 */
                           "1000000016000000063", "600851475143",
                           "147573952589676412927" /* 2^67 - 1 */};
  int ok = 1;
  for (int i = 0; i < 4; ++i) {
    mpz_t n, product;
    mpz_init_set_str(n, numbers[i], 10);
    mpz_init_set_ui(product, 1);
    mpz_out_str(stdout, 10, n);
    printf(" =");
    factor(n, product);
    int same = mpz_cmp(n, product) == 0;
    ok &= same;
    printf("   [%s]\n", same ? "product checked" : "PRODUCT DIFFERS");
    mpz_clear(n), mpz_clear(product);
  }
  return ok ? 0 : 1;
}
