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

// A table of results, printed as Markdown and optionally written into docs/benchmarks.md
// between the markers of its section, replacing what that section held before.
struct table {
  std::string section;  // unique name of the section in docs/benchmarks.md
  std::string title;
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;
  std::vector<std::string> notes;  // lines printed under the table
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
const char* vector_isa_name();  // "avx512", "avx2" or "portable", as this library chose

// A peer library loaded with RTLD_LOCAL from the first of the candidate file names that opens.
struct peer_library {
  void* handle = nullptr;
  std::string file;
  explicit peer_library(const std::vector<std::string>& candidates);
  bool ok() const { return handle != nullptr; }
  void* symbol(const char* name) const;
  template <class F>
  F get(const char* name) const {
    return reinterpret_cast<F>(symbol(name));
  }
};

// OpenBLAS as the peer of the dense kernels, pinned to `threads` threads.
peer_library& openblas(int threads = 1);

}  // namespace zvx_bench
