// sgemm, dgemm, cgemm, zgemm against OpenBLAS in the same run, one thread each: square sizes
// from 8 to 2,000, the shapes callers lean on (a rank-64 update of a 2,000 x 2,000 C, and a
// 20-row C with a deep product), and the speed of two threads against one on n = 2,000.
//
// Usage: bench_gemm [--quick] [--docs] [--samples N] [--only s|d|c|z] [--sizes n,n,...]
//                   [--no-threads] [--no-shapes]
// The thread policy is decided once per process: the program asks for parallel before the first
// call, and switches the OpenMP thread count between one and two.
#include <omp.h>

#include <algorithm>
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

using fortran_len = size_t;

template <class T>
struct kind;
template <>
struct kind<float> {
  static constexpr const char* name = "sgemm";
  static constexpr const char* peer = "sgemm_";
  static constexpr double flops_per_mac = 2;
  static constexpr bool single = true;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k,
                   const float* al, const float* a, const int* lda, const float* b,
                   const int* ldb, const float* be, float* c, const int* ldc) {
    sgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
  }
};
template <>
struct kind<double> {
  static constexpr const char* name = "dgemm";
  static constexpr const char* peer = "dgemm_";
  static constexpr double flops_per_mac = 2;
  static constexpr bool single = false;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k,
                   const double* al, const double* a, const int* lda, const double* b,
                   const int* ldb, const double* be, double* c, const int* ldc) {
    dgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
  }
};
template <>
struct kind<zvx_complex8> {
  static constexpr const char* name = "cgemm";
  static constexpr const char* peer = "cgemm_";
  static constexpr double flops_per_mac = 8;
  static constexpr bool single = true;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k,
                   const zvx_complex8* al, const zvx_complex8* a, const int* lda,
                   const zvx_complex8* b, const int* ldb, const zvx_complex8* be,
                   zvx_complex8* c, const int* ldc) {
    cgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
  }
};
template <>
struct kind<zvx_complex16> {
  static constexpr const char* name = "zgemm";
  static constexpr const char* peer = "zgemm_";
  static constexpr double flops_per_mac = 8;
  static constexpr bool single = false;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k,
                   const zvx_complex16* al, const zvx_complex16* a, const int* lda,
                   const zvx_complex16* b, const int* ldb, const zvx_complex16* be,
                   zvx_complex16* c, const int* ldc) {
    zgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
  }
};

template <class T>
std::vector<T> random_matrix(size_t count, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<float> d(-1, 1);
  std::vector<T> v(count);
  for (auto& x : v) {
    if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>)
      x = static_cast<T>(d(g));
    else
      x = T{d(g), d(g)};
  }
  return v;
}

template <class T>
T scalar(double v) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>)
    return static_cast<T>(v);
  else
    return T{static_cast<decltype(T{}.real)>(v), 0};
}

struct result {
  double ours_gflops, peer_gflops;
  std::string check = "-";  // the peer's result against ours
};

// The clock-times-width figure: one 512-bit FMA (as two 256-bit halves) or two 256-bit FMAs a
// cycle, the same 16 double or 32 single flops a cycle whichever set the library chose.
double nominal_peak(bool single) {
  const bool avx512 = !strcmp(zvx_bench::vector_isa_name(), "avx512");
  const int units = avx512 ? 1 : 2;
  return single ? zvx_bench::peak_gflops_single(units) : zvx_bench::peak_gflops_double(units);
}

// The share of peak is taken against what FMA chains keep up on this core, where they run, for as
// long as a large product takes (sustained); the best of short runs (burst) is printed beside it.
double peak(bool single, bool sustained = true) {
  const double measured = sustained ? zvx_bench::sustained_peak_gflops_single()
                                    : zvx_bench::measured_peak_gflops_single();
  if (measured <= 0) return nominal_peak(single);
  return single ? measured : measured / 2;
}

// Each placement allocates the three arrays anew while the earlier ones are still held, so that
// they land at other addresses: where the arrays fall relative to the cache sets and pages moves a
// small product's time from one allocation to the next, which a single placement
// reports as a difference between the libraries.
constexpr int placements_small = 5;  // n up to 256: time per call under a millisecond
constexpr int placements_large = 3;

double median_of(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t h = v.size() / 2;
  return v.size() % 2 ? v[h] : 0.5 * (v[h - 1] + v[h]);
}

template <class T>
result measure(int m, int n, int k, const zvx_bench::options& opt, bool with_peer = true,
               int placements = 1) {
  using peer_fn = void (*)(const char*, const char*, const int*, const int*, const int*,
                           const T*, const T*, const int*, const T*, const int*, const T*, T*,
                           const int*, fortran_len, fortran_len);
  static peer_fn peer = zvx_bench::openblas(1).get<peer_fn>(kind<T>::peer);
  static peer_fn reference = zvx_bench::reference_blas().get<peer_fn>(kind<T>::peer);
  const T alpha = scalar<T>(1.0), beta = scalar<T>(1.0);
  const int lda = m, ldb = k, ldc = m;
  const double flops = kind<T>::flops_per_mac * m * static_cast<double>(n) * k;
  std::vector<std::vector<T>> held;  // earlier placements, kept so that new ones fall elsewhere
  std::vector<double> ours_t, peer_t;
  std::string mark = "-";
  for (int p = 0; p < placements; ++p) {
    auto a = random_matrix<T>(static_cast<size_t>(m) * k, 1);
    auto b = random_matrix<T>(static_cast<size_t>(k) * n, 2);
    auto c = random_matrix<T>(static_cast<size_t>(m) * n, 3);
    auto ours = [&] { kind<T>::ours("N", "N", &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc); };
    if (!with_peer || !peer) {
      ours_t.push_back(zvx_bench::time_one(ours, opt));
    } else {
      auto theirs = [&] { peer("N", "N", &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc, 1, 1); };
      if (p == 0) {
        std::function<void()> referee;
        if (reference)
          referee = [&] { reference("N", "N", &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc, 1, 1); };
        const size_t reals = c.size() * (sizeof(T) / (kind<T>::single ? sizeof(float) : sizeof(double)));
        mark = zvx_bench::check_pair(ours, theirs, {{c.data(), reals, kind<T>::single}}, -1, referee).mark();
      }
      // One thread: the calling thread's CPU time, which stops while another process has the core.
      const auto r = zvx_bench::time_pair_cpu(ours, theirs, opt);
      ours_t.push_back(r.ours);
      peer_t.push_back(r.peer);
    }
    held.push_back(std::move(a));
    held.push_back(std::move(b));
    held.push_back(std::move(c));
  }
  const double ours_s = median_of(ours_t);
  if (peer_t.empty()) return {flops / ours_s * 1e-9, 0};
  return {flops / ours_s * 1e-9, flops / median_of(peer_t) * 1e-9, mark};
}

struct shape {
  int m, n, k;
};

std::string shape_name(const shape& s) {
  if (s.m == s.n && s.n == s.k) return "n = " + std::to_string(s.n);
  return std::to_string(s.m) + " x " + std::to_string(s.n) + " x " + std::to_string(s.k);
}

template <class T>
void run_type(const zvx_bench::options& opt, const std::vector<int>& sizes,
              const std::vector<shape>& shapes, bool threads, zvx_bench::table& t,
              std::vector<zvx_bench::series>& plot) {
  const double pk = peak(kind<T>::single);
  zvx_bench::series ours{std::string(kind<T>::name), {}, {}};
  zvx_bench::series peer{std::string(kind<T>::name) + " OpenBLAS", {}, {}};
  auto row = [&](const std::string& what, const result& r) {
    t.add({kind<T>::name, what, "1", zvx_bench::fmt(r.ours_gflops, 1), zvx_bench::fmt(r.peer_gflops, 1),
           zvx_bench::fmt(r.ours_gflops / r.peer_gflops, 3), zvx_bench::fmt(100 * r.ours_gflops / pk, 1) + " %",
           r.check});
    std::fflush(stdout);
  };
  omp_set_num_threads(1);
  for (int n : sizes) {
    zvx_bench::options o = opt;
    int placements = placements_large;
    if (n >= 1000) {
      o.samples = std::min(opt.samples, 7);
    } else {
      // Short calls: longer samples against the noise of a shared machine, over several
      // placements of the arrays.
      o.samples = std::max(opt.samples / 2, 9);
      o.sample_seconds = std::max(opt.sample_seconds, 0.01);
      if (n <= 256) placements = placements_small;
    }
    if (opt.quick) placements = 1;
    const result r = measure<T>(n, n, n, o, true, placements);
    row(shape_name({n, n, n}), r);
    ours.x.push_back(n);
    ours.y.push_back(r.ours_gflops);
    peer.x.push_back(n);
    peer.y.push_back(r.peer_gflops);
    std::printf("%s n=%d ours %.1f peer %.1f ratio %.3f\n", kind<T>::name, n, r.ours_gflops, r.peer_gflops, r.ours_gflops / r.peer_gflops);
  }
  for (const shape& s : shapes) {
    zvx_bench::options o = opt;
    o.samples = std::min(opt.samples, 7);
    const result r = measure<T>(s.m, s.n, s.k, o, true, opt.quick ? 1 : placements_large);
    row(shape_name(s), r);
    std::printf("%s %s ours %.1f peer %.1f ratio %.3f\n", kind<T>::name, shape_name(s).c_str(), r.ours_gflops, r.peer_gflops, r.ours_gflops / r.peer_gflops);
  }
  if (threads) {
    zvx_bench::options o = opt;
    o.samples = std::min(opt.samples, 5);
    omp_set_num_threads(1);
    const double one = measure<T>(2000, 2000, 2000, o, false).ours_gflops;
    omp_set_num_threads(2);
    const double two = measure<T>(2000, 2000, 2000, o, false).ours_gflops;
    omp_set_num_threads(1);
    t.add({kind<T>::name, "n = 2000, two threads against one", "2", zvx_bench::fmt(two, 1),
           zvx_bench::fmt(one, 1) + " (ours, 1 thread)", zvx_bench::fmt(two / one, 3),
           zvx_bench::fmt(100 * two / (2 * pk), 1) + " %", "-"});
    std::printf("%s two threads %.1f one %.1f speedup %.3f\n", kind<T>::name, two, one, two / one);
  }
  plot.push_back(ours);
  plot.push_back(peer);
}

}  // namespace

int main(int argc, char** argv) {
  // Threads must be allowed before the library's first call decides the policy.
  setenv("ZVX_SERIAL", "NO", 1);
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  std::string only = "sdcz";
  std::vector<int> sizes = {8, 16, 32, 64, 128, 256, 500, 1000, 2000};
  bool threads = true, shapes_too = true;
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
    if (!strcmp(argv[i], "--sizes") && i + 1 < argc) {
      sizes.clear();
      for (char* p = strtok(argv[++i], ","); p; p = strtok(nullptr, ",")) sizes.push_back(atoi(p));
    }
    if (!strcmp(argv[i], "--no-threads")) threads = false;
    if (!strcmp(argv[i], "--no-shapes")) shapes_too = false;
  }
  std::vector<shape> shapes = {{2000, 2000, 64}, {20, 2000, 2000}};
  if (!shapes_too) shapes = {};
  if (opt.quick) {
    sizes = {8, 64, 500};
    shapes = {};
    threads = false;
  }
  if (!zvx_bench::openblas(1).ok()) {
    std::fprintf(stderr, "OpenBLAS not found: no peer to compare with\n");
    return 1;
  }
  zvx_bench::table t;
  t.section = "gemm";
  t.title = "GEMM against OpenBLAS (C = A B + C, column-major, no transposes)";
  t.columns = {"routine", "shape (m x n x k)", "threads", "ours GFLOP/s", "OpenBLAS GFLOP/s",
               "ratio ours/peer (speed)", "share of peak", "peer's result vs ours"};
  t.header = zvx_bench::openblas_header();
  std::vector<zvx_bench::series> plot;
  for (char ch : only) {
    if (ch == 's') run_type<float>(opt, sizes, shapes, threads, t, plot);
    if (ch == 'd') run_type<double>(opt, sizes, shapes, threads, t, plot);
    if (ch == 'c') run_type<zvx_complex8>(opt, sizes, shapes, threads, t, plot);
    if (ch == 'z') run_type<zvx_complex16>(opt, sizes, shapes, threads, t, plot);
  }
  char peak_note[1024];
  {
    const bool avx512 = !strcmp(zvx_bench::vector_isa_name(), "avx512");
    const double per_cycle = peak(false) / zvx_bench::core_ghz();  // double flops a cycle
    const long fmas = std::lround(per_cycle / (avx512 ? 16 : 8));
    std::snprintf(peak_note, sizeof peak_note,
                  "Peak of one core: independent FMA chains on the library's vectors, held for windows of "
                  "0.1 s as long as a product of order 2,000 runs, keep up %.0f / %.0f GFLOP/s (double / "
                  "single; the median of nine windows after a warm-up); in short runs of 0.4 ms they reach "
                  "%.0f / %.0f (the best of 20), the clock still boosted. %.0f double flops a cycle at the "
                  "%.2f GHz that a chain of dependent additions measures: %ld %d-bit FMA%s a cycle. The "
                  "share column is against the sustained figure, the ceiling a large product meets; against "
                  "the short runs' best it is lower by their ratio.",
                  peak(false), peak(true), peak(false, false), peak(true, false), per_cycle,
                  zvx_bench::core_ghz(), fmas, avx512 ? 512 : 256, fmas == 1 ? "" : "s");
  }
  t.notes.push_back(peak_note);
  t.notes.push_back("One-thread rows: medians of alternating samples of the calling thread's CPU time, ours "
                    "and OpenBLAS in one process, each on several allocations of the arrays (5 for n up to "
                    "256, 3 above) and the median of those medians taken; the machine's two cores are "
                    "shared with other work, so figures move by a few per cent between runs. "
                    "Complex flops count 8 per multiply-add. Instruction set: " +
                    std::string(zvx_bench::vector_isa_name()) + ".");
  t.notes.push_back(zvx_bench::check_note());
  if (FILE* f = std::fopen("/proc/loadavg", "r")) {
    char load[64] = {0};
    if (std::fgets(load, sizeof load, f)) {
      std::string l(load);
      while (!l.empty() && (l.back() == '\n' || l.back() == ' ')) l.pop_back();
      t.notes.push_back("Load average of the machine at the end of the run: " + l +
                        ". Two threads can only scale when the second core is free; when the load "
                        "is above 1 the two-thread rows measure the sharing, not the frame.");
    }
    std::fclose(f);
  }
  const std::string png = zvx_bench::plot_png(opt, "gemm.png", "GEMM, one thread, square n",
                                              "n", "GFLOP/s", plot, true);
  if (!png.empty()) t.notes.push_back("![GFLOP/s against n](" + png + ")");
  t.print();
  t.write_docs(opt);
  return 0;
}
