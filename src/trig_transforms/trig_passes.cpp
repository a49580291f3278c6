// The passes are plain loops over disjoint halves of f, written so that the compiler vectorises
// them; the running sums stay serial, as their rounding is part of the result.
#include "trig_transforms/trig_passes.h"

#include "nvo/nvo_internal.h"

namespace zvx::trig {
namespace {

// The library's own sine and cosine are the one source of table values, one element per call.
inline void sin1(const double* a, double* r) { nvo::vector_sin(1, a, r); }
inline void sin1(const float* a, float* r) { nvo::vector_sin(1, a, r); }
inline void cos1(const double* a, double* r) { nvo::vector_cos(1, a, r); }
inline void cos1(const float* a, float* r) { nvo::vector_cos(1, a, r); }

template <class R> constexpr R kPi = R(3.141592653589793);
template <> constexpr float kPi<float> = 3.1415927f;

}  // namespace

template <class R>
void fill_sine_table(R* dpar, int n) {
  const R step = kPi<R> / R(n);
  for (int j = 1; j <= n / 2; ++j) {
    const R angle = R(j) * step;
    sin1(&angle, &dpar[1 + j]);
  }
}

template <class R>
void fill_cosine_table(R* dpar, int n) {
  const R step = kPi<R> / R(n);
  for (int j = 1; j <= n / 2 - 1; ++j) {
    const R angle = R(j) * step;
    cos1(&angle, &dpar[2 * j]);
    sin1(&angle, &dpar[2 * j + 1]);
  }
}

// The angles are running sums in working precision: in single precision the half-odd sines of
// long tables drift by a few units of the last place per hundred entries, which callers see.
template <class R>
void fill_staggered_tables(R* dpar, int n) {
  const R half = kPi<R> / R(n) * R(0.5);
  const R step = half + half;
  R angle = 0;
  for (int k = 1; k <= n / 2 - 1; ++k) {
    angle += step;
    cos1(&angle, &dpar[2 * k]);
    sin1(&angle, &dpar[2 * k + 1]);
  }
  angle = -half;
  for (int m = 1; m <= n / 2; ++m) {
    angle += step;
    sin1(&angle, &dpar[n - 1 + m]);
  }
}

template <class R>
void sine_pre(R* f, int n, const R* t) {
  const int h = n / 2;
  f[0] = 0;
  // j = 1..h-1 pairs f[j] with f[n-j]: lo runs up, hi runs down, and the two never meet.
  R* __restrict lo = f;
  R* __restrict hi = f + n;
  for (int j = 1; j < h; ++j) {
    const R a = lo[j], b = hi[-j];
    const R s = (a + b) * t[j - 1];
    const R u = R(0.5) * (a - b);
    lo[j] = s + u;
    hi[-j] = s - u;
  }
  if (h >= 1) {
    const R a = f[h];
    const R s = (a + a) * t[h - 1];
    const R u = R(0.5) * (a - a);
    f[h] = s - u;
  }
}

template <class R>
void sine_post(R* f, int n) {
  // The imaginary parts come out of a forward DFT with the opposite sign; the negation is folded
  // into the moves of the running sum.
  R s = R(0.5) * f[0];
  f[0] = 0;
  f[1] = s;
  for (int i = 1; i < n / 2; ++i) {
    s += f[2 * i];
    f[2 * i] = -f[2 * i + 1];
    f[2 * i + 1] = s;
  }
}

template <class R>
R cosine_pre(R* f, int n, const R* t) {
  const R a0 = f[0], b0 = f[n];
  R s = R(0.5) * (a0 - b0);
  f[0] = R(0.5) * (a0 + b0);
  R* __restrict lo = f;
  R* __restrict hi = f + n;
  for (int j = 1; j < n / 2; ++j) {
    const R a = lo[j], b = hi[-j];
    const R d = a - b;
    const R w = R(0.5) * (a + b);
    s += t[2 * j - 2] * d;
    lo[j] = w - t[2 * j - 1] * d;
    hi[-j] = w + t[2 * j - 1] * d;
  }
  return s;
}

template <class R>
void cosine_post(R* f, int n, R s) {
  f[n] = f[1];
  f[1] = s;
  for (int i = 3; i < n; i += 2) {
    s -= f[i];
    f[i] = s;
  }
}

template <class R>
void staggered_backward_pre(R* f, int n, const R* t) {
  const R* __restrict h = t + n - 3;  // h[j] = sin((j - 1/2) pi/n)
  R* __restrict lo = f - 1;           // lo[j] = f[j-1]
  R* __restrict hi = f + n;           // hi[-j] = f[n-j]
  for (int j = 1; j <= n / 2; ++j) {
    const R a = lo[j], b = hi[-j];
    const R w = R(0.5) * (a + b);
    const R d = (a - b) * h[j];
    lo[j] = w + d;
    hi[-j] = w - d;
  }
}

template <class R>
void staggered_backward_post(R* f, int n, const R* t) {
  for (int k = 1; k < n / 2; ++k) {
    const R x = f[2 * k], y = -f[2 * k + 1];
    const R c = t[2 * k - 2], sn = t[2 * k - 1];
    f[2 * k + 1] = y * c + x * sn;
    f[2 * k] = x * c - y * sn;
  }
  if (n >= 2) {
    R s = R(0.5) * f[1];
    for (int i = n - 1; i >= 1; i -= 2) {
      const R next = s + f[i];
      f[i] = s;
      s = next;
    }
  }
}

template <class R>
void staggered_forward_pre(R* f, int n, const R* t) {
  if (n < 2) return;
  const R last = f[n - 1];
  // Differences of neighbouring odd entries, taken downwards so that each reads old values,
  // folded into the rotation of the pair they belong to.
  for (int k = n / 2 - 1; k >= 1; --k) {
    const R x = f[2 * k];
    const R y = f[2 * k - 1] - f[2 * k + 1];
    const R c = t[2 * k - 2], sn = t[2 * k - 1];
    f[2 * k] = x * c + y * sn;
    f[2 * k + 1] = y * c - x * sn;
  }
  f[1] = R(2) * last;
}

template <class R>
bool staggered_forward_post(R* f, int n, const R* t) {
  const int h = n / 2;
  f[0] = R(0.5) * f[0];
  {
    R* __restrict lo = f;
    R* __restrict hi = f + n;
    for (int j = 1; j < h; ++j) {
      const R a = R(0.5) * lo[j], b = R(0.5) * hi[-j];
      lo[j] = b;
      hi[-j] = a;
    }
    if (h >= 1) f[h] = R(0.5) * f[h];
  }
  // The divisors are checked first, so that the loop that divides has no exit and the state on
  // failure is the one of a loop stopped at the first bad divisor.
  const R* sines = t + n - 2;  // sines[j] = sin((j + 1/2) pi/n)
  int good = 0;
  while (good < h && !(sines[good] == R(0) || sines[good] != sines[good])) ++good;
  R* __restrict lo = f;
  R* __restrict hi = f + n - 1;
  for (int j = 0; j < good; ++j) {
    const R a = lo[j], b = hi[-j];
    const R d = R(0.5) * (a - b) / sines[j];
    lo[j] = R(0.5) * (a + b + d);
    hi[-j] = R(0.5) * (a + b - d);
  }
  return good == h;
}

template <class R>
void scale(R* f, int first, int last, R c) {
  for (int i = first; i <= last; ++i) f[i] *= c;
}

#define ZVX_TRIG_INSTANTIATE(R)                                         \
  template void fill_sine_table<R>(R*, int);                           \
  template void fill_cosine_table<R>(R*, int);                         \
  template void fill_staggered_tables<R>(R*, int);                     \
  template void sine_pre<R>(R*, int, const R*);                        \
  template void sine_post<R>(R*, int);                                 \
  template R cosine_pre<R>(R*, int, const R*);                         \
  template void cosine_post<R>(R*, int, R);                            \
  template void staggered_backward_pre<R>(R*, int, const R*);          \
  template void staggered_backward_post<R>(R*, int, const R*);         \
  template void staggered_forward_pre<R>(R*, int, const R*);           \
  template bool staggered_forward_post<R>(R*, int, const R*);          \
  template void scale<R>(R*, int, int, R);
ZVX_TRIG_INSTANTIATE(float)
ZVX_TRIG_INSTANTIATE(double)
#undef ZVX_TRIG_INSTANTIATE

}  // namespace zvx::trig
