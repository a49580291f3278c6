/* Types and conventions shared by every public header of the library.
 *
 * Calling style: names are lower case and undecorated; BLAS and LAPACK style arguments, scalars
 * included, are passed by pointer; integers are 32-bit; a character option is a pointer to its
 * first character, and only that character is read; matrices are column-major with a leading
 * dimension. A complex function result is written through a hidden first pointer argument. */
#ifndef ZVX_COMMON_H
#define ZVX_COMMON_H

#if defined(__GNUC__)
#define ZVX_API __attribute__((visibility("default")))
#else
#define ZVX_API
#endif

#ifdef __cplusplus
#define ZVX_EXTERN_C_BEGIN extern "C" {
#define ZVX_EXTERN_C_END }
#else
#define ZVX_EXTERN_C_BEGIN
#define ZVX_EXTERN_C_END
#endif

/* Complex numbers: two adjacent reals, the real part first. */
typedef struct zvx_complex8 {
  float real;
  float imag;
} zvx_complex8;

typedef struct zvx_complex16 {
  double real;
  double imag;
} zvx_complex16;

/* Logical results: TRUE is all bits set, FALSE is 0; test bit 0 only. */
#define ZVX_TRUE (-1)
#define ZVX_FALSE 0

#endif
