// Big-integer figures against the system GMP in the same run, one thread: our time / GMP's.
// GMP exports the same names as ours, so it is loaded with dlopen(RTLD_LOCAL | RTLD_DEEPBIND)
// and its records (64-bit limbs) are filled from the same text as ours.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "harness.h"
#include "zvx_gmp.h"

namespace {

struct gz {
  int alloc, size;
  void* d;
};

struct gmp_peer {
  void* h = nullptr;
  void (*init)(gz*);
  void (*clear)(gz*);
  int (*set_str)(gz*, const char*, int);
  void (*mul)(gz*, const gz*, const gz*);
  void (*powm)(gz*, const gz*, const gz*, const gz*);
  void (*tdiv_qr)(gz*, gz*, const gz*, const gz*);
  char* (*get_str)(char*, int, const gz*);
  void (*gcd)(gz*, const gz*, const gz*);
  void (*gcdext)(gz*, gz*, gz*, const gz*, const gz*);
  template <class F>
  void get(F& f, const char* name) {
    f = reinterpret_cast<F>(dlsym(h, name));
  }
  bool load() {
    h = dlopen("libgmp.so.10", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (!h) return false;
    get(init, "__gmpz_init");
    get(clear, "__gmpz_clear");
    get(set_str, "__gmpz_set_str");
    get(mul, "__gmpz_mul");
    get(powm, "__gmpz_powm");
    get(tdiv_qr, "__gmpz_tdiv_qr");
    get(get_str, "__gmpz_get_str");
    get(gcd, "__gmpz_gcd");
    get(gcdext, "__gmpz_gcdext");
    return true;
  }
};

std::string random_hex(std::mt19937_64& rng, long bits, bool odd = false) {
  static const char* hx = "0123456789abcdef";
  std::string s(static_cast<size_t>((bits + 3) / 4), '0');
  for (auto& c : s) c = hx[rng() & 15];
  s[0] = hx[8 + (rng() & 7)];
  if (odd) s.back() = '1';
  return s;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zvx_bench;
  options opt = parse_options(argc, argv);
  gmp_peer g;
  if (!g.load()) {
    std::fprintf(stderr, "the system GMP (libgmp.so.10) is missing: nothing to compare with\n");
    return 1;
  }
  bool goals_only = false;  // --goals: only the rows at the sizes the division work aims at
  bool products_only = false;  // --products: only the product and powm rows, for tuning runs
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--goals")) goals_only = true;
    if (!std::strcmp(argv[i], "--products")) products_only = true;
  }
  std::mt19937_64 rng(2024);
  table t;
  t.section = "bignum";
  t.title = "Big integers against the system GMP (one thread; ratio = our time / GMP's)";
  t.columns = {"operation", "size", "ours (ms)", "GMP (ms)", "ratio"};
  series s_ours{"zvx", {}, {}}, s_gmp{"GMP", {}, {}};

  auto row = [&](const std::string& op, const std::string& size, const std::function<void()>& ours,
                 const std::function<void()>& peer, int samples) {
    options o = opt;
    o.samples = opt.quick ? 3 : samples;
    o.warmup = 1;
    // Thread CPU time: a sample is not spoilt by the other core's load taking ours off the core.
    pair_timing p = time_pair_cpu(ours, peer, o);
    t.add({op, size, fmt(p.ours * 1e3, 3), fmt(p.peer * 1e3, 3), fmt(p.ratio())});
    std::printf("%-14s %-22s ours %10.3f ms  GMP %10.3f ms  ratio %.2f\n", op.c_str(), size.c_str(),
                p.ours * 1e3, p.peer * 1e3, p.ratio());
    return p;
  };

  // Division of 200,000 by 100,000 bits, 1,000,000 bits to base 10, gcd of two 100,000-bit
  // numbers, in thread CPU time (the machine is shared): the sizes the targets are set at.
  if (!products_only) {
    auto cpu_row = [&](const std::string& op, const std::string& size, const std::function<void()>& ours,
                       const std::function<void()>& peer, int samples) {
      options o = opt;
      o.samples = opt.quick ? 3 : samples;
      o.warmup = 1;
      pair_timing p = time_pair_cpu(ours, peer, o);
      t.add({op, size + " (CPU time)", fmt(p.ours * 1e3, 3), fmt(p.peer * 1e3, 3), fmt(p.ratio())});
      std::printf("%-14s %-22s ours %10.3f ms  GMP %10.3f ms  ratio %.2f\n", op.c_str(), size.c_str(),
                  p.ours * 1e3, p.peer * 1e3, p.ratio());
    };
    std::string nn = random_hex(rng, 200000), d = random_hex(rng, 100000);
    std::string x = random_hex(rng, 1000000);
    std::string a = random_hex(rng, 100000), b = random_hex(rng, 100000);
    mpz_t zn, zd, zq, zr, zx, za, zb;
    mpz_init_set_str(zn, nn.c_str(), 16), mpz_init_set_str(zd, d.c_str(), 16);
    mpz_init_set_str(zx, x.c_str(), 16), mpz_init_set_str(za, a.c_str(), 16), mpz_init_set_str(zb, b.c_str(), 16);
    mpz_init(zq), mpz_init(zr);
    gz gn, gd, gq, gr, gx, ga, gb;
    for (gz* v : {&gn, &gd, &gq, &gr, &gx, &ga, &gb}) g.init(v);
    g.set_str(&gn, nn.c_str(), 16), g.set_str(&gd, d.c_str(), 16), g.set_str(&gx, x.c_str(), 16);
    g.set_str(&ga, a.c_str(), 16), g.set_str(&gb, b.c_str(), 16);
    cpu_row("mpz_tdiv_qr", "200,000 / 100,000 bits", [&] { mpz_tdiv_qr(zq, zr, zn, zd); },
            [&] { g.tdiv_qr(&gq, &gr, &gn, &gd); }, 9);
    std::string buf(1000000 / 3 + 16, '\0');
    cpu_row("mpz_get_str", "base 10, 1,000,000 bits", [&] { mpz_get_str(buf.data(), 10, zx); },
            [&] { g.get_str(buf.data(), 10, &gx); }, 5);
    cpu_row("mpz_gcd", "100,000 bits", [&] { mpz_gcd(zr, za, zb); }, [&] { g.gcd(&gr, &ga, &gb); }, 9);
    mpz_t zs, zt;
    mpz_init(zs), mpz_init(zt);
    gz gs, gt;
    g.init(&gs), g.init(&gt);
    cpu_row("mpz_gcdext", "100,000 bits", [&] { mpz_gcdext(zr, zs, zt, za, zb); },
            [&] { g.gcdext(&gr, &gs, &gt, &ga, &gb); }, 5);
    mpz_clear(zs), mpz_clear(zt);
    g.clear(&gs), g.clear(&gt);
    mpz_clear(zn), mpz_clear(zd), mpz_clear(zq), mpz_clear(zr), mpz_clear(zx), mpz_clear(za), mpz_clear(zb);
    for (gz* v : {&gn, &gd, &gq, &gr, &gx, &ga, &gb}) g.clear(v);
  }
  if (goals_only) {
    t.print();
    return 0;
  }

  // Products, with the curve of time against size.
  std::vector<long> mul_bits = {3200, 10000, 32000, 320000, 1000000, 3200000, 8000000};
  if (opt.quick) mul_bits = {3200, 32000};
  for (long bits : mul_bits) {
    std::string a = random_hex(rng, bits), b = random_hex(rng, bits);
    mpz_t za, zb, zr;
    mpz_init_set_str(za, a.c_str(), 16);
    mpz_init_set_str(zb, b.c_str(), 16);
    mpz_init(zr);
    gz ga, gb, gr;
    g.init(&ga), g.init(&gb), g.init(&gr);
    g.set_str(&ga, a.c_str(), 16), g.set_str(&gb, b.c_str(), 16);
    pair_timing p = row("mpz_mul", std::to_string(bits / 32) + " limbs", [&] { mpz_mul(zr, za, zb); },
                        [&] { g.mul(&gr, &ga, &gb); }, bits >= 1000000 ? 9 : 11);
    s_ours.x.push_back(static_cast<double>(bits));
    s_ours.y.push_back(p.ours);
    s_gmp.x.push_back(static_cast<double>(bits));
    s_gmp.y.push_back(p.peer);
    mpz_clear(za), mpz_clear(zb), mpz_clear(zr);
    g.clear(&ga), g.clear(&gb), g.clear(&gr);
  }

  {  // Modular exponentiation with a 2,048-bit odd modulus and a full-size exponent.
    std::string a = random_hex(rng, 2040), e = random_hex(rng, 2048), m = random_hex(rng, 2048, true);
    mpz_t za, ze, zm, zr;
    mpz_init_set_str(za, a.c_str(), 16), mpz_init_set_str(ze, e.c_str(), 16);
    mpz_init_set_str(zm, m.c_str(), 16), mpz_init(zr);
    gz ga, ge, gm, gr;
    g.init(&ga), g.init(&ge), g.init(&gm), g.init(&gr);
    g.set_str(&ga, a.c_str(), 16), g.set_str(&ge, e.c_str(), 16), g.set_str(&gm, m.c_str(), 16);
    row("mpz_powm", "2048-bit odd modulus", [&] { mpz_powm(zr, za, ze, zm); },
        [&] { g.powm(&gr, &ga, &ge, &gm); }, 5);
    mpz_clear(za), mpz_clear(ze), mpz_clear(zm), mpz_clear(zr);
    g.clear(&ga), g.clear(&ge), g.clear(&gm), g.clear(&gr);
  }

  // Division (2n by n limbs), text in base 10 both ways, gcd: at 100 to 100,000 of our 32-bit
  // limbs (3,200 to 3,200,000 bits).
  std::vector<int> limb_sizes = {100, 1000, 10000, 100000};
  if (opt.quick) limb_sizes = {100, 1000};
  if (products_only) limb_sizes.clear();
  for (int n : limb_sizes) {
    const long bits = 32L * n;
    const int samples = n >= 100000 ? 1 : (n >= 10000 ? 3 : 11);
    std::string size = std::to_string(n) + " limbs";
    {
      std::string nn = random_hex(rng, 2 * bits), d = random_hex(rng, bits);
      mpz_t zn, zd, zq, zr;
      mpz_init_set_str(zn, nn.c_str(), 16), mpz_init_set_str(zd, d.c_str(), 16);
      mpz_init(zq), mpz_init(zr);
      gz gn, gd, gq, gr;
      g.init(&gn), g.init(&gd), g.init(&gq), g.init(&gr);
      g.set_str(&gn, nn.c_str(), 16), g.set_str(&gd, d.c_str(), 16);
      row("mpz_tdiv_qr", "2n / n, n = " + size, [&] { mpz_tdiv_qr(zq, zr, zn, zd); },
          [&] { g.tdiv_qr(&gq, &gr, &gn, &gd); }, samples);
      mpz_clear(zn), mpz_clear(zd), mpz_clear(zq), mpz_clear(zr);
      g.clear(&gn), g.clear(&gd), g.clear(&gq), g.clear(&gr);
    }
    {
      std::string x = random_hex(rng, bits);
      mpz_t zx, zy;
      mpz_init_set_str(zx, x.c_str(), 16), mpz_init(zy);
      gz gx, gy;
      g.init(&gx), g.init(&gy);
      g.set_str(&gx, x.c_str(), 16);
      std::string buf(static_cast<size_t>(bits) / 3 + 16, '\0');
      row("mpz_get_str", "base 10, " + size, [&] { mpz_get_str(buf.data(), 10, zx); },
          [&] { g.get_str(buf.data(), 10, &gx); }, samples);
      g.get_str(buf.data(), 10, &gx);
      row("mpz_set_str", "base 10, " + size, [&] { mpz_set_str(zy, buf.c_str(), 10); },
          [&] { g.set_str(&gy, buf.c_str(), 10); }, samples);
      mpz_clear(zx), mpz_clear(zy);
      g.clear(&gx), g.clear(&gy);
    }
    {
      std::string a = random_hex(rng, bits), b = random_hex(rng, bits);
      mpz_t za, zb, zr;
      mpz_init_set_str(za, a.c_str(), 16), mpz_init_set_str(zb, b.c_str(), 16), mpz_init(zr);
      gz ga, gb, gr;
      g.init(&ga), g.init(&gb), g.init(&gr);
      g.set_str(&ga, a.c_str(), 16), g.set_str(&gb, b.c_str(), 16);
      row("mpz_gcd", size, [&] { mpz_gcd(zr, za, zb); }, [&] { g.gcd(&gr, &ga, &gb); }, samples);
      mpz_clear(za), mpz_clear(zb), mpz_clear(zr);
      g.clear(&ga), g.clear(&gb), g.clear(&gr);
    }
  }

  t.notes.push_back("Sizes are in our 32-bit limbs (GMP's limbs are 64-bit, half as many). Ours: products by "
                    "the schoolbook loop on 64-bit words below 32 limbs, Karatsuba, and the transform "
                    "multiplication on the library's real DFT from 128 limbs (balanced digits, lengths 2^k, "
                    "3 2^k and 5 2^k; Toom-3 only where the transform's arrays cannot be had); powm by "
                    "Montgomery products on 64-bit words with a sliding window; divide-and-conquer division "
                    "from 40-limb divisors; division through Newton's inverse for 700- to 90,000-limb divisors "
                    "with quotients at least as long; divide-and-conquer text conversion from 20 (get_str) and "
                    "60 (set_str) limbs, get_str dividing by inverses of the powers; the half-gcd reduction "
                    "from 100 limbs, Lehmer's gcd below. The goal rows are in thread CPU time (median), the "
                    "others in wall time, one sample each from 100,000 limbs.");
  t.notes.push_back("");
  t.notes.push_back("![mpz_mul time against size, both libraries, size on a log scale](bignum_mul.png)");
  t.notes.push_back("");
  t.notes.push_back("The machine's two cores were shared with other builds and benchmarks during this run "
                    "(load average near 20); ratios move by up to a factor of two between runs.");
  t.print();
  if (opt.write_docs) {
    t.write_docs(opt);
    plot_png(opt, "bignum_mul.png", "mpz_mul time against size", "bits", "seconds", {s_ours, s_gmp}, true);
  }
  return 0;
}
