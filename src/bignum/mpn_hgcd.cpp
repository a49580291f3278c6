// Subquadratic gcd by the half-gcd reduction. For a pair (p, q) whose longer member has n limbs,
// hgcd finds a matrix M of natural numbers with determinant +-1 and a reduced pair with
// (p, q) = M (p', q') whose smaller member still has more than s = n/2 + 1 limbs. It works on the
// top limbs first: with p = P B^k + p_l, the matrix that reduces (P, Q) to a pair above s1 limbs
// has entries below B^(top - s1), no larger than the reduced top, so p' = P' B^k + det (m11 p_l -
// m01 q_l) keeps the sign and the size of P' B^k: the matrix reduces the whole numbers as well,
// and only the low limbs need multiplying. The same is done once more on what is left, with one
// division between the two halves for a large quotient. So a pair of n limbs loses about n/2
// limbs for the price of a few products of n/2 limbs, and the gcd costs O(M(n) log n) instead of
// Lehmer's O(n^2). The extended gcd keeps the product of all the matrices and reads a cofactor
// off it.
//
// Invariant everywhere: (P, Q) = M (p, q) with M's entries natural numbers, so M^-1 = det *
// [[m11, -m01], [-m10, m00]] gives the reduced pair as differences of products.
#include "bignum/bignum.h"
#include "bignum/tuning.h"

namespace zvx::bn {

namespace {

// r = a b for any lengths, including empty operands; r has an + bn limbs.
void mul_any(limb* r, const limb* a, int an, const limb* b, int bn) {
  if (an == 0 || bn == 0)
    zero(r, an + bn);
  else if (an >= bn)
    mul(r, a, an, b, bn);
  else
    mul(r, b, bn, a, an);
}

// The result of a product or sum must fit where the bound says it does; anything else is a fault
// in the reduction, which must not write past a buffer.
inline void fits(int n, int cap) {
  if (n > cap) __builtin_trap();
}

// A 2x2 matrix of natural numbers, entries of up to `cap` limbs, `n` the length of the longest.
// e[0] e[1] / e[2] e[3] is m00 m01 / m10 m11.
struct matrix {
  limb* e[4];
  limb* block;
  int n = 1;
  int cap;
  int det = 1;
  bool identity = true;
  explicit matrix(int c) : cap(c + 1) {
    block = alloc_limbs(4 * static_cast<size_t>(cap));
    zero(block, 4 * cap);
    for (int i = 0; i < 4; ++i) e[i] = block + i * cap;
    e[0][0] = 1;
    e[3][0] = 1;
  }
  ~matrix() { free_limbs(block, 4 * static_cast<size_t>(cap)); }
  matrix(const matrix&) = delete;
  matrix& operator=(const matrix&) = delete;
  // Exchanging p and q exchanges M's columns.
  void swap_columns() {
    det = -det;
    limb* t = e[0];
    e[0] = e[1];
    e[1] = t;
    t = e[2];
    e[2] = e[3];
    e[3] = t;
  }
};

// One value of the pair: a buffer of `cap` limbs holding `n` (normalised).
struct value {
  limb* d;
  int n;
};

void order(value& x, value& y, matrix* m) {
  if (y.n > x.n || (y.n == x.n && cmp(y.d, x.d, x.n) > 0)) {
    value t = x;
    x = y;
    y = t;
    if (m) m->swap_columns();
  }
}

// The whole pair from its reduced top: with x = X 2^(32k) + xl, y likewise, and (X, Y) = f (X', Y'),
// x' = X' 2^(32k) + det (f11 xl - f01 yl) and y' = Y' 2^(32k) + det (f00 yl - f10 xl). The products
// are of the entries by the k low limbs only; the bounds of the reduction keep both results
// positive. Values live in buffers of `cap` limbs.
void apply_top(value& x, value& y, const value& tx, const value& ty, const matrix& f, int k, int cap,
               limb* scratch) {
  const int len = k + f.n + 1;
  limb* t[4];
  for (int i = 0; i < 4; ++i) t[i] = scratch + static_cast<size_t>(i) * len;
  const limb* xl = x.d;
  const limb* yl = y.d;
  const int xk = normalized_size(xl, k < x.n ? k : x.n), yk = normalized_size(yl, k < y.n ? k : y.n);
  int fl[4];
  for (int i = 0; i < 4; ++i) fl[i] = normalized_size(f.e[i], f.n);
  const limb* left[4] = {f.e[3], f.e[1], f.e[0], f.e[2]};
  const int left_n[4] = {fl[3], fl[1], fl[0], fl[2]};
  const limb* right[4] = {xl, yl, yl, xl};
  const int right_n[4] = {xk, yk, yk, xk};
  for (int i = 0; i < 4; ++i) {
    mul_any(t[i], left[i], left_n[i], right[i], right_n[i]);
    zero(t[i] + left_n[i] + right_n[i], len - left_n[i] - right_n[i]);
  }
  value* out[2] = {&x, &y};
  const value* tops[2] = {&tx, &ty};
  for (int j = 0; j < 2; ++j) {
    limb* a = t[2 * j];
    limb* b = t[2 * j + 1];
    int sign = f.det;
    if (cmp(a, b, len) >= 0) {
      sub_n(a, a, b, len);
    } else {
      sub_n(a, b, a, len);
      sign = -sign;
    }
    const int dn = normalized_size(a, len);
    value& v = *out[j];
    const value& h = *tops[j];
    int vn = k + h.n;
    fits(vn, cap);
    zero(v.d, k);
    copy(v.d + k, h.d, h.n);
    fits(dn, vn);
    if (sign > 0) {
      const limb c = add(v.d, v.d, vn, a, dn);
      if (c) {
        fits(vn + 1, cap);
        v.d[vn++] = c;
      }
    } else if (sub(v.d, v.d, vn, a, dn)) {
      __builtin_trap();
    }
    v.n = normalized_size(v.d, vn);
  }
}

// m <- m f, both natural; scratch of 3 (m.n + f.n + 1) limbs.
void mul_matrix(matrix& m, const matrix& f, limb* scratch) {
  if (f.identity) return;
  const int len = m.n + f.n + 1;
  limb* t = scratch;
  limb* u = t + len;
  int fl[4], ml[4];
  for (int i = 0; i < 4; ++i) {
    fl[i] = normalized_size(f.e[i], f.n);
    ml[i] = normalized_size(m.e[i], m.n);
  }
  int top = 1;
  for (int row = 0; row < 2; ++row) {
    limb* a = m.e[2 * row];
    limb* b = m.e[2 * row + 1];
    const int an = ml[2 * row], bn = ml[2 * row + 1];
    // (a, b) <- (a f00 + b f10, a f01 + b f11); a is read again after the first column, so the
    // first column waits in u until both are done.
    mul_any(t, a, an, f.e[0], fl[0]);
    zero(t + an + fl[0], len - an - fl[0]);
    mul_any(u, b, bn, f.e[2], fl[2]);
    zero(u + bn + fl[2], len - bn - fl[2]);
    add_n(u, u, t, len);
    int n0 = normalized_size(u, len);
    fits(n0, m.cap);
    mul_any(t, a, an, f.e[1], fl[1]);
    zero(t + an + fl[1], len - an - fl[1]);
    limb* v = u + len;
    mul_any(v, b, bn, f.e[3], fl[3]);
    zero(v + bn + fl[3], len - bn - fl[3]);
    add_n(t, t, v, len);
    int n1 = normalized_size(t, len);
    fits(n1, m.cap);
    zero(a, m.cap);
    zero(b, m.cap);
    copy(a, u, n0);
    copy(b, t, n1);
    if (n0 > top) top = n0;
    if (n1 > top) top = n1;
  }
  m.n = top;
  m.det *= f.det;
  m.identity = false;
}

// m <- m [[D, B], [C, A]] for cofactors below 2^31, one pass over each row: a D + b C + carry
// stays below 2^64.
void mul_cofactors(matrix& m, const lehmer_step& st) {
  const int len = m.n + 1;
  fits(len, m.cap);
  for (int row = 0; row < 2; ++row) {
    limb* a = m.e[2 * row];
    limb* b = m.e[2 * row + 1];
    dlimb c0 = 0, c1 = 0;
    for (int i = 0; i < len; ++i) {
      const dlimb ai = a[i], bi = b[i];
      c0 += ai * st.D + bi * st.C;
      c1 += ai * st.B + bi * st.A;
      a[i] = static_cast<limb>(c0);
      b[i] = static_cast<limb>(c1);
      c0 >>= 32;
      c1 >>= 32;
    }
  }
  if (m.e[0][m.n] | m.e[1][m.n] | m.e[2][m.n] | m.e[3][m.n]) ++m.n;
  if (st.odd) m.det = -m.det;
  m.identity = false;
}

// (x, y) <- (A x - B y, D y - C x) after an even number of steps, (B y - A x, C x - D y) after an
// odd one, in one pass: both results are natural numbers of at most n limbs.
void apply_cofactors(limb* x, limb* y, int n, const lehmer_step& st) {
  const int64_t a = st.A, b = st.B, c = st.C, d = st.D;
  const int64_t sx = st.odd ? -1 : 1;
  __int128 cx = 0, cy = 0;
  for (int i = 0; i < n; ++i) {
    const int64_t xi = x[i], yi = y[i];
    cx += static_cast<__int128>(sx) * (a * xi - b * yi);
    cy += static_cast<__int128>(sx) * (d * yi - c * xi);
    x[i] = static_cast<limb>(static_cast<uint64_t>(cx));
    y[i] = static_cast<limb>(static_cast<uint64_t>(cy));
    cx >>= 32;
    cy >>= 32;
  }
}

// One Euclid step on x >= y when the remainder keeps more than s limbs: (x, y) <- (y, x mod y)
// and m <- m [[quotient, 1], [1, 0]]. False (nothing changed) otherwise. scratch: see the users.
bool division_step(value& x, value& y, int s, matrix* m, limb* scratch) {
  const int qn = x.n - y.n + 1;
  limb* qt = scratch;
  limb* r = qt + qn;
  tdiv_qr(qt, r, x.d, x.n, y.d, y.n);
  const int rn = normalized_size(r, y.n);
  if (rn <= s) return false;
  copy(x.d, r, rn);
  x.n = rn;
  value t = x;
  x = y;
  y = t;
  if (m) {
    // New first column q c0 + c1, new second column the old first.
    const int qq = normalized_size(qt, qn);
    limb* w = r + y.n + 1;
    const int len = m->n + qq + 1;
    for (int row = 0; row < 2; ++row) {
      limb* c0 = m->e[2 * row];
      limb* c1 = m->e[2 * row + 1];
      mul_any(w, c0, normalized_size(c0, m->n), qt, qq);
      const int wn0 = normalized_size(c0, m->n) + qq;
      zero(w + wn0, len - wn0);
      add(w, w, len, c1, m->n);
      const int wn = normalized_size(w, len);
      fits(wn, m->cap);
      copy(c1, c0, m->n);
      zero(c0, m->cap);
      copy(c0, w, wn);
      if (wn > m->n) m->n = wn;
    }
    m->det = -m->det;
    m->identity = false;
  }
  return true;
}

// The reduction by Lehmer steps and divisions, for pairs below the recursive entry.
void hgcd_base(value& x, value& y, int s, matrix& m, limb* scratch) {
  limb* rest = scratch;
  for (;;) {
    order(x, y, &m);
    if (y.n <= s) return;
    lehmer_step st{1, 0, 0, 1, false};
    if (x.n - y.n <= 1 && x.n >= 3 && lehmer_cofactors(x.d, x.n, y.d, y.n, s, st)) {
      if (y.n < x.n) y.d[y.n] = 0;
      const int n = x.n;
      apply_cofactors(x.d, y.d, n, st);
      x.n = normalized_size(x.d, n);
      y.n = normalized_size(y.d, n);
      mul_cofactors(m, st);
      continue;
    }
    if (!division_step(x, y, s, &m, rest)) return;
  }
}

// Scratch of one level of hgcd on buffers of cap limbs: the two copies of the top, then the
// products of apply_inverse (4 (cap + cap/2 + 2)), which cover those of the matrix product, the
// division step and the base steps.
size_t hgcd_scratch(int cap) { return 9 * static_cast<size_t>(cap) + 32; }

void hgcd(value& x, value& y, matrix& m, int cap);

// Reduces the pair by the half-gcd of its limbs above the k lowest: the top is copied into
// scratch, reduced into f (which has room for half the top's length), and when that took a step,
// carried over to the whole numbers (apply_top). Returns the scratch past the two top copies,
// free for the caller's products with f.
limb* reduce_above(value& x, value& y, int k, matrix& f, int cap, limb* scratch) {
  const int tcap = (x.n > y.n ? x.n : y.n) - k + 1;
  limb* tx = scratch;
  limb* ty = tx + tcap;
  limb* next = ty + tcap;
  value hx{tx, x.n - k}, hy{ty, y.n - k};
  copy(tx, x.d + k, hx.n);
  copy(ty, y.d + k, hy.n);
  hgcd(hx, hy, f, tcap);
  if (!f.identity) apply_top(x, y, hx, hy, f, k, cap, next);
  return next;
}

// Reduces (x, y), the longer of n limbs, while the smaller keeps more than n/2 + 1 limbs;
// m (identity on entry, room for n - n/2 limbs) collects the steps. Buffers hold `cap` limbs.
void hgcd(value& x, value& y, matrix& m, int cap) {
  const int n = x.n > y.n ? x.n : y.n;
  const int s = n / 2 + 1;
  if ((x.n < y.n ? x.n : y.n) <= s) return;
  const size_t need = hgcd_scratch(cap);
  limb* scratch = alloc_limbs(need);
  if (n < tuning::hgcd_entry) {
    hgcd_base(x, y, s, m, scratch);
    free_limbs(scratch, need);
    return;
  }
  // The top n - s limbs first, then the top 2 (n2 - s) limbs of what is left.
  for (int half = 0; half < 2; ++half) {
    const int n2 = x.n > y.n ? x.n : y.n;
    if ((x.n < y.n ? x.n : y.n) <= s) break;
    const int k = half == 0 ? s : 2 * s - n2;
    const int top = n2 - k;
    matrix f(top - top / 2);
    limb* next = reduce_above(x, y, k, f, cap, scratch);
    if (!f.identity) {
      if (m.identity) {
        for (int i = 0; i < 4; ++i) copy(m.e[i], f.e[i], f.n);
        m.n = f.n;
        m.det = f.det;
        m.identity = false;
      } else {
        mul_matrix(m, f, next);
      }
    }
    if (half == 0) {
      // A large quotient between the halves, which the top's steps may not have reached.
      // When its remainder would leave s limbs or fewer, the pair is already where it should be.
      order(x, y, &m);
      if (y.n <= s || !division_step(x, y, s, &m, next)) {
        free_limbs(scratch, need);
        return;
      }
    }
  }
  // What the halves left above the target: finish by the base steps (a limb or two).
  hgcd_base(x, y, s, m, scratch);
  free_limbs(scratch, need);
}

// The low limbs the gcd leaves out of a reduction of n-limb operands: the top is the largest power
// of two of limbs within two thirds of the length (so more than a third), and its reduction takes
// off half of it. The products of the transform multiplication have power-of-two lengths, so a top
// just above one doubles the cost of every product below it. Least thread time, loaded machine:
// 3,125 limbs 5.9 ms with a top of two thirds (2,084 limbs), 5.1-5.4 with 2,048; with the power of
// two only when it is at least half the length against always: 3,125 limbs 5.08 against 4.95 ms,
// 2,100 limbs 3.02 against 2.88, 1,500 limbs 1.80 against 1.77, 5,000 limbs 9.41 against 8.86.
int low_part(int n) {
  int p = 1;
  while (2 * p <= n - n / 3) p *= 2;
  return n - p;
}

// One reduction of a pair of about equal lengths by the half-gcd of its top (see low_part): the
// top's matrix carries over to the whole numbers; a top the recursion cannot reduce takes one
// division step instead. With `m`, the matrix of the whole run takes the step too.
void reduce_by_top(value& x, value& y, matrix* m, int cap, limb* scratch) {
  const int k = low_part(x.n);
  const int top = x.n - k;
  matrix f(top - top / 2);
  limb* next = reduce_above(x, y, k, f, cap, scratch);
  if (f.identity)
    division_step(x, y, -1, m, scratch);
  else if (m)
    mul_matrix(*m, f, next);
}

}  // namespace

int gcd_subquadratic(limb* g, limb* a, int an, limb* b, int bn) {
  const int cap = an;
  const size_t need = 10 * static_cast<size_t>(an) + 16;
  limb* scratch = alloc_limbs(need);
  value x{a, an}, y{b, bn};
  for (;;) {
    order(x, y, nullptr);
    if (y.n < tuning::hgcd_gcd_entry) break;
    if (x.n - y.n > 1) {
      // Lengths far apart: one division brings them together.
      division_step(x, y, -1, nullptr, scratch);
      continue;
    }
    reduce_by_top(x, y, nullptr, cap, scratch);
  }
  free_limbs(scratch, need);
  if (y.n == 0) {
    copy(g, x.d, x.n);
    return x.n;
  }
  return gcd_lehmer(g, x.d, x.n, y.d, y.n);
}

int gcdext_cofactor(limb* g, limb* s, int* sn, limb* a, int an, limb* b, int bn) {
  const int cap = an > bn ? an : bn;
  const size_t need = 10 * static_cast<size_t>(cap) + 16;
  limb* scratch = alloc_limbs(need);
  // (a, b) = m (x, y) throughout; the entries stay below max(a, b) / min(x, y).
  matrix m(cap + 1);
  value x{a, an}, y{b, bn};
  bool divides = false;  // y divides x: the gcd is y
  for (;;) {
    order(x, y, &m);
    if (y.n == 0) break;
    if (y.n < tuning::hgcd_gcd_entry) {
      // Lehmer steps and divisions down to an exact division.
      hgcd_base(x, y, 0, m, scratch);
      order(x, y, &m);
      divides = y.n > 0;
      break;
    }
    if (x.n - y.n > 1) {
      division_step(x, y, -1, &m, scratch);
      continue;
    }
    reduce_by_top(x, y, &m, cap, scratch);
  }
  // x = det (m11 a - m01 b) and y = det (m00 b - m10 a): the cofactor of a is det m11 for the
  // gcd x, -det m10 for the gcd y.
  const value& gv = divides ? y : x;
  copy(g, gv.d, gv.n);
  const limb* c = divides ? m.e[2] : m.e[3];
  const int cn = normalized_size(c, m.n);
  copy(s, c, cn);
  const int sign = divides ? -m.det : m.det;
  *sn = sign < 0 ? -cn : cn;
  const int gn = gv.n;
  free_limbs(scratch, need);
  return gn;
}

}  // namespace zvx::bn
