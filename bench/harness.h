// The benchmark harness: every figure is a ratio against a peer measured in the same run.
//
// time_pair() warms both sides up, then takes samples alternately (ours, peer, ours, ...), so
// that drifts of frequency or of the other core's load hit both alike, and reports the medians.
// A sample repeats the call until it lasts long enough for the clock to resolve it.
//
// Peers that implement the same public names as this library (OpenBLAS, GMP, ...) are loaded
// with dlopen(RTLD_LOCAL) through peer_library, never linked, so no peer symbol can stand in for
// ours.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace zvx_bench {

struct options {
  int warmup = 2;              // untimed calls of each side before sampling
  int samples = 15;            // samples of each side; the median is reported
  double sample_seconds = 2e-3;// a sample repeats the call until it lasts at least this long
  bool write_docs = false;     // --docs: write the table into docs/benchmarks.md
  bool quick = false;          // --quick: fewer samples and sizes, for a smoke run
  std::string docs_path;       // docs/benchmarks.md of the source tree
};

// Parses --docs, --quick, --samples N. The docs path defaults to the source tree's.
options parse_options(int argc, char** argv);

struct pair_timing {
  double ours;  // median seconds per call
  double peer;
  double ratio() const { return ours / peer; }  // below 1.0: ours is faster
};

pair_timing time_pair(const std::function<void()>& ours, const std::function<void()>& peer,
                      const options& opt);
// One side alone (for scaling figures such as two threads against one).
double time_one(const std::function<void()>& fn, const options& opt);

// The same pair timing on the calling thread's CPU time, which stops while the thread waits for a
// core: on a machine shared with builds that come and go, a thread taken off its core between two
// clock reads makes a wall-clock sample meaningless. What other processes do to the caches and
// the memory bus still shows. One-thread rows only.
double thread_seconds();
// Seconds of the monotonic wall clock.
double wall_seconds();
// Seconds of thread CPU time per call of fn, over at least min_seconds.
double cpu_sample(const std::function<void()>& fn, double min_seconds);
pair_timing time_pair_cpu(const std::function<void()>& ours, const std::function<void()>& peer,
                          const options& opt);

// One thread against two on the same work. On a shared machine the wall clock of a two-thread
// call says more about the other processes than about the split, so each call also reads the CPU
// clocks of the two threads of the runtime's team (it keeps the same threads for regions of two):
// the one-thread call's CPU time T1, and per two-thread call the larger of its threads' times and
// their sum. T1 over the least larger time is the speed-up on a quiet machine if nothing else
// stalls a thread (time spent spinning at a barrier counts, time waiting for a core does not);
// the least sum over T1 is what the second thread costs in all. `samples` rounds alternate the
// sides, `calls` timed calls a side each; `prepare(side)` runs untimed before every call (side 0
// one thread, 1 two), for work that must be reset or a thread count that must be set.
struct two_thread_figures {
  double wall = 0;       // least wall-clock time with one thread over least with two
  double predicted = 0;  // T1 over the least larger per-thread CPU time with two
  double overhead = 0;   // least sum of the two threads' CPU times over T1
  double wall1 = 0;      // least wall-clock seconds with one thread
  double wall2 = 0;      // least wall-clock seconds with two
  double cpu1 = 0;       // T1, seconds
  double larger2 = 0;    // least larger per-thread CPU seconds with two
};
two_thread_figures two_threads(const std::function<void()>& one, const std::function<void()>& two,
                               int samples, int calls,
                               const std::function<void(int side)>& prepare = nullptr);
// This machine's streaming bandwidth for one thread, GB/s in thread CPU time like the rows it is
// compared with: the best of a triad a = b + s c (four transfers per element with the
// write-allocate of a) and an in-place scaling (two transfers), over 160 MB arrays, best of five.
double memory_bandwidth_gbs();
// How fast one core reads data the other core has just written, against data it wrote itself:
// 8 MiB summed (GB/s, wall clock, best of 15), for the two-thread rows whose split moves data
// between the cores' caches. On a virtual machine the host may place the two cores so that they
// share a last-level cache or not, and change that while a run goes on.
struct cross_core_read {
  double own = 0, other = 0;
};
cross_core_read cross_core_read_gbs();

// A table of results, printed as Markdown and optionally written into docs/benchmarks.md
// between the markers of its section, replacing what that section held before.
struct table {
  std::string section;  // unique name of the section in docs/benchmarks.md
  std::string title;
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;
  std::vector<std::string> notes;  // lines printed under the table
  std::vector<std::string> header; // lines printed between the title and the table (peer, machine)
  void add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
  void print() const;
  void write_docs(const options& opt) const;
};

std::string fmt(double v, int decimals = 2);

// A plot of series against x, written as a PNG beside docs/benchmarks.md with gnuplot when it is
// installed. Returns the file name written, or "" when gnuplot is missing.
struct series {
  std::string name;
  std::vector<double> x, y;
};
std::string plot_png(const options& opt, const std::string& file, const std::string& title,
                     const std::string& xlabel, const std::string& ylabel,
                     const std::vector<series>& lines, bool log_x = false);

// The machine: the core clock in GHz, measured by a chain of dependent additions (one retires
// a cycle) so that it is the boosted clock the kernels run at, and the double-precision peak of one core in GFLOP/s: frequency x vector width x 2 (FMA) x FMA units.
double core_ghz();
double peak_gflops_double(int fma_units = 2);
double peak_gflops_single(int fma_units = 2);
// Single-precision peak of one core measured with independent FMA chains on the library's
// vectors (GFLOP/s; halve it for double), 0 for the baseline instruction set.
double measured_peak_gflops_single();
// The same chains held for windows of about 0.1 s, the median of nine: the rate the core keeps up
// under a full FMA load for as long as a large product runs, below the short runs' best where
// the clock falls back from its boost.
double sustained_peak_gflops_single();
const char* vector_isa_name();  // "avx512", "avx2" or "portable", as this library chose

// A peer library loaded with RTLD_LOCAL from the first of the candidate file names that opens.
struct peer_library {
  void* handle = nullptr;
  std::string file;
  explicit peer_library(const std::vector<std::string>& candidates);
  peer_library(const std::vector<std::string>& candidates, int dlopen_flags);
  bool ok() const { return handle != nullptr; }
  void* symbol(const char* name) const;
  template <class F>
  F get(const char* name) const {
    return reinterpret_cast<F>(symbol(name));
  }
};

// OpenBLAS as the peer of the dense kernels, pinned to `threads` threads.
//
// The peer runs its strongest kernel family for this processor: the AVX-512 family (SkylakeX)
// where the processor has AVX-512 F, DQ, BW and VL, the AVX2 family (Haswell) where it has AVX2
// and FMA, the baseline (Prescott) otherwise. Before it is loaded, each candidate family from the
// strongest down is tried in a forked child that sets OPENBLAS_CORETYPE, loads the library and
// checks its gemm (four types, small and packed sizes), dot, axpy, gemv, symv, syrk and trsm
// against naive loops; a family that computes wrong results, crashes or hangs is refused and the
// next one tried. The chosen family is then set in this process only (OPENBLAS_CORETYPE, and
// OPENBLAS_L2_SIZE dropped so that the library sizes its blocks by the processor) and the library
// loaded. ZVX_BENCH_PEER_FAMILY=<name> puts that family first. The first call forks: make it before
// the program starts threads of its own.
peer_library& openblas(int threads = 1);

// What was asked of the OpenBLAS peer and what the loaded library reports.
struct peer_family {
  std::string requested;              // the family set in OPENBLAS_CORETYPE, "" when none passed
  std::string reason;                 // why that family
  std::vector<std::string> refused;   // families refused before it, each with the failure
  std::string corename;               // openblas_get_corename() of the loaded library
  std::string config;                 // openblas_get_config()
};
const peer_family& openblas_family();  // loads the peer when it is not loaded yet

// The processor by its features (never by maker or model): architecture, the vector set this
// library chose, AVX2/FMA and the AVX-512 subsets, cache sizes, logical processors.
std::string processor_description();

// The lines a table against OpenBLAS prints in its header: the kernel that ran, the family asked
// for and why, the processor.
std::vector<std::string> openblas_header();

// The reference BLAS (column-by-column loops, no blocking) as a referee when ours and the peer
// disagree; loaded RTLD_LOCAL | RTLD_DEEPBIND so that its own helpers bind to its own copies.
// ok() is false when it is not installed.
peer_library& reference_blas();

// A region a call writes: `count` reals of float or double (a complex element counts two).
struct output {
  void* data;
  size_t count;
  bool single;
};

// The peer's result compared with ours on one row.
struct result_check {
  bool compared = false;
  double difference = 0;  // largest |peer - ours| over the largest |ours|, in the outputs
  bool differ = false;    // beyond the tolerance
  bool peer_wrong = false, ours_wrong = false;  // as the referee decided, when they differ
  bool refereed = false;
  // "ok 3e-07", "PEER WRONG 4e-01", "OURS WRONG 4e-01", "BOTH WRONG 4e-01",
  // "differ 4e-01 (no referee)" or "(referee between)", or "-" when nothing was compared.
  std::string mark() const;
};

// "Load average of the machine at the end of the run: ...", for the notes of a table measured on
// a machine that other work may share; "" where the system does not say.
std::string load_note();

// The note a table with a column of result_check marks carries under it.
std::string check_note();

// Runs ours, then the peer, once each from the same state of `outputs` (saved first and put back
// after each call and at the end), and compares what they wrote. When they differ by more than
// `tolerance` (relative to the largest |ours|; negative: 1e-3 in single precision, 1e-9 in double;
// 0: exact, for indices) and a referee is given, it runs from the same state too and the side that
// disagrees with it is named wrong.
result_check check_pair(const std::function<void()>& ours, const std::function<void()>& peer,
                        const std::vector<output>& outputs, double tolerance = -1,
                        const std::function<void()>& referee = nullptr);

}  // namespace zvx_bench
