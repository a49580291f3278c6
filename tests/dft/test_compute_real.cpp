// Real transforms of one dimension through the descriptor entries, against a naive spectrum in
// long double and, at lengths where that is too slow, against FFTW's real transforms: every
// packed format, both directions, in place and out of place, batches, strides and offsets, the
// straight-line kernels against the wrapper path, and the statuses of bad calls.
#include <fftw3.h>

#include "dft/descriptor.h"
#include "dft/dft_tuning.h"
#include "dft/engine_tuning.h"
#include "dft/real_reference.h"

namespace {

using namespace dft_real_test;

constexpr int kFormats[] = {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_PERM_FORMAT, DFTI_CCE_FORMAT};

template <class R>
class DftReal : public ::testing::Test {};
using precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DftReal, precisions);

TYPED_TEST(DftReal, EveryFormatAtShortAndChosenLengths) {
  std::vector<long> lengths;
  for (long n = 1; n <= 300; ++n) lengths.push_back(n);
  for (long n : {360L, 512L, 1000L, 1024L, 1155L}) lengths.push_back(n);
  for (long n : lengths)
    for (int fmt : kFormats)
      for (bool forward : {true, false}) {
        rconfig c;
        c.n = {n};
        c.fmt = fmt;
        c.forward = forward;
        check_real<TypeParam>(c, static_cast<unsigned>(n));
        if (::testing::Test::HasFailure()) return;
      }
}

// In place the array holds exactly what the larger side needs: the guard after it stays.
TYPED_TEST(DftReal, InPlaceWithExactSizes) {
  for (long n : {1L, 2L, 3L, 4L, 5L, 8L, 9L, 16L, 63L, 64L, 100L, 128L, 129L, 1000L})
    for (int fmt : kFormats)
      for (bool forward : {true, false}) {
        rconfig c;
        c.n = {n};
        c.fmt = fmt;
        c.forward = forward;
        c.in_place = true;
        if (fmt == DFTI_CCE_FORMAT) {
          c.real_side.distance = 2 * (n / 2 + 1);
          c.packed_side.distance = n / 2 + 1;
        }
        check_real<TypeParam>(c, 7);
      }
}

// A backward CCS line in place through the wrapper leaves 0 where R(n/2) or the last pair stood.
TYPED_TEST(DftReal, BackwardCcsInPlaceClearsIndexN) {
  using R = TypeParam;
  for (long n : {5L, 100L, 129L, 1000L}) {
    rconfig c;
    c.n = {n};
    c.in_place = true;
    c.forward = false;
    c.scale = 0.5;
    const auto arrays = check_real<R>(c, 3);
    ASSERT_FALSE(arrays.empty());
    EXPECT_EQ(arrays[0][static_cast<size_t>(n)], R(0)) << n;
  }
}

// The short lines that skip the wrapper at scale 1 (the straight-line kernels, and the engine's
// entries straight from the compute call) give the wrapper's numbers (any other scale), scaled.
TYPED_TEST(DftReal, ShortKernelsAgreeWithTheWrapper) {
  using R = TypeParam;
  for (long n = 2; n <= zvx::dft::tuning::kRealShortLength; n *= 2)
    for (int fmt : kFormats)
      for (bool forward : {true, false}) {
        rconfig c;
        c.n = {n};
        c.fmt = fmt;
        c.forward = forward;
        const auto one = check_real<R>(c, 11);
        c.scale = 2.0;
        const auto two = check_real<R>(c, 11);
        ASSERT_EQ(one.size(), 2u);
        ASSERT_EQ(two.size(), 2u);
        double diff = 0, norm = 0;
        for (size_t i = 0; i < one[1].size(); ++i) {
          const double want = one[1][i] == R(kFiller) ? kFiller : 2.0 * one[1][i];
          diff += (two[1][i] - want) * (two[1][i] - want);
          norm += want * want;
        }
        EXPECT_LE(std::sqrt(diff / norm), sizeof(R) == 4 ? 1e-6 : 1e-15)
            << "n=" << n << " fmt=" << fmt << " forward=" << forward;
      }
}

// Batches with distances, strides and offsets on both sides, interleaved lines among them.
TYPED_TEST(DftReal, BatchesStridesAndOffsets) {
  for (long n : {6L, 7L, 16L, 45L, 128L})
    for (int fmt : kFormats)
      for (bool forward : {true, false}) {
        const long p = fmt == DFTI_CCE_FORMAT ? n / 2 + 1 : packed_reals(fmt, n);
        rconfig c;
        c.n = {n};
        c.fmt = fmt;
        c.forward = forward;
        c.count = 3;
        // Out of place, separate lines with strides.
        c.real_side = {3, {2}, 2 * n + 5};
        c.packed_side = {1, {3}, 3 * p + 1};
        check_real<TypeParam>(c, 5);
        // Interleaved: neighbouring transforms one element apart, a part of a batch and more
        // than two whole batches.
        c.real_side = {0, {3}, 1};
        c.packed_side = {2, {3}, 1};
        check_real<TypeParam>(c, 6);
        c.count = 37;
        c.real_side = {0, {37}, 1};
        c.packed_side = {1, {38}, 1};
        check_real<TypeParam>(c, 10);
        c.count = 3;
        // In place, one array: packed formats describe it with one set of strides; complex
        // storage counts each side in its own elements.
        c.in_place = true;
        if (fmt == DFTI_CCE_FORMAT) {
          c.real_side = {2, {2}, 4 * p};
          c.packed_side = {1, {1}, 2 * p};
        } else {
          c.real_side = c.packed_side = {1, {2}, 2 * p + 3};
        }
        check_real<TypeParam>(c, 8);
      }
}

// Forward, then backward with the scale 1/n, on one descriptor: the input comes back, in every
// format and both precisions, in place and out of place.
TYPED_TEST(DftReal, RoundTrips) {
  using R = TypeParam;
  for (long n : {1L, 2L, 13L, 64L, 96L, 181L, 1024L, 4095L})
    for (int fmt : kFormats)
      for (bool in_place : {false, true}) {
        SCOPED_TRACE("n=" + std::to_string(n) + " fmt=" + std::to_string(fmt));
        rconfig c;
        c.n = {n};
        c.fmt = fmt;
        c.in_place = in_place;
        const side_layout dense{};
        const long half = fmt == DFTI_CCE_FORMAT ? n / 2 + 1 : packed_reals(fmt, n);
        DFTI_DESCRIPTOR_HANDLE h =
            make_real_descriptor<R>(c, resolved(dense, {n}), resolved(dense, {half}));
        ASSERT_NE(h, nullptr);
        const int param = DFTI_BACKWARD_SCALE;
        const double scale = 1.0 / static_cast<double>(n);
        ASSERT_EQ(dfti_set_value_dblval(&h, &param, &scale), 0);
        ASSERT_EQ(dfti_commit_descriptor_external(&h), 0);
        std::mt19937 gen(static_cast<unsigned>(n));
        std::uniform_real_distribution<double> u(-1.0, 1.0);
        std::vector<R> x(static_cast<size_t>(n + 2)), spectrum(static_cast<size_t>(n + 2)),
            back(static_cast<size_t>(n + 2));
        for (long i = 0; i < n; ++i) x[static_cast<size_t>(i)] = static_cast<R>(u(gen));
        rconfig f = c, b = c;
        b.forward = false;
        if (in_place) {
          back = x;
          ASSERT_EQ(compute_real<R>(h, f, back.data(), back.data()), 0);
          ASSERT_EQ(compute_real<R>(h, b, back.data(), back.data()), 0);
        } else {
          ASSERT_EQ(compute_real<R>(h, f, x.data(), spectrum.data()), 0);
          ASSERT_EQ(compute_real<R>(h, b, spectrum.data(), back.data()), 0);
        }
        double err = 0, norm = 0;
        for (long i = 0; i < n; ++i) {
          err += std::pow(back[static_cast<size_t>(i)] - x[static_cast<size_t>(i)], 2);
          norm += std::pow(x[static_cast<size_t>(i)], 2);
        }
        EXPECT_LE(std::sqrt(err / norm), 4 * dft_test::tolerance<typename complex_of<R>::type>(n));
        EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
      }
}

// Long lines against FFTW's real transforms (a naive spectrum would take too long).
template <class R>
void against_fftw(long n, bool forward) {
  SCOPED_TRACE("n=" + std::to_string(n) + (forward ? " forward" : " backward"));
  std::mt19937 gen(static_cast<unsigned>(n));
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  const long h = n / 2 + 1;
  std::vector<double> x(static_cast<size_t>(n)), spectrum(static_cast<size_t>(2 * h));
  for (double& v : x) v = static_cast<R>(u(gen));
  {  // FFTW in double gives the spectrum of x, and x back (times n) from it
    std::vector<double> xin = x;
    fftw_plan p = fftw_plan_dft_r2c_1d(static_cast<int>(n), xin.data(),
                                       reinterpret_cast<fftw_complex*>(spectrum.data()), FFTW_ESTIMATE);
    fftw_execute(p);
    fftw_destroy_plan(p);
  }
  rconfig c;
  c.n = {n};
  c.fmt = DFTI_CCE_FORMAT;
  c.forward = forward;
  const side_layout dense{};
  DFTI_DESCRIPTOR_HANDLE hd = make_real_descriptor<R>(c, resolved(dense, {n}), resolved(dense, {h}));
  ASSERT_NE(hd, nullptr);
  std::vector<R> in(static_cast<size_t>(2 * h + 2)), out(static_cast<size_t>(2 * h + 2));
  double err = 0, norm = 0;
  if (forward) {
    for (long i = 0; i < n; ++i) in[static_cast<size_t>(i)] = static_cast<R>(x[static_cast<size_t>(i)]);
    ASSERT_EQ(compute_real<R>(hd, c, in.data(), out.data()), 0);
    for (long i = 0; i < 2 * h; ++i) {
      const double d = out[static_cast<size_t>(i)] - spectrum[static_cast<size_t>(i)];
      err += d * d;
      norm += spectrum[static_cast<size_t>(i)] * spectrum[static_cast<size_t>(i)];
    }
  } else {
    for (long i = 0; i < 2 * h; ++i) in[static_cast<size_t>(i)] = static_cast<R>(spectrum[static_cast<size_t>(i)]);
    ASSERT_EQ(compute_real<R>(hd, c, in.data(), out.data()), 0);
    for (long i = 0; i < n; ++i) {
      const double want = static_cast<double>(n) * x[static_cast<size_t>(i)];
      err += (out[static_cast<size_t>(i)] - want) * (out[static_cast<size_t>(i)] - want);
      norm += want * want;
    }
  }
  EXPECT_LE(std::sqrt(err / norm), 4 * dft_test::tolerance<typename complex_of<R>::type>(n));
  EXPECT_EQ(dfti_free_descriptor_external(&hd), 0);
}

TYPED_TEST(DftReal, LongLinesAgainstFftw) {
  for (long n : {4096L, 10000L, 65536L, 100003L})
    for (bool forward : {true, false}) against_fftw<TypeParam>(n, forward);
}

// Bad calls: each status once, for every family.
TYPED_TEST(DftReal, StatusesOfBadCalls) {
  using R = TypeParam;
  const int precision = sizeof(R) == 4 ? DFTI_SINGLE : DFTI_DOUBLE, real = DFTI_REAL;
  const int rank3 = 3, lengths3[3] = {4, 4, 4}, rank1 = 1, n = 16;
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  // Rank 3 with the default storage is refused at commit, not at create.
  ASSERT_EQ(dfti_create_descriptor_highd(&h, &precision, &real, &rank3, lengths3), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), DFTI_UNIMPLEMENTED);
  int param = DFTI_CONJUGATE_EVEN_STORAGE, value = DFTI_COMPLEX_COMPLEX;
  EXPECT_EQ(dfti_set_value_intval(&h, &param, &value), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);

  ASSERT_EQ(dfti_create_descriptor_1d(&h, &precision, &real, &rank1, &n), 0);
  std::vector<R> data(64, R(1));
  std::vector<typename complex_of<R>::type> cdata(64);
  auto fwd = [&](DFTI_DESCRIPTOR_HANDLE* hp, R* d) {
    if constexpr (sizeof(R) == 4) return dfti_compute_forward_s(hp, d);
    else return dfti_compute_forward_d(hp, d);
  };
  auto bwd_out = [&](DFTI_DESCRIPTOR_HANDLE* hp, const typename complex_of<R>::type* in, R* out) {
    if constexpr (sizeof(R) == 4) return dfti_compute_backward_cs_out(hp, in, out);
    else return dfti_compute_backward_zd_out(hp, in, out);
  };
  EXPECT_EQ(fwd(&h, data.data()), DFTI_INVALID_CONFIGURATION);  // not committed
  // The CCE layout without conjugate-even storage as complex values.
  param = DFTI_PACKED_FORMAT;
  value = DFTI_CCE_FORMAT;
  EXPECT_EQ(dfti_set_value_intval(&h, &param, &value), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), DFTI_UNIMPLEMENTED);
  value = DFTI_PACK_FORMAT;
  EXPECT_EQ(dfti_set_value_intval(&h, &param, &value), 0);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  EXPECT_EQ(fwd(&h, nullptr), DFTI_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(fwd(nullptr, data.data()), DFTI_INCONSISTENT_CONFIGURATION);
  // The conjugate-even entries need a CCS layout.
  EXPECT_EQ(bwd_out(&h, cdata.data(), data.data()), DFTI_INCONSISTENT_CONFIGURATION);
  // Ordering other than ordered is refused on a real descriptor.
  param = DFTI_ORDERING;
  value = DFTI_BACKWARD_SCRAMBLED;
  EXPECT_EQ(dfti_set_value_intval(&h, &param, &value), DFTI_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(fwd(&h, data.data()), DFTI_INVALID_CONFIGURATION);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 0);
  h->tag[0] = 'X';
  EXPECT_EQ(fwd(&h, data.data()), DFTI_BAD_DESCRIPTOR);
  h->tag[0] = 'D';
  EXPECT_EQ(fwd(&h, data.data()), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);

  // A real entry on a complex descriptor, and the other precision's entry.
  const int complex_domain = DFTI_COMPLEX;
  ASSERT_EQ(dfti_create_descriptor_1d(&h, &precision, &complex_domain, &rank1, &n), 0);
  ASSERT_EQ(dfti_commit_descriptor_external(&h), 0);
  EXPECT_EQ(fwd(&h, data.data()), DFTI_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  const int other = sizeof(R) == 4 ? DFTI_DOUBLE : DFTI_SINGLE;
  ASSERT_EQ(dfti_create_descriptor_1d(&h, &other, &real, &rank1, &n), 0);
  ASSERT_EQ(dfti_commit_descriptor_external(&h), 0);
  EXPECT_EQ(fwd(&h, data.data()), DFTI_INCONSISTENT_CONFIGURATION);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
}

// Which slot commit gives a short line: a straight-line kernel only in a direction whose scale
// is 1, and every real line of such a length counts as off the engine's long route.
TYPED_TEST(DftReal, ShortLineSelectionFollowsTheScale) {
  using R = TypeParam;
  const int precision = sizeof(R) == 4 ? DFTI_SINGLE : DFTI_DOUBLE, real = DFTI_REAL, rank1 = 1;
  const int n = zvx::dft::tuning::real_straight_line_limit;
  DFTI_DESCRIPTOR_HANDLE h = nullptr, g = nullptr;
  ASSERT_EQ(dfti_create_descriptor_1d(&h, &precision, &real, &rank1, &n), 0);
  ASSERT_EQ(dfti_create_descriptor_1d(&g, &precision, &real, &rank1, &n), 0);
  const int param = DFTI_FORWARD_SCALE;
  const double two = 2.0;
  ASSERT_EQ(dfti_set_value_dblval(&g, &param, &two), 0);
  ASSERT_EQ(dfti_commit_descriptor_external(&h), 0);
  ASSERT_EQ(dfti_commit_descriptor_external(&g), 0);
  EXPECT_EQ(h->not_power_of_two, 0);
  EXPECT_EQ(g->not_power_of_two, 0);
  auto fwd = [](DftiDimensionRecord* r) { return sizeof(R) == 4 ? (void*)r->forward_s : (void*)r->forward_d; };
  auto bwd = [](DftiDimensionRecord* r) { return sizeof(R) == 4 ? (void*)r->backward_s : (void*)r->backward_d; };
  EXPECT_NE(fwd(h), fwd(g));  // the scaled direction keeps the wrapper
  EXPECT_EQ(bwd(h), bwd(g));  // the unscaled one takes the kernel in both
  EXPECT_EQ(h->direct_call, 1);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 0);
  EXPECT_EQ(dfti_free_descriptor_external(&g), 0);
}

}  // namespace
