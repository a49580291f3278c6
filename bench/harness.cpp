#include "harness.h"

#include <cpuid.h>
#include <dlfcn.h>
#include <sched.h>
#include <signal.h>
#include <strings.h>
#include <sys/wait.h>
#include <omp.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>
#include <type_traits>

#include "zvx.h"

#ifndef ZVX_SOURCE_DIR
#define ZVX_SOURCE_DIR "."
#endif

namespace zvx_bench {

options parse_options(int argc, char** argv) {
  options o;
  o.docs_path = std::string(ZVX_SOURCE_DIR) + "/docs/benchmarks.md";
  for (int i = 1; i < argc; ++i) {
    if (!strcmp(argv[i], "--docs")) o.write_docs = true;
    else if (!strcmp(argv[i], "--quick")) {
      o.quick = true;
      o.samples = 3;
      o.warmup = 1;
    } else if (!strcmp(argv[i], "--samples") && i + 1 < argc) o.samples = atoi(argv[++i]);
  }
  return o;
}

namespace {
using clock_type = std::chrono::steady_clock;

// Calls per sample so that a sample lasts at least opt.sample_seconds.
long calibrate(const std::function<void()>& fn, const options& opt) {
  long n = 1;
  for (;;) {
    const auto t0 = clock_type::now();
    for (long i = 0; i < n; ++i) fn();
    const double s = std::chrono::duration<double>(clock_type::now() - t0).count();
    if (s >= opt.sample_seconds || n >= (1L << 30)) return n;
    n = s > 0 ? std::max(n * 2, static_cast<long>(n * opt.sample_seconds / s * 1.2) + 1) : n * 8;
  }
}

double sample(const std::function<void()>& fn, long calls) {
  const auto t0 = clock_type::now();
  for (long i = 0; i < calls; ++i) fn();
  return std::chrono::duration<double>(clock_type::now() - t0).count() / static_cast<double>(calls);
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}
}  // namespace

pair_timing time_pair(const std::function<void()>& ours, const std::function<void()>& peer,
                      const options& opt) {
  for (int i = 0; i < opt.warmup; ++i) {
    ours();
    peer();
  }
  const long n_ours = calibrate(ours, opt), n_peer = calibrate(peer, opt);
  std::vector<double> a, b;
  for (int s = 0; s < opt.samples; ++s) {
    a.push_back(sample(ours, n_ours));
    b.push_back(sample(peer, n_peer));
  }
  return {median(a), median(b)};
}

double time_one(const std::function<void()>& fn, const options& opt) {
  for (int i = 0; i < opt.warmup; ++i) fn();
  const long n = calibrate(fn, opt);
  std::vector<double> a;
  for (int s = 0; s < opt.samples; ++s) a.push_back(sample(fn, n));
  return median(a);
}

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

double wall_seconds() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

two_thread_figures two_threads(const std::function<void()>& one, const std::function<void()>& two,
                               int samples, int calls, const std::function<void(int side)>& prepare) {
  clockid_t team[2];
#pragma omp parallel num_threads(2)
  pthread_getcpuclockid(pthread_self(), &team[omp_get_thread_num()]);
  auto cpu_of = [](clockid_t id) {
    timespec t;
    clock_gettime(id, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
  };
  double w1 = 1e30, w2 = 1e30, c1 = 1e30, larger = 1e30, sum = 1e30;
  for (int s = 0; s < samples; ++s) {
    for (int side = 0; side < 2; ++side) {
      for (int r = 0; r < calls; ++r) {
        if (prepare) prepare(side);
        const double a0 = cpu_of(team[0]), a1 = cpu_of(team[1]);
        const double start = wall_seconds();
        (side == 0 ? one : two)();
        const double wall = wall_seconds() - start;
        const double d0 = cpu_of(team[0]) - a0, d1 = cpu_of(team[1]) - a1;
        if (side == 0) {
          w1 = std::min(w1, wall);
          c1 = std::min(c1, d0);
        } else {
          w2 = std::min(w2, wall);
          larger = std::min(larger, std::max(d0, d1));
          sum = std::min(sum, d0 + d1);
        }
      }
    }
  }
  return {w1 / w2, c1 / larger, sum / c1, w1, w2, c1, larger};
}

double cpu_sample(const std::function<void()>& fn, double min_seconds) {
  long reps = 1;
  for (;;) {
    const double t0 = thread_seconds();
    for (long r = 0; r < reps; ++r) fn();
    const double t = thread_seconds() - t0;
    if (t >= min_seconds || reps > (1L << 30)) return t / static_cast<double>(reps);
    reps = t > 0 ? std::max(reps * 2, static_cast<long>(static_cast<double>(reps) * 1.2 * min_seconds / t))
                 : reps * 8;
  }
}

pair_timing time_pair_cpu(const std::function<void()>& ours, const std::function<void()>& peer,
                          const options& opt) {
  for (int w = 0; w < opt.warmup; ++w) {
    ours();
    peer();
  }
  std::vector<double> a, b;
  for (int s = 0; s < opt.samples; ++s) {
    a.push_back(cpu_sample(ours, opt.sample_seconds));
    b.push_back(cpu_sample(peer, opt.sample_seconds));
  }
  return {median(a), median(b)};
}

double memory_bandwidth_gbs() {
  const size_t n = 20'000'000;
  std::vector<double> a(n, 1), b(n, 2), c(n, 3);
  double best = 0;
  for (int r = 0; r < 5; ++r) {
    const double triad = cpu_sample([&] {
      double* __restrict pa = a.data();
      const double* __restrict pb = b.data();
      const double* __restrict pc = c.data();
      for (size_t i = 0; i < n; ++i) pa[i] = pb[i] + 1.5 * pc[i];
    }, 1e-3);
    const double scale = cpu_sample([&] {
      double* __restrict pa = a.data();
      for (size_t i = 0; i < n; ++i) pa[i] *= 0.999;
    }, 1e-3);
    best = std::max({best, 4.0 * 8 * static_cast<double>(n) / triad / 1e9,
                     2.0 * 8 * static_cast<double>(n) / scale / 1e9});
  }
  return best;
}

cross_core_read cross_core_read_gbs() {
  const size_t n = (8u << 20) / sizeof(double);
  std::vector<double> data(n, 1.0);
  double best_own = 1e30, best_other = 1e30, sink = 0;
  auto fill = [&](double v) {
    double* __restrict p = data.data();
    for (size_t i = 0; i < n; ++i) p[i] = v + static_cast<double>(i & 7);
  };
  auto sum = [&] {
    const double* __restrict p = data.data();
    double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    for (size_t i = 0; i < n; i += 4) s0 += p[i], s1 += p[i + 1], s2 += p[i + 2], s3 += p[i + 3];
    return s0 + s1 + s2 + s3;
  };
  for (int r = 0; r < 15; ++r) {
#pragma omp parallel num_threads(2) reduction(+ : sink)
    {
      const int me = omp_get_thread_num();
      for (int reader = 0; reader < 2; ++reader) {
        if (me == 0) fill(r + reader);
#pragma omp barrier
        if (me == reader) {
          const double t0 = wall_seconds();
          sink += sum();
          const double t = wall_seconds() - t0;
          double& best = reader == 0 ? best_own : best_other;
#pragma omp critical
          best = std::min(best, t);
        }
#pragma omp barrier
      }
    }
  }
  const volatile double keep = sink;  // the sums are used
  (void)keep;
  const double bytes = static_cast<double>(n * sizeof(double));
  return {bytes / best_own / 1e9, bytes / best_other / 1e9};
}

std::string fmt(double v, int decimals) {
  char buf[64];
  snprintf(buf, sizeof buf, "%.*f", decimals, v);
  return buf;
}

static std::string markdown(const table& t) {
  std::ostringstream out;
  out << "### " << t.title << "\n\n";
  for (const auto& h : t.header) out << "- " << h << "\n";
  if (!t.header.empty()) out << "\n";
  out << "|";
  for (const auto& c : t.columns) out << ' ' << c << " |";
  out << "\n|";
  for (size_t i = 0; i < t.columns.size(); ++i) out << "---|";
  out << "\n";
  for (const auto& r : t.rows) {
    out << "|";
    for (const auto& c : r) out << ' ' << c << " |";
    out << "\n";
  }
  if (!t.notes.empty()) {
    out << "\n";
    for (const auto& n : t.notes) out << n << "\n";
  }
  return out.str();
}

void table::print() const { printf("%s\n", markdown(*this).c_str()); }

void table::write_docs(const options& opt) const {
  if (!opt.write_docs) return;
  std::string text;
  {
    std::ifstream in(opt.docs_path);
    std::stringstream ss;
    ss << in.rdbuf();
    text = ss.str();
  }
  if (text.empty()) text = "# Benchmarks\n\nRatios are ours / peer in time (below 1.0: ours is faster) unless a column says otherwise.\n";
  const std::string begin = "<!-- BEGIN " + section + " -->", end = "<!-- END " + section + " -->";
  const std::string body = begin + "\n" + markdown(*this) + end;
  const size_t b = text.find(begin), e = text.find(end);
  if (b != std::string::npos && e != std::string::npos && e > b) text.replace(b, e + end.size() - b, body);
  else text += "\n" + body + "\n";
  std::ofstream(opt.docs_path) << text;
  printf("written to %s\n", opt.docs_path.c_str());
}

std::string plot_png(const options& opt, const std::string& file, const std::string& title,
                     const std::string& xlabel, const std::string& ylabel,
                     const std::vector<series>& lines, bool log_x) {
  if (!opt.write_docs || system("command -v gnuplot >/dev/null 2>&1") != 0) return "";
  const std::string dir = opt.docs_path.substr(0, opt.docs_path.rfind('/') + 1);
  const std::string data = "/tmp/zvx_plot_" + file + ".dat";
  std::ofstream d(data);
  for (const auto& s : lines) {
    for (size_t i = 0; i < s.x.size(); ++i) d << s.x[i] << ' ' << s.y[i] << '\n';
    d << "\n\n";
  }
  d.close();
  std::ostringstream g;
  g << "set terminal png size 900,540; set output '" << dir << file << "';"
    << "set title '" << title << "'; set xlabel '" << xlabel << "'; set ylabel '" << ylabel << "';"
    << "set key left top; set grid;" << (log_x ? "set logscale x;" : "") << "plot ";
  for (size_t i = 0; i < lines.size(); ++i)
    g << (i ? ", " : "") << "'" << data << "' index " << i << " with linespoints title '" << lines[i].name << "'";
  const std::string cmd = "gnuplot -e \"" + g.str() + "\"";
  if (system(cmd.c_str()) != 0) return "";
  return file;
}

// The clock the core really runs at while it computes, which is above the time-stamp counter's
// rate when the core boosts: a chain of dependent integer additions retires one a cycle, so
// additions per nanosecond is the clock in GHz. The best of 40 short runs of 4 million, so
// that a run or two falls between the slices another process takes from the core.
static double measured_ghz() {
  double best = 0;
  for (int run = 0; run < 40; ++run) {
    const auto t0 = std::chrono::steady_clock::now();
    unsigned long x = run;
    for (int i = 0; i < 500000; ++i)
      __asm__ volatile(
          "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
          "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0"
          : "+r"(x));
    const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - t0).count();
    best = std::max(best, 4e6 / ns);
  }
  return best;
}

// The floating-point peak as the core delivers it: twelve independent chains of vector FMAs
// (more than latency x throughput, so that only the FMA units limit them) on the widest vectors
// the library uses, the best of 20 short runs. Below the clock-times-width figure when the
// clock drops under a full FMA load; this is the ceiling a GEMM kernel meets.
#define ZVX_FMA12(reg)                                                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "2\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "3\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "4\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "5\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "6\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "7\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "8\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "9\n\t"                                          \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "10\n\t"                                         \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "11\n\t"                                         \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "12\n\t"                                         \
  "vfmadd231ps %%" reg "0,%%" reg "1,%%" reg "13\n\t"
#define ZVX_FMA_CLOBBERS \
  "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13"

__attribute__((target("avx512f"))) static void fma_chains_512(long n) {
  __asm__ volatile("vxorps %%zmm0,%%zmm0,%%zmm0\n\tvxorps %%zmm1,%%zmm1,%%zmm1" ::: "xmm0", "xmm1");
  for (long i = 0; i < n; ++i) __asm__ volatile(ZVX_FMA12("zmm") ::: ZVX_FMA_CLOBBERS);
}
__attribute__((target("avx2,fma"))) static void fma_chains_256(long n) {
  __asm__ volatile("vxorps %%ymm0,%%ymm0,%%ymm0\n\tvxorps %%ymm1,%%ymm1,%%ymm1" ::: "xmm0", "xmm1");
  for (long i = 0; i < n; ++i) __asm__ volatile(ZVX_FMA12("ymm") ::: ZVX_FMA_CLOBBERS);
}

double measured_peak_gflops_single() {
  static double best = [] {
    const char* isa = vector_isa_name();
    const bool wide = !strcmp(isa, "avx512");
    if (!wide && strcmp(isa, "avx2")) return 0.0;
    double top = 0;
    const long n = 250000;
    for (int run = 0; run < 20; ++run) {
      const auto t0 = std::chrono::steady_clock::now();
      if (wide) fma_chains_512(n); else fma_chains_256(n);
      const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - t0).count();
      top = std::max(top, 12.0 * n * (wide ? 32 : 16) / ns);
    }
    return top;
  }();
  return best;
}

double sustained_peak_gflops_single() {
  static double median = [] {
    const char* isa = vector_isa_name();
    const bool wide = !strcmp(isa, "avx512");
    if (!wide && strcmp(isa, "avx2")) return 0.0;
    // Windows of 62.5 million steps of 12 FMAs: about 0.1 s at the full rate, as long as a
    // product of order 2,000; the first one is a warm-up.
    const long n = 62500000;
    std::vector<double> rates;
    // Thread CPU time, as the rows it is compared with: time waiting for the core leaves out.
    for (int run = 0; run < 10; ++run) {
      const double t0 = thread_seconds();
      if (wide) fma_chains_512(n); else fma_chains_256(n);
      const double seconds = thread_seconds() - t0;
      if (run > 0) rates.push_back(12.0 * n * (wide ? 32 : 16) / seconds * 1e-9);
    }
    std::sort(rates.begin(), rates.end());
    return rates[rates.size() / 2];
  }();
  return median;
}

double core_ghz() {
  static double ghz = measured_ghz();
  return ghz;
}

const char* vector_isa_name() {
  const char* forced = getenv("ZVX_ISA");
  unsigned a, b, c, d;
  __asm__("cpuid" : "=a"(a), "=b"(b), "=c"(c), "=d"(d) : "a"(7), "c"(0));
  const char* best = (b >> 16 & 1) ? "avx512" : (b >> 5 & 1) ? "avx2" : "portable";
  if (forced && (!strcmp(forced, "portable") || (!strcmp(forced, "avx2") && strcmp(best, "portable"))))
    return forced;
  return best;
}

static int doubles_per_vector() {
  const char* isa = vector_isa_name();
  return !strcmp(isa, "avx512") ? 8 : !strcmp(isa, "avx2") ? 4 : 2;
}

double peak_gflops_double(int fma_units) { return core_ghz() * doubles_per_vector() * 2 * fma_units; }
double peak_gflops_single(int fma_units) { return 2 * peak_gflops_double(fma_units); }

peer_library::peer_library(const std::vector<std::string>& candidates)
    : peer_library(candidates, RTLD_NOW | RTLD_LOCAL) {}

peer_library::peer_library(const std::vector<std::string>& candidates, int flags) {
  for (const auto& c : candidates) {
    handle = dlopen(c.c_str(), flags);
    if (handle) {
      file = c;
      return;
    }
  }
}

void* peer_library::symbol(const char* name) const { return handle ? dlsym(handle, name) : nullptr; }

// ---- The processor, by its features ----

namespace {
struct cpu_features {
  bool avx = false, avx2 = false, fma = false, os_ymm = false, os_zmm = false;
  bool f = false, dq = false, cd = false, bw = false, vl = false, ifma = false, vbmi = false,
       vbmi2 = false, vnni = false, bitalg = false, vpopcntdq = false, bf16 = false,
       fp16 = false, vp2intersect = false;
  bool avx512_family() const { return os_zmm && f && dq && bw && vl; }
  bool avx2_family() const { return os_ymm && avx2 && fma; }
};

cpu_features read_cpu_features() {
  cpu_features c;
  unsigned a, b, cx, d, top;
  __cpuid(0, top, b, cx, d);
  if (top < 1) return c;
  __cpuid(1, a, b, cx, d);
  c.fma = cx >> 12 & 1;
  c.avx = cx >> 28 & 1;
  if (cx >> 27 & 1) {  // the system saves the vector registers: read which ones
    unsigned lo, hi;
    __asm__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    c.os_ymm = (lo & 0x6) == 0x6;
    c.os_zmm = (lo & 0xe6) == 0xe6;
  }
  if (top < 7) return c;
  __cpuid_count(7, 0, a, b, cx, d);
  const unsigned sub = a;
  c.avx2 = b >> 5 & 1;
  c.f = b >> 16 & 1;
  c.dq = b >> 17 & 1;
  c.ifma = b >> 21 & 1;
  c.cd = b >> 28 & 1;
  c.bw = b >> 30 & 1;
  c.vl = b >> 31 & 1;
  c.vbmi = cx >> 1 & 1;
  c.vbmi2 = cx >> 6 & 1;
  c.vnni = cx >> 11 & 1;
  c.bitalg = cx >> 12 & 1;
  c.vpopcntdq = cx >> 14 & 1;
  c.vp2intersect = d >> 8 & 1;
  c.fp16 = d >> 23 & 1;
  if (sub >= 1) {
    __cpuid_count(7, 1, a, b, cx, d);
    c.bf16 = a >> 5 & 1;
  }
  return c;
}

const cpu_features& cpu() {
  static const cpu_features c = read_cpu_features();
  return c;
}

std::string bytes_text(long v) {
  if (v <= 0) return "?";
  if (v % (1L << 20) == 0) return std::to_string(v >> 20) + " MiB";
  return std::to_string(v >> 10) + " KiB";
}
}  // namespace

std::string processor_description() {
  const cpu_features& c = cpu();
  std::string s = "x86-64, " + std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " logical processors online";
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0)
    s += " (this run may use " + std::to_string(CPU_COUNT(&set)) + ")";
  s += "; vector set this library chose: " + std::string(vector_isa_name());
  s += "; AVX2 " + std::string(c.avx2 ? "yes" : "no") + ", FMA " + (c.fma ? "yes" : "no");
  std::string sub;
  const std::pair<bool, const char*> subsets[] = {
      {c.f, "F"},         {c.dq, "DQ"},         {c.cd, "CD"},         {c.bw, "BW"},
      {c.vl, "VL"},       {c.ifma, "IFMA"},     {c.vbmi, "VBMI"},     {c.vbmi2, "VBMI2"},
      {c.vnni, "VNNI"},   {c.bitalg, "BITALG"}, {c.vpopcntdq, "VPOPCNTDQ"}, {c.bf16, "BF16"},
      {c.fp16, "FP16"},   {c.vp2intersect, "VP2INTERSECT"}};
  for (const auto& [has, name] : subsets)
    if (has) sub += std::string(sub.empty() ? "" : " ") + name;
  s += "; AVX-512: " + (sub.empty() ? std::string("none") : sub);
  if (!sub.empty() && !c.os_zmm) s += " (registers not enabled by the system)";
  s += "; caches as sysconf reports them: L1d " + bytes_text(sysconf(_SC_LEVEL1_DCACHE_SIZE)) + ", L2 " +
       bytes_text(sysconf(_SC_LEVEL2_CACHE_SIZE)) + ", L3 " + bytes_text(sysconf(_SC_LEVEL3_CACHE_SIZE));
  return s;
}

// ---- Checking a peer family against naive loops ----

namespace {
using flen = size_t;

template <class T> struct real_of { using type = T; };
template <class T> struct real_of<std::complex<T>> { using type = T; };
template <class T> constexpr bool is_complex_v = !std::is_same_v<T, typename real_of<T>::type>;
template <class T>
using wide_t = std::conditional_t<is_complex_v<T>, std::complex<long double>, long double>;

template <class T> wide_t<T> wide(const T& x) {
  if constexpr (is_complex_v<T>) return {static_cast<long double>(x.real()), static_cast<long double>(x.imag())};
  else return static_cast<long double>(x);
}
template <class T> T narrow(const wide_t<T>& x) {
  if constexpr (is_complex_v<T>) return T(static_cast<typename real_of<T>::type>(x.real()), static_cast<typename real_of<T>::type>(x.imag()));
  else return static_cast<T>(x);
}

template <class T> std::vector<T> random_values(size_t n, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<T> v(n);
  for (auto& x : v) {
    if constexpr (is_complex_v<T>) {
      const double re = u(g);
      x = T(static_cast<typename real_of<T>::type>(re), static_cast<typename real_of<T>::type>(u(g)));
    } else {
      x = static_cast<T>(u(g));
    }
  }
  return v;
}

// Largest |got - want| over the largest |want|; infinite when anything is not a number.
template <class T> double relative_error(const std::vector<T>& got, const std::vector<wide_t<T>>& want) {
  long double diff = 0, top = 0;
  for (size_t i = 0; i < got.size(); ++i) {
    const long double d = std::abs(wide(got[i]) - want[i]);
    if (!(d == d)) return INFINITY;
    diff = std::max(diff, d);
    top = std::max(top, static_cast<long double>(std::abs(want[i])));
  }
  return top > 0 ? static_cast<double>(diff / top) : static_cast<double>(diff);
}

template <class T> double tolerance_for() { return std::is_same_v<typename real_of<T>::type, float> ? 1e-4 : 1e-12; }

struct check_log {
  std::vector<std::string> failures;
  int cases = 0;
  void expect(const std::string& what, double err, double tol) {
    ++cases;
    if (!(err <= tol)) {
      char b[64];
      snprintf(b, sizeof b, " off by %.1e", err);
      failures.push_back(what + b);
    }
  }
};

template <class T>
void check_gemm(void* h, const char* name, char ta, int m, int n, int k, check_log& log) {
  using fn = void (*)(const char*, const char*, const int*, const int*, const int*, const T*, const T*, const int*,
                      const T*, const int*, const T*, T*, const int*, flen, flen);
  auto f = reinterpret_cast<fn>(dlsym(h, name));
  if (!f) return log.failures.push_back(std::string(name) + " missing");
  const int lda = ta == 'N' ? m + 3 : k + 1, ldb = k + 2, ldc = m + 1;
  const auto a = random_values<T>(static_cast<size_t>(lda) * (ta == 'N' ? k : m), 11);
  const auto b = random_values<T>(static_cast<size_t>(ldb) * n, 12);
  auto c = random_values<T>(static_cast<size_t>(ldc) * n, 13);
  T alpha, beta;
  if constexpr (is_complex_v<T>) alpha = T(0.75, -0.25), beta = T(0.5, 0.25);
  else alpha = T(0.75), beta = T(0.5);
  std::vector<wide_t<T>> want(c.size());
  for (size_t i = 0; i < c.size(); ++i) want[i] = wide(c[i]);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      wide_t<T> sum = 0;
      for (int p = 0; p < k; ++p)
        sum += wide(ta == 'N' ? a[i + static_cast<size_t>(p) * lda] : a[p + static_cast<size_t>(i) * lda]) *
               wide(b[p + static_cast<size_t>(j) * ldb]);
      want[i + static_cast<size_t>(j) * ldc] = wide(alpha) * sum + wide(beta) * want[i + static_cast<size_t>(j) * ldc];
    }
  const char tas[2] = {ta, 0};
  f(tas, "N", &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc, 1, 1);
  log.expect(std::string(name) + " " + tas + "N " + std::to_string(m) + "x" + std::to_string(n) + "x" + std::to_string(k),
             relative_error(c, want), tolerance_for<T>());
}

void check_level12(void* h, check_log& log) {
  const int n = 1003, one = 1;
  const auto x = random_values<double>(n, 21), y = random_values<double>(n, 22);
  if (auto ddot = reinterpret_cast<double (*)(const int*, const double*, const int*, const double*, const int*)>(dlsym(h, "ddot_"))) {
    long double want = 0;
    for (int i = 0; i < n; ++i) want += static_cast<long double>(x[i]) * y[i];
    log.expect("ddot 1003", relative_error(std::vector<double>{ddot(&n, x.data(), &one, y.data(), &one)}, std::vector<long double>{want}), 1e-12);
  } else log.failures.push_back("ddot_ missing");
  if (auto daxpy = reinterpret_cast<void (*)(const int*, const double*, const double*, const int*, double*, const int*)>(dlsym(h, "daxpy_"))) {
    const double alpha = -0.625;
    auto got = y;
    std::vector<long double> want(n);
    for (int i = 0; i < n; ++i) want[i] = static_cast<long double>(alpha) * x[i] + y[i];
    daxpy(&n, &alpha, x.data(), &one, got.data(), &one);
    log.expect("daxpy 1003", relative_error(got, want), 1e-14);
  } else log.failures.push_back("daxpy_ missing");
  using gemv_fn = void (*)(const char*, const int*, const int*, const double*, const double*, const int*, const double*,
                           const int*, const double*, double*, const int*, flen);
  if (auto dgemv = reinterpret_cast<gemv_fn>(dlsym(h, "dgemv_"))) {
    const int m = 517, nn = 389, lda = 520;
    const auto a = random_values<double>(static_cast<size_t>(lda) * nn, 23);
    const double alpha = 0.5, beta = -1.25;
    for (char t : {'N', 'T'}) {
      const int len_y = t == 'N' ? m : nn, len_x = t == 'N' ? nn : m;
      auto got = random_values<double>(len_y, 24);
      std::vector<long double> want(len_y);
      for (int i = 0; i < len_y; ++i) {
        long double sum = 0;
        for (int p = 0; p < len_x; ++p)
          sum += static_cast<long double>(t == 'N' ? a[i + static_cast<size_t>(p) * lda] : a[p + static_cast<size_t>(i) * lda]) * x[p];
        want[i] = alpha * sum + static_cast<long double>(beta) * got[i];
      }
      const char ts[2] = {t, 0};
      dgemv(ts, &m, &nn, &alpha, a.data(), &lda, x.data(), &one, &beta, got.data(), &one, 1);
      log.expect(std::string("dgemv ") + ts + " 517x389", relative_error(got, want), 1e-12);
    }
  } else log.failures.push_back("dgemv_ missing");
  using symv_fn = void (*)(const char*, const int*, const double*, const double*, const int*, const double*, const int*,
                           const double*, double*, const int*, flen);
  if (auto dsymv = reinterpret_cast<symv_fn>(dlsym(h, "dsymv_"))) {
    const int m = 300;
    const auto a = random_values<double>(static_cast<size_t>(m) * m, 25);
    const double alpha = 0.5, beta = 1.0;
    for (char u : {'U', 'L'}) {
      auto got = random_values<double>(m, 26);
      std::vector<long double> want(m);
      for (int i = 0; i < m; ++i) {
        long double sum = 0;
        for (int p = 0; p < m; ++p) {
          const bool stored = u == 'U' ? i <= p : i >= p;
          sum += static_cast<long double>(stored ? a[i + static_cast<size_t>(p) * m] : a[p + static_cast<size_t>(i) * m]) * x[p];
        }
        want[i] = alpha * sum + static_cast<long double>(beta) * got[i];
      }
      const char us[2] = {u, 0};
      dsymv(us, &m, &alpha, a.data(), &m, x.data(), &one, &beta, got.data(), &one, 1);
      log.expect(std::string("dsymv ") + us + " 300", relative_error(got, want), 1e-12);
    }
  } else log.failures.push_back("dsymv_ missing");
}

void check_level3(void* h, check_log& log) {
  using syrk_fn = void (*)(const char*, const char*, const int*, const int*, const double*, const double*, const int*,
                           const double*, double*, const int*, flen, flen);
  if (auto dsyrk = reinterpret_cast<syrk_fn>(dlsym(h, "dsyrk_"))) {
    const int n = 211, k = 173;
    for (const char* form : {"UN", "LT"}) {
      const bool upper = form[0] == 'U', notrans = form[1] == 'N';
      const int lda = notrans ? n : k;
      const auto a = random_values<double>(static_cast<size_t>(lda) * (notrans ? k : n), 31);
      auto got = random_values<double>(static_cast<size_t>(n) * n, 32);
      const double alpha = 0.75, beta = 0.5;
      std::vector<long double> want(got.begin(), got.end());
      for (int j = 0; j < n; ++j)
        for (int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) {
          long double sum = 0;
          for (int p = 0; p < k; ++p)
            sum += notrans ? static_cast<long double>(a[i + static_cast<size_t>(p) * lda]) * a[j + static_cast<size_t>(p) * lda]
                           : static_cast<long double>(a[p + static_cast<size_t>(i) * lda]) * a[p + static_cast<size_t>(j) * lda];
          want[i + static_cast<size_t>(j) * n] = alpha * sum + beta * want[i + static_cast<size_t>(j) * n];
        }
      const char u[2] = {form[0], 0}, t[2] = {form[1], 0};
      dsyrk(u, t, &n, &k, &alpha, a.data(), &lda, &beta, got.data(), &n, 1, 1);
      log.expect(std::string("dsyrk ") + form + " 211x173", relative_error(got, want), 1e-12);
    }
  } else log.failures.push_back("dsyrk_ missing");
  using trsm_fn = void (*)(const char*, const char*, const char*, const char*, const int*, const int*, const double*,
                           const double*, const int*, double*, const int*, flen, flen, flen, flen);
  if (auto dtrsm = reinterpret_cast<trsm_fn>(dlsym(h, "dtrsm_"))) {
    for (const char* form : {"LL", "RU"}) {
      const bool left = form[0] == 'L', lower = form[1] == 'L';
      const int m = left ? 193 : 157, n = left ? 157 : 193, order = left ? m : n;
      auto t = random_values<double>(static_cast<size_t>(order) * order, 33);
      for (auto& v : t) v /= order;
      for (int i = 0; i < order; ++i) t[i + static_cast<size_t>(i) * order] = 1 + 0.5 * (i % 3);
      auto got = random_values<double>(static_cast<size_t>(m) * n, 34);
      const double alpha = 1.5;
      std::vector<long double> want(got.size());
      auto T = [&](int i, int j) { return static_cast<long double>(t[i + static_cast<size_t>(j) * order]); };
      if (left) {  // lower: forward substitution down each column
        for (int j = 0; j < n; ++j)
          for (int i = 0; i < m; ++i) {
            long double s = alpha * static_cast<long double>(got[i + static_cast<size_t>(j) * m]);
            for (int p = 0; p < i; ++p) s -= T(i, p) * want[p + static_cast<size_t>(j) * m];
            want[i + static_cast<size_t>(j) * m] = s / T(i, i);
          }
      } else {  // X U = alpha B, upper: column j from the columns before it
        for (int j = 0; j < n; ++j)
          for (int i = 0; i < m; ++i) {
            long double s = alpha * static_cast<long double>(got[i + static_cast<size_t>(j) * m]);
            for (int p = 0; p < j; ++p) s -= want[i + static_cast<size_t>(p) * m] * T(p, j);
            want[i + static_cast<size_t>(j) * m] = s / T(j, j);
          }
      }
      const char side[2] = {form[0], 0}, uplo[2] = {lower ? 'L' : 'U', 0};
      dtrsm(side, uplo, "N", "N", &m, &n, &alpha, t.data(), &order, got.data(), &m, 1, 1, 1, 1);
      log.expect(std::string("dtrsm ") + form + "NN " + std::to_string(m) + "x" + std::to_string(n), relative_error(got, want), 1e-12);
    }
  } else log.failures.push_back("dtrsm_ missing");
}

const char* const library_candidates[] = {"libopenblas.so.0", "libopenblas.so",
                                          "/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0"};

void* open_openblas() {
  for (const char* c : library_candidates)
    if (void* h = dlopen(c, RTLD_NOW | RTLD_LOCAL)) return h;
  return nullptr;
}

std::string call_string(void* h, const char* name) {
  auto f = reinterpret_cast<char* (*)()>(dlsym(h, name));
  const char* s = f ? f() : nullptr;
  return s ? s : "";
}

// In this (child) process: load the library under `family` and check it. Prints the kernel name,
// the configuration, the number of cases and one line per failure.
[[noreturn]] void family_child(const std::string& family, int fd) {
  alarm(300);  // a hang counts as a failure
  setenv("OPENBLAS_CORETYPE", family.c_str(), 1);
  unsetenv("OPENBLAS_L2_SIZE");
  std::string out;
  void* h = open_openblas();
  if (!h) {
    out = "\n\n0\nlibrary not found\n";
  } else {
    if (auto set = reinterpret_cast<void (*)(int)>(dlsym(h, "openblas_set_num_threads"))) set(1);
    check_log log;
    check_gemm<float>(h, "sgemm_", 'N', 13, 11, 7, log);
    check_gemm<float>(h, "sgemm_", 'N', 193, 211, 517, log);
    check_gemm<float>(h, "sgemm_", 'T', 150, 97, 300, log);
    check_gemm<double>(h, "dgemm_", 'N', 13, 11, 7, log);
    check_gemm<double>(h, "dgemm_", 'N', 193, 211, 517, log);
    check_gemm<double>(h, "dgemm_", 'T', 150, 97, 300, log);
    check_gemm<std::complex<float>>(h, "cgemm_", 'N', 9, 7, 5, log);
    check_gemm<std::complex<float>>(h, "cgemm_", 'N', 97, 105, 261, log);
    check_gemm<std::complex<double>>(h, "zgemm_", 'N', 9, 7, 5, log);
    check_gemm<std::complex<double>>(h, "zgemm_", 'N', 97, 105, 261, log);
    check_level12(h, log);
    check_level3(h, log);
    out = call_string(h, "openblas_get_corename") + "\n" + call_string(h, "openblas_get_config") + "\n" +
          std::to_string(log.cases) + "\n";
    for (const auto& f : log.failures) out += f + "\n";
  }
  for (size_t at = 0; at < out.size();) {
    const ssize_t w = write(fd, out.data() + at, out.size() - at);
    if (w <= 0) break;
    at += static_cast<size_t>(w);
  }
  _exit(0);
}

struct family_trial {
  bool passed = false;
  std::string corename, failure;
  int cases = 0;
};

family_trial try_family(const std::string& family) {
  family_trial r;
  int fds[2];
  if (pipe(fds) != 0) {
    r.failure = "no pipe to a child";
    return r;
  }
  fflush(stdout);
  fflush(stderr);
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    family_child(family, fds[1]);
  }
  close(fds[1]);
  std::string text;
  char buf[4096];
  for (ssize_t got; (got = read(fds[0], buf, sizeof buf)) > 0;) text.append(buf, static_cast<size_t>(got));
  close(fds[0]);
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid) {
    r.failure = "could not run a child to check it";
    return r;
  }
  if (WIFSIGNALED(status)) {
    r.failure = std::string("its check crashed (") + (WTERMSIG(status) == SIGALRM ? "no answer within 300 s" : strsignal(WTERMSIG(status))) + ")";
    return r;
  }
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) lines.push_back(l);
  if (lines.size() < 3) {
    r.failure = "its check ended without an answer";
    return r;
  }
  r.corename = lines[0];
  r.cases = atoi(lines[2].c_str());
  for (size_t i = 3; i < lines.size(); ++i) r.failure += (r.failure.empty() ? "wrong results: " : "; ") + lines[i];
  if (r.failure.empty() && strcasecmp(r.corename.c_str(), family.c_str()) != 0)
    r.failure = "the library ran " + r.corename + " kernels when asked for it";
  r.passed = r.failure.empty();
  return r;
}

peer_family chosen;

// Chooses the family, sets it in this process and loads the library.
peer_library* load_openblas() {
  const cpu_features& c = cpu();
  struct candidate {
    std::string name, why;
  };
  std::vector<candidate> ladder;
  if (const char* forced = getenv("ZVX_BENCH_PEER_FAMILY"); forced && *forced)
    ladder.push_back({forced, "asked for by ZVX_BENCH_PEER_FAMILY"});
  if (c.avx512_family())
    ladder.push_back({"SkylakeX", "the AVX-512 family: the processor has AVX-512 F, DQ, BW and VL"});
  if (c.avx2_family())
    ladder.push_back({"Haswell", c.avx512_family() ? "the AVX2 family, the next below AVX-512"
                                                   : "the AVX2 family: the processor has AVX2 and FMA, not all of AVX-512 F, DQ, BW and VL"});
  ladder.push_back({"Prescott", c.avx2_family() ? "the baseline family, the last below AVX2"
                                                : "the baseline family: the processor has neither AVX-512 F/DQ/BW/VL nor AVX2 with FMA"});
  for (const auto& cand : ladder) {
    const family_trial t = try_family(cand.name);
    if (!t.passed) {
      chosen.refused.push_back(cand.name + " (" + cand.why + ") refused: " + t.failure);
      fprintf(stderr, "peer family %s refused: %s\n", cand.name.c_str(), t.failure.c_str());
      continue;
    }
    chosen.requested = cand.name;
    chosen.reason = cand.why + "; its kernels matched naive loops in the " + std::to_string(t.cases) +
                    " cases of the check (s/d/c/z gemm at small and packed sizes, ddot, daxpy, dgemv, dsymv, dsyrk, dtrsm)";
    break;
  }
  if (!chosen.requested.empty()) {
    setenv("OPENBLAS_CORETYPE", chosen.requested.c_str(), 1);
    unsetenv("OPENBLAS_L2_SIZE");
  } else {
    chosen.reason = "no family passed the check: the library chooses as the environment says, and rows where its "
                    "results differ from ours are marked";
  }
  std::vector<std::string> names(std::begin(library_candidates), std::end(library_candidates));
  auto* lib = new peer_library(names);
  if (lib->ok()) {
    chosen.corename = call_string(lib->handle, "openblas_get_corename");
    chosen.config = call_string(lib->handle, "openblas_get_config");
  }
  return lib;
}
}  // namespace

peer_library& openblas(int threads) {
  static peer_library* lib = load_openblas();
  if (lib->ok()) {
    if (auto set = lib->get<void (*)(int)>("openblas_set_num_threads")) set(threads);
  }
  return *lib;
}

const peer_family& openblas_family() {
  openblas(1);
  return chosen;
}

std::vector<std::string> openblas_header() {
  const peer_family& f = openblas_family();
  std::vector<std::string> h;
  const std::string file = openblas(1).file;
  h.push_back("Peer: " + (f.config.empty() ? std::string("OpenBLAS") : f.config) + " (" + file + "), kernels `" +
              (f.corename.empty() ? std::string("?") : f.corename) + "` as the loaded library reports them (openblas_get_corename).");
  if (!f.requested.empty())
    h.push_back("Family requested: OPENBLAS_CORETYPE=" + f.requested +
                " set in the benchmark's own process before loading, OPENBLAS_L2_SIZE dropped; " + f.reason + ".");
  else
    h.push_back("Family requested: none; " + f.reason + ".");
  for (const auto& r : f.refused) h.push_back("Fell back: " + r + ".");
  h.push_back("Processor: " + processor_description() + ".");
  return h;
}

peer_library& reference_blas() {
  static peer_library lib = [] {
    peer_library l({"/usr/lib/x86_64-linux-gnu/blas/libblas.so.3"}, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (l.ok() && l.symbol("openblas_get_config")) {  // an alternative pointing at the peer is no referee
      dlclose(l.handle);
      l.handle = nullptr;
    }
    return l;
  }();
  return lib;
}

// ---- Comparing the peer's result with ours ----

namespace {
using state = std::vector<std::vector<unsigned char>>;

state save(const std::vector<output>& outs) {
  state s;
  for (const auto& o : outs) {
    const auto* p = static_cast<const unsigned char*>(o.data);
    s.emplace_back(p, p + o.count * (o.single ? sizeof(float) : sizeof(double)));
  }
  return s;
}

void restore(const std::vector<output>& outs, const state& s) {
  for (size_t i = 0; i < outs.size(); ++i) memcpy(outs[i].data, s[i].data(), s[i].size());
}

double value(const output& o, const std::vector<unsigned char>& bytes, size_t i) {
  if (o.single) {
    float f;
    memcpy(&f, bytes.data() + i * sizeof f, sizeof f);
    return f;
  }
  double d;
  memcpy(&d, bytes.data() + i * sizeof d, sizeof d);
  return d;
}

// Largest |a - b| over the largest |b|; infinite where one is not a number and the other is.
double distance(const std::vector<output>& outs, const state& a, const state& b) {
  double diff = 0, top = 0;
  for (size_t r = 0; r < outs.size(); ++r)
    for (size_t i = 0; i < outs[r].count; ++i) {
      const double x = value(outs[r], a[r], i), y = value(outs[r], b[r], i);
      if (std::isnan(x) != std::isnan(y)) return INFINITY;
      if (std::isnan(x)) continue;
      diff = std::max(diff, std::fabs(x - y));
      top = std::max(top, std::fabs(y));
    }
  return top > 0 ? diff / top : diff;
}
}  // namespace

std::string result_check::mark() const {
  if (!compared) return "-";
  char d[32];
  snprintf(d, sizeof d, "%.0e", difference);
  if (!differ) return std::string("ok ") + d;
  if (refereed) {
    if (peer_wrong && ours_wrong) return std::string("BOTH WRONG ") + d;
    if (peer_wrong) return std::string("PEER WRONG ") + d;
    if (ours_wrong) return std::string("OURS WRONG ") + d;
    return std::string("differ ") + d + " (referee between)";
  }
  return std::string("differ ") + d + " (no referee)";
}

std::string load_note() {
  std::string l;
  if (FILE* f = fopen("/proc/loadavg", "r")) {
    char buf[64] = {0};
    if (fgets(buf, sizeof buf, f)) l = buf;
    fclose(f);
  }
  while (!l.empty() && (l.back() == '\n' || l.back() == ' ')) l.pop_back();
  return l.empty() ? l : "Load average of the machine at the end of the run: " + l + ".";
}

std::string check_note() {
  return std::string("The peer's result against ours: one call of each from the same operands before the timing, the "
                     "largest |peer - ours| over the largest |ours| (ok up to 1e-3 in single precision, 1e-9 in double, "
                     "exact for indices); past that the reference BLAS") +
         (reference_blas().ok() ? "" : " (not installed in this run)") +
         " runs from the same operands and the side that disagrees with it is marked wrong.";
}

result_check check_pair(const std::function<void()>& ours, const std::function<void()>& peer,
                        const std::vector<output>& outputs, double tolerance, const std::function<void()>& referee) {
  result_check r;
  bool single = false;
  for (const auto& o : outputs) single = single || o.single;
  if (tolerance < 0) tolerance = single ? 1e-3 : 1e-9;
  const state before = save(outputs);
  ours();
  const state o = save(outputs);
  restore(outputs, before);
  peer();
  const state p = save(outputs);
  restore(outputs, before);
  r.compared = true;
  r.difference = distance(outputs, p, o);
  r.differ = !(r.difference <= tolerance);
  if (r.differ && referee) {
    referee();
    const state ref = save(outputs);
    restore(outputs, before);
    r.refereed = true;
    r.peer_wrong = !(distance(outputs, p, ref) <= tolerance);
    r.ours_wrong = !(distance(outputs, o, ref) <= tolerance);
  }
  return r;
}

}  // namespace zvx_bench
