/* Runtime services: character comparison, error reporting, thread policy, scratch memory,
 * processor and timing, version reporting, tuning queries. */
#ifndef ZVX_SERVICE_H
#define ZVX_SERVICE_H

#include "zvx_common.h"

ZVX_EXTERN_C_BEGIN

/* Character comparison regardless of case (only "a" to "z" fold). Logical results. */
ZVX_API int lsame(const char* ca, const char* cb);
ZVX_API int lsamen(const int* n, const char* ca, const char* cb, int len_ca, int len_cb);

/* Prints one error line on standard error. The library's own reports go through it. */
ZVX_API void default_xerbla(const char* name, const int* info, int name_len);

/* Thread policy: 1 when the library runs its kernels serially. Decided once per process from
 * ZVX_SERIAL and OMP_NUM_THREADS; the setters write ZVX_SERIAL ("YES" or "NO") and return 1 on
 * success, 0 on failure. */
ZVX_API int in_serial(void);
ZVX_API int set_serial(void);
ZVX_API int set_parallel(void);

/* Scratch memory with a per-thread cache of five blocks. Arguments by value. A block must be
 * released on the thread that took it. */
ZVX_API void* zvx_allocate(unsigned int size, int alignment);
ZVX_API void zvx_deallocate(void* ptr);
ZVX_API void freebuffers(void);

/* Processor and timing. */
ZVX_API void getcpuclocks(unsigned long long* clocks);
ZVX_API double getcpufrequency(void);
ZVX_API void setcpufrequency(const double* ghz);
ZVX_API double dsecnd(void);
ZVX_API float second(void);

/* Version reporting. */
typedef struct zvx_version {
  int major_version;
  int minor_version;
  int update_version;
  const char* product_status;
  const char* build;
  const char* processor;
} zvx_version;

ZVX_API void zvxgetversion(zvx_version* version);
ZVX_API void zvxgetversionstring(char* buffer, int length);
ZVX_API void zvxgetversionstring_c(char* buffer, int length);
ZVX_API const char* gettargetprocessor(void);
ZVX_API int dll_cpu_version(void);

/* Tuning queries. String lengths are passed by value behind the other arguments. */
ZVX_API int ilaenv(const int* ispec, const char* name, const char* opts, const int* n1,
                   const int* n2, const int* n3, const int* n4, int name_len, int opts_len);
ZVX_API int iparmq(const int* ispec, const char* name, const char* opts, const int* n,
                   const int* ilo, const int* ihi, const int* lwork, int name_len, int opts_len);
ZVX_API void ilaver(int* major, int* minor, int* patch);
ZVX_API int ieeeck(const int* ispec, const float* zero, const float* one);

ZVX_EXTERN_C_END

#endif
