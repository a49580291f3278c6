// Toom-Cook 3-way product of two n-limb numbers: five products of a third of the size at the
// points 0, 1, -1, 2 and infinity, and an interpolation by exact divisions by 2 and 3.
#include "bignum/bignum.h"

namespace zvx::bn {

namespace {

// A signed value over a fixed number of limbs (magnitude and sign), for the interpolation's
// intermediate values, some of which are negative.
struct sval {
  limb* d;
  int n;
  bool neg;
};

void s_set_sum(sval& r, const sval& x, const sval& y, bool subtract) {
  const bool yneg = y.neg != subtract;
  if (x.neg == yneg) {
    add_n(r.d, x.d, y.d, r.n);
    r.neg = x.neg;
    return;
  }
  if (cmp(x.d, y.d, r.n) >= 0) {
    sub_n(r.d, x.d, y.d, r.n);
    r.neg = x.neg;
  } else {
    sub_n(r.d, y.d, x.d, r.n);
    r.neg = yneg;
  }
}

// The magnitudes are exact multiples: these shifts and the division by 3 lose nothing.
void s_half(sval& x) { rshift(x.d, x.d, x.n, 1); }
void s_third(sval& x) { divmod_1(x.d, x.d, x.n, 3); }

// (x0 + x1 + x2) and (x0 - x1 + x2), (x0 + 2 x1 + 4 x2) over k+1 limbs; x2 has h limbs.
void evaluate(limb* p1, sval& m1, limb* p2, const limb* x, int k, int h, limb* t) {
  // t = x0 + x2
  t[k] = add(t, x, k, x + 2 * k, h);
  // p1 = t + x1
  p1[k] = t[k] + add_n(p1, t, x + k, k);
  // m1 = t - x1, by magnitude
  if (t[k] != 0 || cmp(t, x + k, k) >= 0) {
    m1.d[k] = t[k] - sub_n(m1.d, t, x + k, k);
    m1.neg = false;
  } else {
    sub_n(m1.d, x + k, t, k);
    m1.d[k] = 0;
    m1.neg = true;
  }
  // p2 = x0 + 2 (x1 + 2 x2)
  copy(t, x + 2 * k, h);
  zero(t + h, k + 1 - h);
  t[k] = lshift(t, t, k, 1);
  t[k] += add_n(t, t, x + k, k);
  limb top = t[k];
  limb out = lshift(t, t, k, 1);
  t[k] = (top << 1) | out;
  p2[k] = t[k] + add_n(p2, t, x, k);
}

}  // namespace

void toom3_mul(limb* r, const limb* a, const limb* b, int n) {
  const int k = (n + 2) / 3;  // parts of k, k and h limbs
  const int h = n - 2 * k;
  const int len = 2 * k + 2;  // every point value and interpolated coefficient fits
  const size_t need = static_cast<size_t>(len) * 7 + 4 * static_cast<size_t>(k + 1) + (k + 1) + 2;
  limb* w = alloc_limbs(need);
  limb* v1 = w;
  limb* vm1 = v1 + len;
  limb* v2 = vm1 + len;
  limb* r1 = v2 + len;
  limb* r2 = r1 + len;
  limb* r3 = r2 + len;
  limb* vinf = r3 + len;  // the last of the seven arrays of len limbs
  limb* pa1 = vinf + len;
  limb* pb1 = pa1 + (k + 1);
  limb* pa2 = pb1 + (k + 1);
  limb* pb2 = pa2 + (k + 1);
  limb* t = pb2 + (k + 1);
  sval ma{r1, k + 1, false}, mb{r2, k + 1, false};  // r1, r2 serve as scratch until used

  evaluate(pa1, ma, pa2, a, k, h, t);
  evaluate(pb1, mb, pb2, b, k, h, t);
  mul_n(v1, pa1, pb1, k + 1);
  mul_n(v2, pa2, pb2, k + 1);
  mul_n(vm1, ma.d, mb.d, k + 1);
  const bool vm1_neg = ma.neg != mb.neg;
  // v0 and vinf straight into their places; the middle of r is cleared for the sums.
  mul_n(r, a, b, k);
  zero(vinf, len);
  mul_n(vinf, a + 2 * k, b + 2 * k, h);
  zero(r + 2 * k, 2 * n - 2 * k);
  copy(r + 4 * k, vinf, 2 * h);

  sval sv1{v1, len, false}, svm1{vm1, len, vm1_neg}, sv2{v2, len, false};
  sval s1{r1, len, false}, s2{r2, len, false}, s3{r3, len, false};
  sval sinf{vinf, len, false};
  // v0 as a value of len limbs, in r3 for the moment.
  copy(r3, r, 2 * k);
  zero(r3 + 2 * k, 2);
  sval sv0{r3, len, false};
  // With the product's coefficients c0..c4: r2 = vm1 - v0 = -c1 + c2 - c3 + c4
  s_set_sum(s2, svm1, sv0, true);
  // r3 = (v2 - vm1) / 3 = c1 + c2 + 3 c3 + 5 c4
  s_set_sum(s3, sv2, svm1, true);
  s_third(s3);
  // r1 = (v1 - vm1) / 2 = c1 + c3
  s_set_sum(s1, sv1, svm1, true);
  s_half(s1);
  // r3 = (r3 - r2) / 2 - 2 vinf = c1 + 2 c3
  s_set_sum(s3, s3, s2, true);
  s_half(s3);
  s_set_sum(s3, s3, sinf, true);
  s_set_sum(s3, s3, sinf, true);
  // r2 = r2 + r1 - vinf = c2
  s_set_sum(s2, s2, s1, false);
  s_set_sum(s2, s2, sinf, true);
  // r3 = r3 - r1 = c3, then r1 = r1 - r3 = c1
  s_set_sum(s3, s3, s1, true);
  s_set_sum(s1, s1, s3, true);

  // r += r1 B^k + r2 B^2k + r3 B^3k; the coefficients are non-negative and the sum fits 2n limbs.
  const int rn = 2 * n;
  const sval* coef[3] = {&s1, &s2, &s3};
  for (int i = 0; i < 3; ++i) {
    const int off = (i + 1) * k;
    int cn = normalized_size(coef[i]->d, len);
    if (cn > rn - off) cn = rn - off;
    if (cn > 0) add(r + off, r + off, rn - off, coef[i]->d, cn);
  }
  free_limbs(w, need);
}

}  // namespace zvx::bn
