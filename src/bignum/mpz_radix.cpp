// Conversion between limbs and digits of a base that is not a power of two. Long numbers are cut
// in two by a power of the base, base^(k 2^i) with k digits to a limb, and each half converted
// on its own; short ones go digit group by digit group through one-limb divisions and products.
#include "bignum/mpz_internal.h"
#include "bignum/tuning.h"

namespace zvx::bn {

namespace {

constexpr char digit_table[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijklmnopqrstuvwxyz";

// The powers bb^(2^i) of the largest power bb of the base that fits a limb; power i stands for
// `digits[i]` digits. Built up to the size a conversion needs, released by the destructor.
struct powers {
  static constexpr int max_levels = 40;
  limb* p[max_levels] = {};
  int n[max_levels] = {};
  size_t digits[max_levels] = {};
  int count = 0;
  int total = 0;  // limbs of the number being converted
  powers(limb bb, int per, int limbs_needed) {
    p[0] = alloc_limbs(1);
    p[0][0] = bb;
    n[0] = 1;
    digits[0] = static_cast<size_t>(per);
    count = 1;
    while (count < max_levels && 2 * n[count - 1] <= limbs_needed + 2) {
      const int m = n[count - 1];
      p[count] = alloc_limbs(2 * static_cast<size_t>(m));
      mul_n(p[count], p[count - 1], p[count - 1], m);
      n[count] = normalized_size(p[count], 2 * m);
      digits[count] = 2 * digits[count - 1];
      ++count;
    }
  }
  // Power i shifted so that its top bit is set, and its inverse for the division by two products,
  // made the first time a level is divided by with the inverse.
  limb* norm[max_levels] = {};
  limb* inv[max_levels] = {};
  unsigned shift[max_levels] = {};
  void prepare_inverse(int i) {
    if (inv[i]) return;
    const int m = n[i];
    norm[i] = alloc_limbs(2 * static_cast<size_t>(m) + 1);
    inv[i] = norm[i] + m;
    shift[i] = static_cast<unsigned>(__builtin_clz(p[i][m - 1]));
    if (shift[i])
      lshift(norm[i], p[i], m, shift[i]);
    else
      copy(norm[i], p[i], m);
    invert_normalised(inv[i], norm[i], m);
  }
  ~powers() {
    for (int i = 0; i < count; ++i) {
      free_limbs(p[i], i ? 2 * static_cast<size_t>(n[i - 1]) : 1);
      if (norm[i]) free_limbs(norm[i], 2 * static_cast<size_t>(n[i]) + 1);
    }
  }
  powers(const powers&) = delete;
  powers& operator=(const powers&) = delete;
};

// Digits of x (n limbs, destroyed) lowest first into out, `width` of them when width is not 0
// (leading zeros), otherwise just the significant ones; returns the count.
size_t small_to_text(char* out, limb* x, int n, int base, limb bb, int per, size_t width) {
  size_t len = 0;
  n = normalized_size(x, n);
  while (n > 0) {
    limb rem = divmod_1(x, x, n, bb);
    n = normalized_size(x, n);
    for (int k = 0; k < per && (n > 0 || rem != 0 || (width && len < width)); ++k) {
      out[len++] = digit_table[rem % base];
      rem /= base;
    }
  }
  while (len < width) out[len++] = '0';
  return len;
}

// Digits most significant first into out; x (n limbs) is destroyed.
// q (n - pn + 1 limbs), r (pn limbs) = x (n limbs) divided by power i, through its inverse.
void divide_by_power(limb* q, limb* r, const limb* x, int n, powers& pw, int i) {
  pw.prepare_inverse(i);
  const int pn = pw.n[i];
  const unsigned s = pw.shift[i];
  limb* u = alloc_limbs(static_cast<size_t>(n) + 1);
  if (s)
    u[n] = lshift(u, x, n, s);
  else {
    copy(u, x, n);
    u[n] = 0;
  }
  div_qr_preinv(q, u, n + 1, pw.norm[i], pn, pw.inv[i]);
  if (s) {
    rshift(r, u, pn, s);
    r[pn - 1] |= u[pn] << (32 - s);
  } else {
    copy(r, u, pn);
  }
  free_limbs(u, static_cast<size_t>(n) + 1);
}

size_t to_text(char* out, limb* x, int n, int base, limb bb, int per, powers& pw, size_t width) {
  n = normalized_size(x, n);
  if (n < tuning::get_str_dc_entry) {
    size_t len = small_to_text(out, x, n, base, bb, per, width);
    for (size_t i = 0, j = len; i + 1 < j; ++i, --j) {
      char t = out[i];
      out[i] = out[j - 1];
      out[j - 1] = t;
    }
    return len;
  }
  // The largest power with at most half of x's limbs (rounded up).
  int i = pw.count - 1;
  while (i > 0 && 2 * pw.n[i] > n + 1) --i;
  const int pn = pw.n[i];
  if (pn > n) return to_text(out, x, n, base, bb, per, pw, width);
  const int qn = n - pn + 1;
  limb* q = alloc_limbs(static_cast<size_t>(qn) + pn);
  limb* r = q + qn;
  // A power that divides several parts pays for its inverse: each division then costs two
  // products instead of the divide-and-conquer recursion.
  if (pn >= tuning::dc_div_entry && pn <= tuning::newton_div_max &&
      static_cast<long>(pw.total) >= tuning::get_str_inverse_uses * 2L * pn)
    divide_by_power(q, r, x, n, pw, i);
  else
    tdiv_qr(q, r, x, n, pw.p[i], pn);
  const size_t low = pw.digits[i];
  size_t len;
  if (width)
    len = to_text(out, q, qn, base, bb, per, pw, width - low);
  else if (normalized_size(q, qn))
    len = to_text(out, q, qn, base, bb, per, pw, 0);
  else
    len = 0;
  // The low half keeps its leading zeros unless it is the whole number.
  len += to_text(out + len, r, pn, base, bb, per, pw, width || len ? low : 0);
  free_limbs(q, static_cast<size_t>(qn) + pn);
  return len;
}

// Limbs of the digit values v (most significant first, len of them) into d, which has room for
// `cap` limbs; returns the normalised count.
int small_from_digits(limb* d, const unsigned char* v, size_t len, int base, int per) {
  int n = 0;
  size_t i = 0;
  while (i < len) {
    limb chunk = 0, scale = 1;
    for (int k = 0; k < per && i < len; ++k, ++i) {
      chunk = chunk * base + v[i];
      scale *= base;
    }
    limb c = mul_1(d, d, n, scale);
    if (c) d[n++] = c;
    c = add_1(d, d, n, chunk);
    if (c) d[n++] = c;
    if (n == 0 && chunk) d[n++] = chunk;
  }
  return n;
}

int limbs_for(size_t len, int per) { return static_cast<int>(len / static_cast<size_t>(per)) + 2; }

int from_digits(limb* d, const unsigned char* v, size_t len, int base, int per, const powers& pw) {
  if (len < static_cast<size_t>(tuning::set_str_dc_entry) * per) {
    zero(d, limbs_for(len, per));
    return small_from_digits(d, v, len, base, per);
  }
  // The largest power below the digit count: high digits times it plus the low digits.
  int i = pw.count - 1;
  while (i > 0 && pw.digits[i] >= len) --i;
  const size_t low = pw.digits[i];
  const size_t high = len - low;
  const int hcap = limbs_for(high, per), lcap = limbs_for(low, per);
  limb* h = alloc_limbs(static_cast<size_t>(hcap) + lcap);
  limb* l = h + hcap;
  int hn = from_digits(h, v, high, base, per, pw);
  int ln = from_digits(l, v + high, low, base, per, pw);
  const int pn = pw.n[i];
  int dn = 0;
  if (hn > 0) {
    if (hn >= pn)
      mul(d, h, hn, pw.p[i], pn);
    else
      mul(d, pw.p[i], pn, h, hn);
    dn = hn + pn;
    if (ln > 0) add(d, d, dn, l, ln);
  } else {
    copy(d, l, ln);
    dn = ln;
  }
  free_limbs(h, static_cast<size_t>(hcap) + lcap);
  return normalized_size(d, dn);
}

}  // namespace

size_t limbs_to_text(char* out, const limb* x, int n, int base) {
  int per;
  limb bb = big_base(base, &per);
  if (n == 0) {
    out[0] = '0';
    return 1;
  }
  limb* t = alloc_limbs(n);
  copy(t, x, n);
  powers pw(bb, per, n < tuning::get_str_dc_entry ? 0 : n / 2 + 1);
  pw.total = n;
  size_t len = to_text(out, t, n, base, bb, per, pw, 0);
  free_limbs(t, n);
  return len;
}

int digits_to_limbs(limb* d, const unsigned char* v, size_t len, int base) {
  int per;
  limb bb = big_base(base, &per);
  const int total = limbs_for(len, per);
  powers pw(bb, per, len < static_cast<size_t>(tuning::set_str_dc_entry) * per ? 0 : total / 2 + 1);
  return from_digits(d, v, len, base, per, pw);
}

limb big_base(int base, int* digits) {
  limb p = static_cast<limb>(base);
  int k = 1;
  while (static_cast<dlimb>(p) * base <= 0xFFFFFFFFu) {
    p *= base;
    ++k;
  }
  *digits = k;
  return p;
}

}  // namespace zvx::bn
