// Vector sine and cosine over whole arrays, on SLEEF's vector functions: the 1-ulp forms for high
// accuracy, the 3.5-ulp forms otherwise. This file is compiled once per instruction set with
// NVO_KERNEL_ISA 0 (SSE2), 1 (AVX2 with FMA) or 2 (AVX-512F); the companion picks the table at
// its first call.
#include <immintrin.h>
#include <sleef.h>

#include <cstring>

#include "kernels.h"

namespace nvo {

#if NVO_KERNEL_ISA == 0
namespace isa_sse2 {
using vd = __m128d;
using vs = __m128;
inline vd load(const double* p) { return _mm_loadu_pd(p); }
inline vs load(const float* p) { return _mm_loadu_ps(p); }
inline void store(double* p, vd v) { _mm_storeu_pd(p, v); }
inline void store(float* p, vs v) { _mm_storeu_ps(p, v); }
#define NVO_D(f, u) Sleef_##f##d2_##u##sse2
#define NVO_S(f, u) Sleef_##f##f4_##u##sse2
#elif NVO_KERNEL_ISA == 1
namespace isa_avx2 {
using vd = __m256d;
using vs = __m256;
inline vd load(const double* p) { return _mm256_loadu_pd(p); }
inline vs load(const float* p) { return _mm256_loadu_ps(p); }
inline void store(double* p, vd v) { _mm256_storeu_pd(p, v); }
inline void store(float* p, vs v) { _mm256_storeu_ps(p, v); }
#define NVO_D(f, u) Sleef_##f##d4_##u##avx2
#define NVO_S(f, u) Sleef_##f##f8_##u##avx2
#else
namespace isa_avx512 {
using vd = __m512d;
using vs = __m512;
inline vd load(const double* p) { return _mm512_loadu_pd(p); }
inline vs load(const float* p) { return _mm512_loadu_ps(p); }
inline void store(double* p, vd v) { _mm512_storeu_pd(p, v); }
inline void store(float* p, vs v) { _mm512_storeu_ps(p, v); }
#define NVO_D(f, u) Sleef_##f##d8_##u##avx512f
#define NVO_S(f, u) Sleef_##f##f16_##u##avx512f
#endif

namespace {

// Two vectors per step: SLEEF's functions are out-of-line calls, and two independent calls per
// iteration let the second one's loads overlap the first one's tail. The ragged end goes through
// a zero-padded vector on the stack, so no lane reads past the caller's array.
template <class T, class V, class F>
void apply(int n, const T* a, T* r) {
  constexpr int w = static_cast<int>(sizeof(V) / sizeof(T));
  int i = 0;
  for (; i + 2 * w <= n; i += 2 * w) {
    const V x0 = load(a + i), x1 = load(a + i + w);
    store(r + i, F::call(x0));
    store(r + i + w, F::call(x1));
  }
  for (; i + w <= n; i += w) store(r + i, F::call(load(a + i)));
  if (i < n) {
    alignas(64) T buffer[w] = {};
    const size_t rest = static_cast<size_t>(n - i) * sizeof(T);
    memcpy(buffer, a + i, rest);
    store(buffer, F::call(load(buffer)));
    memcpy(r + i, buffer, rest);
  }
}

// SLEEF's functions as types, one per function and accuracy.
#define NVO_FUNCTION(name, V, sleef) \
  struct name {                      \
    static V call(V x) { return sleef(x); } \
  };
NVO_FUNCTION(dcos_u10, vd, NVO_D(cos, u10))
NVO_FUNCTION(dcos_u35, vd, NVO_D(cos, u35))
NVO_FUNCTION(dsin_u10, vd, NVO_D(sin, u10))
NVO_FUNCTION(dsin_u35, vd, NVO_D(sin, u35))
NVO_FUNCTION(scos_u10, vs, NVO_S(cos, u10))
NVO_FUNCTION(scos_u35, vs, NVO_S(cos, u35))
NVO_FUNCTION(ssin_u10, vs, NVO_S(sin, u10))
NVO_FUNCTION(ssin_u35, vs, NVO_S(sin, u35))

}  // namespace

extern const kernel_table table;
const kernel_table table = {
    {apply<double, vd, dcos_u10>, apply<double, vd, dcos_u35>, apply<double, vd, dsin_u10>,
     apply<double, vd, dsin_u35>},
    {apply<float, vs, scos_u10>, apply<float, vs, scos_u35>, apply<float, vs, ssin_u10>,
     apply<float, vs, ssin_u35>},
};

}  // namespace isa_*
}  // namespace nvo
