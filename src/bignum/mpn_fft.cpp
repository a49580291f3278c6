// Products by a real transform in double precision: both operands cut into balanced digits of w
// bits, a cyclic convolution of length L (2^k, 3 2^k or 5 2^k), each coefficient rounded to the
// nearest integer and the coefficients added with carries.
//
// Exactness. The convolution's coefficients are c_k = sum a_i b_(k-i) with balanced digits,
// |a_i|, |b_j| <= 2^(w-1), so |c_k| <= min(Da, Db) 2^(2w-2) for Da, Db digits, below 2^51 for
// every plan the bound admits. The computed coefficients differ from them by the rounding of
// three transforms of n butterfly levels and one pointwise product. With roots carrying relative
// errors of at most beta, the classical analysis of the transform product bounds that error by
//   |c'_k - c_k| <= |a|_2 |b|_2 ((1+e)^(3n) (1+sqrt5 e)^(3n+1) (1+beta)^(3n) - 1),
// with e = 2^-53 and the Euclidean norms |a|_2 <= 2^(w-1) sqrt(Da), |b|_2 <= 2^(w-1) sqrt(Db).
// The line engine computes a real line through a complex line of half the length and one
// recombination by roots, which the bound covers by counting n + 1 levels; a radix-3 pass counts
// as 2 levels and a radix-5 pass as 3 (no path through their butterflies has more rounded
// operations); its roots are exact to the last bit, beta <= e. For (n+1) e << 1 the bracket is
// below 1.01 (3 (n+1) + sqrt5 (3(n+1) + 1) + 3 (n+1)) e <= 1.01 (12.71 (n+1) + 2.24) e, so
//   |c'_k - c_k| <= 2^(2w-2) sqrt(Da Db) 1.01 (12.71 (n+1) + 2.24) 2^-53.
// The bound holds for the cyclic convolution whatever wraps, so it also covers a length shorter
// than the coefficients. tuning::transform_digits_exact() is this test; choose_transform() takes
// the cheapest length and for it the widest w <= 20 for which the bound is at most 1/4: rounding
// to the nearest integer then gives c_k exactly, with a margin of a factor 2.
//
// As a second guard the carry pass measures the largest distance of a coefficient to its
// integer; should it ever reach 1/4 the product is recomputed with digits a bit narrower, so a
// result is never returned on a doubtful rounding.
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>

#include "bignum/bignum.h"
#include "bignum/tuning.h"
#include "dft/engine.h"

namespace zvx::bn {

namespace {

namespace dft = zvx::dft;

// One engine context per length up to 2^tuning::transform_cached_log2, built at the first product
// of that length and kept for the process: building one computes its roots and plan, which costs
// several transforms (at 4,096 limbs it took 7.4 ms of a 7.6 ms product), and the compute
// entries only read it, so threads share it (each call brings its own scratch). Two threads that
// build the same length at once keep one context and free the other. Longer lengths build a
// context per call, so that their tables do not stay in memory.
std::atomic<dft::PrimitiveDftContext*> g_contexts[3][tuning::transform_cached_log2 + 1];

bool cached(const tuning::transform_plan& p) { return p.length() <= (1L << tuning::transform_cached_log2); }

dft::PrimitiveDftContext* context_for(const tuning::transform_plan& p) {
  const int len = static_cast<int>(p.length());
  if (!cached(p)) {
    dft::PrimitiveDftContext* own = nullptr;
    return dft::primitive_dft_create(&own, dft::context_real_double, len, dft::scale_none, 0) == 0 ? own : nullptr;
  }
  std::atomic<dft::PrimitiveDftContext*>& slot = g_contexts[p.odd][p.k];
  dft::PrimitiveDftContext* ctx = slot.load(std::memory_order_acquire);
  if (ctx) return ctx;
  dft::PrimitiveDftContext* made = nullptr;
  if (dft::primitive_dft_create(&made, dft::context_real_double, len, dft::scale_none, 0) != 0) return nullptr;
  if (slot.compare_exchange_strong(ctx, made, std::memory_order_acq_rel)) return made;
  dft::primitive_dft_free(made);
  return ctx;
}

// Working arrays of long transforms come from blocks of the transform's own, mapped with huge
// pages and one of them kept for the next product. Through malloc every call of such a size
// would map fresh pages and fault on each of them: at 100,000 limbs (24 MiB of arrays) the
// faults took 80 of a 100 ms product on this machine, the transforms themselves 15. The block
// starts with its size; two threads that need one at once each map their own, and the one
// returned last is kept.
std::atomic<void*> g_spare_block{nullptr};
constexpr size_t huge_page = size_t{1} << 21;

size_t block_size(void* b) { return *static_cast<size_t*>(b); }

void unmap_block(void* b) {
  if (b) munmap(b, block_size(b));
}

// A block of at least `bytes` usable bytes after a 64-byte header, or null.
void* take_block(size_t bytes) {
  void* b = g_spare_block.exchange(nullptr, std::memory_order_acq_rel);
  if (b && block_size(b) >= bytes + 64) return b;
  unmap_block(b);
  const size_t total = (bytes + 64 + huge_page - 1) / huge_page * huge_page;
  void* p = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  madvise(p, total, MADV_HUGEPAGE);  // advice only: without huge pages the block still serves
  *static_cast<size_t*>(p) = total;
  return p;
}

void give_block(void* b) {
  void* old = g_spare_block.exchange(b, std::memory_order_acq_rel);
  if (old && block_size(old) > block_size(b)) {
    // Keep the larger one.
    void* back = g_spare_block.exchange(old, std::memory_order_acq_rel);
    unmap_block(back);
  } else {
    unmap_block(old);
  }
}

// The balanced w-bit digits of x (xn limbs), lowest first, as doubles, padded with zeros to len:
// a digit of 2^(w-1) or more becomes that minus 2^w and carries one into the next, so every
// digit lies in [-2^(w-1), 2^(w-1)). `digits` has room for the last carry.
void split(double* out, const limb* x, int xn, int w, long digits, long len) {
  const uint64_t mask = (uint64_t{1} << w) - 1;
  const int64_t half = int64_t{1} << (w - 1), full = int64_t{1} << w;
  uint64_t acc = 0;
  int have = 0;
  int next = 0;
  int64_t carry = 0;
  for (long i = 0; i < digits; ++i) {
    if (have < w) {
      if (next < xn) acc |= static_cast<uint64_t>(x[next]) << have;
      ++next;
      have += 32;
    }
    int64_t d = static_cast<int64_t>(acc & mask) + carry;
    carry = d >= half;
    d -= carry ? full : 0;
    out[i] = static_cast<double>(d);
    acc >>= w;
    have -= w;
  }
  for (long i = digits; i < len; ++i) out[i] = 0.0;
}

// Pointwise product of two half spectra in the perm layout (length even): R(0) and R(N/2) are
// real and stand first, then R(k), I(k) pairs.
void multiply_spectra(double* x, const double* y, long len) {
  x[0] *= y[0];
  x[1] *= y[1];
  for (long k = 2; k < len; k += 2) {
    const double re = x[k] * y[k] - x[k + 1] * y[k + 1];
    const double im = x[k] * y[k + 1] + x[k + 1] * y[k];
    x[k] = re;
    x[k + 1] = im;
  }
}

// r (rn limbs) = sum of round(c_k / len) 2^(k w); returns the largest rounding distance seen.
// Coefficients of balanced digits have either sign; the running sum is signed and its low limbs
// are taken modulo 2^32 (an arithmetic shift keeps the value), the whole being the non-negative
// product. Four coefficients a step, each with its own maximum, so that the chain of dependent
// maxima does not hold up the chain of 128-bit additions.
// With `over` > 0 the coefficients from len on wrapped onto the lowest ones: hi holds them (as
// int64 bit patterns), they are taken away from the rounded low ones and stand in for the top.
double carry(limb* r, int rn, const double* c, long terms, int w, long len, const double* hi, long over) {
  // 1/len: a power of two times 1, 1/3 or 1/5; the rounding of the latter two is a relative
  // 2^-53 of a coefficient below 2^51, far inside the margin.
  const double scale = 1.0 / static_cast<double>(len);
  // Adding and taking away 1.5 2^52 rounds to the nearest integer, and the sum's low bits are
  // that integer: every coefficient is below 2^51 in magnitude (the bound keeps 2^(2w-2)
  // sqrt(Da Db) below that).
  constexpr double shift = 0x1.8p52;
  const int64_t shift_bits = std::bit_cast<int64_t>(shift);
  double worst[4] = {0, 0, 0, 0};
  __int128 acc = 0;
  long base = 0;  // bit position of acc's bit 0, a multiple of 32
  int out = 0;
  long k = 0;
  auto step = [&](int j) {
    const double v = c[k + j] * scale;
    const double s = v + shift;
    const double dist = std::fabs(v - (s - shift));
    worst[j] = dist > worst[j] ? dist : worst[j];
    int64_t q = std::bit_cast<int64_t>(s) - shift_bits;
    if (k + j < over) q -= std::bit_cast<int64_t>(hi[k + j]);
    acc += static_cast<__int128>(q) << ((k + j) * w - base);
    // Bits below (k+j+1) w are final up to the sign of what follows, which the signed sum
    // carries; w < 32 makes it at most one limb a coefficient.
    if (base + 32 <= (k + j + 1) * w && out < rn) {
      r[out++] = static_cast<limb>(acc);
      acc >>= 32;
      base += 32;
    }
  };
  const long in_length = terms < len ? terms : len;
  for (; k + 4 <= in_length; k += 4) {
    step(0);
    step(1);
    step(2);
    step(3);
  }
  for (; k < in_length; ++k) step(0);
  for (; k < terms; ++k) {
    acc += static_cast<__int128>(std::bit_cast<int64_t>(hi[k - len])) << (k * w - base);
    if (base + 32 <= (k + 1) * w && out < rn) {
      r[out++] = static_cast<limb>(acc);
      acc >>= 32;
      base += 32;
    }
  }
  while (out < rn) {
    r[out++] = static_cast<limb>(acc);
    acc >>= 32;
  }
  return std::max(std::max(worst[0], worst[1]), std::max(worst[2], worst[3]));
}

// The top `over` coefficients of the short convolution (indices over-1 to 2 over-2 of a length
// alen, unscaled) rounded to integers, written as int64 bit patterns to aux[0, over); each read
// index is at or above its write index. Returns the largest rounding distance.
double round_high(double* aux, long over, long alen) {
  const double scale = 1.0 / static_cast<double>(alen);
  constexpr double shift = 0x1.8p52;
  const int64_t shift_bits = std::bit_cast<int64_t>(shift);
  double worst = 0;
  for (long j = 0; j < over; ++j) {
    const double v = aux[over - 1 + j] * scale;
    const double s = v + shift;
    const double dist = std::fabs(v - (s - shift));
    worst = dist > worst ? dist : worst;
    aux[j] = std::bit_cast<double>(std::bit_cast<int64_t>(s) - shift_bits);
  }
  return worst;
}

// One attempt with the given plan; returns the guard's distance, or -1 when the engine failed.
double attempt(limb* r, const limb* a, int an, const limb* b, int bn, const tuning::transform_plan& p) {
  const long len = p.length();
  const bool square = a == b && an == bn;
  tuning::transform_plan ap = p;  // the short convolution's length, when coefficients wrap
  ap.odd = p.aux_odd, ap.k = p.aux_k;
  const long alen = p.over ? ap.length() : 0;
  dft::PrimitiveDftContext* ctx = context_for(p);
  if (ctx == nullptr) return -1.0;
  dft::PrimitiveDftContext* actx = p.over ? context_for(ap) : nullptr;
  int scratch_bytes = 0, aux_scratch = 0;
  dft::primitive_dft_buffer_size(ctx, &scratch_bytes);
  if (actx) dft::primitive_dft_buffer_size(actx, &aux_scratch);
  if (aux_scratch > scratch_bytes) scratch_bytes = aux_scratch;
  const size_t arrays = square ? 1 : 2;
  const size_t doubles = (static_cast<size_t>(len) + static_cast<size_t>(alen)) * arrays;
  const size_t bytes = doubles * sizeof(double) + static_cast<size_t>(scratch_bytes) + 32;
  const bool own = bytes >= tuning::transform_own_block_bytes;
  const bool local = bytes <= tuning::transform_local_bytes;
  alignas(64) char stack_block[tuning::transform_local_bytes];
  void* held = own ? take_block(bytes) : nullptr;
  void* block = (p.over && actx == nullptr) ? nullptr
                : own                       ? (held ? static_cast<char*>(held) + 64 : nullptr)
                : local                     ? stack_block
                                            : allocate(bytes);
  auto done = [&](double result) {
    if (own && held) give_block(held);
    if (!own && !local && block) release(block, bytes);
    if (!cached(p)) dft::primitive_dft_free(ctx);
    if (actx && !cached(ap)) dft::primitive_dft_free(actx);
    return result;
  };
  // A hook that cannot give the arrays: the caller takes a method without them.
  if (block == nullptr) return done(-1.0);
  double* x = static_cast<double*>(block);  // the allocate hook's blocks are 32-byte aligned
  double* y = square ? x : x + len;
  double* xa = x + len * static_cast<long>(arrays);
  double* ya = square ? xa : xa + alen;
  void* scratch = scratch_bytes ? static_cast<void*>(x + doubles) : nullptr;
  split(x, a, an, p.w, p.da, len);
  if (!square) split(y, b, bn, p.w, p.db, len);
  double worst = 0;
  if (p.over) {
    // The top `over` digits of each operand, as the split balanced them.
    for (long j = 0; j < alen; ++j) xa[j] = j < p.over ? x[p.da - p.over + j] : 0.0;
    if (!square)
      for (long j = 0; j < alen; ++j) ya[j] = j < p.over ? y[p.db - p.over + j] : 0.0;
    if (dft::primitive_dft_forward_d_perm(xa, xa, actx, scratch) != 0) return done(-1.0);
    if (!square && dft::primitive_dft_forward_d_perm(ya, ya, actx, scratch) != 0) return done(-1.0);
    multiply_spectra(xa, ya, alen);
    if (dft::primitive_dft_inverse_d_perm(xa, xa, actx, scratch) != 0) return done(-1.0);
    worst = round_high(xa, p.over, alen);
  }
  if (dft::primitive_dft_forward_d_perm(x, x, ctx, scratch) != 0) return done(-1.0);
  if (!square && dft::primitive_dft_forward_d_perm(y, y, ctx, scratch) != 0) return done(-1.0);
  multiply_spectra(x, y, len);
  if (dft::primitive_dft_inverse_d_perm(x, x, ctx, scratch) != 0) return done(-1.0);
  const double d = carry(r, an + bn, x, p.da + p.db - 1, p.w, len, xa, p.over);
  return done(std::max(worst, d));
}

}  // namespace

bool transform_mul(limb* r, const limb* a, int an, const limb* b, int bn) {
  const long abits = 32L * an, bbits = 32L * bn;
  int narrower = 0;
  for (int tries = 0; tries < 3; ++tries) {
    const tuning::transform_plan p = tuning::choose_transform(abits, bbits, narrower);
    if (p.w == 0) return false;
    double d = attempt(r, a, an, b, bn, p);
    if (d < 0) return false;
    if (d < 0.25) return true;
    narrower = p.w;
  }
  return false;
}

}  // namespace zvx::bn
