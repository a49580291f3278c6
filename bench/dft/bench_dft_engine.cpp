// The DFT line engine against FFTW: one complex line in place, or one real line out of place
// against FFTW's r2c and c2r plans, one thread, FFTW planned with FFTW_MEASURE before timing.
// Both results are checked against each other on random data first; the timed line is then kept
// at zero, so that thousands of unscaled transforms in a row neither overflow nor reach subnormal
// numbers (the arithmetic does not depend on the values otherwise). Prints a table of times,
// ratios and 5 n log2 n / t, and with --docs writes it and a plot into docs/benchmarks.md.
#include <fftw3.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dft/engine_internal.h"
#include "harness.h"

namespace {

using namespace zvx::dft;

template <class T>
struct kind;
template <>
struct kind<float> {
  using element = zvx_complex8;
  static constexpr const char* name = "c";
  static constexpr int type = context_complex_single;
  static int forward(element* x, PrimitiveDftContext* c, void* s) {
    return primitive_dft_forward_c(x, x, c, s);
  }
  struct peer {
    fftwf_complex* data;
    fftwf_plan plan;
    explicit peer(int n) {
      data = static_cast<fftwf_complex*>(fftwf_malloc(sizeof(fftwf_complex) * n));
      plan = fftwf_plan_dft_1d(n, data, data, FFTW_FORWARD, FFTW_MEASURE);
    }
    ~peer() {
      fftwf_destroy_plan(plan);
      fftwf_free(data);
    }
    void run() { fftwf_execute(plan); }
    float* values() { return reinterpret_cast<float*>(data); }
  };
};
template <>
struct kind<double> {
  using element = zvx_complex16;
  static constexpr const char* name = "z";
  static constexpr int type = context_complex_double;
  static int forward(element* x, PrimitiveDftContext* c, void* s) {
    return primitive_dft_forward_z(x, x, c, s);
  }
  struct peer {
    fftw_complex* data;
    fftw_plan plan;
    explicit peer(int n) {
      data = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * n));
      plan = fftw_plan_dft_1d(n, data, data, FFTW_FORWARD, FFTW_MEASURE);
    }
    ~peer() {
      fftw_destroy_plan(plan);
      fftw_free(data);
    }
    void run() { fftw_execute(plan); }
    double* values() { return reinterpret_cast<double*>(data); }
  };
};

struct result {
  double ours, peer, error;
  double ours_cpu, peer_cpu;  // least thread CPU time per call
};

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// The least CPU time of this thread per call over alternating samples of both sides: time the
// thread spends descheduled is not counted, so the figure holds on a loaded machine, where the
// wall-clock medians of time_pair move with the other work.
std::pair<double, double> cpu_pair(const std::function<void()>& ours,
                                   const std::function<void()>& peer, int samples) {
  auto sample = [](const std::function<void()>& fn) {
    long reps = 1;
    for (;;) {
      const double t0 = thread_seconds();
      for (long r = 0; r < reps; ++r) fn();
      const double t = thread_seconds() - t0;
      if (t >= 2e-3) return t / static_cast<double>(reps);
      reps *= 2;
    }
  };
  double best_ours = 1e30, best_peer = 1e30;
  for (int i = 0; i < samples; ++i) {
    best_ours = std::min(best_ours, sample(ours));
    best_peer = std::min(best_peer, sample(peer));
  }
  return {best_ours, best_peer};
}

template <class T>
result measure(int n, const zvx_bench::options& opt) {
  using K = kind<T>;
  typename K::peer theirs(n);  // planned before anything is timed
  PrimitiveDftContext* c = nullptr;
  if (primitive_dft_create(&c, K::type, n, scale_none, 0) != 0) {
    std::fprintf(stderr, "create failed for %d\n", n);
    std::exit(1);
  }
  int bytes = 0;
  primitive_dft_buffer_size(c, &bytes);
  void* scratch = std::aligned_alloc(64, ((bytes + 32 + 63) / 64) * 64 + 64);
  std::vector<typename K::element> ours(n);
  std::mt19937 g(n);
  std::uniform_real_distribution<T> u(-1, 1);
  T* p = theirs.values();
  for (int k = 0; k < n; ++k) {
    ours[k].real = p[2 * k] = u(g);
    ours[k].imag = p[2 * k + 1] = u(g);
  }
  K::forward(ours.data(), c, scratch);
  theirs.run();
  long double num = 0, den = 0;
  for (int k = 0; k < n; ++k) {
    const long double dr = ours[k].real - p[2 * k], di = ours[k].imag - p[2 * k + 1];
    num += dr * dr + di * di;
    const long double pr = p[2 * k], pi = p[2 * k + 1];
    den += pr * pr + pi * pi;
  }
  const double error = std::sqrt(static_cast<double>(num / den));
  std::memset(ours.data(), 0, sizeof(typename K::element) * n);
  std::memset(p, 0, sizeof(T) * 2 * n);
  const auto run_ours = [&] { K::forward(ours.data(), c, scratch); };
  const auto run_peer = [&] { theirs.run(); };
  const auto t = zvx_bench::time_pair(run_ours, run_peer, opt);
  const auto cpu = cpu_pair(run_ours, run_peer, opt.samples);
  primitive_dft_free(c);
  std::free(scratch);
  return {t.ours, t.peer, error, cpu.first, cpu.second};
}

// Real lines: ours in the CCS layout (the layout of FFTW's r2c output), out of place, against
// fftw(f)_plan_dft_r2c_1d and c2r with FFTW_MEASURE.
template <class T>
struct real_kind;
template <>
struct real_kind<float> {
  static constexpr int type = context_real_single;
  static int forward(const float* x, float* y, PrimitiveDftContext* c, void* s) {
    return primitive_dft_forward_s_ccs(x, y, c, s);
  }
  static int inverse(const float* x, float* y, PrimitiveDftContext* c, void* s) {
    return primitive_dft_inverse_s_ccs(x, y, c, s);
  }
  struct peer {
    float* line;
    fftwf_complex* spectrum;
    fftwf_plan plan;
    peer(int n, bool inverse) {
      line = static_cast<float*>(fftwf_malloc(sizeof(float) * n));
      spectrum = static_cast<fftwf_complex*>(fftwf_malloc(sizeof(fftwf_complex) * (n / 2 + 1)));
      plan = inverse ? fftwf_plan_dft_c2r_1d(n, spectrum, line, FFTW_MEASURE)
                     : fftwf_plan_dft_r2c_1d(n, line, spectrum, FFTW_MEASURE);
    }
    ~peer() {
      fftwf_destroy_plan(plan);
      fftwf_free(line);
      fftwf_free(spectrum);
    }
    void run() { fftwf_execute(plan); }
    float* reals() { return line; }
    float* packed() { return reinterpret_cast<float*>(spectrum); }
  };
};
template <>
struct real_kind<double> {
  static constexpr int type = context_real_double;
  static int forward(const double* x, double* y, PrimitiveDftContext* c, void* s) {
    return primitive_dft_forward_d_ccs(x, y, c, s);
  }
  static int inverse(const double* x, double* y, PrimitiveDftContext* c, void* s) {
    return primitive_dft_inverse_d_ccs(x, y, c, s);
  }
  struct peer {
    double* line;
    fftw_complex* spectrum;
    fftw_plan plan;
    peer(int n, bool inverse) {
      line = static_cast<double*>(fftw_malloc(sizeof(double) * n));
      spectrum = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * (n / 2 + 1)));
      plan = inverse ? fftw_plan_dft_c2r_1d(n, spectrum, line, FFTW_MEASURE)
                     : fftw_plan_dft_r2c_1d(n, line, spectrum, FFTW_MEASURE);
    }
    ~peer() {
      fftw_destroy_plan(plan);
      fftw_free(line);
      fftw_free(spectrum);
    }
    void run() { fftw_execute(plan); }
    double* reals() { return line; }
    double* packed() { return reinterpret_cast<double*>(spectrum); }
  };
};

// One real line of n, forward (reals to CCS) or inverse (CCS to reals); the difference is taken
// over the side each writes.
template <class T>
result measure_real(int n, bool inverse, const zvx_bench::options& opt) {
  using K = real_kind<T>;
  typename K::peer theirs(n, inverse);
  PrimitiveDftContext* c = nullptr;
  if (primitive_dft_create(&c, K::type, n, scale_none, 0) != 0) {
    std::fprintf(stderr, "create failed for %d\n", n);
    std::exit(1);
  }
  int bytes = 0;
  primitive_dft_buffer_size(c, &bytes);
  void* scratch = std::aligned_alloc(64, ((bytes + 32 + 63) / 64) * 64 + 64);
  const int packed = n + 2;
  std::vector<T> line(n), spectrum(packed);
  std::mt19937 g(n);
  std::uniform_real_distribution<T> u(-1, 1);
  if (!inverse) {
    for (int k = 0; k < n; ++k) line[k] = theirs.reals()[k] = u(g);
  } else {
    // A spectrum of a real line: imaginary parts of the ends zero.
    for (int k = 0; k < packed; ++k) spectrum[k] = theirs.packed()[k] = u(g);
    spectrum[1] = theirs.packed()[1] = 0;
    if (n % 2 == 0) spectrum[n + 1] = theirs.packed()[n + 1] = 0;
  }
  if (inverse) K::inverse(spectrum.data(), line.data(), c, scratch);
  else K::forward(line.data(), spectrum.data(), c, scratch);
  theirs.run();
  const T* mine = inverse ? line.data() : spectrum.data();
  const T* peer = inverse ? theirs.reals() : theirs.packed();
  const int count = inverse ? n : packed - (n % 2 == 0 ? 0 : 1);
  long double num = 0, den = 0;
  for (int k = 0; k < count; ++k) {
    const long double d = static_cast<long double>(mine[k]) - peer[k];
    num += d * d;
    den += static_cast<long double>(peer[k]) * peer[k];
  }
  const double error = std::sqrt(static_cast<double>(num / den));
  std::fill(line.begin(), line.end(), T(0));
  std::fill(spectrum.begin(), spectrum.end(), T(0));
  std::memset(theirs.reals(), 0, sizeof(T) * n);
  std::memset(theirs.packed(), 0, sizeof(T) * packed);
  const auto run_ours = [&] {
    if (inverse) K::inverse(spectrum.data(), line.data(), c, scratch);
    else K::forward(line.data(), spectrum.data(), c, scratch);
  };
  const auto run_peer = [&] { theirs.run(); };
  const auto t = zvx_bench::time_pair(run_ours, run_peer, opt);
  const auto cpu = cpu_pair(run_ours, run_peer, opt.samples);
  primitive_dft_free(c);
  std::free(scratch);
  return {t.ours, t.peer, error, cpu.first, cpu.second};
}

std::string scientific(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1e", v);
  return text;
}

double gflops(int n, double seconds) {
  return 5.0 * n * std::log2(static_cast<double>(n)) / seconds * 1e-9;
}

}  // namespace

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  // Samples of 30 ms rather than 2: the machine's two cores are shared, and a sample shorter
  // than a scheduler slice is either untouched or loses a whole slice, which no median of a
  // few samples can undo. Long samples spread the interruptions evenly over both sides.
  opt.sample_seconds = 30e-3;
  std::string only = "zcds";
  std::vector<int> sizes;
  for (int k = 6; k <= 16; ++k) sizes.push_back(1 << k);
  for (int n : {1 << 20, 1000, 1536, 10000, 1009, 65537}) sizes.push_back(n);
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
    if (!std::strcmp(argv[i], "--sizes") && i + 1 < argc) {
      sizes.clear();
      for (char* q = std::strtok(argv[++i], ","); q; q = std::strtok(nullptr, ","))
        sizes.push_back(std::atoi(q));
    }
  }
  // Real lines (--only with d and s): powers of two from 64 to 65536, and 1000 and 10000.
  std::vector<int> real_sizes;
  for (int k = 6; k <= 16; ++k) real_sizes.push_back(1 << k);
  real_sizes.push_back(1000);
  real_sizes.push_back(10000);
  for (int i = 1; i < argc; ++i)
    if (!std::strcmp(argv[i], "--real-sizes") && i + 1 < argc) {
      real_sizes.clear();
      for (char* q = std::strtok(argv[++i], ","); q; q = std::strtok(nullptr, ","))
        real_sizes.push_back(std::atoi(q));
    }
  if (opt.quick) sizes = {64, 1024, 1000, 1009};
  if (opt.quick) real_sizes = {64, 1024, 1000};
  zvx_bench::table t;
  t.section = "dft_engine";
  t.title = "DFT line engine against FFTW (one complex line in place, forward; one real line "
            "out of place, CCS against r2c and c2r; one thread)";
  t.columns = {"type", "n", "ours (us)", "FFTW (us)", "ratio ours/FFTW (time)",
               "ratio (least CPU time)", "ours GFLOP/s", "FFTW GFLOP/s", "difference"};
  std::vector<zvx_bench::series> plot;
  int mismatches = 0;
  std::printf("FFTW %s; instruction set %s\n", fftw_version, zvx_bench::vector_isa_name());
  for (char ch : only) {
    if (ch == 'd' || ch == 's') {
      for (int n : real_sizes)
        for (bool inverse : {false, true}) {
          const result r = ch == 'd' ? measure_real<double>(n, inverse, opt)
                                     : measure_real<float>(n, inverse, opt);
          const double agree = (ch == 'd' ? 4e-16 : 2e-7) * std::log2(static_cast<double>(n));
          if (!(r.error <= agree)) {
            std::fprintf(stderr, "%c n=%d: results differ by %.3e\n", ch, n, r.error);
            mismatches++;
          }
          const std::string type = std::string(ch == 'd' ? "d" : "s") +
                                   (inverse ? " real inverse" : " real forward");
          // 2.5 n log2 n: half the operations of a complex line.
          t.add({type, std::to_string(n), zvx_bench::fmt(r.ours * 1e6, 2),
                 zvx_bench::fmt(r.peer * 1e6, 2), zvx_bench::fmt(r.ours / r.peer, 3),
                 zvx_bench::fmt(r.ours_cpu / r.peer_cpu, 3),
                 zvx_bench::fmt(gflops(n, r.ours_cpu) / 2, 1),
                 zvx_bench::fmt(gflops(n, r.peer_cpu) / 2, 1), scientific(r.error)});
          std::printf("%s n=%d ours %.2f us FFTW %.2f us ratio %.3f, least CPU time %.2f / "
                      "%.2f us ratio %.3f, diff %.2e\n", type.c_str(), n, r.ours * 1e6,
                      r.peer * 1e6, r.ours / r.peer, r.ours_cpu * 1e6, r.peer_cpu * 1e6,
                      r.ours_cpu / r.peer_cpu, r.error);
          std::fflush(stdout);
        }
      continue;
    }
    zvx_bench::series mine{std::string(ch == 'z' ? "z" : "c") + " ours", {}, {}};
    zvx_bench::series peer{std::string(ch == 'z' ? "z" : "c") + " FFTW", {}, {}};
    for (int n : sizes) {
      const result r = ch == 'z' ? measure<double>(n, opt) : measure<float>(n, opt);
      // The two results must agree to the accuracy either transform promises.
      const double agree = (ch == 'z' ? 4e-16 : 2e-7) * std::log2(static_cast<double>(n));
      if (!(r.error <= agree)) {
        std::fprintf(stderr, "%c n=%d: results differ by %.3e\n", ch, n, r.error);
        mismatches++;
      }
      t.add({ch == 'z' ? "z" : "c", std::to_string(n), zvx_bench::fmt(r.ours * 1e6, 2),
             zvx_bench::fmt(r.peer * 1e6, 2), zvx_bench::fmt(r.ours / r.peer, 3),
             zvx_bench::fmt(r.ours_cpu / r.peer_cpu, 3),
             zvx_bench::fmt(gflops(n, r.ours_cpu), 1), zvx_bench::fmt(gflops(n, r.peer_cpu), 1),
             scientific(r.error)});
      std::printf("%s n=%d ours %.2f us FFTW %.2f us ratio %.3f, least CPU time %.2f / %.2f us "
                  "ratio %.3f, diff %.2e\n", ch == 'z' ? "z" : "c", n, r.ours * 1e6, r.peer * 1e6,
                  r.ours / r.peer, r.ours_cpu * 1e6, r.peer_cpu * 1e6, r.ours_cpu / r.peer_cpu,
                  r.error);
      std::fflush(stdout);
      if ((n & (n - 1)) == 0) {
        mine.x.push_back(n);
        mine.y.push_back(gflops(n, r.ours_cpu));
        peer.x.push_back(n);
        peer.y.push_back(gflops(n, r.peer_cpu));
      }
    }
    plot.push_back(mine);
    plot.push_back(peer);
  }
  t.notes.push_back(std::string("Peer: FFTW ") + fftw_version +
                    ", plans made with FFTW_MEASURE before timing. Instruction set of ours: " +
                    zvx_bench::vector_isa_name() +
                    ". Times: medians of alternating wall-clock samples of 30 ms in one process "
                    "(time_pair); the CPU-time ratio takes the least thread CPU time per call over "
                    "alternating samples, which a loaded machine does not distort, and GFLOP/s "
                    "(5 n log2 n / t) and the plot use it. The difference column is the relative "
                    "RMS difference of the two results on random data. Real rows count "
                    "2.5 n log2 n operations, half those of a complex line.");
  const std::string png = zvx_bench::plot_png(opt, "dft_engine.png",
                                              "DFT line engine, powers of two, one thread", "n",
                                              "GFLOP/s (5 n log2 n / t)", plot, true);
  if (!png.empty()) t.notes.push_back("![GFLOP/s against n](" + png + ")");
  t.print();
  if (mismatches > 0) return 1;  // a table of disagreeing results is not written
  t.write_docs(opt);
  return 0;
}
