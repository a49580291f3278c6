#include "harness.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

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

std::string fmt(double v, int decimals) {
  char buf[64];
  snprintf(buf, sizeof buf, "%.*f", decimals, v);
  return buf;
}

static std::string markdown(const table& t) {
  std::ostringstream out;
  out << "### " << t.title << "\n\n|";
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

peer_library::peer_library(const std::vector<std::string>& candidates) {
  for (const auto& c : candidates) {
    handle = dlopen(c.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle) {
      file = c;
      return;
    }
  }
}

void* peer_library::symbol(const char* name) const { return handle ? dlsym(handle, name) : nullptr; }

peer_library& openblas(int threads) {
  static peer_library lib({"libopenblas.so.0", "libopenblas.so",
                           "/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0"});
  if (lib.ok()) {
    if (auto set = lib.get<void (*)(int)>("openblas_set_num_threads")) set(threads);
  }
  return lib;
}

}  // namespace zvx_bench
