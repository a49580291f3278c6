// Test helpers of the real DFT: the packed layouts written out from a full naive spectrum in long
// double, and a runner that configures a real descriptor, computes one direction, and compares
// every element of the layout with the reference, checking that nothing outside it was written.
#pragma once
#include <map>

#include "dft/dft_reference.h"

namespace dft_real_test {

using dft_test::cld;
using ld = long double;

template <class R> struct complex_of;
template <> struct complex_of<float> { using type = zvx_complex8; };
template <> struct complex_of<double> { using type = zvx_complex16; };

inline bool ccs(int fmt) { return fmt == DFTI_CCS_FORMAT || fmt == DFTI_CCE_FORMAT; }
inline long packed_reals(int fmt, long n) { return ccs(fmt) ? 2 * (n / 2 + 1) : n; }

// The packed line of a half spectrum h (h[k] for k = 0..n/2), written from the format's table.
inline std::vector<ld> pack_line(int fmt, long n, const std::vector<cld>& h) {
  std::vector<ld> v(static_cast<size_t>(packed_reals(fmt, n)), 0);
  auto at = [&](long i) -> ld& { return v[static_cast<size_t>(i)]; };
  const long half = n / 2;
  if (ccs(fmt)) {
    for (long k = 0; k <= half; ++k) {
      at(2 * k) = h[static_cast<size_t>(k)].real();
      at(2 * k + 1) = k == 0 || 2 * k == n ? 0 : h[static_cast<size_t>(k)].imag();
    }
    return v;
  }
  at(0) = h[0].real();
  const bool even = n % 2 == 0;
  const long pairs = even ? half - 1 : half;
  const long first = fmt == DFTI_PERM_FORMAT && even ? 2 : 1;
  for (long k = 1; k <= pairs; ++k) {
    at(first + 2 * (k - 1)) = h[static_cast<size_t>(k)].real();
    at(first + 2 * (k - 1) + 1) = h[static_cast<size_t>(k)].imag();
  }
  if (even && n > 1) at(fmt == DFTI_PERM_FORMAT ? 1 : n - 1) = h[static_cast<size_t>(half)].real();
  return v;
}

// Where R(k) and I(k) of a row stand (I: -1 when the layout drops it), read off pack_line.
inline long re_place(int fmt, long n, long k) {
  if (ccs(fmt)) return 2 * k;
  if (k == 0) return 0;
  if (n % 2 == 0 && 2 * k == n) return fmt == DFTI_PERM_FORMAT ? 1 : n - 1;
  return (fmt == DFTI_PERM_FORMAT && n % 2 == 0 ? 2 : 1) + 2 * (k - 1);
}

struct side_layout {
  long offset = 0;
  std::vector<long> strides;  // empty: dense over the side's grid
  long distance = 0;          // 0: the dense product of the grid
};

struct rconfig {
  std::vector<long> n;
  int fmt = DFTI_CCS_FORMAT;  // DFTI_CCE_FORMAT: conjugate-even storage as complex values
  long count = 1;
  bool in_place = false;
  bool forward = true;
  side_layout real_side, packed_side;
  double scale = 1.0;
  bool threaded_function = false;
};

inline std::string describe(const rconfig& c) {
  std::string s = "n=(";
  for (long v : c.n) s += std::to_string(v) + ",";
  return s + ") fmt=" + std::to_string(c.fmt) + " count=" + std::to_string(c.count) +
         (c.in_place ? " in place" : " out of place") + (c.forward ? " forward" : " backward") +
         " scale=" + std::to_string(c.scale);
}

// The grid of the packed side: complex values (n1/2+1, n2, n3) for conjugate-even storage, else
// the packed reals of each dimension (a rank-2 CCS array has n1+2 columns and n2+2 rows).
inline std::vector<long> packed_grid(const rconfig& c) {
  std::vector<long> g = c.n;
  if (c.fmt == DFTI_CCE_FORMAT) {
    g[0] = c.n[0] / 2 + 1;
  } else {
    g[0] = packed_reals(c.fmt, c.n[0]);
    if (g.size() > 1) g[1] = packed_reals(c.fmt, c.n[1]);
  }
  return g;
}

inline side_layout resolved(const side_layout& l, const std::vector<long>& grid) {
  side_layout r = l;
  long s = 1;
  if (r.strides.empty())
    for (long v : grid) {
      r.strides.push_back(s);
      s *= v;
    }
  if (r.distance == 0) r.distance = dft_test::product(grid);
  return r;
}

// Element position of index (i0, i1, i2) of transform t.
inline long place(const side_layout& l, long t, long i0, long i1 = 0, long i2 = 0) {
  const long s1 = l.strides.size() > 1 ? l.strides[1] : 0, s2 = l.strides.size() > 2 ? l.strides[2] : 0;
  return l.offset + t * l.distance + i0 * l.strides[0] + i1 * s1 + i2 * s2;
}

// Expected packed side of transform t in reals: position -> value, from the full spectrum X of a
// dense real input (dimension 0 fastest).
inline void expected_packed(const rconfig& c, const side_layout& l, long t,
                            const std::vector<cld>& X, std::map<long, ld>* out) {
  const long n1 = c.n[0], n2 = c.n.size() > 1 ? c.n[1] : 1, n3 = c.n.size() > 2 ? c.n[2] : 1;
  auto x = [&](long k1, long k2, long k3) { return X[static_cast<size_t>(k1 + n1 * (k2 + n2 * k3))]; };
  if (c.fmt == DFTI_CCE_FORMAT) {
    for (long k3 = 0; k3 < n3; ++k3)
      for (long k2 = 0; k2 < n2; ++k2)
        for (long k1 = 0; k1 <= n1 / 2; ++k1) {
          const long p = 2 * place(l, t, k1, k2, k3);
          (*out)[p] = x(k1, k2, k3).real();
          (*out)[p + 1] = x(k1, k2, k3).imag();
        }
    return;
  }
  auto column_half = [&](long k1) {
    std::vector<cld> h;
    for (long k2 = 0; k2 <= n2 / 2; ++k2) h.push_back(x(k1, k2, 0));
    return h;
  };
  if (n2 == 1) {  // one row: no column pass runs
    std::vector<cld> h;
    for (long k = 0; k <= n1 / 2; ++k) h.push_back(x(k, 0, 0));
    const std::vector<ld> row = pack_line(c.fmt, n1, h);
    for (size_t i = 0; i < row.size(); ++i) (*out)[place(l, t, static_cast<long>(i))] = row[i];
    return;
  }
  for (long k1 = 0; k1 <= n1 / 2; ++k1) {
    const bool real_column = k1 == 0 || 2 * k1 == n1;
    const long col = re_place(c.fmt, n1, k1);
    if (real_column) {
      const std::vector<ld> v = pack_line(c.fmt, n2, column_half(k1));
      for (size_t i = 0; i < v.size(); ++i) (*out)[place(l, t, col, static_cast<long>(i))] = v[i];
      if (ccs(c.fmt))  // the zero imaginary column beside it, over the rows
        for (long k2 = 0; k2 < n2; ++k2) (*out)[place(l, t, col + 1, k2)] = 0;
    } else {
      for (long k2 = 0; k2 < n2; ++k2) {
        (*out)[place(l, t, col, k2)] = x(k1, k2, 0).real();
        (*out)[place(l, t, col + 1, k2)] = x(k1, k2, 0).imag();
      }
    }
  }
}

// Commits a descriptor; the threaded tests replace it to commit for one thread.
inline int (*commit_hook)(DFTI_DESCRIPTOR_HANDLE*) = dfti_commit_descriptor_external;

template <class R>
DFTI_DESCRIPTOR_HANDLE make_real_descriptor(const rconfig& c, const side_layout& rl,
                                            const side_layout& pl, int expect_commit = 0) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int precision = sizeof(R) == 4 ? DFTI_SINGLE : DFTI_DOUBLE, domain = DFTI_REAL;
  const int rank = static_cast<int>(c.n.size());
  std::vector<int> lengths(c.n.begin(), c.n.end());
  EXPECT_EQ(dfti_create_descriptor_highd(&h, &precision, &domain, &rank, lengths.data()), 0);
  auto set = [&](int p, int v) { EXPECT_EQ(dfti_set_value_intval(&h, &p, &v), 0) << p; };
  set(DFTI_PLACEMENT, c.in_place ? DFTI_INPLACE : DFTI_NOT_INPLACE);
  set(DFTI_NUMBER_OF_TRANSFORMS, static_cast<int>(c.count));
  if (c.fmt == DFTI_CCE_FORMAT) set(DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX);
  else set(DFTI_PACKED_FORMAT, c.fmt);
  const side_layout& in = c.forward ? rl : pl;
  const side_layout& out = c.forward ? pl : rl;
  set(DFTI_INPUT_DISTANCE, static_cast<int>(in.distance));
  set(DFTI_OUTPUT_DISTANCE, static_cast<int>(out.distance));
  for (int p : {DFTI_INPUT_STRIDES, DFTI_OUTPUT_STRIDES}) {
    const side_layout& l = p == DFTI_INPUT_STRIDES ? in : out;
    std::vector<int> v{static_cast<int>(l.offset)};
    for (long s : l.strides) v.push_back(static_cast<int>(s));
    EXPECT_EQ(dfti_set_value_intvec(&h, &p, v.data()), 0);
  }
  int p = c.forward ? DFTI_FORWARD_SCALE : DFTI_BACKWARD_SCALE;
  EXPECT_EQ(dfti_set_value_dblval(&h, &p, &c.scale), 0);
  EXPECT_EQ(commit_hook(&h), expect_commit);
  return h;
}

// The entry of the configuration's direction and storage (or its threaded function).
template <class R>
int compute_real(DFTI_DESCRIPTOR_HANDLE& h, const rconfig& c, R* in, R* out) {
  using C = typename complex_of<R>::type;
  const bool f = c.forward, cce = c.fmt == DFTI_CCE_FORMAT, par = c.threaded_function;
  C* cin = reinterpret_cast<C*>(in);
  C* cout = reinterpret_cast<C*>(out);
  if constexpr (sizeof(R) == 4) {
    if (cce && c.in_place)
      return f ? (par ? _zvx_dft_compute_forward_sc_par(&h, in) : dfti_compute_forward_sc(&h, in))
               : (par ? _zvx_dft_compute_backward_cs_par(&h, in) : dfti_compute_backward_cs(&h, in));
    if (cce)
      return f ? (par ? compute_forward_sc_out_par(&h, in, cout) : dfti_compute_forward_sc_out(&h, in, cout))
               : (par ? compute_backward_cs_out_par(&h, cin, out) : dfti_compute_backward_cs_out(&h, cin, out));
    if (c.in_place)
      return f ? (par ? compute_forward_s_par(&h, in) : dfti_compute_forward_s(&h, in))
               : (par ? compute_backward_s_par(&h, in) : dfti_compute_backward_s(&h, in));
    return f ? (par ? compute_forward_s_out_par(&h, in, out) : dfti_compute_forward_s_out(&h, in, out))
             : (par ? compute_backward_s_out_par(&h, in, out) : dfti_compute_backward_s_out(&h, in, out));
  } else {
    if (cce && c.in_place)
      return f ? (par ? _zvx_dft_compute_forward_dz_par(&h, in) : dfti_compute_forward_dz(&h, in))
               : (par ? _zvx_dft_compute_backward_zd_par(&h, in) : dfti_compute_backward_zd(&h, in));
    if (cce)
      return f ? (par ? compute_forward_dz_out_par(&h, in, cout) : dfti_compute_forward_dz_out(&h, in, cout))
               : (par ? compute_backward_zd_out_par(&h, cin, out) : dfti_compute_backward_zd_out(&h, cin, out));
    if (c.in_place)
      return f ? (par ? compute_forward_d_par(&h, in) : dfti_compute_forward_d(&h, in))
               : (par ? compute_backward_d_par(&h, in) : dfti_compute_backward_d(&h, in));
    return f ? (par ? compute_forward_d_out_par(&h, in, out) : dfti_compute_forward_d_out(&h, in, out))
             : (par ? compute_backward_d_out_par(&h, in, out) : dfti_compute_backward_d_out(&h, in, out));
  }
}

constexpr double kFiller = 1234.5;

// Runs the configuration on random data and compares with the naive transform; returns the
// arrays after the call (input, output; in place only the first) for further checks.
template <class R>
std::vector<std::vector<R>> check_real(const rconfig& c, unsigned seed = 1) {
  SCOPED_TRACE(describe(c));
  const std::vector<long> grid = packed_grid(c);
  const side_layout rl = resolved(c.real_side, c.n), pl = resolved(c.packed_side, grid);
  const long total = dft_test::product(c.n);
  const long n1 = c.n[0], n2 = c.n.size() > 1 ? c.n[1] : 1, n3 = c.n.size() > 2 ? c.n[2] : 1;

  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::map<long, ld> real_vals, packed_vals;
  for (long t = 0; t < c.count; ++t) {
    std::vector<cld> X(static_cast<size_t>(total));
    for (long k = 0; k < n3; ++k)
      for (long j = 0; j < n2; ++j)
        for (long i = 0; i < n1; ++i) {
          const R v = static_cast<R>(u(gen));
          real_vals[place(rl, t, i, j, k)] = v;
          X[static_cast<size_t>(i + n1 * (j + n2 * k))] = cld(v, 0);
        }
    dft_test::naive_dft(X, c.n, -1);
    expected_packed(c, pl, t, X, &packed_vals);
  }
  long rext = 0, pext = 0;
  for (auto& [p, v] : real_vals) rext = std::max(rext, p + 1);
  for (auto& [p, v] : packed_vals) pext = std::max(pext, p + 1);
  const long guard = 7;
  std::vector<R> a, b;
  const std::map<long, ld>& src = c.forward ? real_vals : packed_vals;
  const std::map<long, ld>& dst = c.forward ? packed_vals : real_vals;
  if (c.in_place) {
    a.assign(static_cast<size_t>(std::max(rext, pext) + guard), static_cast<R>(kFiller));
  } else {
    a.assign(static_cast<size_t>((c.forward ? rext : pext) + guard), static_cast<R>(kFiller));
    b.assign(static_cast<size_t>((c.forward ? pext : rext) + guard), static_cast<R>(kFiller));
  }
  for (auto& [p, v] : src) a[static_cast<size_t>(p)] = static_cast<R>(v);
  const std::vector<R> a0 = a;

  DFTI_DESCRIPTOR_HANDLE h = make_real_descriptor<R>(c, rl, pl);
  if (h == nullptr) return {};
  R* target = c.in_place ? a.data() : b.data();
  EXPECT_EQ(compute_real<R>(h, c, a.data(), target), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);

  const std::vector<R>& result = c.in_place ? a : b;
  const ld factor = static_cast<ld>(c.scale) * (c.forward ? 1 : static_cast<ld>(total));
  double err = 0, norm = 0;
  for (auto& [p, v] : dst) {
    const ld want = v * factor;
    const ld got = result[static_cast<size_t>(p)];
    err += static_cast<double>((got - want) * (got - want));
    norm += static_cast<double>(want * want);
  }
  const double rel = norm > 0 ? std::sqrt(err / norm) : std::sqrt(err);
  EXPECT_LE(rel, 2 * dft_test::tolerance<typename complex_of<R>::type>(total)) << "relative RMS error";

  // Outside the layouts nothing changes; out of place the input stays as it was.
  long stray = 0;
  for (size_t i = 0; i < result.size(); ++i) {
    const long p = static_cast<long>(i);
    if (dst.count(p) || (c.in_place && src.count(p))) continue;
    const R want = c.in_place ? a0[i] : static_cast<R>(kFiller);
    if (!(result[i] == want)) ++stray;
  }
  EXPECT_EQ(stray, 0) << "reals written outside the layout";
  if (!c.in_place) EXPECT_TRUE(a == a0) << "input changed by an out-of-place transform";
  return {a, b};
}

}  // namespace dft_real_test
