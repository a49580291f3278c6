// Long double evaluations of the trigonometric sums, a naive real DFT in the PERM packing, and
// the tolerance the tests hold the library to.
#pragma once
#include <cmath>
#include <cstdint>
#include <limits>
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

// The result the transform of type `k` leaves in f[0..n], in full: forward includes 2/n.
template <class R>
std::vector<ld> reference(kind k, bool forward, const std::vector<R>& f, int n) {
  const angles a(n);
  std::vector<ld> out(n + 1);
  const ld c = forward ? ld(2) / n : ld(1);
  switch (k) {
    case sine:
      out[0] = 0;
      for (int q = 1; q < n; ++q) {
        ld sum = 0;
        for (int j = 1; j < n; ++j) sum += ld(f[j]) * a.sin_half(2L * j * q);
        out[q] = c * sum;
      }
      out[n] = f[n];
      break;
    case cosine:
      for (int q = 0; q <= n; ++q) {
        ld sum = ld(f[0]) / 2 + ((q % 2) ? -ld(f[n]) : ld(f[n])) / 2;
        for (int j = 1; j < n; ++j) sum += ld(f[j]) * a.cos_half(2L * j * q);
        out[q] = c * sum;
      }
      break;
    case staggered:
      for (int q = 0; q < n; ++q) {
        ld sum = 0;
        if (forward) {
          sum = ld(f[0]) / 2;
          for (int j = 1; j < n; ++j) sum += ld(f[j]) * a.cos_half(long(j) * (2 * q + 1));
        } else {
          for (int j = 0; j < n; ++j) sum += ld(f[j]) * a.cos_half(long(q) * (2 * j + 1));
        }
        out[q] = c * sum;
      }
      out[n] = forward ? c * ld(f[n]) : ld(f[n]);
      break;
  }
  return out;
}

// In-place real DFT of f[0..n-1] in the PERM packing; forward uses exp(-2 pi i jk/n), backward
// takes the packed half spectrum and returns the unscaled real sequence.
template <class R>
void perm_dft(R* f, int n, bool forward) {
  const angles a(n);  // the angle 2 pi jk/n is pi (4jk)/(2n)
  std::vector<ld> out(n);
  if (forward) {
    std::vector<ld> re(n / 2 + 1), im(n / 2 + 1);
    for (int k = 0; k <= n / 2; ++k)
      for (int j = 0; j < n; ++j) {
        re[k] += ld(f[j]) * a.cos_half(4L * j * k);
        im[k] -= ld(f[j]) * a.sin_half(4L * j * k);
      }
    out[0] = re[0];
    if (n > 1) out[1] = re[n / 2];
    for (int k = 1; k < n / 2; ++k) {
      out[2 * k] = re[k];
      out[2 * k + 1] = im[k];
    }
  } else {
    for (int j = 0; j < n; ++j) {
      ld v = ld(f[0]) + ((j % 2) ? -ld(f[1]) : ld(f[1]));
      for (int k = 1; k < n / 2; ++k)
        v += 2 * (ld(f[2 * k]) * a.cos_half(4L * j * k) - ld(f[2 * k + 1]) * a.sin_half(4L * j * k));
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

// What a transform of length n may lose: a few units of rounding per level of the DFT; for the
// staggered type also the drift of its running-sum tables and, forward, the division by
// sin(pi/(2n)), which magnifies the error of the difference it divides: both grow like n.
template <class R>
double tolerance(kind k, bool forward, int n) {
  (void)forward;
  const double eps = std::numeric_limits<R>::epsilon();
  return eps * (4 * (std::log2(double(n)) + 2) + (k == staggered ? n : 0));
}

}  // namespace trig_test
