// The other level-3 operations against OpenBLAS in the same run, one thread each: dsyrk, dsymm,
// dtrmm, dtrsm (left lower and right upper), zherk and ztrsm at n = 200 and 2,000, and the
// speed of two threads against one for dsyrk and dtrsm at n = 2,000.
//
// Usage: bench_level3 [--quick] [--docs] [--samples N] [--sizes n,n,...] [--no-threads]
// The triangles are the identity plus small entries, so that repeated solves and multiplies in
// place keep B at ordinary magnitudes (no denormals in either library's timing).
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "zvx.h"

namespace {

using flen = size_t;
using cz = zvx_complex16;

template <class T>
std::vector<T> random_matrix(size_t count, unsigned seed, double scale = 1) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> d(-scale, scale);
  std::vector<T> v(count);
  for (auto& x : v) {
    if constexpr (std::is_same_v<T, double>) x = d(g);
    else x = T{d(g), d(g)};
  }
  return v;
}

// The identity plus entries of size 1/n: well conditioned at every order.
template <class T>
std::vector<T> near_identity(int n, unsigned seed) {
  auto a = random_matrix<T>(static_cast<size_t>(n) * n, seed, 1.0 / n);
  for (int i = 0; i < n; ++i) {
    if constexpr (std::is_same_v<T, double>) a[i + static_cast<size_t>(i) * n] = 1;
    else a[i + static_cast<size_t>(i) * n] = T{1, 0};
  }
  return a;
}

struct result {
  double ours, peer;  // GFLOP/s
};

struct bench_case {
  std::string routine, what;
  double flops;
  std::function<void()> ours, peer;
  std::vector<zvx_bench::output> outputs;  // what the calls write
  std::function<void()> reference;         // the reference BLAS, empty when it is missing
};

result run(const bench_case& c, const zvx_bench::options& opt) {
  const auto r = zvx_bench::time_pair(c.ours, c.peer, opt);
  return {c.flops / r.ours * 1e-9, c.flops / r.peer * 1e-9};
}

// The cases at order n; `peer_ok` false leaves the peer side a copy of ours (for scaling runs).
std::vector<bench_case> cases(int n, std::vector<std::vector<double>>& dstore,
                              std::vector<std::vector<cz>>& zstore, bool with_z) {
  using dsyrk_fn = void (*)(const char*, const char*, const int*, const int*, const double*, const double*, const int*, const double*, double*, const int*, flen, flen);
  using dsymm_fn = void (*)(const char*, const char*, const int*, const int*, const double*, const double*, const int*, const double*, const int*, const double*, double*, const int*, flen, flen);
  using dtr_fn = void (*)(const char*, const char*, const char*, const char*, const int*, const int*, const double*, const double*, const int*, double*, const int*, flen, flen, flen, flen);
  using zherk_fn = void (*)(const char*, const char*, const int*, const int*, const double*, const cz*, const int*, const double*, cz*, const int*, flen, flen);
  using ztr_fn = void (*)(const char*, const char*, const char*, const char*, const int*, const int*, const cz*, const cz*, const int*, cz*, const int*, flen, flen, flen, flen);
  auto& ob = zvx_bench::openblas(1);
  static auto p_dsyrk = ob.get<dsyrk_fn>("dsyrk_");
  static auto p_dsymm = ob.get<dsymm_fn>("dsymm_");
  static auto p_dtrmm = ob.get<dtr_fn>("dtrmm_");
  static auto p_dtrsm = ob.get<dtr_fn>("dtrsm_");
  static auto p_zherk = ob.get<zherk_fn>("zherk_");
  static auto p_ztrsm = ob.get<ztr_fn>("ztrsm_");
  auto& rb = zvx_bench::reference_blas();
  static auto r_dsyrk = rb.get<dsyrk_fn>("dsyrk_");
  static auto r_dsymm = rb.get<dsymm_fn>("dsymm_");
  static auto r_dtrmm = rb.get<dtr_fn>("dtrmm_");
  static auto r_dtrsm = rb.get<dtr_fn>("dtrsm_");
  static auto r_zherk = rb.get<zherk_fn>("zherk_");
  static auto r_ztrsm = rb.get<ztr_fn>("ztrsm_");
  const size_t nn = static_cast<size_t>(n) * n;
  dstore.push_back(random_matrix<double>(nn, 1));          // 0: A general
  dstore.push_back(random_matrix<double>(nn, 2));          // 1: B
  dstore.push_back(random_matrix<double>(nn, 3));          // 2: C
  dstore.push_back(near_identity<double>(n, 4));           // 3: triangle
  const size_t base = dstore.size() - 4;
  std::vector<bench_case> v;
  static const double one = 1, zero = 0;
  static int N;
  N = n;
  const double nd = n;
  double* A = dstore[base].data();
  double* B = dstore[base + 1].data();
  double* C = dstore[base + 2].data();
  double* T = dstore[base + 3].data();
  v.push_back({"dsyrk", "upper, no transpose", nd * nd * nd,
               [=] { dsyrk("U", "N", &N, &N, &one, A, &N, &one, C, &N); },
               [=] { p_dsyrk("U", "N", &N, &N, &one, A, &N, &one, C, &N, 1, 1); }, {{C, nn, false}},
               [=] { r_dsyrk("U", "N", &N, &N, &one, A, &N, &one, C, &N, 1, 1); }});
  v.push_back({"dsymm", "left, upper", 2 * nd * nd * nd,
               [=] { dsymm("L", "U", &N, &N, &one, A, &N, B, &N, &zero, C, &N); },
               [=] { p_dsymm("L", "U", &N, &N, &one, A, &N, B, &N, &zero, C, &N, 1, 1); }, {{C, nn, false}},
               [=] { r_dsymm("L", "U", &N, &N, &one, A, &N, B, &N, &zero, C, &N, 1, 1); }});
  v.push_back({"dtrmm", "left, lower, no transpose", nd * nd * nd,
               [=] { dtrmm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N); },
               [=] { p_dtrmm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }, {{B, nn, false}},
               [=] { r_dtrmm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }});
  v.push_back({"dtrsm", "left, lower, no transpose", nd * nd * nd,
               [=] { dtrsm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N); },
               [=] { p_dtrsm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }, {{B, nn, false}},
               [=] { r_dtrsm("L", "L", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }});
  v.push_back({"dtrsm", "right, upper, no transpose", nd * nd * nd,
               [=] { dtrsm("R", "U", "N", "N", &N, &N, &one, T, &N, B, &N); },
               [=] { p_dtrsm("R", "U", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }, {{B, nn, false}},
               [=] { r_dtrsm("R", "U", "N", "N", &N, &N, &one, T, &N, B, &N, 1, 1, 1, 1); }});
  if (with_z) {
    zstore.push_back(random_matrix<cz>(nn, 5));
    zstore.push_back(random_matrix<cz>(nn, 6));
    zstore.push_back(near_identity<cz>(n, 7));
    const size_t zb = zstore.size() - 3;
    cz* ZA = zstore[zb].data();
    cz* ZC = zstore[zb + 1].data();
    cz* ZT = zstore[zb + 2].data();
    static const cz zone{1, 0};
    v.push_back({"zherk", "upper, no transpose", 4 * nd * nd * nd,
                 [=] { zherk("U", "N", &N, &N, &one, ZA, &N, &one, ZC, &N); },
                 [=] { p_zherk("U", "N", &N, &N, &one, ZA, &N, &one, ZC, &N, 1, 1); }, {{ZC, 2 * nn, false}},
                 [=] { r_zherk("U", "N", &N, &N, &one, ZA, &N, &one, ZC, &N, 1, 1); }});
    v.push_back({"ztrsm", "left, lower, no transpose", 4 * nd * nd * nd,
                 [=] { ztrsm("L", "L", "N", "N", &N, &N, &zone, ZT, &N, ZA, &N); },
                 [=] { p_ztrsm("L", "L", "N", "N", &N, &N, &zone, ZT, &N, ZA, &N, 1, 1, 1, 1); }, {{ZA, 2 * nn, false}},
                 [=] { r_ztrsm("L", "L", "N", "N", &N, &N, &zone, ZT, &N, ZA, &N, 1, 1, 1, 1); }});
  }
  if (!zvx_bench::reference_blas().ok())
    for (auto& c : v) c.reference = nullptr;
  return v;
}

// Clock times width: one 512-bit FMA (two 256-bit halves) or two 256-bit FMAs a cycle.
double nominal_peak_double() {
  const bool avx512 = !strcmp(zvx_bench::vector_isa_name(), "avx512");
  return zvx_bench::peak_gflops_double(avx512 ? 1 : 2);
}

// The share of peak is taken against what FMA chains measure on this core.
double peak_double() {
  const double measured = zvx_bench::measured_peak_gflops_single() / 2;
  return measured > 0 ? measured : nominal_peak_double();
}

}  // namespace

int main(int argc, char** argv) {
  setenv("ZVX_SERIAL", "NO", 1);  // threads allowed before the first call decides the policy
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  std::vector<int> sizes = {200, 2000};
  bool threads = true;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "--sizes") && i + 1 < argc) {
      sizes.clear();
      for (char* p = strtok(argv[++i], ","); p; p = strtok(nullptr, ",")) sizes.push_back(atoi(p));
    }
    if (!strcmp(argv[i], "--no-threads")) threads = false;
  }
  if (opt.quick) {
    sizes = {200};
    threads = false;
  }
  if (!zvx_bench::openblas(1).ok()) {
    std::fprintf(stderr, "OpenBLAS not found: no peer to compare with\n");
    return 1;
  }
  const double pk = peak_double();
  zvx_bench::table t;
  t.section = "level3";
  t.title = "Symmetric, Hermitian and triangular level-3 operations against OpenBLAS (square, order n)";
  t.columns = {"routine", "case", "n", "threads", "ours GFLOP/s", "OpenBLAS GFLOP/s",
               "ratio ours/peer (speed)", "share of peak", "peer's result vs ours"};
  t.header = zvx_bench::openblas_header();
  for (int n : sizes) {
    omp_set_num_threads(1);
    std::vector<std::vector<double>> ds;
    std::vector<std::vector<cz>> zs;
    ds.reserve(8);
    zs.reserve(8);
    zvx_bench::options o = opt;
    if (n >= 1000) o.samples = std::min(opt.samples, 5);
    for (const auto& c : cases(n, ds, zs, true)) {
      const std::string check = zvx_bench::check_pair(c.ours, c.peer, c.outputs, -1, c.reference).mark();
      const result r = run(c, o);
      t.add({c.routine, c.what, std::to_string(n), "1", zvx_bench::fmt(r.ours, 1),
             zvx_bench::fmt(r.peer, 1), zvx_bench::fmt(r.ours / r.peer, 3),
             zvx_bench::fmt(100 * r.ours / pk, 1) + " %", check});
      std::printf("%s %s n=%d ours %.1f peer %.1f ratio %.3f\n", c.routine.c_str(),
                  c.what.c_str(), n, r.ours, r.peer, r.ours / r.peer);
      std::fflush(stdout);
    }
  }
  if (threads) {
    const int n = 2000;
    std::vector<std::vector<double>> ds;
    std::vector<std::vector<cz>> zs;
    ds.reserve(8);
    zvx_bench::options o = opt;
    o.samples = std::min(opt.samples, 5);
    for (const auto& c : cases(n, ds, zs, false)) {
      if (c.routine != "dsyrk" && !(c.routine == "dtrsm" && c.what[0] == 'l')) continue;
      omp_set_num_threads(1);
      const double one = c.flops / zvx_bench::time_one(c.ours, o) * 1e-9;
      omp_set_num_threads(2);
      const double two = c.flops / zvx_bench::time_one(c.ours, o) * 1e-9;
      omp_set_num_threads(1);
      t.add({c.routine, c.what + ", two threads against one", std::to_string(n), "2",
             zvx_bench::fmt(two, 1), zvx_bench::fmt(one, 1) + " (ours, 1 thread)",
             zvx_bench::fmt(two / one, 3), zvx_bench::fmt(100 * two / (2 * pk), 1) + " %", "-"});
      std::printf("%s %s two threads %.1f one %.1f speedup %.3f\n", c.routine.c_str(),
                  c.what.c_str(), two, one, two / one);
      std::fflush(stdout);
    }
  }
  char note[512];
  {
    const bool avx512 = !strcmp(zvx_bench::vector_isa_name(), "avx512");
    const double per_cycle = pk / zvx_bench::core_ghz();
    const long fmas = std::lround(per_cycle / (avx512 ? 16 : 8));
    std::snprintf(note, sizeof note,
                  "Peak of one core: %.0f GFLOP/s in double, as independent FMA chains on the library's "
                  "vectors measure it: %.0f flops a cycle at the %.2f GHz that a chain of dependent additions "
                  "measures, %ld %d-bit FMA%s a cycle. Flops counted as n^3 for syrk, trmm, trsm, 2 n^3 for "
                  "symm, 4 n^3 for zherk and ztrsm.",
                  pk, per_cycle, zvx_bench::core_ghz(), fmas, avx512 ? 512 : 256, fmas == 1 ? "" : "s");
  }
  t.notes.push_back(note);
  t.notes.push_back("Medians of alternating samples of ours and OpenBLAS in one process; the machine's "
                    "two cores are shared with other work, so single figures move by a few per cent "
                    "between runs, and the two-thread rows need the second core free. Instruction "
                    "set: " + std::string(zvx_bench::vector_isa_name()) + ".");
  t.notes.push_back(zvx_bench::check_note());
  if (const std::string l = zvx_bench::load_note(); !l.empty()) t.notes.push_back("" + l);
  t.print();
  t.write_docs(opt);
  return 0;
}
