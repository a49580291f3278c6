// Real transforms through the descriptor entries against FFTW's real transforms (plans made with
// FFTW_MEASURE before any timing), one thread, out of place, conjugate-even results as complex
// values: forward real to half spectrum and backward, in single and double precision, lines and
// a 1024 x 1024 image. Every row also compares our result with FFTW's on the same input.
#include <fftw3.h>
#include <omp.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "zvx.h"

namespace {

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return t.tv_sec + 1e-9 * t.tv_nsec;
}

// The least thread CPU time per call of each side over alternating samples of about a
// millisecond each: other work on a shared machine inflates it least.
void least_cpu(const std::function<void()>& a, const std::function<void()>& b, double* ta,
               double* tb) {
  const double t0 = thread_seconds();
  a();
  const double once = std::max(thread_seconds() - t0, 1e-7);
  const long reps = std::max(1L, static_cast<long>(1e-3 / once));
  *ta = *tb = 1e30;
  for (int s = 0; s < 61; ++s)
    for (int side = 0; side < 2; ++side) {
      const std::function<void()>& f = side == 0 ? a : b;
      const double start = thread_seconds();
      for (long r = 0; r < reps; ++r) f();
      double& best = side == 0 ? *ta : *tb;
      best = std::min(best, (thread_seconds() - start) / static_cast<double>(reps));
    }
}

template <class R> struct fftw_of;
template <> struct fftw_of<double> {
  using plan = fftw_plan;
  static constexpr const char* name = "double";
  static constexpr int precision = DFTI_DOUBLE;
  static plan r2c(const std::vector<int>& d, double* in, double* out) {
    return fftw_plan_dft_r2c(static_cast<int>(d.size()), d.data(), in,
                             reinterpret_cast<fftw_complex*>(out), FFTW_MEASURE);
  }
  static plan c2r(const std::vector<int>& d, double* in, double* out) {
    return fftw_plan_dft_c2r(static_cast<int>(d.size()), d.data(),
                             reinterpret_cast<fftw_complex*>(in), out, FFTW_MEASURE);
  }
  static void run(plan p) { fftw_execute(p); }
  static void destroy(plan p) { fftw_destroy_plan(p); }
  static double* alloc(long n) { return fftw_alloc_real(static_cast<size_t>(n)); }
  static void free(double* p) { fftw_free(p); }
  static int forward(DFTI_DESCRIPTOR_HANDLE* h, const double* in, double* out) {
    return dfti_compute_forward_dz_out(h, in, reinterpret_cast<zvx_complex16*>(out));
  }
  static int backward(DFTI_DESCRIPTOR_HANDLE* h, const double* in, double* out) {
    return dfti_compute_backward_zd_out(h, reinterpret_cast<const zvx_complex16*>(in), out);
  }
};
template <> struct fftw_of<float> {
  using plan = fftwf_plan;
  static constexpr const char* name = "single";
  static constexpr int precision = DFTI_SINGLE;
  static plan r2c(const std::vector<int>& d, float* in, float* out) {
    return fftwf_plan_dft_r2c(static_cast<int>(d.size()), d.data(), in,
                              reinterpret_cast<fftwf_complex*>(out), FFTW_MEASURE);
  }
  static plan c2r(const std::vector<int>& d, float* in, float* out) {
    return fftwf_plan_dft_c2r(static_cast<int>(d.size()), d.data(),
                              reinterpret_cast<fftwf_complex*>(in), out, FFTW_MEASURE);
  }
  static void run(plan p) { fftwf_execute(p); }
  static void destroy(plan p) { fftwf_destroy_plan(p); }
  static float* alloc(long n) { return fftwf_alloc_real(static_cast<size_t>(n)); }
  static void free(float* p) { fftwf_free(p); }
  static int forward(DFTI_DESCRIPTOR_HANDLE* h, const float* in, float* out) {
    return dfti_compute_forward_sc_out(h, in, reinterpret_cast<zvx_complex8*>(out));
  }
  static int backward(DFTI_DESCRIPTOR_HANDLE* h, const float* in, float* out) {
    return dfti_compute_backward_cs_out(h, reinterpret_cast<const zvx_complex8*>(in), out);
  }
};

struct real_row {
  double ours, peer;  // least thread CPU seconds per call
  double difference;
};

// One direction of one shape (dimension 0 contiguous): both sides dense, the half spectrum of
// n1 / 2 + 1 complex values per row.
template <class R>
real_row run_real_row(const std::vector<int>& n, bool forward) {
  using F = fftw_of<R>;
  long total = 1;
  for (int v : n) total *= v;
  const long half = total / n[0] * (n[0] / 2 + 1);
  const long in_size = forward ? total : 2 * half, out_size = forward ? 2 * half : total;
  R* pin = F::alloc(in_size);
  R* pout = F::alloc(out_size);
  const std::vector<int> dims(n.rbegin(), n.rend());  // FFTW takes the slowest dimension first
  typename F::plan plan = forward ? F::r2c(dims, pin, pout) : F::c2r(dims, pin, pout);

  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int domain = DFTI_REAL, rank = static_cast<int>(n.size()), precision = F::precision;
  int param = DFTI_CONJUGATE_EVEN_STORAGE, value = DFTI_COMPLEX_COMPLEX;
  int status = dfti_create_descriptor_highd(&h, &precision, &domain, &rank, n.data());
  status |= dfti_set_value_intval(&h, &param, &value);
  param = DFTI_PLACEMENT;
  value = DFTI_NOT_INPLACE;
  status |= dfti_set_value_intval(&h, &param, &value);
  if (rank == 2) {
    const int real_strides[3] = {0, 1, n[0]}, complex_strides[3] = {0, 1, n[0] / 2 + 1};
    param = forward ? DFTI_INPUT_STRIDES : DFTI_OUTPUT_STRIDES;
    status |= dfti_set_value_intvec(&h, &param, real_strides);
    param = forward ? DFTI_OUTPUT_STRIDES : DFTI_INPUT_STRIDES;
    status |= dfti_set_value_intvec(&h, &param, complex_strides);
  }
  status |= dfti_commit_descriptor_external(&h);
  if (status != 0) {
    std::fprintf(stderr, "real descriptor failed\n");
    std::exit(1);
  }

  // One input for both; a backward input is a half spectrum of real data.
  std::vector<R> in(static_cast<size_t>(in_size)), out(static_cast<size_t>(out_size));
  std::mt19937 gen(3);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  if (forward) {
    for (R& v : in) v = static_cast<R>(u(gen));
  } else {
    // The spectrum comes from an FFTW forward plan on random real data.
    R* x = F::alloc(total);
    R* spectrum = F::alloc(2 * half);
    typename F::plan p = F::r2c(dims, x, spectrum);
    for (long i = 0; i < total; ++i) x[i] = static_cast<R>(u(gen));
    F::run(p);
    std::copy(spectrum, spectrum + 2 * half, in.begin());
    F::destroy(p);
    F::free(x);
    F::free(spectrum);
  }
  std::copy(in.begin(), in.end(), pin);
  (forward ? F::forward : F::backward)(&h, in.data(), out.data());
  F::run(plan);
  double diff = 0, norm = 0;
  for (long i = 0; i < out_size; ++i) {
    diff += (static_cast<double>(out[i]) - pout[i]) * (static_cast<double>(out[i]) - pout[i]);
    norm += static_cast<double>(pout[i]) * pout[i];
  }
  auto run_ours = [&] { (forward ? F::forward : F::backward)(&h, in.data(), out.data()); };
  auto run_peer = [&] { F::run(plan); };
  real_row r{};
  least_cpu(run_ours, run_peer, &r.ours, &r.peer);
  r.difference = std::sqrt(diff / norm);
  dfti_free_descriptor_external(&h);
  F::destroy(plan);
  F::free(pin);
  F::free(pout);
  return r;
}

}  // namespace

// The real table of the DFT benchmark.
void real_transform_table(const zvx_bench::options& opt) {
  std::vector<std::vector<int>> shapes;
  for (int n = 64; n <= 65536; n *= 2) shapes.push_back({n});
  shapes.push_back({1000});
  shapes.push_back({10000});
  shapes.push_back({1024, 1024});
  if (opt.quick) shapes = {{64}, {1024}, {1000}, {256, 256}};

  zvx_bench::table t;
  t.section = "dft_real";
  t.title = "Real transforms through the descriptor, out of place, conjugate-even storage as "
            "complex values, one thread, against FFTW r2c/c2r";
  t.columns = {"precision", "n", "direction", "ours GFLOP/s", "FFTW GFLOP/s",
               "ratio ours/FFTW (least CPU time)", "result difference"};
  // The plot: forward lines of powers of two, both libraries, both precisions.
  std::vector<zvx_bench::series> curves;
  auto run_precision = [&](auto tag) {
    using R = decltype(tag);
    zvx_bench::series ours{std::string("ours, ") + fftw_of<R>::name, {}, {}};
    zvx_bench::series peer{std::string("FFTW, ") + fftw_of<R>::name, {}, {}};
    for (const auto& n : shapes)
      for (bool forward : {true, false}) {
        const real_row r = run_real_row<R>(n, forward);
        long total = 1;
        for (int v : n) total *= v;
        // Half the flops of a complex transform of the same size.
        const double f = 2.5 * total * std::log2(static_cast<double>(total));
        std::string label = std::to_string(n[0]);
        if (n.size() == 2) label += " x " + std::to_string(n[1]);
        char difference[32];
        std::snprintf(difference, sizeof difference, "%.1e", r.difference);
        t.add({fftw_of<R>::name, label, forward ? "forward" : "backward",
               zvx_bench::fmt(f / r.ours * 1e-9, 2), zvx_bench::fmt(f / r.peer * 1e-9, 2),
               zvx_bench::fmt(r.ours / r.peer, 3), difference});
        std::printf("real %s %s %s ours %.3g s FFTW %.3g s ratio %.3f difference %.2e\n",
                    fftw_of<R>::name, label.c_str(), forward ? "forward" : "backward", r.ours,
                    r.peer, r.ours / r.peer, r.difference);
        std::fflush(stdout);
        if (forward && n.size() == 1 && (n[0] & (n[0] - 1)) == 0) {
          ours.x.push_back(n[0]);
          ours.y.push_back(f / r.ours * 1e-9);
          peer.x.push_back(n[0]);
          peer.y.push_back(f / r.peer * 1e-9);
        }
      }
    curves.push_back(ours);
    curves.push_back(peer);
  };
  run_precision(double{});
  run_precision(float{});
  const std::string plot =
      zvx_bench::plot_png(opt, "dft_real.png", "Real forward transforms, one thread", "n",
                          "GFLOP/s (2.5 n log2 n / t)", curves, true);
  if (!plot.empty()) t.notes.push_back("![speed of real forward transforms](" + plot + ")");
  t.notes.push_back(
      "FFTW " + std::string(fftw_version) +
      ", r2c and c2r plans made with FFTW_MEASURE before timing (c2r may overwrite its input, "
      "as FFTW allows by default; ours keeps it). Ratios of the least thread CPU time per call "
      "over alternating samples; speeds count 2.5 n log2 n flops. Instruction set: " +
      std::string(zvx_bench::vector_isa_name()) + ". Lines of 32 to 128 points run the "
      "half-length line and the recombination in vector registers. " +
      zvx_bench::load_note());
  t.print();
  t.write_docs(opt);
}
