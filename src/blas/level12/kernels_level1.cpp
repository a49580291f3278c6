// Level-1 vector kernels, real and complex, unit strides: the loops under axpy, dot, scal, copy,
// swap, asum, the sums of squares of nrm2, and iamax. Multiply-adds are explicit FMAs where the
// processor has them.
#include "blas/level12/kernels_isa.h"

namespace zvx::blas12::ZVX_ISA_NS {

template <class T> void axpy(long n, T alpha, const T* x, T* y) {
  constexpr int w = W<T>;
  const V<T> va = bc(alpha);
  long i = elements_to_boundary(y, n);
  if (i > 0) st_part(y, vfma(va, ld_part(x, i), ld_part(y, i)), i);
  for (; i + 4 * w <= n; i += 4 * w) {
    const V<T> y0 = vfma(va, ld(x + i), ld(y + i));
    const V<T> y1 = vfma(va, ld(x + i + w), ld(y + i + w));
    const V<T> y2 = vfma(va, ld(x + i + 2 * w), ld(y + i + 2 * w));
    const V<T> y3 = vfma(va, ld(x + i + 3 * w), ld(y + i + 3 * w));
    st(y + i, y0); st(y + i + w, y1); st(y + i + 2 * w, y2); st(y + i + 3 * w, y3);
  }
  for (; i + w <= n; i += w) st(y + i, vfma(va, ld(x + i), ld(y + i)));
  if (i < n) st_part(y + i, vfma(va, ld_part(x + i, n - i), ld_part(y + i, n - i)), n - i);
}

// y += a1 * x1, then y += a2 * x2, element by element in one pass: the arithmetic of two axpy
// calls, without the second call reading back what the first one's masked tail just stored.
template <class T> void axpy2(long n, T a1, const T* x1, T a2, const T* x2, T* y) {
  constexpr int w = W<T>;
  const V<T> v1 = bc(a1), v2 = bc(a2);
  auto step = [&](V<T> yv, V<T> p, V<T> q) __attribute__((always_inline)) { return vfma(v2, q, vfma(v1, p, yv)); };
  long i = elements_to_boundary(y, n);
  if (i > 0) st_part(y, step(ld_part(y, i), ld_part(x1, i), ld_part(x2, i)), i);
  for (; i + 2 * w <= n; i += 2 * w) {
    const V<T> y0 = step(ld(y + i), ld(x1 + i), ld(x2 + i));
    const V<T> y1 = step(ld(y + i + w), ld(x1 + i + w), ld(x2 + i + w));
    st(y + i, y0);
    st(y + i + w, y1);
  }
  for (; i + w <= n; i += w) st(y + i, step(ld(y + i), ld(x1 + i), ld(x2 + i)));
  if (i < n) st_part(y + i, step(ld_part(y + i, n - i), ld_part(x1 + i, n - i), ld_part(x2 + i, n - i)), n - i);
}

template <class T> T dot(long n, const T* x, const T* y) {
  constexpr int w = W<T>;
  V<T> acc[reduction_unroll] = {};
  // The first elements up to a vector boundary of x: when x and y share their alignment (as
  // equal allocations do), no load after them straddles two lines.
  long i = elements_to_boundary(x, n);
  if (i > 0) acc[3] = vfma(ld_part(x, i), ld_part(y, i), acc[3]);
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k)
      acc[k] = vfma(ld(x + i + k * w), ld(y + i + k * w), acc[k]);
  for (; i + w <= n; i += w) acc[1] = vfma(ld(x + i), ld(y + i), acc[1]);
  if (i < n) acc[2] = vfma(ld_part(x + i, n - i), ld_part(y + i, n - i), acc[2]);
  return hsum<T>((acc[0] + acc[1]) + (acc[2] + acc[3]));
}

template <class T> void scal(long n, T alpha, T* x) {
  constexpr int w = W<T>;
  const V<T> va = bc(alpha);
  long i = elements_to_boundary(x, n);
  if (i > 0) st_part(x, ld_part(x, i) * va, i);
  for (; i + 4 * w <= n; i += 4 * w)
    for (int k = 0; k < 4; ++k) st(x + i + k * w, ld(x + i + k * w) * va);
  for (; i + w <= n; i += w) st(x + i, ld(x + i) * va);
  if (i < n) st_part(x + i, ld_part(x + i, n - i) * va, n - i);
}

template <class T> void copy(long n, const T* x, T* y) {
  constexpr int w = W<T>;
  long i = 0;
  if (n * (long)sizeof(T) < copy_stream_bytes) {
    // A partial first vector brings y to a vector boundary, so that no store splits a line.
    const long misalign = (long)(reinterpret_cast<uintptr_t>(y) & (vector_bytes - 1));
    if (n >= 8 * w && misalign % (long)sizeof(T) == 0 && misalign != 0) {
      i = (vector_bytes - misalign) / (long)sizeof(T);
      st_part(y, ld_part(x, i), i);
    }
    for (; i + 4 * w <= n; i += 4 * w) {
      const V<T> a0 = ld(x + i), a1 = ld(x + i + w), a2 = ld(x + i + 2 * w), a3 = ld(x + i + 3 * w);
      st(y + i, a0); st(y + i + w, a1); st(y + i + 2 * w, a2); st(y + i + 3 * w, a3);
    }
    for (; i + w <= n; i += w) st(y + i, ld(x + i));
    if (i < n) st_part(y + i, ld_part(x + i, n - i), n - i);
    return;
  }
  while (i < n && (reinterpret_cast<uintptr_t>(y + i) & (vector_bytes - 1)) != 0) {
    y[i] = x[i];
    ++i;
  }
  if ((reinterpret_cast<uintptr_t>(y + i) & (vector_bytes - 1)) == 0) {
    for (; i + 4 * w <= n; i += 4 * w) {
      for (int k = 0; k < 4; ++k) {
        stream(y + i + k * w, ld(x + i + k * w));
      }
    }
    _mm_sfence();
  }
  for (; i < n; ++i) y[i] = x[i];
}

template <class T> void swap(long n, T* x, T* y) {
  constexpr int w = W<T>;
  long i = 0;
  for (; i + 2 * w <= n; i += 2 * w) {
    const V<T> a0 = ld(x + i), a1 = ld(x + i + w), b0 = ld(y + i), b1 = ld(y + i + w);
    st(x + i, b0); st(x + i + w, b1); st(y + i, a0); st(y + i + w, a1);
  }
  for (; i < n; ++i) {
    const T t = x[i];
    x[i] = y[i];
    y[i] = t;
  }
}

// Eight vectors a pass into four sums: the absolute value and the add of every vector share the
// two vector ports, which bounds the loop at one vector a cycle, and four chains of adds cover
// their latency at that rate. Data brought to a vector boundary first (see elements_to_boundary).
// The sums are four named values rather than an array, which the compiler kept on the stack
// between the loops.
template <class T> T asum(long n, const T* x) {
  constexpr int w = W<T>;
  V<T> a0 = {}, a1 = {}, a2 = {}, a3 = {};
  long i = elements_to_boundary(x, n);
  if (i > 0) a3 = vabs<T>(ld_part(x, i));
  auto at = [&](long k) { return vabs<T>(ld(x + i + k * w)); };
  for (; i + 8 * w <= n; i += 8 * w) {
    a0 += at(0) + at(4);
    a1 += at(1) + at(5);
    a2 += at(2) + at(6);
    a3 += at(3) + at(7);
  }
  // Up to seven whole vectors left, each into a sum of its own as far as they go: one chain would
  // take their latencies one after another, a visible share of a vector of a thousand elements.
  if (i + 4 * w <= n) {
    a0 += at(0);
    a1 += at(1);
    a2 += at(2);
    a3 += at(3);
    i += 4 * w;
  }
  if (i + 2 * w <= n) {
    a0 += at(0);
    a1 += at(1);
    i += 2 * w;
  }
  if (i + w <= n) {
    a2 += at(0);
    i += w;
  }
  if (i < n) a3 += vabs<T>(ld_part(x + i, n - i));
  return fold_sum<T>((a0 + a1) + (a2 + a3));
}

double sumsq_d(long n, const double* x) {
  constexpr int w = W<double>;
  vd acc[reduction_unroll] = {};
  long i = 0;
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k) {
      const vd v = ld(x + i + k * w);
      acc[k] = vfma(v, v, acc[k]);
    }
  for (; i + w <= n; i += w) {
    const vd v = ld(x + i);
    acc[1] = vfma(v, v, acc[1]);
  }
  if (i < n) {
    const vd v = ld_part(x + i, n - i);
    acc[2] = vfma(v, v, acc[2]);
  }
  return hsum<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
}

// Single values squared and summed in double: exact squares and the range of double.
double sumsq_s(long n, const float* x) {
  constexpr int w = W<double>;
  vd acc[reduction_unroll] = {};
  long i = 0;
  auto widen = [&](long at) {
    vfh h;
    memcpy(&h, x + at, sizeof h);
    return __builtin_convertvector(h, vd);
  };
  for (; i + reduction_unroll * w <= n; i += reduction_unroll * w)
    for (int k = 0; k < reduction_unroll; ++k) {
      const vd v = widen(i + k * w);
      acc[k] = vfma(v, v, acc[k]);
    }
  double s = hsum<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
  for (; i < n; ++i) s = sfma((double)x[i], (double)x[i], s);
  return s;
}

// One pass for long vectors: a strict comparison per lane keeps the first of equal maxima within
// a lane; across lanes the smallest index of the largest value wins. A NaN never compares greater,
// so it is skipped.
template <class T> long iamax_one_pass(long n, const T* x) {
  constexpr int w = W<T>;
  constexpr int sets = 4;
  using I = VI<T>;
  V<T> m[sets];
  I idx[sets], cur[sets];
  for (int s = 0; s < sets; ++s) {
    m[s] = bc(T(-1));
    idx[s] = I{};
  }
  // The elements before the first vector boundary by the scalar rule; their indices are the
  // smallest, so they win ties against the lanes.
  T best_value = T(-1);
  long best = 0;
  long i = elements_to_boundary(x, n);
  for (long k = 0; k < i; ++k) {
    const T v = __builtin_fabs(x[k]);
    if (v > best_value) {
      best_value = v;
      best = k;
    }
  }
  for (int s = 0; s < sets; ++s)
    for (int k = 0; k < w; ++k) cur[s][k] = i + s * w + k;
  const I step = I{} + sets * w;
  for (; i + sets * w <= n; i += sets * w)
    for (int s = 0; s < sets; ++s) {
      const V<T> a = vabs<T>(ld(x + i + s * w));
      const I gt = a > m[s];
      m[s] = gt ? a : m[s];
      idx[s] = gt ? cur[s] : idx[s];
      cur[s] += step;
    }
  for (int s = 0; s < sets; ++s)
    for (int k = 0; k < w; ++k) {
      const T v = m[s][k];
      const long at = idx[s][k];
      if (v > best_value || (v == best_value && at < best)) {
        best_value = v;
        best = at;
      }
    }
  for (; i < n; ++i) {
    const T v = __builtin_fabs(x[i]);
    if (v > best_value) {
      best_value = v;
      best = i;
    }
  }
  return best;
}

// Two passes: the largest magnitude by a lane-wise maximum that skips NaN, then the first position
// that holds it, which is the one a strict scan would keep.
template <class T> long iamax(long n, const T* x) {
  // Lane indices are 32-bit for single precision: the one-pass form stays below 2^31 elements.
  if (n * (long)sizeof(T) > iamax_one_pass_bytes && n < (1L << 31)) return iamax_one_pass<T>(n, x);
  constexpr int w = W<T>;
  V<T> m[4];
  for (auto& v : m) v = bc<T>(T(__builtin_fabs(x[0])));
  long i = 0;
  for (; i + 4 * w <= n; i += 4 * w)
    for (int k = 0; k < 4; ++k) m[k] = vmax(vabs<T>(ld(x + i + k * w)), m[k]);
  for (; i + w <= n; i += w) m[0] = vmax(vabs<T>(ld(x + i)), m[0]);
  if (i < n) m[1] = vmax(vabs<T>(ld_part(x + i, n - i)), m[1]);
  const V<T> mm = vmax(vmax(m[0], m[1]), vmax(m[2], m[3]));
  T best = mm[0];
  for (int k = 1; k < w; ++k) best = best < mm[k] ? mm[k] : best;
  const V<T> vb = bc(best);
  for (i = 0; i + w <= n; i += w)
    if (const unsigned bits = eq_bits(vabs<T>(ld(x + i)), vb)) return i + __builtin_ctz(bits);
  for (; i < n; ++i)
    if (__builtin_fabs(x[i]) == best) return i;
  return 0;
}


// ---- complex ----------------------------------------------------------------------------------
// A complex vector of k pairs is a real vector of 2k lanes; alpha * x is re(alpha) * x plus
// im(alpha) * (x with its parts exchanged) * (-1, +1).
#if ZVX_ISA_LEVEL == 2
inline __m256d half_fma(__m256d a, __m256d b, __m256d c) { return _mm256_fmadd_pd(a, b, c); }
inline __m256 half_fma(__m256 a, __m256 b, __m256 c) { return _mm256_fmadd_ps(a, b, c); }
inline __m256d half_swap_pairs(__m256d a) { return _mm256_permute_pd(a, 0x5); }
inline __m256 half_swap_pairs(__m256 a) { return _mm256_permute_ps(a, 0xb1); }
template <class R> struct half_vector_of { using type = __m256d; };
template <> struct half_vector_of<float> { using type = __m256; };
template <class R> using half_vector = typename half_vector_of<R>::type;
template <class R> inline half_vector<R> half_ld(const R* p) {
  if constexpr (std::is_same_v<R, double>) return _mm256_loadu_pd(p);
  else return _mm256_loadu_ps(p);
}
template <class R> inline void half_st(R* p, half_vector<R> v) {
  if constexpr (std::is_same_v<R, double>) _mm256_storeu_pd(p, v);
  else _mm256_storeu_ps(p, v);
}
template <class R> inline half_vector<R> half_bc(R a) {
  if constexpr (std::is_same_v<R, double>) return _mm256_set1_pd(a);
  else return _mm256_set1_ps(a);
}

// caxpy for vectors beyond the caches, on 32-byte vectors, with the arithmetic of caxpy.
template <class R> void caxpy_from_memory(long n, complex_t<R> alpha, const complex_t<R>* xc, complex_t<R>* yc) {
  using H = half_vector<R>;
  constexpr int hw = 32 / sizeof(R);
  const R* x = &xc->real;
  R* y = &yc->real;
  const long len = 2 * n;
  const V<R> ai_wide = bc(alpha.imag) * alternating_sign<R>();
  H ai;
  memcpy(&ai, &ai_wide, sizeof ai);
  const H ar = half_bc<R>(alpha.real);
  long i = 0;
  for (; i + 4 * hw <= len; i += 4 * hw) {
    H xv[4];
    for (int k = 0; k < 4; ++k) xv[k] = half_ld<R>(x + i + k * hw);
    for (int k = 0; k < 4; ++k)
      half_st<R>(y + i + k * hw, half_fma(ai, half_swap_pairs(xv[k]), half_fma(ar, xv[k], half_ld<R>(y + i + k * hw))));
  }
  for (long k = i / 2; k < n; ++k) {
    const complex_t<R> xk = xc[k];
    yc[k] = {sfma(-alpha.imag, xk.imag, sfma(alpha.real, xk.real, yc[k].real)), sfma(alpha.imag, xk.real, sfma(alpha.real, xk.imag, yc[k].imag))};
  }
}
#endif

template <class R> void caxpy(long n, complex_t<R> alpha, const complex_t<R>* xc, complex_t<R>* yc) {
#if ZVX_ISA_LEVEL == 2
  if (n * (long)sizeof(complex_t<R>) > caxpy_half_vector_bytes) return caxpy_from_memory<R>(n, alpha, xc, yc);
#endif
  constexpr int w = W<R>;
  const R* x = &xc->real;
  R* y = &yc->real;
  const long len = 2 * n;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  // Whole elements up to a vector boundary of y, so that the stores after them don't straddle
  // two lines.
  long i = elements_to_boundary(y, len);
  if (i % 2 != 0) i = 0;
  if (i > 0) {
    const V<R> x0 = ld_part(x, i);
    st_part(y, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld_part(y, i))), i);
  }
  for (; i + 4 * w <= len; i += 4 * w) {
    V<R> xv[4], yv[4];
    for (int k = 0; k < 4; ++k) {
      xv[k] = ld(x + i + k * w);
      in_register(xv[k]);
    }
    for (int k = 0; k < 4; ++k) yv[k] = vfma(ar, xv[k], ld(y + i + k * w));
    for (int k = 0; k < 4; ++k) st(y + i + k * w, vfma(ai, swap_pairs<R>(xv[k]), yv[k]));
  }
  for (; i + w <= len; i += w) {
    const V<R> x0 = ld(x + i);
    st(y + i, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld(y + i))));
  }
  if (i < len) {
    const V<R> x0 = ld_part(x + i, len - i);
    st_part(y + i, vfma(ai, swap_pairs<R>(x0), vfma(ar, x0, ld_part(y + i, len - i))), len - i);
  }
}

template <class R> void cscal(long n, complex_t<R> alpha, complex_t<R>* xc) {
  constexpr int w = W<R>;
  R* x = &xc->real;
  const long len = 2 * n;
  const V<R> ar = bc(alpha.real), ai = bc(alpha.imag) * alternating_sign<R>();
  long i = 0;
  for (; i + w <= len; i += w) {
    V<R> v = ld(x + i);
    in_register(v);
    st(x + i, vfma(ai, swap_pairs<R>(v), ar * v));
  }
  for (long k = i / 2; k < n; ++k) xc[k] = alpha * xc[k];
}

template <class R> inline complex_t<R> combine(V<R> p, V<R> q, bool conjugate_x) {
  const auto [p0, p1] = pair_sums<R>(p);
  const auto [q0, q1] = pair_sums<R>(q);
  return conjugate_x ? complex_t<R>{p0 + p1, q0 - q1} : complex_t<R>{p0 - p1, q0 + q1};
}

// Four vectors a pass with their own sums: eight independent chains cover the FMA latency, and the
// four exchanges a pass match the FMA rate on the one shuffle port. The first whole elements up to
// a vector boundary of x come first, so that no load after them straddles two lines when y shares
// the alignment of x (as equal allocations do).
template <class R> complex_t<R> cdot(long n, const complex_t<R>* xc, const complex_t<R>* yc, bool conjugate_x) {
  constexpr int w = W<R>;
  const R* x = &xc->real;
  const R* y = &yc->real;
  const long len = 2 * n;
  V<R> p[4] = {}, q[4] = {};
  long i = elements_to_boundary(x, len);
  if (i % 2 != 0) i = 0;
  if (i > 0) {
    const V<R> xa = ld_part(x, i), ya = ld_part(y, i);
    p[3] = vfma(xa, ya, p[3]);
    q[3] = vfma(xa, swap_pairs<R>(ya), q[3]);
  }
  for (; i + 4 * w <= len; i += 4 * w)
    for (int k = 0; k < 4; ++k) {
      V<R> xa = ld(x + i + k * w), ya = ld(y + i + k * w);
      in_register(xa);
      in_register(ya);
      p[k] = vfma(xa, ya, p[k]);
      q[k] = vfma(xa, swap_pairs<R>(ya), q[k]);
    }
  for (; i + w <= len; i += w) {
    const V<R> xa = ld(x + i), ya = ld(y + i);
    p[0] = vfma(xa, ya, p[0]);
    q[0] = vfma(xa, swap_pairs<R>(ya), q[0]);
  }
  if (i < len) {
    const V<R> xa = ld_part(x + i, len - i), ya = ld_part(y + i, len - i);
    p[1] = vfma(xa, ya, p[1]);
    q[1] = vfma(xa, swap_pairs<R>(ya), q[1]);
  }
  return combine<R>((p[0] + p[1]) + (p[2] + p[3]), (q[0] + q[1]) + (q[2] + q[3]), conjugate_x);
}

// One pass for long complex vectors, as iamax_one_pass on the pair measures: both lanes of a pair
// hold the same value, so a lane index halved is the element.
template <class R> long ciamax_one_pass(long n, const complex_t<R>* xc) {
  constexpr int w = W<R>;
  using I = VI<R>;
  const R* x = &xc->real;
  const long len = 2 * n;
  V<R> m[2];
  I idx[2], cur[2];
  for (int s = 0; s < 2; ++s) {
    m[s] = bc(R(-1));
    idx[s] = I{};
  }
  R best_value = R(-1);
  long best = 0;
  long i = elements_to_boundary(x, len);
  if (i % 2 != 0) i = 0;
  for (long k = 0; k < i / 2; ++k) {
    const R v = abs1(xc[k]);
    if (v > best_value) {
      best_value = v;
      best = k;
    }
  }
  for (int s = 0; s < 2; ++s)
    for (int k = 0; k < w; ++k) cur[s][k] = i + s * w + k;
  const I step = I{} + 2 * w;
  for (; i + 2 * w <= len; i += 2 * w)
    for (int s = 0; s < 2; ++s) {
      const V<R> a = vabs<R>(ld(x + i + s * w));
      const V<R> v = a + swap_pairs<R>(a);
      const I gt = v > m[s];
      m[s] = gt ? v : m[s];
      idx[s] = gt ? cur[s] : idx[s];
      cur[s] += step;
    }
  for (int s = 0; s < 2; ++s)
    for (int k = 0; k < w; ++k) {
      const R v = m[s][k];
      const long at = idx[s][k] / 2;
      if (v > best_value || (v == best_value && at < best)) {
        best_value = v;
        best = at;
      }
    }
  for (long k = i / 2; k < n; ++k) {
    const R v = abs1(xc[k]);
    if (v > best_value) {
      best_value = v;
      best = k;
    }
  }
  return best;
}

// |re| + |im| lands in both lanes of a pair; then the two passes of the real form, on pairs.
template <class R> long ciamax(long n, const complex_t<R>* xc) {
  if (n * (long)sizeof(complex_t<R>) > iamax_one_pass_bytes && 2 * n < (1L << 31)) return ciamax_one_pass<R>(n, xc);
  constexpr int w = W<R>;
  const R* x = &xc->real;
  const long len = 2 * n;
  auto measure = [](V<R> v) {
    const V<R> a = vabs<R>(v);
    return a + swap_pairs<R>(a);
  };
  V<R> m[2];
  for (auto& v : m) v = bc(abs1(xc[0]));
  long i = 0;
  for (; i + 2 * w <= len; i += 2 * w) {
    m[0] = vmax(measure(ld(x + i)), m[0]);
    m[1] = vmax(measure(ld(x + i + w)), m[1]);
  }
  for (; i + w <= len; i += w) m[0] = vmax(measure(ld(x + i)), m[0]);
  if (i < len) m[1] = vmax(measure(ld_part(x + i, len - i)), m[1]);
  const V<R> mm = vmax(m[0], m[1]);
  R best = mm[0];
  for (int k = 1; k < w; ++k) best = best < mm[k] ? mm[k] : best;
  const V<R> vb = bc(best);
  for (i = 0; i + w <= len; i += w)
    if (const unsigned bits = eq_bits(measure(ld(x + i)), vb)) return (i + __builtin_ctz(bits)) / 2;
  for (long k = i / 2; k < n; ++k)
    if (abs1(xc[k]) == best) return k;
  return 0;
}

template void axpy<float>(long, float, const float*, float*);
template void axpy<double>(long, double, const double*, double*);
template void axpy2<float>(long, float, const float*, float, const float*, float*);
template void axpy2<double>(long, double, const double*, double, const double*, double*);
template float dot<float>(long, const float*, const float*);
template double dot<double>(long, const double*, const double*);
template void scal<float>(long, float, float*);
template void scal<double>(long, double, double*);
template void copy<float>(long, const float*, float*);
template void copy<double>(long, const double*, double*);
template void swap<float>(long, float*, float*);
template void swap<double>(long, double*, double*);
template float asum<float>(long, const float*);
template double asum<double>(long, const double*);
template long iamax<float>(long, const float*);
template long iamax<double>(long, const double*);
template void caxpy<float>(long, complex_t<float>, const complex_t<float>*, complex_t<float>*);
template void caxpy<double>(long, complex_t<double>, const complex_t<double>*, complex_t<double>*);
template void cscal<float>(long, complex_t<float>, complex_t<float>*);
template void cscal<double>(long, complex_t<double>, complex_t<double>*);
template complex_t<float> cdot<float>(long, const complex_t<float>*, const complex_t<float>*, bool);
template complex_t<double> cdot<double>(long, const complex_t<double>*, const complex_t<double>*, bool);
template long ciamax<float>(long, const complex_t<float>*);
template long ciamax<double>(long, const complex_t<double>*);

}  // namespace zvx::blas12::ZVX_ISA_NS
