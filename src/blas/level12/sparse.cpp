// Level 1 between a compressed sparse vector (nz values and their 1-based positions) and a dense
// vector: one plain loop each, in ascending order of the stored entries, so repeated positions
// behave as the loop order makes them (later writes win, additions add up).
#include "blas/level12/types.h"
#include "service/service.h"
#include "zvx_blas12.h"

namespace zvx::blas12 {
namespace {

template <class T> void axpyi(int nz, T a, const T* x, const int* indx, T* y) {
  if (nz < 1 || is_zero(a)) return;
  for (int i = 0; i < nz; ++i) y[indx[i] - 1] += a * x[i];
}
template <class T> T doti(bool conjugate, int nz, const T* x, const int* indx, const T* y) {
  T s{};
  for (int i = 0; i < nz; ++i) s += (conjugate ? conj(x[i]) : x[i]) * y[indx[i] - 1];
  return s;
}
template <class T> void gthr(int nz, const T* y, T* x, const int* indx) {
  for (int i = 0; i < nz; ++i) x[i] = y[indx[i] - 1];
}
template <class T> void gthrz(int nz, T* y, T* x, const int* indx) {
  for (int i = 0; i < nz; ++i) {
    x[i] = y[indx[i] - 1];
    y[indx[i] - 1] = T{};
  }
}
template <class T> void sctr(int nz, const T* x, const int* indx, T* y) {
  for (int i = 0; i < nz; ++i) y[indx[i] - 1] = x[i];
}
template <class T> void roti(int nz, T* x, const int* indx, T* y, T c, T s) {
  if (nz < 1 || (c == 1 && s == 0)) return;
  for (int i = 0; i < nz; ++i) {
    const T t = y[indx[i] - 1];
    y[indx[i] - 1] = c * t - s * x[i];
    x[i] = c * x[i] + s * t;
  }
}

}  // namespace
}  // namespace zvx::blas12

using namespace zvx;
using namespace zvx::blas12;
using c8 = zvx_complex8;
using c16 = zvx_complex16;
template <class T, class C> T* P(C* p) { return reinterpret_cast<T*>(const_cast<std::remove_const_t<C>*>(p)); }

#define SPARSE_FAMILY(p, T, CT)                                                                          \
  ZVX_EXPORT void p##axpyi(const int* nz, const CT* a, const CT* x, const int* indx, CT* y) {              \
    axpyi<T>(*nz, *P<T>(a), P<T>(x), indx, P<T>(y));                                                      \
  }                                                                                                      \
  ZVX_EXPORT void p##gthr(const int* nz, const CT* y, CT* x, const int* indx) { gthr<T>(*nz, P<T>(y), P<T>(x), indx); } \
  ZVX_EXPORT void p##gthrz(const int* nz, CT* y, CT* x, const int* indx) { gthrz<T>(*nz, P<T>(y), P<T>(x), indx); }     \
  ZVX_EXPORT void p##sctr(const int* nz, const CT* x, const int* indx, CT* y) { sctr<T>(*nz, P<T>(x), indx, P<T>(y)); }
SPARSE_FAMILY(s, float, float)
SPARSE_FAMILY(d, double, double)
SPARSE_FAMILY(c, c8, zvx_complex8)
SPARSE_FAMILY(z, c16, zvx_complex16)

// The real sums are kept in extended precision until they are returned.
ZVX_EXPORT float sdoti(const int* nz, const float* x, const int* indx, const float* y) {
  long double s = 0;
  for (int i = 0; i < *nz; ++i) s += (long double)x[i] * y[indx[i] - 1];
  return (float)s;
}
ZVX_EXPORT double ddoti(const int* nz, const double* x, const int* indx, const double* y) {
  long double s = 0;
  for (int i = 0; i < *nz; ++i) s += (long double)x[i] * y[indx[i] - 1];
  return (double)s;
}
ZVX_EXPORT void cdotui(zvx_complex8* pres, const int* nz, const zvx_complex8* x, const int* indx, const zvx_complex8* y) {
  *P<c8>(pres) = doti<c8>(false, *nz, P<c8>(x), indx, P<c8>(y));
}
ZVX_EXPORT void cdotci(zvx_complex8* pres, const int* nz, const zvx_complex8* x, const int* indx, const zvx_complex8* y) {
  *P<c8>(pres) = doti<c8>(true, *nz, P<c8>(x), indx, P<c8>(y));
}
ZVX_EXPORT void zdotui(zvx_complex16* pres, const int* nz, const zvx_complex16* x, const int* indx, const zvx_complex16* y) {
  *P<c16>(pres) = doti<c16>(false, *nz, P<c16>(x), indx, P<c16>(y));
}
ZVX_EXPORT void zdotci(zvx_complex16* pres, const int* nz, const zvx_complex16* x, const int* indx, const zvx_complex16* y) {
  *P<c16>(pres) = doti<c16>(true, *nz, P<c16>(x), indx, P<c16>(y));
}
ZVX_EXPORT void sroti(const int* nz, float* x, const int* indx, float* y, const float* c, const float* s) { roti<float>(*nz, x, indx, y, *c, *s); }
ZVX_EXPORT void droti(const int* nz, double* x, const int* indx, double* y, const double* c, const double* s) { roti<double>(*nz, x, indx, y, *c, *s); }
