// Greatest common divisor of natural numbers by Lehmer's method: the quotients of Euclid's
// algorithm are taken from the leading 62 bits of both operands, for as long as those bits
// settle them, and the steps collected in a 2x2 matrix of cofactors below 2^31 are applied to the
// full operands in one linear pass. A pass removes about 30 bits for the cost of four products by
// a limb, where Euclid's algorithm pays a long division per quotient.
#include <utility>

#include "bignum/bignum.h"
#include "bignum/tuning.h"

namespace zvx::bn {

namespace {

unsigned long bit_length(const limb* x, int n) {
  return n == 0 ? 0 : 32UL * (n - 1) + (32 - __builtin_clz(x[n - 1]));
}

// Bits [pos, pos+62) of x (n limbs), zeros above its top.
uint64_t window62(const limb* x, int n, unsigned long pos) {
  uint64_t v = 0;
  for (int k = 0; k < 3; ++k) {
    const unsigned long limb_index = pos / 32 + k;
    if (limb_index < static_cast<unsigned long>(n)) {
      const unsigned __int128 part = static_cast<unsigned __int128>(x[limb_index]) << (32 * k);
      v |= static_cast<uint64_t>(part >> (pos % 32));
    }
  }
  return v & ((uint64_t{1} << 62) - 1);
}

// r = p x - q y (n limbs each, result known to be non-negative and below 2^(32n)).
void combine(limb* r, const limb* x, limb p, const limb* y, limb q, int n) {
  limb top = mul_1(r, x, n, p);
  top -= submul_1(r, y, n, q);
  (void)top;  // 0: the result fits n limbs
}

}  // namespace

bool lehmer_cofactors(const limb* x, int xn, const limb* y, int yn, int floor_limbs, lehmer_step& st) {
  const unsigned long len = bit_length(x, xn);
  const unsigned long pos = len - 62;
  int64_t xh = static_cast<int64_t>(window62(x, xn, pos));
  int64_t yh = static_cast<int64_t>(window62(y, yn, pos));
  // The new smaller value is y' = 2^pos yh' + e with |e| < (|sc| + |sd|) 2^pos < 2^(32+pos), so
  // yh' >= floor_h + 2^32 proves y' >= 2^(32 floor_limbs).
  int64_t floor_h = 0;
  if (floor_limbs >= 0) {
    const unsigned long fb = 32UL * static_cast<unsigned long>(floor_limbs);
    if (fb >= pos + 61) return false;
    floor_h = (fb > pos ? int64_t{1} << (fb - pos) : 1) + (int64_t{1} << 32);
  }
  // Signed cofactors: xh' = sa xh_0 + sb yh_0 and so on, with |entries| below 2^31.
  int64_t sa = 1, sb = 0, sc = 0, sd = 1;
  bool odd = false;
  for (;;) {
    // The true quotient lies between these two; when they agree it is settled.
    if (yh + sc <= 0 || yh + sd <= 0 || xh + sa < 0 || xh + sb < 0) break;
    // Most quotients are 1 or 2 (about 58%): those without a division, and the second bound is
    // checked by a product instead of a second division.
    const uint64_t n1 = static_cast<uint64_t>(xh + sa), d1 = static_cast<uint64_t>(yh + sc);
    const uint64_t n2 = static_cast<uint64_t>(xh + sb), d2 = static_cast<uint64_t>(yh + sd);
    uint64_t uq;
    if (n1 < d1)
      uq = 0;
    else if (n1 - d1 < d1)
      uq = 1;
    else if (n1 - 2 * d1 < d1)
      uq = 2;
    else
      uq = n1 / d1;
    const unsigned __int128 lo = static_cast<unsigned __int128>(uq) * d2;
    if (lo > n2 || n2 - static_cast<uint64_t>(lo) >= d2 || uq >= (uint64_t{1} << 31)) break;
    const int64_t q1 = static_cast<int64_t>(uq);
    const int64_t nc = sa - q1 * sc, nd = sb - q1 * sd;
    if (nc >= (int64_t{1} << 31) || nc <= -(int64_t{1} << 31) || nd >= (int64_t{1} << 31) ||
        nd <= -(int64_t{1} << 31))
      break;
    const int64_t ny = xh - q1 * yh;
    if (ny < floor_h) break;
    sa = sc;
    sb = sd;
    sc = nc;
    sd = nd;
    xh = yh;
    yh = ny;
    odd = !odd;
  }
  st.A = static_cast<limb>(sa < 0 ? -sa : sa);
  st.B = static_cast<limb>(sb < 0 ? -sb : sb);
  st.C = static_cast<limb>(sc < 0 ? -sc : sc);
  st.D = static_cast<limb>(sd < 0 ? -sd : sd);
  st.odd = odd;
  return st.B != 0;
}

// g = gcd(a, b); a and b (an, bn limbs, normalised, an >= bn >= 1, a >= b) are destroyed. g has
// room for bn limbs; returns its length.
int gcd_lehmer(limb* g, limb* a, int an, limb* b, int bn) {
  limb* t = alloc_limbs(2 * static_cast<size_t>(an) + 2);
  limb* u = t + an + 1;
  limb* x = a;
  limb* y = b;
  int xn = an, yn = bn;
  while (yn > 0) {
    if (xn <= 2) {
      // Two words from here on.
      uint64_t p = x[0] | (xn > 1 ? static_cast<uint64_t>(x[1]) << 32 : 0);
      uint64_t q = y[0] | (yn > 1 ? static_cast<uint64_t>(y[1]) << 32 : 0);
      uint64_t v = word_gcd(p, q);
      g[0] = static_cast<limb>(v);
      int gn = 1;
      if (v >> 32) g[gn++] = static_cast<limb>(v >> 32);
      free_limbs(t, 2 * static_cast<size_t>(an) + 2);
      return gn;
    }
    bool lehmer = xn - yn <= 1 && xn >= tuning::gcd_lehmer_entry;
    lehmer_step st{1, 0, 0, 1, false};
    if (lehmer) lehmer_cofactors(x, xn, y, yn, -1, st);
    const limb A = st.A, B = st.B, C = st.C, D = st.D;
    const bool odd = st.odd;
    if (B == 0) {
      // No quotient settled by the leading bits (or sizes far apart): one division step.
      tdiv_qr(nullptr, t, x, xn, y, yn);
      const int tn = normalized_size(t, yn);
      copy(x, t, tn);
      xn = tn;
      std::swap(x, y);
      std::swap(xn, yn);
      continue;
    }
    // (x, y) <- (A x - B y, D y - C x) after an even number of steps, the mirror after an odd one.
    if (yn < xn) y[yn] = 0;
    if (!odd) {
      combine(t, x, A, y, B, xn);
      combine(u, y, D, x, C, xn);
    } else {
      combine(t, y, B, x, A, xn);
      combine(u, x, C, y, D, xn);
    }
    copy(x, t, xn);
    copy(y, u, xn);
    xn = normalized_size(x, xn);
    yn = normalized_size(y, xn);
    if (yn > xn || (yn == xn && cmp(y, x, xn) > 0)) {
      std::swap(x, y);
      std::swap(xn, yn);
    }
  }
  copy(g, x, xn);
  free_limbs(t, 2 * static_cast<size_t>(an) + 2);
  return xn;
}

}  // namespace zvx::bn
