/* Arbitrary-precision integers under the GMP interface, on 32-bit limbs.
 *
 * A program written for the GMP integer interface compiles against this header unchanged: the
 * records carry the same field names, and the mpz_* and mpn_* macros map to the exported
 * __gmpz_* and __gmpn_* entries. Word arguments are `unsigned long` and `long` as in that
 * interface (64-bit here); limbs are 32-bit.
 *
 * Library decisions a caller can see: mpz_get_str writes upper-case letters in every base
 * (digits above 35 repeat the table "0..9A..Z0..9a..z"); mpz_set_str trims blanks (' ' only)
 * at both ends, accepts a leading '+' and no blanks in the middle; division by zero raises
 * SIGFPE; mpz_sizeinbase may be one too high for bases that are not powers of two. */
#ifndef ZVX_GMP_H
#define ZVX_GMP_H

#include <stddef.h>
#include <stdio.h>

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

typedef unsigned int mp_limb_t;
typedef int mp_limb_signed_t;
typedef long mp_size_t;
typedef long mp_exp_t;
typedef unsigned long mp_bitcnt_t;
typedef mp_limb_t* mp_ptr;
typedef const mp_limb_t* mp_srcptr;

#define GMP_LIMB_BITS 32
#define GMP_NUMB_BITS 32
#define mp_bits_per_limb 32

/* alloc: capacity in limbs; size: used limbs, negative for a negative number; d: the limbs,
 * least significant first, the top used limb never 0. */
typedef struct {
  int _mp_alloc;
  int _mp_size;
  mp_limb_t* _mp_d;
} __mpz_struct;
typedef __mpz_struct mpz_t[1];
typedef __mpz_struct* mpz_ptr;
typedef const __mpz_struct* mpz_srcptr;

typedef struct {
  __mpz_struct _mp_num;
  __mpz_struct _mp_den;
} __mpq_struct;
typedef __mpq_struct mpq_t[1];
typedef __mpq_struct* mpq_ptr;
typedef const __mpq_struct* mpq_srcptr;

/* Random state: the word points to a slot holding a stream of the companion library. Seeds are
 * taken from the clock and a stream counter, and cannot be set: sequences are not reproducible. */
typedef struct {
  void* _mp_slot;
} __gmp_randstate_struct;
typedef __gmp_randstate_struct gmp_randstate_t[1];
typedef __gmp_randstate_struct* gmp_randstate_ptr;
typedef const __gmp_randstate_struct* gmp_randstate_srcptr;

#define mpq_numref(q) (&((q)->_mp_num))
#define mpq_denref(q) (&((q)->_mp_den))

/* Memory hooks and the default allocator. */
ZVX_API void __gmp_set_memory_functions(void* (*)(size_t), void* (*)(void*, size_t, size_t), void (*)(void*, size_t));
ZVX_API void __gmp_get_memory_functions(void* (**)(size_t), void* (**)(void*, size_t, size_t), void (**)(void*, size_t));
ZVX_API void* (*__gmp_allocate_func_ptr(void))(size_t);
ZVX_API void* (*__gmp_reallocate_func_ptr(void))(void*, size_t, size_t);
ZVX_API void (*__gmp_free_func_ptr(void))(void*, size_t);
ZVX_API void* __gmp_default_allocate(size_t);
ZVX_API void* __gmp_default_reallocate(void*, size_t, size_t);
ZVX_API void __gmp_default_free(void*, size_t);
#define mp_set_memory_functions __gmp_set_memory_functions
#define mp_get_memory_functions __gmp_get_memory_functions

/* One-slot temporary allocation (not reentrant, not thread-safe). */
ZVX_API void _impTmpMark(void);
ZVX_API void* _impTmpMalloc(size_t);
ZVX_API void _impTmpFree(void);

/* Limb routines. */
ZVX_API mp_limb_t __gmpn_add_1(mp_ptr, mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API mp_limb_t __gmpn_add_n(mp_ptr, mp_srcptr, mp_srcptr, mp_size_t);
ZVX_API mp_limb_t __gmpn_sub_1(mp_ptr, mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API mp_limb_t __gmpn_sub_n(mp_ptr, mp_srcptr, mp_srcptr, mp_size_t);
ZVX_API mp_limb_t __gmpn_addmul_1(mp_ptr, mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API mp_limb_t __gmpn_submul_1(mp_ptr, mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API int __gmpn_cmp(mp_srcptr, mp_srcptr, mp_size_t);
ZVX_API mp_limb_t __gmpn_mul(mp_ptr, mp_srcptr, mp_size_t, mp_srcptr, mp_size_t);
ZVX_API void __gmpn_mul_n(mp_ptr, mp_srcptr, mp_srcptr, mp_size_t);
#define mpn_add_1 __gmpn_add_1
#define mpn_add_n __gmpn_add_n
#define mpn_sub_1 __gmpn_sub_1
#define mpn_sub_n __gmpn_sub_n
#define mpn_addmul_1 __gmpn_addmul_1
#define mpn_submul_1 __gmpn_submul_1
#define mpn_cmp __gmpn_cmp
#define mpn_mul __gmpn_mul
#define mpn_mul_n __gmpn_mul_n

/* Low-level helpers under their own names. */
ZVX_API void mpl_add_ssaaaa(mp_limb_t* sh, mp_limb_t* sl, mp_limb_t ah, mp_limb_t al, mp_limb_t bh, mp_limb_t bl);
ZVX_API void mpl_umul_ppmm(mp_limb_t* ph, mp_limb_t* pl, mp_limb_t a, mp_limb_t b);
ZVX_API mp_limb_t mpn_incr_u(mp_ptr, mp_limb_t);
ZVX_API mp_limb_t mpn_divmod_1(mp_ptr, mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API mp_limb_t mpn_mod_1(mp_srcptr, mp_size_t, mp_limb_t);
ZVX_API void mpn_mul_basecase(mp_ptr, mp_srcptr, mp_size_t, mp_srcptr, mp_size_t);

/* Integer layer. */
ZVX_API void __gmpz_init(mpz_ptr);
ZVX_API void __gmpz_init2(mpz_ptr, mp_bitcnt_t);
ZVX_API void __gmpz_clear(mpz_ptr);
ZVX_API void* __gmpz_realloc(mpz_ptr, mp_size_t);
ZVX_API void __gmpz_realloc2(mpz_ptr, mp_bitcnt_t);
ZVX_API void __gmpz_array_init(mpz_ptr, mp_size_t, mp_size_t);
ZVX_API void __gmpz_swap(mpz_ptr, mpz_ptr);
ZVX_API void __gmpz_set(mpz_ptr, mpz_srcptr);
ZVX_API void __gmpz_set_d(mpz_ptr, double);
ZVX_API void __gmpz_set_si(mpz_ptr, long);
ZVX_API int __gmpz_set_str(mpz_ptr, const char*, int);
ZVX_API void __gmpz_set_ui(mpz_ptr, unsigned long);
ZVX_API void __gmpz_init_set(mpz_ptr, mpz_srcptr);
ZVX_API void __gmpz_init_set_d(mpz_ptr, double);
ZVX_API void __gmpz_init_set_si(mpz_ptr, long);
ZVX_API int __gmpz_init_set_str(mpz_ptr, const char*, int);
ZVX_API void __gmpz_init_set_ui(mpz_ptr, unsigned long);
ZVX_API double __gmpz_get_d(mpz_srcptr);
ZVX_API double __gmpz_get_d_2exp(long*, mpz_srcptr);
ZVX_API long __gmpz_get_si(mpz_srcptr);
ZVX_API char* __gmpz_get_str(char*, int, mpz_srcptr);
ZVX_API unsigned long __gmpz_get_ui(mpz_srcptr);
ZVX_API mp_limb_t __gmpz_getlimbn(mpz_srcptr, mp_size_t);
ZVX_API size_t __gmpz_size(mpz_srcptr);
ZVX_API size_t __gmpz_sizeinbase(mpz_srcptr, int);
ZVX_API void __gmpz_add(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_add_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_sub(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_sub_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_ui_sub(mpz_ptr, unsigned long, mpz_srcptr);
ZVX_API void __gmpz_neg(mpz_ptr, mpz_srcptr);
ZVX_API void __gmpz_abs(mpz_ptr, mpz_srcptr);
ZVX_API void __gmpz_mul(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_mul_si(mpz_ptr, mpz_srcptr, long);
ZVX_API void __gmpz_mul_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_mul_2exp(mpz_ptr, mpz_srcptr, mp_bitcnt_t);
ZVX_API void __gmpz_addmul(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_addmul_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_submul(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_submul_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_pow_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_ui_pow_ui(mpz_ptr, unsigned long, unsigned long);
#define ZVX_GMP_DIV_FAMILY(L)                                                              \
  ZVX_API void __gmpz_##L##div_q(mpz_ptr, mpz_srcptr, mpz_srcptr);                         \
  ZVX_API void __gmpz_##L##div_r(mpz_ptr, mpz_srcptr, mpz_srcptr);                         \
  ZVX_API void __gmpz_##L##div_qr(mpz_ptr, mpz_ptr, mpz_srcptr, mpz_srcptr);               \
  ZVX_API unsigned long __gmpz_##L##div_q_ui(mpz_ptr, mpz_srcptr, unsigned long);          \
  ZVX_API unsigned long __gmpz_##L##div_r_ui(mpz_ptr, mpz_srcptr, unsigned long);          \
  ZVX_API unsigned long __gmpz_##L##div_qr_ui(mpz_ptr, mpz_ptr, mpz_srcptr, unsigned long); \
  ZVX_API unsigned long __gmpz_##L##div_ui(mpz_srcptr, unsigned long);                     \
  ZVX_API void __gmpz_##L##div_q_2exp(mpz_ptr, mpz_srcptr, mp_bitcnt_t);                   \
  ZVX_API void __gmpz_##L##div_r_2exp(mpz_ptr, mpz_srcptr, mp_bitcnt_t);
ZVX_GMP_DIV_FAMILY(t)
ZVX_GMP_DIV_FAMILY(f)
ZVX_GMP_DIV_FAMILY(c)
#undef ZVX_GMP_DIV_FAMILY
ZVX_API void __gmpz_mod(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API unsigned long __gmpz_mod_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_divexact(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_divexact_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API int __gmpz_divisible_p(mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_divisible_ui_p(mpz_srcptr, unsigned long);
ZVX_API int __gmpz_divisible_2exp_p(mpz_srcptr, mp_bitcnt_t);
ZVX_API int __gmpz_congruent_p(mpz_srcptr, mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_congruent_ui_p(mpz_srcptr, unsigned long, unsigned long);
ZVX_API int __gmpz_congruent_2exp_p(mpz_srcptr, mpz_srcptr, mp_bitcnt_t);
ZVX_API mp_bitcnt_t __gmpz_remove(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_cmp(mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_cmp_d(mpz_srcptr, double);
ZVX_API int __gmpz_cmp_si(mpz_srcptr, long);
ZVX_API int __gmpz_cmp_ui(mpz_srcptr, unsigned long);
ZVX_API int __gmpz_cmpabs(mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_cmpabs_d(mpz_srcptr, double);
ZVX_API int __gmpz_cmpabs_ui(mpz_srcptr, unsigned long);
ZVX_API int __gmpz_sgn(mpz_srcptr);
ZVX_API int __gmpz_fits_sint_p(mpz_srcptr);
ZVX_API int __gmpz_fits_sshort_p(mpz_srcptr);
ZVX_API int __gmpz_fits_uint_p(mpz_srcptr);
ZVX_API int __gmpz_fits_ushort_p(mpz_srcptr);
ZVX_API void __gmpz_and(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_ior(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_xor(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_com(mpz_ptr, mpz_srcptr);
ZVX_API mp_bitcnt_t __gmpz_popcount(mpz_srcptr);
ZVX_API mp_bitcnt_t __gmpz_hamdist(mpz_srcptr, mpz_srcptr);
ZVX_API mp_bitcnt_t __gmpz_scan0(mpz_srcptr, mp_bitcnt_t);
ZVX_API mp_bitcnt_t __gmpz_scan1(mpz_srcptr, mp_bitcnt_t);
ZVX_API void __gmpz_setbit(mpz_ptr, mp_bitcnt_t);
ZVX_API void __gmpz_clrbit(mpz_ptr, mp_bitcnt_t);
ZVX_API int __gmpz_tstbit(mpz_srcptr, mp_bitcnt_t);
ZVX_API void __gmpz_import(mpz_ptr, size_t, int, size_t, int, size_t, const void*);
ZVX_API void* __gmpz_export(void*, size_t*, int, size_t, int, size_t, mpz_srcptr);
ZVX_API size_t __gmpz_out_str(FILE*, int, mpz_srcptr);
ZVX_API size_t __gmpz_inp_str(mpz_ptr, FILE*, int);
ZVX_API int __gmpq_out_str(FILE*, int, mpq_srcptr);

#define mpz_init __gmpz_init
#define mpz_init2 __gmpz_init2
#define mpz_clear __gmpz_clear
#define _mpz_realloc __gmpz_realloc
#define mpz_realloc __gmpz_realloc
#define mpz_realloc2 __gmpz_realloc2
#define mpz_array_init __gmpz_array_init
#define mpz_swap __gmpz_swap
#define mpz_set __gmpz_set
#define mpz_set_d __gmpz_set_d
#define mpz_set_si __gmpz_set_si
#define mpz_set_str __gmpz_set_str
#define mpz_set_ui __gmpz_set_ui
#define mpz_init_set __gmpz_init_set
#define mpz_init_set_d __gmpz_init_set_d
#define mpz_init_set_si __gmpz_init_set_si
#define mpz_init_set_str __gmpz_init_set_str
#define mpz_init_set_ui __gmpz_init_set_ui
#define mpz_get_d __gmpz_get_d
#define mpz_get_d_2exp __gmpz_get_d_2exp
#define mpz_get_si __gmpz_get_si
#define mpz_get_str __gmpz_get_str
#define mpz_get_ui __gmpz_get_ui
#define mpz_getlimbn __gmpz_getlimbn
#define mpz_size __gmpz_size
#define mpz_sizeinbase __gmpz_sizeinbase
#define mpz_add __gmpz_add
#define mpz_add_ui __gmpz_add_ui
#define mpz_sub __gmpz_sub
#define mpz_sub_ui __gmpz_sub_ui
#define mpz_ui_sub __gmpz_ui_sub
#define mpz_neg __gmpz_neg
#define mpz_abs __gmpz_abs
#define mpz_mul __gmpz_mul
#define mpz_mul_si __gmpz_mul_si
#define mpz_mul_ui __gmpz_mul_ui
#define mpz_mul_2exp __gmpz_mul_2exp
#define mpz_addmul __gmpz_addmul
#define mpz_addmul_ui __gmpz_addmul_ui
#define mpz_submul __gmpz_submul
#define mpz_submul_ui __gmpz_submul_ui
#define mpz_pow_ui __gmpz_pow_ui
#define mpz_ui_pow_ui __gmpz_ui_pow_ui
#define mpz_tdiv_q __gmpz_tdiv_q
#define mpz_tdiv_r __gmpz_tdiv_r
#define mpz_tdiv_qr __gmpz_tdiv_qr
#define mpz_tdiv_q_ui __gmpz_tdiv_q_ui
#define mpz_tdiv_r_ui __gmpz_tdiv_r_ui
#define mpz_tdiv_qr_ui __gmpz_tdiv_qr_ui
#define mpz_tdiv_ui __gmpz_tdiv_ui
#define mpz_tdiv_q_2exp __gmpz_tdiv_q_2exp
#define mpz_tdiv_r_2exp __gmpz_tdiv_r_2exp
#define mpz_fdiv_q __gmpz_fdiv_q
#define mpz_fdiv_r __gmpz_fdiv_r
#define mpz_fdiv_qr __gmpz_fdiv_qr
#define mpz_fdiv_q_ui __gmpz_fdiv_q_ui
#define mpz_fdiv_r_ui __gmpz_fdiv_r_ui
#define mpz_fdiv_qr_ui __gmpz_fdiv_qr_ui
#define mpz_fdiv_ui __gmpz_fdiv_ui
#define mpz_fdiv_q_2exp __gmpz_fdiv_q_2exp
#define mpz_fdiv_r_2exp __gmpz_fdiv_r_2exp
#define mpz_cdiv_q __gmpz_cdiv_q
#define mpz_cdiv_r __gmpz_cdiv_r
#define mpz_cdiv_qr __gmpz_cdiv_qr
#define mpz_cdiv_q_ui __gmpz_cdiv_q_ui
#define mpz_cdiv_r_ui __gmpz_cdiv_r_ui
#define mpz_cdiv_qr_ui __gmpz_cdiv_qr_ui
#define mpz_cdiv_ui __gmpz_cdiv_ui
#define mpz_cdiv_q_2exp __gmpz_cdiv_q_2exp
#define mpz_cdiv_r_2exp __gmpz_cdiv_r_2exp
#define mpz_mod __gmpz_mod
#define mpz_mod_ui __gmpz_mod_ui
#define mpz_divexact __gmpz_divexact
#define mpz_divexact_ui __gmpz_divexact_ui
#define mpz_divisible_p __gmpz_divisible_p
#define mpz_divisible_ui_p __gmpz_divisible_ui_p
#define mpz_divisible_2exp_p __gmpz_divisible_2exp_p
#define mpz_congruent_p __gmpz_congruent_p
#define mpz_congruent_ui_p __gmpz_congruent_ui_p
#define mpz_congruent_2exp_p __gmpz_congruent_2exp_p
#define mpz_remove __gmpz_remove
#define mpz_cmp __gmpz_cmp
#define mpz_cmp_d __gmpz_cmp_d
#define mpz_cmp_si __gmpz_cmp_si
#define mpz_cmp_ui __gmpz_cmp_ui
#define mpz_cmpabs __gmpz_cmpabs
#define mpz_cmpabs_d __gmpz_cmpabs_d
#define mpz_cmpabs_ui __gmpz_cmpabs_ui
#define mpz_sgn __gmpz_sgn
#define mpz_fits_sint_p __gmpz_fits_sint_p
#define mpz_fits_sshort_p __gmpz_fits_sshort_p
#define mpz_fits_uint_p __gmpz_fits_uint_p
#define mpz_fits_ushort_p __gmpz_fits_ushort_p
#define mpz_and __gmpz_and
#define mpz_ior __gmpz_ior
#define mpz_xor __gmpz_xor
#define mpz_com __gmpz_com
#define mpz_popcount __gmpz_popcount
#define mpz_hamdist __gmpz_hamdist
#define mpz_scan0 __gmpz_scan0
#define mpz_scan1 __gmpz_scan1
#define mpz_setbit __gmpz_setbit
#define mpz_clrbit __gmpz_clrbit
#define mpz_tstbit __gmpz_tstbit
#define mpz_import __gmpz_import
#define mpz_export __gmpz_export
#define mpz_out_str __gmpz_out_str
#define mpz_inp_str __gmpz_inp_str
#define mpq_out_str __gmpq_out_str
/* Modular exponentiation and number theory. */
ZVX_API void __gmpz_powm(mpz_ptr, mpz_srcptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_powm_ui(mpz_ptr, mpz_srcptr, unsigned long, mpz_srcptr);
ZVX_API void mpz_powm_mary(mpz_ptr, mpz_srcptr, mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_invert(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_gcd(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_gcdext(mpz_ptr, mpz_ptr, mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API unsigned long __gmpz_gcd_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_lcm(mpz_ptr, mpz_srcptr, mpz_srcptr);
ZVX_API void __gmpz_lcm_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API int __gmpz_root(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_rootrem(mpz_ptr, mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_sqrt(mpz_ptr, mpz_srcptr);
ZVX_API void __gmpz_sqrtrem(mpz_ptr, mpz_ptr, mpz_srcptr);
ZVX_API int __gmpz_perfect_square_p(mpz_srcptr);
ZVX_API int __gmpz_perfect_power_p(mpz_srcptr);
ZVX_API int __gmpz_jacobi(mpz_srcptr, mpz_srcptr);
ZVX_API int __gmpz_kronecker_si(mpz_srcptr, long);
ZVX_API int __gmpz_kronecker_ui(mpz_srcptr, unsigned long);
ZVX_API int __gmpz_si_kronecker(long, mpz_srcptr);
ZVX_API int __gmpz_ui_kronecker(unsigned long, mpz_srcptr);
ZVX_API void __gmpz_fac_ui(mpz_ptr, unsigned long);
ZVX_API void __gmpz_bin_ui(mpz_ptr, mpz_srcptr, unsigned long);
ZVX_API void __gmpz_bin_uiui(mpz_ptr, unsigned long, unsigned long);
ZVX_API void __gmpz_fib_ui(mpz_ptr, unsigned long);
ZVX_API void __gmpz_fib2_ui(mpz_ptr, mpz_ptr, unsigned long);
ZVX_API void __gmpz_lucnum_ui(mpz_ptr, unsigned long);
ZVX_API void __gmpz_lucnum2_ui(mpz_ptr, mpz_ptr, unsigned long);
#define mpz_powm __gmpz_powm
#define mpz_powm_ui __gmpz_powm_ui
#define mpz_invert __gmpz_invert
#define mpz_gcd __gmpz_gcd
#define mpz_gcdext __gmpz_gcdext
#define mpz_gcd_ui __gmpz_gcd_ui
#define mpz_lcm __gmpz_lcm
#define mpz_lcm_ui __gmpz_lcm_ui
#define mpz_root __gmpz_root
#define mpz_rootrem __gmpz_rootrem
#define mpz_sqrt __gmpz_sqrt
#define mpz_sqrtrem __gmpz_sqrtrem
#define mpz_perfect_square_p __gmpz_perfect_square_p
#define mpz_perfect_power_p __gmpz_perfect_power_p
#define mpz_jacobi __gmpz_jacobi
#define mpz_legendre __gmpz_jacobi
#define mpz_kronecker __gmpz_jacobi
#define mpz_kronecker_si __gmpz_kronecker_si
#define mpz_kronecker_ui __gmpz_kronecker_ui
#define mpz_si_kronecker __gmpz_si_kronecker
#define mpz_ui_kronecker __gmpz_ui_kronecker
#define mpz_fac_ui __gmpz_fac_ui
#define mpz_bin_ui __gmpz_bin_ui
#define mpz_bin_uiui __gmpz_bin_uiui
#define mpz_fib_ui __gmpz_fib_ui
#define mpz_fib2_ui __gmpz_fib2_ui
#define mpz_lucnum_ui __gmpz_lucnum_ui
#define mpz_lucnum2_ui __gmpz_lucnum2_ui
/* Random numbers and primes. gmp_randinit_lc_2exp and gmp_randinit_lc_2exp_size make the same
 * stream as gmp_randinit_default (the latter returns 0); gmp_randseed_ui does nothing;
 * mpz_urandomb returns the stream's status; mpz_rrandomb gives exactly nbits bits. */
ZVX_API void __gmp_randinit_default(gmp_randstate_ptr);
ZVX_API void __gmp_randinit_lc_2exp(gmp_randstate_ptr, mpz_srcptr, unsigned long, mp_bitcnt_t);
ZVX_API int __gmp_randinit_lc_2exp_size(gmp_randstate_ptr, mp_bitcnt_t);
ZVX_API void __gmp_randseed_ui(gmp_randstate_ptr, unsigned long);
ZVX_API void __gmp_randclear(gmp_randstate_ptr);
ZVX_API void _gmp_rand(mp_ptr, gmp_randstate_ptr, unsigned long);
ZVX_API int __gmpz_urandomb(mpz_ptr, gmp_randstate_ptr, mp_bitcnt_t);
ZVX_API void __gmpz_urandomm(mpz_ptr, gmp_randstate_ptr, mpz_srcptr);
ZVX_API void __gmpz_rrandomb(mpz_ptr, gmp_randstate_ptr, mp_bitcnt_t);
ZVX_API int __gmpz_probab_prime_p(mpz_srcptr, int);
ZVX_API void __gmpz_nextprime(mpz_ptr, mpz_srcptr);
#define gmp_randinit_default __gmp_randinit_default
#define gmp_randinit_lc_2exp __gmp_randinit_lc_2exp
#define gmp_randinit_lc_2exp_size __gmp_randinit_lc_2exp_size
#define gmp_randseed_ui __gmp_randseed_ui
#define gmp_randclear __gmp_randclear
#define mpz_urandomb __gmpz_urandomb
#define mpz_urandomm __gmpz_urandomm
#define mpz_rrandomb __gmpz_rrandomb
#define mpz_probab_prime_p __gmpz_probab_prime_p
#define mpz_nextprime __gmpz_nextprime

/* Small macros of the interface that are not entries of their own. */
#define mpz_odd_p(z) ((z)->_mp_size != 0 && ((z)->_mp_d[0] & 1))
#define mpz_even_p(z) (!mpz_odd_p(z))
#define mpz_limbs_read(z) ((mp_srcptr)(z)->_mp_d)

ZVX_EXTERN_C_END

#endif
