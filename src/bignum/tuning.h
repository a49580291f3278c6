// Tuning numbers of the big-integer subsystem, each with its reason. Tests derive their edge sizes
// from here.
#pragma once

namespace zvx::bn::tuning {

// __gmpn_mul: below this many limbs of un+vn the schoolbook product is taken directly; the
// splitting into pieces costs more than it saves on such short operands.
constexpr int mul_basecase_sum = 16;

// __gmpn_mul_n enters Karatsuba from this many limbs; below it the schoolbook loop wins.
constexpr int karatsuba_entry = 8;
// Inside the recursion a half below this many limbs goes to the schoolbook loop: one more limb
// than the entry, because a recursive call also pays for the two differences.
constexpr int karatsuba_recursion = 9;

// __gmpn_mul_n takes Toom-3 from this many limbs, Karatsuba below. Measured with Toom-3 at the
// top level only (its thirds through Karatsuba) against Karatsuba throughout, least thread time
// on a loaded machine: within noise of each other from 150 to 1,000 limbs (+-10%, Karatsuba's odd
// halves make both curves ragged), Toom-3 ahead from 600 (78 against 94 us) and by 20% at 1,200
// and 1,500. Its interpolation is several linear passes with a division by 3, which 32-bit limbs
// make relatively dear, hence a late entry.
constexpr int toom3_entry = 600;

// From this many limbs __gmpn_mul_n would take the transform multiplication. That method is not
// built yet, so the dispatch sends these sizes to Karatsuba (see mpn_mul_n in mpn.cpp); the
// constant stays here so the dispatch has one place to change.
constexpr int transform_entry = 4096;

// Karatsuba scratch up to this many limbs lives on the stack (2 KiB); more comes from the
// allocate hook.
constexpr int karatsuba_local_scratch = 512;

// Modular exponentiation takes the Montgomery path for odd parts of moduli up to this many limbs.
constexpr int montgomery_max_limbs = 30;

}  // namespace zvx::bn::tuning
