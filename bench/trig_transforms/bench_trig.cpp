// Sine, cosine and staggered cosine transforms, double, one thread, against the matching FFTW
// real-to-real transform: sine with RODFT00 of n-1 points, cosine with REDFT00 of n+1 points,
// staggered cosine backward with REDFT10 and forward with REDFT01 of n points.
//
// A transform changes the size of its data (forward by about sqrt(2/n), FFTW's by about
// sqrt(2n)), so repeated calls on one array would drift into subnormals or overflow. Each sample
// therefore refills a set of arrays from one input, untimed, and times one call on each; the set
// is kept within 256 KiB so that both sides start from warm caches. The figure is the least
// thread CPU time per call over alternating samples. Every row also checks that the two results
// agree after the scale that relates them.
#include <fftw3.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "zvx.h"

namespace {

struct variant {
  const char* label;
  int type;
  bool forward;
  fftw_r2r_kind kind;
};

constexpr variant kVariants[] = {
    {"sine, forward", 0, true, FFTW_RODFT00},
    {"sine, backward", 0, false, FFTW_RODFT00},
    {"cosine, forward", 1, true, FFTW_REDFT00},
    {"cosine, backward", 1, false, FFTW_REDFT00},
    {"staggered cosine, forward", 2, true, FFTW_REDFT01},
    {"staggered cosine, backward", 2, false, FFTW_REDFT10},
};

// The FFTW transform's points, the first of our entries it covers, and the factor from its result
// to ours.
struct mapping {
  int points, offset;
  double factor;
};
mapping map_of(const variant& v, int n) {
  const double scale = v.forward ? 2.0 / n : 1.0;
  switch (v.type) {
    case 0: return {n - 1, 1, 0.5 * scale};
    case 1: return {n + 1, 0, 0.5 * scale};
    default: return {n, 0, 0.5 * scale};
  }
}

struct row_result {
  double ours, peer;  // least thread CPU seconds per call
  double difference;  // relative RMS difference of the results
};

row_result run_row(const variant& v, int n) {
  const mapping m = map_of(v, n);
  std::vector<double> input(n + 1);
  std::mt19937 gen(11);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (double& x : input) x = u(gen);
  // The ends that a type ignores are zero, so that both sides transform the same data.
  if (v.type == 0) input[0] = input[n] = 0;
  if (v.type == 2) input[n] = 0;

  const long bytes = static_cast<long>(n + 1) * 8;
  const int copies = static_cast<int>(std::clamp(256L * 1024 / bytes, 1L, 64L));
  const long stride = n + 16;  // keeps the copies apart in the caches' sets
  std::vector<double> ours(stride * copies);
  double* peer = fftw_alloc_real(static_cast<size_t>(stride * copies));
  fftw_plan plan = fftw_plan_r2r_1d(m.points, peer, peer, v.kind, FFTW_MEASURE);

  int ipar[10], stat = 0, type = v.type;
  std::vector<double> dpar(3 * n / 2 + 2);
  DFTI_DESCRIPTOR_HANDLE handle = nullptr;
  d_init_trig_transform(&n, &type, ipar, dpar.data(), &stat);
  d_commit_trig_transform(input.data(), &handle, ipar, dpar.data(), &stat);
  if (stat != 0) {
    std::fprintf(stderr, "commit failed: %d\n", stat);
    std::exit(1);
  }
  auto refill = [&](double* base) {
    for (int c = 0; c < copies; ++c) std::memcpy(base + c * stride, input.data(), bytes);
  };
  auto ours_call = [&](double* f) {
    if (v.forward)
      d_forward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
    else
      d_backward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
  };
  auto peer_call = [&](double* f) { fftw_execute_r2r(plan, f + m.offset, f + m.offset); };

  row_result r{1e30, 1e30, 0};
  for (int s = 0; s < 61; ++s) {
    refill(ours.data());
    double t0 = zvx_bench::thread_seconds();
    for (int c = 0; c < copies; ++c) ours_call(ours.data() + c * stride);
    r.ours = std::min(r.ours, (zvx_bench::thread_seconds() - t0) / copies);
    refill(peer);
    t0 = zvx_bench::thread_seconds();
    for (int c = 0; c < copies; ++c) peer_call(peer + c * stride);
    r.peer = std::min(r.peer, (zvx_bench::thread_seconds() - t0) / copies);
  }
  if (stat != 0) {
    std::fprintf(stderr, "transform failed: %d\n", stat);
    std::exit(1);
  }
  double num = 0, den = 0;
  for (int i = 0; i < m.points; ++i) {
    const double want = m.factor * peer[m.offset + i];
    num += (ours[m.offset + i] - want) * (ours[m.offset + i] - want);
    den += want * want;
  }
  r.difference = std::sqrt(num / std::max(den, 1e-300));
  free_trig_transform(&handle, ipar, &stat);
  fftw_destroy_plan(plan);
  fftw_free(peer);
  return r;
}

}  // namespace

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  omp_set_num_threads(1);
  std::vector<int> sizes = {1024, 4096, 65536};
  if (opt.quick) sizes = {1024};

  zvx_bench::table t;
  t.section = "trig_transforms";
  t.title = "Trigonometric transforms, double, in place, one thread, against FFTW real-to-real";
  t.columns = {"transform", "FFTW kind", "n", "ours us", "FFTW us", "ratio ours/FFTW",
               "result difference"};
  const char* kinds[] = {"RODFT00 (n-1)", "REDFT00 (n+1)", "REDFT01 (n)", "REDFT10 (n)"};
  for (int n : sizes)
    for (const variant& v : kVariants) {
      const row_result r = run_row(v, n);
      const char* kind = v.type == 0   ? kinds[0]
                         : v.type == 1 ? kinds[1]
                         : v.forward   ? kinds[2]
                                       : kinds[3];
      char difference[32];
      std::snprintf(difference, sizeof difference, "%.1e", r.difference);
      t.add({v.label, kind, std::to_string(n), zvx_bench::fmt(r.ours * 1e6, 2),
             zvx_bench::fmt(r.peer * 1e6, 2), zvx_bench::fmt(r.ours / r.peer, 3), difference});
      std::printf("%s n %d ours %.3g us FFTW %.3g us ratio %.3f difference %.1e\n", v.label, n,
                  r.ours * 1e6, r.peer * 1e6, r.ours / r.peer, r.difference);
      std::fflush(stdout);
    }
  t.notes.push_back(
      "FFTW " + std::string(fftw_version) +
      ", plans made with FFTW_MEASURE before timing, executed in place through "
      "fftw_execute_r2r. Each sample refills a set of arrays (at most 256 KiB) from one input, "
      "untimed, and times one call on each; the figure is the least thread CPU time per call "
      "over 61 alternating samples. Ours includes the passes, the real DFT and, forward, the "
      "scaling; FFTW's result is scaled to ours for the difference column. The staggered rows "
      "differ from FFTW more than the others by design: their tables are running sums of the "
      "angle, which drift by up to n/2 units of the last place, and the forward direction "
      "divides by sin((j+1/2) pi/n), which magnifies rounding up to 2n/pi times. FFTW's sine "
      "and cosine kinds run on n-1 and n+1 points, not powers of two. Instruction set: " +
      std::string(zvx_bench::vector_isa_name()) + ".");
  if (FILE* f = std::fopen("/proc/loadavg", "r")) {
    double load = 0;
    if (std::fscanf(f, "%lf", &load) == 1) {
      char line[160];
      std::snprintf(line, sizeof line,
                    "Load average of the machine when the run ended: %.1f on %d cores (the "
                    "machine is shared with other builds and benchmarks).",
                    load, omp_get_num_procs());
      t.notes.push_back(line);
    }
    std::fclose(f);
  }
  t.print();
  t.write_docs(opt);
  return 0;
}
