// Complex transforms through the descriptor entries against FFTW (plans made with FFTW_MEASURE
// before any timing), one thread, in place; then the two-thread speed-up of our 2-D and 3-D
// transforms; then the real transforms (bench_dft_real.cpp). Every row also compares our result
// with FFTW's on the same input.
#include <fftw3.h>
#include <omp.h>
#include <pthread.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <cstring>
#include <random>
#include <span>
#include <cstdlib>
#include <string>
#include <vector>

#include "dft/descriptor.h"
#include "harness.h"
#include "zvx.h"

namespace {

struct shape {
  std::string label;
  std::vector<int> n;  // the first dimension is the contiguous one
  long total() const {
    long t = 1;
    for (int v : n) t *= v;
    return t;
  }
};

double flops(long total) { return 5.0 * total * std::log2(static_cast<double>(total)); }

template <class E> struct traits;
template <> struct traits<zvx_complex16> {
  using fftw_c = fftw_complex;
  using plan = fftw_plan;
  static constexpr int precision = DFTI_DOUBLE;
  static constexpr const char* name = "double";
  static fftw_c* alloc(long n) { return fftw_alloc_complex(static_cast<size_t>(n)); }
  static void free(fftw_c* p) { fftw_free(p); }
  static plan make(const shape& s, fftw_c* x) {
    // FFTW takes the dimensions slowest first.
    std::vector<int> dims(s.n.rbegin(), s.n.rend());
    return fftw_plan_dft(static_cast<int>(dims.size()), dims.data(), x, x, FFTW_FORWARD, FFTW_MEASURE);
  }
  static void run(plan p) { fftw_execute(p); }
  static void destroy(plan p) { fftw_destroy_plan(p); }
  static int forward(DFTI_DESCRIPTOR_HANDLE* h, zvx_complex16* x) { return dfti_compute_forward_z(h, x); }
};
template <> struct traits<zvx_complex8> {
  using fftw_c = fftwf_complex;
  using plan = fftwf_plan;
  static constexpr int precision = DFTI_SINGLE;
  static constexpr const char* name = "single";
  static fftw_c* alloc(long n) { return fftwf_alloc_complex(static_cast<size_t>(n)); }
  static void free(fftw_c* p) { fftwf_free(p); }
  static plan make(const shape& s, fftw_c* x) {
    std::vector<int> dims(s.n.rbegin(), s.n.rend());
    return fftwf_plan_dft(static_cast<int>(dims.size()), dims.data(), x, x, FFTW_FORWARD, FFTW_MEASURE);
  }
  static void run(plan p) { fftwf_execute(p); }
  static void destroy(plan p) { fftwf_destroy_plan(p); }
  static int forward(DFTI_DESCRIPTOR_HANDLE* h, zvx_complex8* x) { return dfti_compute_forward_c(h, x); }
};

DFTI_DESCRIPTOR_HANDLE make_descriptor(int precision, const shape& s) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int domain = DFTI_COMPLEX, rank = static_cast<int>(s.n.size());
  if (dfti_create_descriptor_highd(&h, &precision, &domain, &rank, s.n.data()) != 0 ||
      dfti_commit_descriptor_external(&h) != 0) {
    std::fprintf(stderr, "descriptor for %s failed\n", s.label.c_str());
    std::exit(1);
  }
  return h;
}

template <class E>
void fill(E* x, long n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (long i = 0; i < n; ++i) {
    x[i].real = static_cast<decltype(x[i].real)>(u(gen));
    x[i].imag = static_cast<decltype(x[i].imag)>(u(gen));
  }
}

struct row_result {
  double ours, peer;          // median wall-clock seconds per call
  double ours_cpu, peer_cpu;  // least thread CPU seconds per call
  double difference;
};

using zvx_bench::thread_seconds;
using zvx_bench::two_thread_figures;
using zvx_bench::wall_seconds;

// The least time per call of each side over alternating samples, each sample a run of calls that
// lasts about a millisecond. With `cpu`, the clock is this thread's CPU time, which other work on
// a shared machine does not inflate; without it (threaded calls), the wall clock, whose minimum
// is the run that nothing interrupted.
void least_times(const std::function<void()>& a, const std::function<void()>& b, bool cpu,
                 double* ta, double* tb) {
  auto clock = cpu ? thread_seconds : wall_seconds;
  const double t0 = clock();
  a();
  const double once = std::max(clock() - t0, 1e-7);
  const long reps = std::max(1L, static_cast<long>(1e-3 / once));
  *ta = *tb = 1e30;
  for (int s = 0; s < 41; ++s) {
    for (int side = 0; side < 2; ++side) {
      const std::function<void()>& f = side == 0 ? a : b;
      const double start = clock();
      for (long r = 0; r < reps; ++r) f();
      double& best = side == 0 ? *ta : *tb;
      best = std::min(best, (clock() - start) / static_cast<double>(reps));
    }
  }
}

// Times one in-place forward transform of ours and FFTW's, alternating, and compares their
// results on one fresh input (relative RMS difference).
template <class E>
row_result run_row(const shape& s, const zvx_bench::options& opt) {
  using T = traits<E>;
  const long total = s.total();
  auto* peer_data = T::alloc(total);
  typename T::plan plan = T::make(s, peer_data);  // measuring overwrites the array: plan first
  std::vector<E> ours(static_cast<size_t>(total));
  DFTI_DESCRIPTOR_HANDLE h = make_descriptor(T::precision, s);

  fill(ours.data(), total, 5);
  std::memcpy(static_cast<void*>(peer_data), ours.data(), sizeof(E) * total);
  T::forward(&h, ours.data());
  T::run(plan);
  double diff = 0, norm = 0;
  for (long i = 0; i < total; ++i) {
    const double dr = ours[i].real - peer_data[i][0], di = ours[i].imag - peer_data[i][1];
    diff += dr * dr + di * di;
    norm += static_cast<double>(peer_data[i][0]) * peer_data[i][0] +
            static_cast<double>(peer_data[i][1]) * peer_data[i][1];
  }
  // Repeated in-place transforms grow the data without bound on both sides alike; start small.
  fill(ours.data(), total, 6);
  for (long i = 0; i < total; ++i) {
    ours[i].real *= 1e-30f;
    ours[i].imag *= 1e-30f;
  }
  std::memcpy(static_cast<void*>(peer_data), ours.data(), sizeof(E) * total);
  auto run_ours = [&] { T::forward(&h, ours.data()); };
  auto run_peer = [&] { T::run(plan); };
  const zvx_bench::pair_timing t = zvx_bench::time_pair(run_ours, run_peer, opt);
  double ours_cpu, peer_cpu;
  least_times(run_ours, run_peer, true, &ours_cpu, &peer_cpu);
  dfti_free_descriptor_external(&h);
  T::destroy(plan);
  T::free(peer_data);
  return {t.ours, t.peer, ours_cpu, peer_cpu, std::sqrt(diff / norm)};
}

struct speedups {
  double wall;  // least wall-clock time with one thread over least with two
  double cpu;   // least thread CPU time with one thread over the least, among calls with two, of
                // the larger CPU time of the two threads of the team
};

// Our time with one thread against two, on one descriptor each (the count is fixed at commit):
// the least wall-clock time of one call of each, and the same by thread CPU time. A loaded
// machine often runs both threads of the team on one core, which the wall clock of every call
// shows; the CPU time of each thread leaves out the time it waits for a core, so the larger of the
// two is the call's length had each had a core of its own, apart from the contention for the
// shared cache that two cores running at once would add.
template <class E>
speedups speedup(const shape& s, const zvx_bench::options& opt) {
  using T = traits<E>;
  const long total = s.total();
  std::vector<E> x(static_cast<size_t>(total));
  fill(x.data(), total, 7);
  for (E& e : x) e.real *= 1e-30f, e.imag *= 1e-30f;
  omp_set_num_threads(1);
  DFTI_DESCRIPTOR_HANDLE one = make_descriptor(T::precision, s);
  omp_set_num_threads(2);
  DFTI_DESCRIPTOR_HANDLE two = make_descriptor(T::precision, s);
  omp_set_num_threads(1);
  // Runs of consecutive calls, each call timed: the first call of a run may wait for the team's
  // threads to wake up, which a loaded machine stretches to milliseconds; the least call of all
  // runs is the transform itself.
  const two_thread_figures f = zvx_bench::two_threads([&] { T::forward(&one, x.data()); },
                                                      [&] { T::forward(&two, x.data()); }, 21, 8);
  dfti_free_descriptor_external(&one);
  dfti_free_descriptor_external(&two);
  return {f.wall, f.predicted};
}

double relative_difference(const zvx_complex16* ours, const fftw_complex* peer, long n,
                           bool reversed) {
  int bits = 0;
  while ((1L << bits) < n) ++bits;
  double diff = 0, norm = 0;
  for (long i = 0; i < n; ++i) {
    long j = i;
    if (reversed) {
      j = 0;
      for (int b = 0; b < bits; ++b) j |= ((i >> b) & 1L) << (bits - 1 - b);
    }
    const double dr = ours[i].real - peer[j][0], di = ours[i].imag - peer[j][1];
    diff += dr * dr + di * di;
    norm += peer[j][0] * peer[j][0] + peer[j][1] * peer[j][1];
  }
  return std::sqrt(diff / norm);
}

// The large lines' two-thread figures in rounds: the speed-up of one round against the next
// moves far more than the calls within a round do (the two cores' shared caches and their
// neighbours' traffic change from one second to the next), and a ratio of least times taken in
// different rounds mixes a quiet second of one side with a busy one of the other. So each round
// gives its own ratios; the row shows their medians and the spread of the wall-clock ones.
struct two_thread_rounds {
  std::vector<double> walls, predicted, overhead;  // each round's ratios
  double wall2 = 1e30, cpu1 = 1e30, larger2 = 1e30;  // least times of all rounds, seconds
};
two_thread_rounds rounds_of_two_threads(const std::function<void()>& one,
                                        const std::function<void()>& two) {
  constexpr int kRounds = 5;
  const double start = wall_seconds();
  one();
  const double once = std::max(wall_seconds() - start, 1e-6);
  const int samples = std::max(6, static_cast<int>(0.1 / once));
  two_thread_rounds r;
  for (int k = 0; k < kRounds; ++k) {
    const two_thread_figures f = zvx_bench::two_threads(one, two, samples, 4);
    r.walls.push_back(f.wall);
    r.predicted.push_back(f.predicted);
    r.overhead.push_back(f.overhead);
    r.wall2 = std::min(r.wall2, f.wall2);
    r.cpu1 = std::min(r.cpu1, f.cpu1);
    r.larger2 = std::min(r.larger2, f.larger2);
  }
  return r;
}

DFTI_DESCRIPTOR_HANDLE large_descriptor(long n, int ordering, double forward_scale, int threads) {
  omp_set_num_threads(threads);
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int precision = DFTI_DOUBLE, domain = DFTI_COMPLEX, rank = 1, length = static_cast<int>(n);
  int p = DFTI_ORDERING;
  bool ok = dfti_create_descriptor_highd(&h, &precision, &domain, &rank, &length) == 0 &&
            dfti_set_value_intval(&h, &p, &ordering) == 0;
  p = DFTI_FORWARD_SCALE;
  ok = ok && dfti_set_value_dblval(&h, &p, &forward_scale) == 0;
  p = DFTI_BACKWARD_SCALE;
  ok = ok && dfti_set_value_dblval(&h, &p, &forward_scale) == 0;
  ok = ok && dfti_commit_descriptor_external(&h) == 0;
  omp_set_num_threads(1);
  if (!ok) {
    std::fprintf(stderr, "large descriptor of %ld failed\n", n);
    std::exit(1);
  }
  return h;
}

// The large power-of-two engine on long double-precision lines, in place, forward: scrambled
// through the descriptor, ordered through the engine's serial entry (a descriptor sends one-thread
// ordered lines to the line engine; the large engine takes them in the threaded hybrid), one
// thread against FFTW; then two threads against our one.
void large_rows(const zvx_bench::options& opt) {
  const zvx_bench::cross_core_read before = zvx_bench::cross_core_read_gbs();
  zvx_bench::table t;
  t.section = "dft_large";
  t.title = "Large power-of-two engine, complex double, in place, forward, against FFTW";
  t.columns = {"n", "order", "ours ms", "FFTW ms", "ratio ours/FFTW (least CPU time)",
               "result difference"};
  for (int lg : {20, 22}) {
    const long n = 1L << lg;
    fftw_complex* peer = fftw_alloc_complex(static_cast<size_t>(n));
    fftw_plan plan = fftw_plan_dft_1d(static_cast<int>(n), peer, peer, FFTW_FORWARD, FFTW_MEASURE);
    // Our line on a 64-byte boundary as FFTW's is on its own allocator's: a std::vector's
    // storage sits 16 bytes off a cache line, which costs every pass a line split per vector.
    const size_t bytes = sizeof(zvx_complex16) * static_cast<size_t>(n);
    zvx_complex16* line = static_cast<zvx_complex16*>(std::aligned_alloc(64, bytes));
    const std::span<zvx_complex16> x(line, static_cast<size_t>(n));
    DFTI_DESCRIPTOR_HANDLE h = large_descriptor(n, DFTI_BACKWARD_SCRAMBLED, 1.0, 1);
    DftiDimensionRecord ordered = *h;
    ordered.ordering = DFTI_ORDERED;
    for (int order = 0; order < 2; ++order) {
      const bool scrambled = order == 0;
      auto run_ours = [&] {
        if (scrambled) dfti_compute_forward_z(&h, x.data());
        else ordered.forward_z(x.data(), x.data(), &ordered, nullptr);
      };
      fill(x.data(), n, 5);
      std::memcpy(static_cast<void*>(peer), x.data(), sizeof(zvx_complex16) * n);
      run_ours();
      fftw_execute(plan);
      const double difference = relative_difference(x.data(), peer, n, scrambled);
      fill(x.data(), n, 6);
      for (zvx_complex16& e : x) e.real *= 1e-30, e.imag *= 1e-30;
      std::memcpy(static_cast<void*>(peer), x.data(), sizeof(zvx_complex16) * n);
      double ours, theirs;
      least_times(run_ours, [&] { fftw_execute(plan); }, true, &ours, &theirs);
      char diff[32];
      std::snprintf(diff, sizeof diff, "%.1e", difference);
      t.add({"2^" + std::to_string(lg), scrambled ? "scrambled" : "ordered",
             zvx_bench::fmt(ours * 1e3, 2), zvx_bench::fmt(theirs * 1e3, 2),
             zvx_bench::fmt(ours / theirs, 3), diff});
      std::printf("large 2^%d %s ours %.3f ms FFTW %.3f ms ratio %.3f difference %s\n", lg,
                  scrambled ? "scrambled" : "ordered", ours * 1e3, theirs * 1e3, ours / theirs,
                  diff);
      std::fflush(stdout);
    }
    // Two threads against one: scrambled through the descriptor, and the ordered hybrid, whose
    // one-thread side is the serial entry. All scales are 1/sqrt(n), which leaves a
    // forward transform's norm where it was: with 1/n every call shrank the line by sqrt(n) (with
    // 1.0 grew it), and the hundreds of timed calls ran, after the first hundred or so, on
    // subnormal numbers and zeros (on infinities).
    const double inv = 1.0 / std::sqrt(static_cast<double>(n));
    DFTI_DESCRIPTOR_HANDLE one = large_descriptor(n, DFTI_BACKWARD_SCRAMBLED, inv, 1);
    DFTI_DESCRIPTOR_HANDLE two = large_descriptor(n, DFTI_BACKWARD_SCRAMBLED, inv, 2);
    DFTI_DESCRIPTOR_HANDLE hybrid = large_descriptor(n, DFTI_ORDERED, inv, 2);
    DftiDimensionRecord serial_hybrid = *hybrid;
    fill(x.data(), n, 7);
    auto add = [&](const char* what, const two_thread_rounds& r) {
      auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
      };
      std::vector<double> walls = r.walls;
      std::sort(walls.begin(), walls.end());
      char text[224];
      std::snprintf(text, sizeof text,
                    "%.3fx wall (rounds %.2f-%.2f); %.3fx T1 / larger thread CPU; sum / T1 %.3f",
                    median(r.walls), walls.front(), walls.back(), median(r.predicted),
                    median(r.overhead));
      t.add({"2^" + std::to_string(lg), std::string(what) + ", two threads against our one",
             zvx_bench::fmt(r.wall2 * 1e3, 2), "", text, ""});
      std::printf("large 2^%d %s two threads: %s (T1 %.3f ms, larger thread %.3f ms)\n", lg,
                  what, text, r.cpu1 * 1e3, r.larger2 * 1e3);
      std::fflush(stdout);
    };
    add("scrambled", rounds_of_two_threads([&] { dfti_compute_forward_z(&one, x.data()); },
                                           [&] { dfti_compute_forward_z(&two, x.data()); }));
    add("ordered hybrid", rounds_of_two_threads(
                              [&] { serial_hybrid.forward_z(x.data(), x.data(), &serial_hybrid, nullptr); },
                              [&] { dfti_compute_forward_z(&hybrid, x.data()); }));
    dfti_free_descriptor_external(&one);
    dfti_free_descriptor_external(&two);
    dfti_free_descriptor_external(&hybrid);
    dfti_free_descriptor_external(&h);
    fftw_destroy_plan(plan);
    fftw_free(peer);
    std::free(line);
  }
  t.notes.push_back(
      "FFTW " + std::string(fftw_version) +
      ", one thread, plan made with FFTW_MEASURE before timing. Times are the least thread CPU "
      "time per call over alternating samples. Two-thread rows, five rounds of alternating "
      "calls, each round's ratios of its own least times, the median of the five given (ours ms: "
      "the least two-thread wall-clock time of all rounds): the wall-clock time of single calls, "
      "one thread over two, which needs the second core free (in brackets the spread of the "
      "rounds: the two cores' caches and memory are shared with the host's other work, which "
      "changes from one second to the next); T1 (the least CPU time of one thread) over the "
      "least, among calls with two threads, of the larger CPU time of the two, which time spent "
      "waiting for a core leaves out; and the least sum of the two threads' CPU times over T1, "
      "the work the split adds (below 1: the one-thread calls of that minute ran slow, the "
      "host's load on the two cores not being even, and the ratios overstate).");
  {
    const zvx_bench::cross_core_read after = zvx_bench::cross_core_read_gbs();
    char line[320];
    std::snprintf(line, sizeof line,
                  "One core reading 8 MiB the other core has just written, against 8 MiB it wrote "
                  "itself: %.0f against %.0f GB/s before the rows, %.0f against %.0f after them "
                  "(the two-thread rows move half the line between the cores' caches).",
                  before.other, before.own, after.other, after.own);
    t.notes.push_back(line);
  }
  if (FILE* f = std::fopen("/proc/loadavg", "r")) {
    double load = 0;
    if (std::fscanf(f, "%lf", &load) == 1) {
      char line[160];
      std::snprintf(line, sizeof line,
                    "Load average of the machine when the run ended: %.1f on %d cores.", load,
                    omp_get_num_procs());
      t.notes.push_back(line);
    }
    std::fclose(f);
  }
  t.print();
  t.write_docs(opt);
}

}  // namespace

void real_transform_table(const zvx_bench::options& opt);  // bench_dft_real.cpp

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  // --real: the real table alone.
  for (int i = 1; i < argc; ++i)
    if (std::string(argv[i]) == "--real") {
      omp_set_num_threads(1);
      real_transform_table(opt);
      return 0;
    }
  // Threads for the speed-up rows: the policy is read once, so it is set before anything asks.
  set_parallel();
  omp_set_num_threads(1);
  bool large_only = false;
  for (int i = 1; i < argc; ++i) large_only = large_only || !std::strcmp(argv[i], "--large");
  if (large_only) {
    large_rows(opt);
    return 0;
  }

  std::vector<shape> shapes;
  for (int n = 64; n <= 65536; n *= 2) shapes.push_back({std::to_string(n), {n}});
  for (int n : {1000, 1536, 10000}) shapes.push_back({std::to_string(n) + " (mixed radix)", {n}});
  for (int n : {1009, 65537}) shapes.push_back({std::to_string(n) + " (prime)", {n}});
  shapes.push_back({"512 x 512", {512, 512}});
  shapes.push_back({"64 x 64 x 64", {64, 64, 64}});
  if (opt.quick) shapes = {shapes[0], shapes[4], shapes[13], shapes[16], shapes[17]};

  zvx_bench::table t;
  t.section = "dft";
  t.title = "Complex transforms through the descriptor, in place, forward, one thread, against FFTW";
  t.columns = {"precision", "n", "ours GFLOP/s", "FFTW GFLOP/s", "ratio ours/FFTW (median time)",
               "ratio (least CPU time)", "result difference"};
  std::vector<zvx_bench::series> curves;
  auto run_precision = [&](auto tag) {
    using E = decltype(tag);
    zvx_bench::series ours{std::string("ours, ") + traits<E>::name, {}, {}};
    zvx_bench::series peer{std::string("FFTW, ") + traits<E>::name, {}, {}};
    for (const shape& s : shapes) {
      const row_result r = run_row<E>(s, opt);
      const double f = flops(s.total());
      char difference[32];
      std::snprintf(difference, sizeof difference, "%.1e", r.difference);
      t.add({traits<E>::name, s.label, zvx_bench::fmt(f / r.ours_cpu * 1e-9, 2),
             zvx_bench::fmt(f / r.peer_cpu * 1e-9, 2), zvx_bench::fmt(r.ours / r.peer, 3),
             zvx_bench::fmt(r.ours_cpu / r.peer_cpu, 3), difference});
      std::printf("%s %s ours %.3g s FFTW %.3g s ratio %.3f, least CPU %.3g / %.3g ratio %.3f, "
                  "difference %.2e\n",
                  traits<E>::name, s.label.c_str(), r.ours, r.peer, r.ours / r.peer, r.ours_cpu,
                  r.peer_cpu, r.ours_cpu / r.peer_cpu, r.difference);
      std::fflush(stdout);
      if (s.n.size() == 1 && (s.n[0] & (s.n[0] - 1)) == 0) {
        ours.x.push_back(s.n[0]);
        ours.y.push_back(f / r.ours_cpu * 1e-9);
        peer.x.push_back(s.n[0]);
        peer.y.push_back(f / r.peer_cpu * 1e-9);
      }
    }
    curves.push_back(ours);
    curves.push_back(peer);
    for (const shape& s : {shapes[shapes.size() - 2], shapes.back()}) {
      const speedups up = speedup<E>(s, opt);
      t.add({traits<E>::name, s.label + ", two threads against our one", "", "",
             zvx_bench::fmt(up.wall, 3) + "x (least wall-clock time)",
             zvx_bench::fmt(up.cpu, 3) + "x (thread CPU time, the larger thread)", ""});
      std::printf("%s %s two threads: %.3fx wall clock, %.3fx thread CPU time\n",
                  traits<E>::name, s.label.c_str(), up.wall, up.cpu);
      std::fflush(stdout);
    }
  };
  run_precision(zvx_complex16{});
  run_precision(zvx_complex8{});

  const std::string plot = zvx_bench::plot_png(
      opt, "dft_complex.png", "Complex in-place transforms, one thread", "n",
      "GFLOP/s (5 n log2 n / t)", curves, true);
  if (!plot.empty()) t.notes.push_back("![speed of complex transforms](" + plot + ")");
  t.notes.push_back(
      "FFTW " + std::string(fftw_version) +
      ", plans made with FFTW_MEASURE before timing, executed through fftw_execute. Two ratios: "
      "the medians of alternating wall-clock samples in one process, and the least thread CPU "
      "time per call over alternating samples, which other work on the machine inflates less; "
      "the speeds and the plot use the latter, counting 5 n log2 n flops per transform. The "
      "result difference is the relative RMS difference of the two outputs on one input. "
      "Instruction set: " + std::string(zvx_bench::vector_isa_name()) +
      "; the machine's two cores are shared with other work, so figures move by a few per cent "
      "between runs. Two-thread rows: the wall-clock speed-up needs the second core free; the "
      "thread CPU speed-up takes, over many calls, the least of the larger CPU time of the two "
      "threads, which time spent waiting for a core leaves out (with the runtime's default "
      "waiting, a thread that spins at the end of a region for a late partner counts that time "
      "too, so the least call is one where both ran at once).");
  if (FILE* f = std::fopen("/proc/loadavg", "r")) {
    double load = 0;
    if (std::fscanf(f, "%lf", &load) == 1) {
      char line[160];
      std::snprintf(line, sizeof line,
                    "Load average of the machine when the run ended: %.1f on %d cores.", load,
                    omp_get_num_procs());
      t.notes.push_back(line);
    }
    std::fclose(f);
  }
  t.print();
  t.write_docs(opt);
  real_transform_table(opt);
  large_rows(opt);
  return 0;
}
