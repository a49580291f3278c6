// The Dirichlet Poisson problem on the unit square (1024 x 1024 intervals, 1023^2 unknowns) and
// cube (128^3 intervals, 127^3 unknowns) against a textbook fast solver written here over FFTW:
// a sine transform (RODFT00, planned with FFTW_MEASURE, all lines in one plan) along x (and y),
// one Thomas solve per mode along the last axis, the sine transform back and the scaling. Both
// sides start from the prepared right-hand side (ours as commit leaves it, the peer's scaled by
// h^2), so the figure is the solve alone. Then our solve on two threads against one.
#include <fftw3.h>
#include <omp.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "harness.h"
#include "zvx.h"

namespace {


// The textbook solver of -lap u = f with zero boundary values: grid of (n+1)^d nodes, the
// unknowns inside. `work` holds f * h^2 on entry and u on return.
struct textbook {
  int n, dims;
  std::vector<double> lambda;  // 4 sin^2(pi k / 2n), k = 0..n
  std::vector<double> alpha;   // per mode, one sweep
  fftw_plan plan = nullptr;
  double* data;

  textbook(int n_, int dims_, double* buffer) : n(n_), dims(dims_), data(buffer) {
    lambda.resize(n + 1);
    for (int k = 0; k <= n; ++k) {
      const double s = std::sin(M_PI * k / (2.0 * n));
      lambda[k] = 4 * s * s;
    }
    const int m = n - 1;
    const int w = n + 1;
    const fftw_r2r_kind kinds[2] = {FFTW_RODFT00, FFTW_RODFT00};
    if (dims == 2) {
      // Rows 1..n-1, their inner points.
      plan = fftw_plan_many_r2r(1, &m, m, data + w + 1, nullptr, 1, w, data + w + 1, nullptr, 1,
                                w, kinds, FFTW_MEASURE);
      alpha.resize(static_cast<size_t>(m) * w);
    } else {
      const int sizes[2] = {m, m};
      const int embed[2] = {w, w};
      const long plane = static_cast<long>(w) * w;
      plan = fftw_plan_many_r2r(2, sizes, m, data + plane + w + 1, embed, 1,
                                static_cast<int>(plane), data + plane + w + 1, embed, 1,
                                static_cast<int>(plane), kinds, FFTW_MEASURE);
      alpha.resize(static_cast<size_t>(m) * plane);
    }
  }
  ~textbook() { fftw_destroy_plan(plan); }

  // Thomas along the last axis for every mode, the modes of one line of the sweep side by side.
  void sweep(long modes, long stride, const std::vector<double>& diag) {
    const int m = n - 1;
    double* base = data + stride;  // first unknown line
    for (int j = 0; j < m; ++j) {
      double* r = base + j * stride;
      double* a = alpha.data() + static_cast<size_t>(j) * modes;
      const double* ap = j == 0 ? nullptr : a - modes;
      const double* rp = r - stride;
      for (long c = 0; c < modes; ++c) {
        const double piv = j == 0 ? diag[c] : diag[c] - ap[c];
        a[c] = 1.0 / piv;
        r[c] = (j == 0 ? r[c] : r[c] + rp[c]) * a[c];
      }
    }
    for (int j = m - 2; j >= 0; --j) {
      double* r = base + j * stride;
      const double* rn = r + stride;
      const double* a = alpha.data() + static_cast<size_t>(j) * modes;
      for (long c = 0; c < modes; ++c) r[c] += a[c] * rn[c];
    }
  }

  void solve() {
    const int w = n + 1;
    fftw_execute(plan);
    if (dims == 2) {
      // Modes of a row at columns 1..n-1: diagonal 2 + lambda.
      std::vector<double>& diag = scratch;
      diag.assign(w, 2.0);
      for (int k = 1; k < n; ++k) diag[k] = 2 + lambda[k];
      sweep(w, w, diag);
    } else {
      const long plane = static_cast<long>(w) * w;
      std::vector<double>& diag = scratch;
      diag.assign(plane, 2.0);
      for (int j = 1; j < n; ++j)
        for (int i = 1; i < n; ++i) diag[j * w + i] = 2 + lambda[i] + lambda[j];
      sweep(plane, plane, diag);
    }
    fftw_execute(plan);
    const double scale = dims == 2 ? 1.0 / (2.0 * n) : 1.0 / (4.0 * n * n);
    const long total = dims == 2 ? static_cast<long>(w) * w : static_cast<long>(w) * w * w;
    for (long p = 0; p < total; ++p) data[p] *= scale;
  }
  std::vector<double> scratch;
};

struct ours {
  int n, dims;
  std::vector<int> ipar = std::vector<int>(128, 0);
  std::vector<double> dpar, prepared, zero;
  DFTI_DESCRIPTOR_HANDLE xh = nullptr, yh = nullptr;
  double* data;
  ours(int n_, int dims_, const std::vector<double>& f, double* buffer, int threads)
      : n(n_), dims(dims_), data(buffer) {
    const double a = 0, b = 1, q = 0;
    int stat = 0;
    dpar.assign(8 * n + 64, 0);
    zero.assign(static_cast<size_t>(n + 1) * (n + 1), 0);
    prepared = f;
    if (dims == 2) {
      d_init_helmholtz_2d(&a, &b, &a, &b, &n, &n, "DDDD", &q, ipar.data(), dpar.data(), &stat);
      ipar[22] = threads;
      d_commit_helmholtz_2d(prepared.data(), zero.data(), zero.data(), zero.data(), zero.data(),
                            &xh, ipar.data(), dpar.data(), &stat);
    } else {
      d_init_helmholtz_3d(&a, &b, &a, &b, &a, &b, &n, &n, &n, "DDDDDD", &q, ipar.data(),
                          dpar.data(), &stat);
      ipar[22] = threads;
      const double* z = zero.data();
      d_commit_helmholtz_3d(prepared.data(), z, z, z, z, z, z, &xh, &yh, ipar.data(), dpar.data(),
                            &stat);
    }
    if (stat != 0) {
      std::fprintf(stderr, "commit failed: %d\n", stat);
      std::exit(1);
    }
  }
  ~ours() {
    int stat = 0;
    if (dims == 2) {
      free_helmholtz_2d(&xh, ipar.data(), &stat);
    } else {
      free_helmholtz_3d(&xh, &yh, ipar.data(), &stat);
    }
  }
  void solve() {
    reset();
    run();
  }
  void reset() { std::memcpy(data, prepared.data(), prepared.size() * sizeof(double)); }
  void run() {
    int stat = 0;
    const double* z = zero.data();
    if (dims == 2) {
      d_helmholtz_2d(data, z, z, z, z, &xh, ipar.data(), dpar.data(), &stat);
    } else {
      d_helmholtz_3d(data, z, z, z, z, z, z, &xh, &yh, ipar.data(), dpar.data(), &stat);
    }
  }
};

using scaling = zvx_bench::two_thread_figures;

struct row {
  double ratio, ours_ms, peer_ms, diff;
  scaling two;
};

row run(int n, int dims, const zvx_bench::options& opt) {
  const long w = n + 1;
  const long total = dims == 2 ? w * w : w * w * w;
  const double h = 1.0 / n;
  std::vector<double> f(total, 0);
  // f for u = sin(pi x) sin(2 pi y) (sin(pi z)): smooth, zero on the boundary.
  for (long p = 0; p < total; ++p) {
    const long i = p % w, j = (p / w) % w, k = p / (w * w);
    double v = std::sin(M_PI * i * h) * std::sin(2 * M_PI * j * h);
    if (dims == 3) v *= std::sin(M_PI * k * h);
    f[p] = v;
  }
  double* mine = fftw_alloc_real(total);
  double* peer_data = fftw_alloc_real(total);
  std::vector<double> peer_rhs(total);
  for (long p = 0; p < total; ++p) peer_rhs[p] = f[p] * h * h;
  textbook peer(n, dims, peer_data);
  ours one(n, dims, f, mine, 1);
  const auto run_peer = [&] {
    std::memcpy(peer_data, peer_rhs.data(), total * sizeof(double));
    peer.solve();
  };
  const zvx_bench::pair_timing t = zvx_bench::time_pair_cpu([&] { one.solve(); }, run_peer, opt);
  // Results agree to rounding.
  one.solve();
  run_peer();
  double diff = 0, norm = 0;
  for (long p = 0; p < total; ++p) {
    diff = std::max(diff, std::fabs(mine[p] - peer_data[p]));
    norm = std::max(norm, std::fabs(peer_data[p]));
  }
  // Two threads against one (see zvx_bench::two_threads), each call from the prepared
  // right-hand side.
  scaling sc;
  {
    ours two(n, dims, f, mine, 2);
    sc = zvx_bench::two_threads([&] { one.run(); }, [&] { two.run(); }, opt.quick ? 3 : 15, 3,
                                [&](int side) { (side == 0 ? one : two).reset(); });
  }
  fftw_free(mine);
  fftw_free(peer_data);
  return {t.ratio(), t.ours * 1e3, t.peer * 1e3, diff / norm, sc};
}

}  // namespace

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  // Threads for the two-thread rows: the policy is read once, so it is set before anything asks.
  set_parallel();
  omp_set_num_threads(2);

  zvx_bench::table t;
  t.section = "poisson";
  t.title = "Dirichlet Poisson solves against a textbook solver on FFTW sine transforms";
  t.columns = {"problem", "ours ms", "peer ms", "ours / peer", "max difference",
               "2 threads: T1 / max thread CPU", "2 threads: CPU sum / T1",
               "2 threads: wall speed-up"};
  struct c { int n, dims; const char* label; };
  for (const c& k : {c{1024, 2, "2-D, 1024 x 1024 intervals (1023^2 unknowns)"},
                     c{128, 3, "3-D, 128^3 intervals (127^3 unknowns)"}}) {
    const row r = run(k.n, k.dims, opt);
    t.add({k.label, zvx_bench::fmt(r.ours_ms, 2), zvx_bench::fmt(r.peer_ms, 2),
           zvx_bench::fmt(r.ratio, 2), zvx_bench::fmt(r.diff * 1e15, 1) + "e-15",
           zvx_bench::fmt(r.two.predicted, 2), zvx_bench::fmt(r.two.overhead, 2),
           zvx_bench::fmt(r.two.wall, 2)});
    std::printf("%s: ratio %.3f, two threads: predicted %.2fx, CPU sum / T1 %.2f, wall %.2fx\n",
                k.label, r.ratio, r.two.predicted, r.two.overhead, r.two.wall);
    std::fflush(stdout);
  }
  t.notes.push_back(
      "Solve only, from the prepared right-hand side, double precision, one thread: least thread "
      "CPU time per call over alternating samples. The peer is FFTW " + std::string(fftw_version) +
      " RODFT00 (plans with FFTW_MEASURE, all lines of the grid in one plan) with one Thomas "
      "sweep per mode, the modes of a grid line side by side. The difference column is the "
      "largest difference of the two solutions relative to the largest value. Two threads "
      "(ipar[22] = 2) against one, the solve alone (the copy of the right-hand side before each "
      "call not timed), least over 45 calls each: T1 is the one-thread call's CPU "
      "time; T1 over the larger of the two threads' CPU times is the speed-up a quiet machine "
      "would give if nothing else stalls a thread, the threads' CPU sum over T1 what the second "
      "thread costs in all (1.0: nothing), and the wall column the least wall time of one "
      "thread over that of two. The threads share each transform descriptor in its user-thread "
      "mode; each keeps to its own busy flag, scratch block and copy of the transform's integer "
      "block, all on cache lines of their own; stages hand out parts as threads come free. The "
      "3-D solve transforms x and y plane by plane, one plane on one thread.");
  if (const char* policy = std::getenv("OMP_WAIT_POLICY")) {
    const bool passive = std::strcmp(policy, "passive") == 0 || std::strcmp(policy, "PASSIVE") == 0;
    t.notes.push_back(std::string("OMP_WAIT_POLICY=") + policy + " for this run: " +
                      (passive ? "waiting threads sleep, so the CPU columns count work only."
                               : "waiting threads spin, and the CPU columns count that too."));
  } else {
    t.notes.push_back("OMP_WAIT_POLICY was not set: waiting threads spin for a while before "
                      "they sleep, and the CPU columns count that spinning as well.");
  }
  if (FILE* f = std::fopen("/proc/loadavg", "r")) {
    double load = 0;
    if (std::fscanf(f, "%lf", &load) == 1) {
      char line[200];
      std::snprintf(line, sizeof line,
                    "Measured on a loaded machine: load average %.1f on %d cores when the run "
                    "ended; the wall column needs the second core free and is not meaningful "
                    "under such load.",
                    load, omp_get_num_procs());
      t.notes.push_back(line);
    }
    std::fclose(f);
  }
  t.print();
  t.write_docs(opt);
  return 0;
}
