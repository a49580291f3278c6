// Division of natural numbers: the schoolbook long division in place on a normalised divisor,
// and the divide-and-conquer division above it, which estimates each half of the quotient from
// the divisor's top half and corrects it with one product.
#include "bignum/bignum.h"
#include "bignum/tuning.h"

namespace zvx::bn {

namespace {

// Long division in place: np (nn limbs) by dp (dn >= 2 limbs, top bit set). q gets nn-dn limbs,
// the remainder is left in np[0, dn). Returns the quotient's extra top limb, 0 or 1: 1 when the
// top dn limbs of np were not below dp.
limb sb_div_qr(limb* q, limb* np, int nn, const limb* dp, int dn) {
  limb qh = 0;
  if (cmp(np + nn - dn, dp, dn) >= 0) {
    sub_n(np + nn - dn, np + nn - dn, dp, dn);
    qh = 1;
  }
  const dlimb v1 = dp[dn - 1], v2 = dp[dn - 2];
  for (int j = nn - dn - 1; j >= 0; --j) {
    limb* uj = np + j;
    dlimb num = (static_cast<dlimb>(uj[dn]) << 32) | uj[dn - 1];
    dlimb qhat, rhat;
    if (uj[dn] >= v1) {
      qhat = 0xFFFFFFFFu;
      rhat = num - qhat * v1;
    } else {
      qhat = num / v1;
      rhat = num - qhat * v1;
    }
    while (rhat <= 0xFFFFFFFFu && qhat * v2 > ((rhat << 32) | uj[dn - 2])) {
      --qhat;
      rhat += v1;
    }
    limb borrow = submul_1(uj, dp, dn, static_cast<limb>(qhat));
    limb top = uj[dn];
    uj[dn] = top - borrow;
    if (top < borrow) {
      --qhat;
      uj[dn] += add_n(uj, uj, dp, dn);
    }
    q[j] = static_cast<limb>(qhat);
  }
  return qh;
}

limb dc_div_qr_n(limb* q, limb* np, const limb* dp, int n, limb* tp);

// r quotient limbs of the window w (dn + r limbs, its top dn limbs below dp when called from the
// drivers) by dp (dn limbs, normalised), r <= dn. The quotient comes from the top 2r limbs of the
// window and the top r limbs of the divisor, which overestimates it by at most 2 for a
// normalised divisor; the product with the divisor's low part and at most two additions back
// correct it. The remainder is left in w[0, dn). Returns the quotient's extra top limb.
limb div_block(limb* q, limb* w, const limb* dp, int dn, int r, limb* tp) {
  // A short block costs the long division no more than the correcting product would.
  if (r < tuning::dc_div_entry) return sb_div_qr(q, w, dn + r, dp, dn);
  if (r == dn) return dc_div_qr_n(q, w, dp, dn, tp);
  limb qh = dc_div_qr_n(q, w + dn - r, dp + dn - r, r, tp + dn);
  const int low = dn - r;
  if (low >= r)
    mul(tp, dp, low, q, r);
  else
    mul(tp, q, r, dp, low);
  limb cy = sub_n(w, w, tp, dn);
  if (qh) cy += sub_n(w + r, w + r, dp, low);
  while (cy) {
    qh -= sub_1(q, q, r, 1);
    cy -= add_n(w, w, dp, dn);
  }
  return qh;
}

// 2n limbs of np by the n limbs of dp: the high half of the quotient, then the low half.
limb dc_div_qr_n(limb* q, limb* np, const limb* dp, int n, limb* tp) {
  if (n < tuning::dc_div_entry) return sb_div_qr(q, np, 2 * n, dp, n);
  const int lo = n / 2, hi = n - lo;
  limb qh = div_block(q + lo, np + lo, dp, n, hi, tp);
  div_block(q, np, dp, n, lo, tp);
  return qh;
}

// Scratch of dc_div_qr_n(n) and its recursion: n limbs of product at each level.
size_t dc_scratch(int n) {
  size_t total = 0;
  while (n >= tuning::dc_div_entry) {
    total += static_cast<size_t>(n);
    n = n - n / 2;
  }
  return total + 2;
}

}  // namespace

// np (nn limbs) by dp (dn limbs, normalised); q gets nn-dn limbs plus the returned top limb; the
// remainder is left in np[0, dn).
limb div_qr_normalised(limb* q, limb* np, int nn, const limb* dp, int dn) {
  if (dn < tuning::dc_div_entry || nn - dn < tuning::dc_div_entry / 2) return sb_div_qr(q, np, nn, dp, dn);
  int qn = nn - dn;
  limb qh = 0;
  if (cmp(np + qn, dp, dn) >= 0) {
    sub_n(np + qn, np + qn, dp, dn);
    qh = 1;
  }
  const size_t need = dc_scratch(dn) + static_cast<size_t>(dn);
  limb* tp = alloc_limbs(need);
  // Blocks of dn quotient limbs from the top, the last one shorter.
  while (qn > 0) {
    const int r = qn < dn ? qn : dn;
    qn -= r;
    div_block(q + qn, np + qn, dp, dn, r, tp);
  }
  free_limbs(tp, need);
  return qh;
}

namespace {

// v = floor((B^(2 dn) - 1) / dp) by one division: B^(2 dn) - 1 is all ones, its top dn limbs are
// not below dp, so the quotient's extra limb is 1.
void invert_by_division(limb* v, const limb* dp, int dn) {
  limb* u = alloc_limbs(2 * static_cast<size_t>(dn));
  for (int i = 0; i < 2 * dn; ++i) u[i] = ~limb{0};
  v[dn] = div_qr_normalised(v, u, 2 * dn, dp, dn);
  free_limbs(u, 2 * static_cast<size_t>(dn));
}

}  // namespace

// Newton's iteration on the top half: with xh the reciprocal of a's top h limbs, T = B^(n+h) -
// a xh is the error of xh as a reciprocal of a, and xh B^l + xh T / B^(2h-l) doubles the
// correct limbs. With the reciprocal of the top half within the same bounds, the result x
// satisfies a x < B^(2n) < a (x + 2): at most 1 below floor((B^(2n) - 1) / a). The two products
// (n by h limbs, then h by h) make the whole inverse cost about two products of n limbs.
void invert_normalised(limb* v, const limb* dp, int dn) {
  if (dn < tuning::newton_inverse_entry) {
    invert_by_division(v, dp, dn);
    return;
  }
  const int l = (dn - 1) / 2, h = dn - l;
  const size_t need = static_cast<size_t>(h) + 1 + (dn + h + 1) + (dn + 2 * h + 2);
  limb* xh = alloc_limbs(need);
  limb* t = xh + h + 1;
  limb* u = t + dn + h + 1;
  invert_normalised(xh, dp + l, h);
  mul(t, dp, dn, xh, h + 1);
  while (t[dn + h] != 0) {
    sub_1(xh, xh, h + 1, 1);
    sub(t, t, dn + h + 1, dp, dn);
  }
  // t <- B^(n+h) - t; t is not 0 (a xh >= a B^h).
  for (int i = 0; i < dn + h; ++i) t[i] = ~t[i];
  add_1(t, t, dn + h, 1);
  const int tm = normalized_size(t + l, dn + h - l);
  const int sh = 2 * h - l;
  zero(v, dn + 1);
  copy(v + l, xh, h + 1);
  bool ok = true;
  if (tm > 0) {
    if (tm >= h + 1)
      mul(u, t + l, tm, xh, h + 1);
    else
      mul(u, xh, h + 1, t + l, tm);
    const int un = tm + h + 1;
    if (un > sh) {
      if (un - sh > dn + 1 || add(v, v, dn + 1, u + sh, un - sh)) ok = false;
    }
  }
  free_limbs(xh, need);
  // Out of bounds cannot happen by the argument above; should it, the division gives the value.
  if (!ok) invert_by_division(v, dp, dn);
}

// Quotient blocks of r <= dn limbs from the top, each estimated through the inverse as
// floor(floor(w / B^(dn-1)) v / B^(dn+1)) for the window w (dn + r limbs, below dp B^r), which is
// at most 5 below the true block (2 from the truncations, 1 when v is B^(2dn)/dp rounded down by
// the -1, 2 from Newton's inverse being up to 1 below that), then corrected by subtracting dp while
// the remainder is not below it.
limb div_qr_preinv(limb* q, limb* np, int nn, const limb* dp, int dn, const limb* v) {
  int qn = nn - dn;
  limb qh = 0;
  if (cmp(np + qn, dp, dn) >= 0) {
    sub_n(np + qn, np + qn, dp, dn);
    qh = 1;
  }
  const int rmax = qn < dn ? qn : dn;
  const size_t need = static_cast<size_t>(rmax) + 1 + dn + 1 + rmax + dn;
  limb* t = alloc_limbs(need);
  limb* u = t + rmax + 1 + dn + 1;
  while (qn > 0) {
    const int r = qn < dn ? qn : dn;
    qn -= r;
    limb* w = np + qn;
    limb* qb = q + qn;
    // t = floor(w / B^(dn-1)) v: r + 1 limbs by dn + 1.
    mul(t, v, dn + 1, w + dn - 1, r + 1);
    copy(qb, t + dn + 1, r);  // its top limb is 0: the block is below B^r
    const int qbn = normalized_size(qb, r);
    if (qbn > 0) {
      if (qbn >= dn)
        mul(u, qb, qbn, dp, dn);
      else
        mul(u, dp, dn, qb, qbn);
      // An estimate above the true block (which the bounds exclude) would show as a borrow.
      limb borrow = sub(w, w, dn + r, u, dn + qbn);
      while (borrow) {
        if (add(w, w, dn + r, dp, dn)) borrow = 0;
        sub_1(qb, qb, r, 1);
      }
    }
    while (w[dn] != 0 || cmp(w, dp, dn) >= 0) {
      w[dn] -= sub_n(w, w, dp, dn);
      add_1(qb, qb, r, 1);
    }
  }
  free_limbs(t, need);
  return qh;
}

void tdiv_qr(limb* q, limb* r, const limb* a, int an, const limb* d, int dn) {
  if (dn == 1) {
    limb* qq = q ? q : alloc_limbs(an);
    limb rem = divmod_1(qq, a, an, d[0]);
    if (r) r[0] = rem;
    if (!q) free_limbs(qq, an);
    return;
  }
  // Normalise so that the divisor's top bit is set; the numerator gets one more limb, which
  // keeps its top dn limbs below the divisor, so the quotient has an-dn+1 limbs.
  const unsigned s = __builtin_clz(d[dn - 1]);
  const int qn = an - dn + 1;
  const size_t work = static_cast<size_t>(an) + 1 + dn + (q ? 0 : qn);
  limb* u = alloc_limbs(work);
  limb* v = u + an + 1;
  limb* qq = q ? q : v + dn;
  if (s) {
    lshift(v, d, dn, s);
    u[an] = lshift(u, a, an, s);
  } else {
    copy(v, d, dn);
    copy(u, a, an);
    u[an] = 0;
  }
  if (dn >= tuning::newton_div_entry && dn <= tuning::newton_div_max && an + 1 - dn >= dn) {
    // A quotient at least as long as the divisor pays for the inverse.
    limb* inv = alloc_limbs(static_cast<size_t>(dn) + 1);
    invert_normalised(inv, v, dn);
    div_qr_preinv(qq, u, an + 1, v, dn, inv);
    free_limbs(inv, static_cast<size_t>(dn) + 1);
  } else {
    div_qr_normalised(qq, u, an + 1, v, dn);
  }
  if (r) {
    if (s)
      rshift(r, u, dn, s), r[dn - 1] |= u[dn] << (32 - s);
    else
      copy(r, u, dn);
  }
  free_limbs(u, work);
}

}  // namespace zvx::bn
