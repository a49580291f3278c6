// Test helpers of the DFT: a naive transform in long double over a strided, batched layout, and a
// runner that configures a descriptor, computes, and compares every transform with it, checking
// that nothing outside the layout was written.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <string>
#include <vector>

#include "zvx.h"

namespace dft_test {

using cld = std::complex<long double>;

template <class E> struct real_of;
template <> struct real_of<zvx_complex8> { using type = float; };
template <> struct real_of<zvx_complex16> { using type = double; };

template <class E>
constexpr int precision_of() { return sizeof(E) == sizeof(zvx_complex8) ? DFTI_SINGLE : DFTI_DOUBLE; }

// Relative RMS error allowed for a transform of `total` points: a few units of rounding per
// level of the transform.
template <class E>
double tolerance(long total) {
  const double levels = std::log2(static_cast<double>(total > 1 ? total : 2)) + 1.0;
  return (sizeof(E) == sizeof(zvx_complex8) ? 2.5e-7 : 5e-16) * levels;
}

// Naive multi-dimensional DFT of a dense array (dimension 0 fastest), one dimension at a time.
inline void naive_dft(std::vector<cld>& x, const std::vector<long>& n, int sign) {
  const long double two_pi = 6.283185307179586476925286766559005768L;
  long stride = 1;
  const long total = static_cast<long>(x.size());
  for (size_t d = 0; d < n.size(); ++d) {
    const long len = n[d];
    std::vector<cld> roots(static_cast<size_t>(len));
    for (long k = 0; k < len; ++k)
      roots[static_cast<size_t>(k)] = std::polar(1.0L, sign * two_pi * static_cast<long double>(k) / len);
    std::vector<cld> line(static_cast<size_t>(len));
    for (long base = 0; base < total; ++base) {
      if ((base / stride) % len != 0) continue;  // first element of a line along d
      for (long k = 0; k < len; ++k) {
        cld s = 0;
        for (long j = 0; j < len; ++j) s += x[static_cast<size_t>(base + j * stride)] * roots[static_cast<size_t>((j * k) % len)];
        line[static_cast<size_t>(k)] = s;
      }
      for (long k = 0; k < len; ++k) x[static_cast<size_t>(base + k * stride)] = line[static_cast<size_t>(k)];
    }
    stride *= len;
  }
}

// A layout of `count` transforms: element (t, i0, i1, ...) at offset + t * distance + sum i_d s_d.
struct layout {
  long offset = 0;
  std::vector<long> strides;  // empty: the default (dense, dimension 0 fastest)
  long distance = 0;          // 0: the dense product
};

struct config {
  std::vector<long> n;
  long count = 1;
  bool in_place = true;
  bool forward = true;
  layout input, output;
  double scale = 1.0;  // of the direction computed
  int ordering = DFTI_ORDERED;
  bool threaded_function = false;  // call compute_*_par instead of the entry
};

inline long product(const std::vector<long>& n) {
  long p = 1;
  for (long v : n) p *= v;
  return p;
}

inline layout resolved(const layout& l, const std::vector<long>& n) {
  layout r = l;
  if (r.strides.empty()) {
    long s = 1;
    for (long v : n) {
      r.strides.push_back(s);
      s *= v;
    }
  }
  if (r.distance == 0) r.distance = product(n);
  return r;
}

// Positions of the layout, in logical order: transform, then dimension 0 fastest.
inline std::vector<long> positions(const layout& l, const std::vector<long>& n, long count) {
  const long total = product(n);
  std::vector<long> pos;
  pos.reserve(static_cast<size_t>(total * count));
  for (long t = 0; t < count; ++t)
    for (long i = 0; i < total; ++i) {
      long rest = i, p = l.offset + t * l.distance;
      for (size_t d = 0; d < n.size(); ++d) {
        p += (rest % n[d]) * l.strides[d];
        rest /= n[d];
      }
      pos.push_back(p);
    }
  return pos;
}

inline long extent(const std::vector<long>& pos) {
  long m = 0;
  for (long p : pos) m = std::max(m, p + 1);
  return m;
}

// A committed descriptor for the configuration, or null with a test failure.
template <class E>
DFTI_DESCRIPTOR_HANDLE make_descriptor(const config& c) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int precision = precision_of<E>(), domain = DFTI_COMPLEX;
  const int rank = static_cast<int>(c.n.size());
  std::vector<int> lengths(c.n.begin(), c.n.end());
  EXPECT_EQ(dfti_create_descriptor_highd(&h, &precision, &domain, &rank, lengths.data()), 0);
  auto set = [&](int p, int v) { EXPECT_EQ(dfti_set_value_intval(&h, &p, &v), 0) << p; };
  set(DFTI_PLACEMENT, c.in_place ? DFTI_INPLACE : DFTI_NOT_INPLACE);
  set(DFTI_NUMBER_OF_TRANSFORMS, static_cast<int>(c.count));
  set(DFTI_ORDERING, c.ordering);
  const layout in = resolved(c.input, c.n), out = resolved(c.output, c.n);
  set(DFTI_INPUT_DISTANCE, static_cast<int>(in.distance));
  set(DFTI_OUTPUT_DISTANCE, static_cast<int>(out.distance));
  for (int p : {DFTI_INPUT_STRIDES, DFTI_OUTPUT_STRIDES}) {
    const layout& l = p == DFTI_INPUT_STRIDES ? in : out;
    std::vector<int> v{static_cast<int>(l.offset)};
    for (long s : l.strides) v.push_back(static_cast<int>(s));
    EXPECT_EQ(dfti_set_value_intvec(&h, &p, v.data()), 0);
  }
  int p = c.forward ? DFTI_FORWARD_SCALE : DFTI_BACKWARD_SCALE;
  EXPECT_EQ(dfti_set_value_dblval(&h, &p, &c.scale), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  return h;
}

template <class E>
int compute(DFTI_DESCRIPTOR_HANDLE& h, const config& c, E* in, E* out) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) {
    if (c.in_place) return c.forward ? dfti_compute_forward_c(&h, in) : dfti_compute_backward_c(&h, in);
    return c.forward ? dfti_compute_forward_c_out(&h, in, out) : dfti_compute_backward_c_out(&h, in, out);
  } else {
    if (c.in_place) return c.forward ? dfti_compute_forward_z(&h, in) : dfti_compute_backward_z(&h, in);
    return c.forward ? dfti_compute_forward_z_out(&h, in, out) : dfti_compute_backward_z_out(&h, in, out);
  }
}

// The same through the threaded functions, which take the data before the offsets as well.
template <class E>
int compute_par(DFTI_DESCRIPTOR_HANDLE& h, const config& c, E* in, E* out) {
  if constexpr (sizeof(E) == sizeof(zvx_complex8)) {
    if (c.in_place) return c.forward ? compute_forward_c_par(&h, in) : compute_backward_c_par(&h, in);
    return c.forward ? compute_forward_c_out_par(&h, in, out) : compute_backward_c_out_par(&h, in, out);
  } else {
    if (c.in_place) return c.forward ? compute_forward_z_par(&h, in) : compute_backward_z_par(&h, in);
    return c.forward ? compute_forward_z_out_par(&h, in, out) : compute_backward_z_out_par(&h, in, out);
  }
}

template <class E>
std::vector<E> random_array(long size, unsigned seed) {
  using R = typename real_of<E>::type;
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<E> v(static_cast<size_t>(size));
  for (E& e : v) e = E{static_cast<R>(u(gen)), static_cast<R>(u(gen))};
  return v;
}

inline std::string describe(const config& c) {
  std::string s = "n=(";
  for (long v : c.n) s += std::to_string(v) + ",";
  s += ") count=" + std::to_string(c.count) + (c.in_place ? " in place" : " out of place") +
       (c.forward ? " forward" : " backward") + " scale=" + std::to_string(c.scale);
  return s;
}

// Runs the configuration on random data and compares with the naive transform.
template <class E>
void check_against_reference(const config& c, unsigned seed = 1) {
  SCOPED_TRACE(describe(c));
  const layout in = resolved(c.input, c.n);
  const layout out = c.in_place ? in : resolved(c.output, c.n);
  const std::vector<long> ipos = positions(in, c.n, c.count), opos = positions(out, c.n, c.count);
  std::vector<E> a = random_array<E>(extent(ipos) + 7, seed);
  const std::vector<E> a0 = a;
  std::vector<E> b(static_cast<size_t>(c.in_place ? 1 : extent(opos) + 7), E{777, -777});
  DFTI_DESCRIPTOR_HANDLE h = make_descriptor<E>(c);
  ASSERT_NE(h, nullptr);
  E* target = c.in_place ? a.data() : b.data();
  ASSERT_EQ(c.threaded_function ? compute_par<E>(h, c, a.data(), target)
                                : compute<E>(h, c, a.data(), target),
            0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);

  const std::vector<E>& result = c.in_place ? a : b;
  const long total = product(c.n);
  double err = 0, norm = 0;
  for (long t = 0; t < c.count; ++t) {
    std::vector<cld> x(static_cast<size_t>(total));
    for (long i = 0; i < total; ++i) {
      const E& e = a0[static_cast<size_t>(ipos[static_cast<size_t>(t * total + i)])];
      x[static_cast<size_t>(i)] = cld(e.real, e.imag);
    }
    naive_dft(x, c.n, c.forward ? -1 : 1);
    for (long i = 0; i < total; ++i) {
      const cld want = x[static_cast<size_t>(i)] * static_cast<long double>(c.scale);
      const E& got = result[static_cast<size_t>(opos[static_cast<size_t>(t * total + i)])];
      err += static_cast<double>(std::norm(cld(got.real, got.imag) - want));
      norm += static_cast<double>(std::norm(want));
    }
  }
  const double rel = norm > 0 ? std::sqrt(err / norm) : std::sqrt(err);
  EXPECT_LE(rel, tolerance<E>(total)) << "relative RMS error";

  // Nothing outside the layout changes: out of place the input is untouched and the output
  // keeps its filler between the layout's elements; in place the gaps keep the input.
  std::vector<char> mine(result.size(), 0);
  for (long p : opos) mine[static_cast<size_t>(p)] = 1;
  long stray = 0;
  for (size_t i = 0; i < result.size(); ++i) {
    if (mine[i]) continue;
    const E want = c.in_place ? a0[i] : E{777, -777};
    if (result[i].real != want.real || result[i].imag != want.imag) ++stray;
  }
  EXPECT_EQ(stray, 0) << "elements written outside the layout";
  if (!c.in_place) {
    long changed = 0;
    for (size_t i = 0; i < a.size(); ++i)
      if (a[i].real != a0[i].real || a[i].imag != a0[i].imag) ++changed;
    EXPECT_EQ(changed, 0) << "input changed by an out-of-place transform";
  }
}

}  // namespace dft_test
