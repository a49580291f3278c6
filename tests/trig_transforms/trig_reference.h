// Long double evaluations of the trigonometric sums, a naive real DFT in the PERM packing, and
// the tolerance the tests hold the library to.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace trig_test {

using ld = long double;

enum kind { sine = 0, cosine = 1, staggered = 2 };

// cos(pi m / (2n)) and sin(pi m / (2n)) for any integer m, from one table of 4n angles.
struct angles {
  int n;
  std::vector<ld> c, s;
  explicit angles(int n_) : n(n_), c(4 * n_), s(4 * n_) {
    const ld pi = 3.141592653589793238462643383279502884L;
    for (int m = 0; m < 4 * n; ++m) {
      c[m] = std::cos(pi * m / (2 * n));
      s[m] = std::sin(pi * m / (2 * n));
    }
  }
  ld cos_half(long m) const { return c[((m % (4 * n)) + 4 * n) % (4 * n)]; }
  ld sin_half(long m) const { return s[((m % (4 * n)) + 4 * n) % (4 * n)]; }
};

// The tables of the last size asked for: the tests ask for one size several times in a row.
inline const angles& angles_of(int n) {
  static std::unique_ptr<angles> last;
  if (!last || last->n != n) last = std::make_unique<angles>(n);
  return *last;
}

// sum over j = first..last of f[j] * table[m mod 4n] with m = start + j * step: the angles of
// every sum below are multiples of pi/(2n), walked without a division per term.
template <class R>
ld walk(const std::vector<ld>& table, const R* f, int first, int last, long start, long step) {
  const long period = static_cast<long>(table.size());
  step %= period;
  long m = ((start + first * step) % period + period) % period;
  ld sum = 0;
  for (int j = first; j <= last; ++j) {
    sum += ld(f[j]) * table[m];
    m += step;
    if (m >= period) m -= period;
  }
  return sum;
}

// The result the transform of type `k` leaves in f[0..n], in full: forward includes 2/n.
template <class R>
std::vector<ld> reference(kind k, bool forward, const std::vector<R>& f, int n) {
  const angles& a = angles_of(n);
  std::vector<ld> out(n + 1);
  const ld c = forward ? ld(2) / n : ld(1);
  const R* x = f.data();
  switch (k) {
    case sine:
      out[0] = 0;
      for (int q = 1; q < n; ++q) out[q] = c * walk(a.s, x, 1, n - 1, 0, 2L * q);
      out[n] = f[n];
      break;
    case cosine:
      for (int q = 0; q <= n; ++q)
        out[q] = c * (ld(f[0]) / 2 + ((q % 2) ? -ld(f[n]) : ld(f[n])) / 2 +
                      walk(a.c, x, 1, n - 1, 0, 2L * q));
      break;
    case staggered:
      for (int q = 0; q < n; ++q)
        out[q] = forward ? c * (ld(f[0]) / 2 + walk(a.c, x, 1, n - 1, 0, 2L * q + 1))
                         : walk(a.c, x, 0, n - 1, q, 2L * q);
      out[n] = forward ? c * ld(f[n]) : ld(f[n]);
      break;
  }
  return out;
}

// In-place real DFT of f[0..n-1] in the PERM packing; forward uses exp(-2 pi i jk/n), backward
// takes the packed half spectrum and returns the unscaled real sequence.
template <class R>
void perm_dft(R* f, int n, bool forward) {
  const angles& a = angles_of(n);  // the angle 2 pi jk/n is pi (4jk)/(2n)
  std::vector<ld> out(n);
  if (forward) {
    out[0] = walk(a.c, f, 0, n - 1, 0, 0);
    if (n > 1) out[1] = walk(a.c, f, 0, n - 1, 0, 2L * n);
    for (int k = 1; k < n / 2; ++k) {
      out[2 * k] = walk(a.c, f, 0, n - 1, 0, 4L * k);
      out[2 * k + 1] = -walk(a.s, f, 0, n - 1, 0, 4L * k);
    }
  } else {
    // x_j = X0 + (-1)^j X(n/2) + 2 sum_k (Re Xk cos - Im Xk sin)(2 pi jk/n): walk over k.
    std::vector<R> re(n / 2), im(n / 2);
    for (int k = 1; k < n / 2; ++k) {
      re[k] = f[2 * k];
      im[k] = f[2 * k + 1];
    }
    for (int j = 0; j < n; ++j) {
      ld v = ld(f[0]) + ((j % 2) ? -ld(f[1]) : ld(f[1]));
      if (n / 2 > 1)
        v += 2 * (walk(a.c, re.data(), 1, n / 2 - 1, 0, 4L * j) -
                  walk(a.s, im.data(), 1, n / 2 - 1, 0, 4L * j));
      out[j] = v;
    }
  }
  for (int j = 0; j < n; ++j) f[j] = static_cast<R>(out[j]);
}

// Uniform values in [-1, 1).
template <class R>
std::vector<R> random_vector(int size, uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> d(-1.0, 1.0);
  std::vector<R> v(size);
  for (auto& x : v) x = static_cast<R>(d(gen));
  return v;
}

// Largest error against the reference, relative to the largest reference value.
template <class R>
double relative_error(const std::vector<R>& got, const std::vector<ld>& want) {
  ld scale = std::numeric_limits<ld>::min(), err = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    scale = std::max(scale, std::fabs(want[i]));
    const ld e = std::fabs(ld(got[i]) - want[i]);
    err = std::isnan(static_cast<double>(got[i])) ? ld(INFINITY) : std::max(err, e);
  }
  return static_cast<double>(err / scale);
}

// What a transform of length n may lose: a few units of rounding per level of the DFT. The
// forward staggered type divides by sin(pi/(2n)) a difference that carries the DFT's error, which
// magnifies that error up to 2n/pi times; its tables are running sums that drift like n too.
template <class R>
double tolerance(kind k, bool forward, int n) {
  const double eps = std::numeric_limits<R>::epsilon();
  const double levels = std::log2(double(n)) + 2;
  if (k == staggered) return eps * (4 * levels + n * (forward ? levels : 1));
  return eps * 4 * levels;
}

// Forward then backward: the running sums of the passes add up n/2 rounded terms of the DFT's
// output, so the error grows like n.
template <class R>
double round_trip_tolerance(kind k, int n) {
  return tolerance<R>(k, true, n) + 2 * std::numeric_limits<R>::epsilon() * n;
}

}  // namespace trig_test
