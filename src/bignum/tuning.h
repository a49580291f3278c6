// Tuning numbers of the big-integer subsystem, each with its reason. Tests derive their edge sizes
// from here.
#pragma once
#include <cmath>
#include <cstdint>

namespace zvx::bn::tuning {

// __gmpn_mul: below this many limbs of un+vn the schoolbook product is taken directly; the
// splitting into pieces costs more than it saves on such short operands.
constexpr int mul_basecase_sum = 16;

// __gmpn_mul_n enters Karatsuba from this many limbs; below it the schoolbook loop wins. The
// loop multiplies pairs of limbs as 64-bit words (128-bit products), which moved the crossover up
// from 8: measured with entries of 16, 24, 32, 48 and 64, the times from 32 to 600 limbs agree
// within noise for 24 to 48 (0.33 us at 32 limbs, 3.8 at 128, 17 at 300), 16 is 15% slower at
// 300, 64 slower at 128.
constexpr int karatsuba_entry = 32;
// Inside the recursion a half below this many limbs goes to the schoolbook loop: one more limb
// than the entry, because a recursive call also pays for the two differences.
constexpr int karatsuba_recursion = 33;

// __gmpn_mul_n takes Toom-3 from this many limbs, Karatsuba below. Measured with Toom-3 at the
// top level only (its thirds through Karatsuba) against Karatsuba throughout, least thread time
// on a loaded machine, after the word-pair schoolbook loop: Karatsuba ahead by 5-10% at 200 to
// 450 limbs (8.4 against 9.4 us at 200), level at 600 and 900 (52 against 49 us, 95 and 95),
// Toom-3 ahead by 5-8% at 1,200 and 2,000 (146 against 158 us, 332 against 349). Its
// interpolation is several linear passes with a division by 3, which 32-bit limbs make
// relatively dear, hence a late entry and a small gain.
constexpr int toom3_entry = 600;

// From this many limbs __gmpn_mul_n takes the transform multiplication (mpn_fft.cpp). Measured
// against the methods below it (least thread time, loaded machine, engine contexts cached): the
// transform loses to Karatsuba at 32 to 96 limbs (1.5 against 0.9 us at 64) and wins from 128
// (2.8 against 3.0 us), 160 (4.4 against 4.9), 400 (9.9 against 22), 1,200 (41 against 129) and
// 4,000 limbs (150 against 938). So Toom-3's range is empty on this machine: it stays as the path
// a product takes when the transform cannot run (no memory for its arrays). Measured again with
// balanced digits and the shorter lengths: Karatsuba still ahead at 64 and 96 limbs (2.0 against
// 2.7 us, 3.0 against 3.5), level at 128 (3.9) and 160, the transform ahead at 200 (5.7 against
// 6.9), so the entry stays.
constexpr int transform_entry = 128;
// Engine contexts of lengths up to 2^this points (of any of the three families) are kept for the
// process: their tables take about 16 bytes a point, 64 MiB at this length, reached from about
// 800,000-limb products.
constexpr int transform_cached_log2 = 22;

// Transform working arrays of at least this many bytes come from the transform's own mapped
// blocks (huge pages, one kept for the next product) instead of the allocate hook: from about
// 16 MiB malloc maps every block afresh, and the page faults of the first touch cost 80 of the
// 100 ms of a 100,000-limb product here; smaller blocks stay in the hook's reused heap. 4 MiB is
// a product of about 12,000 limbs, far above every size the tests drive through the hook.
constexpr unsigned long transform_own_block_bytes = 4ul << 20;

// Transform working arrays up to this many bytes live on the stack: a product of up to about 400
// limbs, where the allocation's round trip through the hook is a measurable part of the 10 us.
constexpr unsigned long transform_local_bytes = 24ul << 10;

// Division: divisors from this many limbs take the divide-and-conquer division, whose recursion
// also stops below it with the long division (which also takes quotients shorter than half of
// it). Measured on 2n by n limbs, least thread time on a loaded machine (+-30% between runs):
// entries of 20 to 48 all beat the long division alone from 80 limbs (8.1 against 5.7-6.3 us) to
// 640 (396 against 190-280 us), and are level with it at 40; entries of 80 and 160 lose up to 40%
// against 40 at every size above.
constexpr int dc_div_entry = 40;

// Inverses of divisors from this many limbs come by Newton's iteration on the top half, below by
// one division of B^(2n) - 1. Measured through tdiv_qr and get_str (least thread time, loaded
// machine): entries of 20 to 320 limbs give the same times within 3% (0.55 ms for 6,250 by 3,125
// limbs, 5.0 ms for 31,250 by 15,625, 21-22 ms for get_str of 31,250 limbs), so the entry sits
// where the division it falls back on is still short.
constexpr int newton_inverse_entry = 80;
// tdiv_qr from divisors of this many limbs, with a quotient at least as long, divides through an
// inverse: two products a block of quotient limbs. Against the divide-and-conquer division on 2n
// by n limbs: 100 limbs 13 against 8 us, 312 limbs 48 against 45, 781 limbs 115 against 119,
// 1,562 limbs 0.27 against 0.31-0.45 ms, 3,125 limbs 0.55 against 0.77, 15,625 limbs 5.0 against
// 5.7-8.5 ms.
constexpr int newton_div_entry = 700;
// ... and up to this many limbs: the products of the inverse and the division have a cliff above
// (a 100,001-limb product costs far more than twice a 50,000-limb one): 2n by n limbs took 25 ms
// against 35-41 at 62,500 and 75,000 limbs, 30 against 51 at 87,500, but 229 against 51 at
// 100,000. get_str keeps its powers' inverses below the same length.
constexpr int newton_div_max = 90000;

// Text in a base that is not a power of two: from this many limbs get_str cuts the number in two
// by a power of the base; below, one-limb divisions give a limb's worth of digits at a time.
// Measured in base 10 (least thread time, loaded machine): entries of 10 and 20 give the same
// times at every size (3.0 us at 40 limbs, 8.3 at 80, 24 at 160), 40 is 10-20% slower at 40-160
// limbs, 80 up to 50%; the one-limb loop alone is 1.6x slower from 40 limbs and 8x at 1,280.
constexpr int get_str_dc_entry = 20;
// get_str divides by a power through its inverse (two products a division) when the power is
// expected to divide about this many parts (the number's length over twice the power's). With
// Newton's inverse, 1 (every level) and 2 give the same 21 ms for 31,250 limbs in base 10, 3 gives
// 22, the divide-and-conquer division at every level 29.
constexpr int get_str_inverse_uses = 2;
// set_str, the same way, from this many limbs' worth of digits. The digit-group loop is cheaper
// than the division loop, so the cut pays later: at 40 limbs the loop alone takes 1.4 us against
// 1.6-1.8 with a cut, at 80 4.4 against 4.6, at 160 13.7 against 12.8.
constexpr int set_str_dc_entry = 60;

// gcd: from this many limbs a step takes its quotients from the leading 62 bits (Lehmer);
// below, and whenever the operands differ by more than a limb, one long division per quotient.
// Three limbs is the first size that does not go to two-word arithmetic, and Lehmer already wins
// there (measured, random operands: 0.3 against 1.0 us at 3 limbs, 1.0 against 4.1 at 8, 30
// against 178 at 100).
constexpr int gcd_lehmer_entry = 3;

// Half-gcd: pairs below this many limbs are reduced by Lehmer steps instead of by the recursion
// on their top halves. Measured on the gcd of two random 3,125-limb numbers (least thread time,
// loaded machine): entries of 30 to 150 all gave 5.6-5.9 ms, 250 6.3, 400 7.2, 1,000 22; with the
// gcd's power-of-two tops, 40: 5.30-5.33 ms, 60: 5.18-5.26, 100: 5.11-5.16, 150: 5.13-5.15, 200:
// 5.20-5.24. Below 30 the matrix products of the lowest levels cost more than the Lehmer passes
// they save.
constexpr int hgcd_entry = 100;
// gcd: from this many limbs of the smaller operand the half-gcd reduction runs, Lehmer below.
// Lehmer alone against the reduction: 27 against 26 us at 100 limbs, 54 against 52 at 150, 134
// against 109 at 250, 489 against 341 at 500; entries of 60 to 400 give the same 5.7-5.8 ms at
// 3,125 limbs.
constexpr int hgcd_gcd_entry = 100;

// Karatsuba scratch up to this many limbs lives on the stack (2 KiB); more comes from the
// allocate hook.
constexpr int karatsuba_local_scratch = 512;

// Modular exponentiation takes the Montgomery path (64-bit word rows, sliding window) for odd
// parts of moduli up to this many limbs; above, the fixed 4-bit window with reductions by the
// division, which rides on the subquadratic products. Measured with full-size exponents, least
// thread time on a loaded machine: Montgomery 0.06 against 0.32 ms at 512 bits, 2.1 against 13 at
// 2,048, 15 against 68 at 4,096, 112 against 349 at 8,192 and 427 against 941 at 12,800 bits
// (400 limbs), still ahead; larger sizes were not measured, so the limit stays at the last one.
constexpr int montgomery_max_limbs = 400;
// Widest window of the sliding-window exponentiation; the width for an exponent is the one that
// minimises the expected count of products (bits/(k+1) + 2^(k-1) - 1): 6 from about 700 bits,
// 7 from about 1,900. The table of 2^(k-1) odd powers at 7 bits is 64 values of the modulus's
// size, 16 KiB at 2,048 bits, which stays in the first-level cache.
constexpr int powm_window_max = 7;

// The transform multiplication's bound on the rounding error of a coefficient (derived in
// mpn_fft.cpp): balanced w-bit digits (below 2^(w-1) in magnitude), da and db of them, `levels`
// butterfly levels. True when the error is at most 1/4.
inline bool transform_digits_exact(int w, long da, long db, int levels) {
  // 2^(2w-2) as a product with an exact power of two (w <= 27 keeps it in the shift's range).
  const double bound = std::sqrt(static_cast<double>(da) * static_cast<double>(db)) *
                       static_cast<double>(uint64_t{1} << (2 * w - 2)) * 1.01 * (12.71 * (levels + 1) + 2.24) *
                       0x1p-53;
  return bound <= 0.25;
}

// Transform lengths are 2^k, 3 2^k and 5 2^k (k >= 2): the odd factors let the length follow the
// product's size instead of doubling. Measured forward real transforms (least thread time, loaded
// machine), ns a point: 2^18 1.97, 3 2^16 2.17, 5 2^15 1.83; 2^21 4.28, 3 2^19 4.76, 5 2^18 3.19.
// So a length with the factor 3 counts 1.15 times its points when lengths are compared, the
// others their points. A radix-3 pass counts as 2 levels of the bound and a radix-5 pass as 3:
// no path through their butterflies has more rounded operations than that many radix-2 levels.
constexpr int transform_odd_factors[3] = {1, 3, 5};
constexpr int transform_odd_levels[3] = {0, 2, 3};
constexpr double transform_odd_cost[3] = {1.0, 1.15, 1.0};
// Widest digits tried: 2^(2w-2) times the digit count must stay well inside a double's 53 bits.
constexpr int transform_widest_digit = 20;

// A length may be shorter than the product's coefficients by at most 1/this of itself: the
// `over` top coefficients then wrap onto the lowest ones, and a second, short convolution of
// the operands' top `over` digits gives them exactly, to be taken away after the rounding. At 8
// million bits this turns the length 3 2^19 into 5 2^18 (three transforms 22.5 -> 12.5 ms) for
// an extra product of 22,615 digits.
constexpr long transform_wrap_fraction = 8;

struct transform_plan {
  int w;          // digit bits, 0 when no plan exists
  int odd;        // index into transform_odd_factors
  int k;          // length = transform_odd_factors[odd] << k
  long da, db;    // digits of each operand, one more than the bits need for the balancing carry
  long over;      // coefficients beyond the length (0: none wrap)
  int aux_odd, aux_k;  // the length of the short convolution of the top digits, when over > 0
  long length() const { return static_cast<long>(transform_odd_factors[odd]) << k; }
  int levels() const { return k + transform_odd_levels[odd]; }
  long aux_length() const { return static_cast<long>(transform_odd_factors[aux_odd]) << aux_k; }
};

// The shortest length of the three families that holds `terms` coefficients (k >= 2), as
// family and exponent; the cost is the length weighted by the family's cost.
inline double shortest_length(long terms, int w, long da, long db, int& odd, int& k) {
  double best = 0;
  for (int o = 0; o < 3; ++o) {
    int kk = 2;
    while ((static_cast<long>(transform_odd_factors[o]) << kk) < terms) ++kk;
    if ((static_cast<long>(transform_odd_factors[o]) << kk) > (1L << 30)) continue;
    if (!transform_digits_exact(w, da, db, kk + transform_odd_levels[o])) continue;
    const double cost = static_cast<double>(static_cast<long>(transform_odd_factors[o]) << kk) * transform_odd_cost[o];
    if (best == 0 || cost < best) best = cost, odd = o, k = kk;
  }
  return best;
}

// The cheapest length (with the short convolution of wrapped coefficients counted) that holds the
// product's digits and, for it, the widest digits the bound allows; `below` forces digits
// narrower than that width (the guard's second try).
inline transform_plan choose_transform(long abits, long bbits, int below = 0) {
  transform_plan best{};
  double best_cost = 0;
  for (int w = transform_widest_digit; w >= 4; --w) {
    if (below && w >= below) continue;
    const long da = (abits + w - 1) / w + 1, db = (bbits + w - 1) / w + 1;
    const long terms = da + db - 1;
    int passed = 0;
    for (int o = 0; o < 3; ++o) {
      int k = 2;
      while ((static_cast<long>(transform_odd_factors[o]) << k) < terms) ++k;
      if ((static_cast<long>(transform_odd_factors[o]) << k) > (1L << 30)) continue;
      // The full length, and the next shorter one of the family when few coefficients wrap.
      for (int shorter = 0; shorter < 2; ++shorter) {
        const int kk = k - shorter;
        const transform_plan p{w, o, kk, da, db, 0, 0, 0};
        const long len = p.length();
        if (kk < 2 || !transform_digits_exact(w, da, db, p.levels())) continue;
        if (!shorter) ++passed;
        double cost = static_cast<double>(len) * transform_odd_cost[o];
        transform_plan q = p;
        if (shorter) {
          q.over = terms - len;
          if (q.over * transform_wrap_fraction > len || q.over >= da || q.over >= db) continue;
          const double aux = shortest_length(2 * q.over - 1, w, q.over, q.over, q.aux_odd, q.aux_k);
          if (aux == 0) continue;
          cost += aux;
        }
        if (best.w == 0 || cost < best_cost) best = q, best_cost = cost;
      }
    }
    // Narrower digits only lengthen every candidate: once all three lengths pass, stop.
    if (passed == 3) break;
  }
  return best;
}

}  // namespace zvx::bn::tuning
