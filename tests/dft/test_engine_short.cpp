// The straight-line kernels of the short powers of two against a naive long double DFT and
// against the general passes; and lines off the 64-byte grid, which take their passes through the
// aligned halves of the work array.
#include <cstdint>
#include <cstring>

#include "dft/engine_test_support.h"

namespace {

using namespace engine_test;

template <class T>
const T* reals(const std::vector<typename precision<T>::element>& v) {
  return reinterpret_cast<const T*>(v.data());
}
template <class T>
T* reals(std::vector<typename precision<T>::element>& v) {
  return reinterpret_cast<T*>(v.data());
}

template <class T>
void run_short(const engine_kernels& k, const T* x, T* y, int n, int inverse) {
  if constexpr (sizeof(T) == sizeof(double)) k.short_double(x, y, n, inverse);
  else k.short_single(x, y, n, inverse);
}

// Every length the whole-line kernel serves (8 to 64, on the vectors of this instruction set or
// narrower ones below W * W): out of place and in place against the naive DFT, against the passes
// of the same context, and the context's entries take that kernel at exactly those lengths.
template <class T>
void check_short_lines() {
  using E = typename precision<T>::element;
  const engine_kernels& k = dft_engine_kernels();
  int served = 0;
  for (int n = 8; n <= tuning::short_line_limit; n *= 2) {
    context ctx(sizeof(T) == sizeof(double) ? context_complex_double : context_complex_single, n);
    ASSERT_EQ(ctx.status, engine_ok);
    const bool serves = n >= tuning::short_line_least;
    EXPECT_EQ(ctx.c->short_line, serves ? 1 : 0) << n;
    if (!serves) continue;
    ++served;
    for (int inverse = 0; inverse < 2; ++inverse) {
      const auto x = random_line<T>(n, 40 + n + inverse);
      const auto want = naive_dft(x, inverse ? 1 : -1);
      std::vector<E> out(n), in_place = x, passes(n), work(2 * n);
      run_short<T>(k, reals<T>(x), reals<T>(out), n, inverse);
      run_short<T>(k, reals<T>(in_place), reals<T>(in_place), n, inverse);
      if constexpr (sizeof(T) == sizeof(double))
        engine_run_plan_double(ctx.c, reals<T>(x), reals<T>(passes), reals<T>(work), inverse);
      else
        engine_run_plan_single(ctx.c, reals<T>(x), reals<T>(passes), reals<T>(work), inverse);
      EXPECT_LE(relative_rms(out, want), bound<T>(n)) << n << " inverse " << inverse;
      EXPECT_LE(relative_rms(passes, want), bound<T>(n)) << n << " inverse " << inverse;
      EXPECT_EQ(std::memcmp(out.data(), in_place.data(), sizeof(E) * n), 0) << n;
      std::vector<lc> from_passes(n);
      for (int i = 0; i < n; ++i) from_passes[i] = widen(passes[i]);
      EXPECT_LE(relative_rms(out, from_passes), 2 * bound<T>(n)) << n << " inverse " << inverse;
      // Through the entry, which must pick the kernel.
      std::vector<E> entry(n);
      const int type = precision<T>::ordered;
      ASSERT_EQ(inverse ? precision<T>::inverse(type, x.data(), entry.data(), ctx.c, nullptr)
                        : precision<T>::forward(type, x.data(), entry.data(), ctx.c, nullptr),
                engine_ok);
      EXPECT_EQ(std::memcmp(out.data(), entry.data(), sizeof(E) * n), 0) << n;
    }
  }
  EXPECT_EQ(served, 4);
}

TEST(EngineShort, WholeLinesSingle) { check_short_lines<float>(); }
TEST(EngineShort, WholeLinesDouble) { check_short_lines<double>(); }

// Lines whose data lie off the 64-byte grid (one complex element past it) take the same passes
// through the aligned work array: their results equal those of the aligned line exactly, in place
// and out of place, and stay within the accuracy bound.
template <class T>
void check_misaligned(int n) {
  using E = typename precision<T>::element;
  context ctx(precision<T>::ordered, n);
  ASSERT_EQ(ctx.status, engine_ok);
  int bytes = 0;
  ASSERT_EQ(primitive_dft_buffer_size(ctx.c, &bytes), engine_ok);
  for (int inverse = 0; inverse < 2; ++inverse) {
    const auto x = random_line<T>(n, 300 + n + inverse);
    const auto want = naive_dft(x, inverse ? 1 : -1);
    // Arrays of whole cache lines plus one element; `at(v, shift)` is the line shifted by
    // `shift` elements from a 64-byte boundary.
    auto at = [](std::vector<E>& v, int shift) {
      const auto base = reinterpret_cast<std::uintptr_t>(v.data());
      return reinterpret_cast<E*>((base + 63) / 64 * 64) + shift;
    };
    std::vector<E> a(n + 64 / sizeof(E) + 1), b(n + 64 / sizeof(E) + 1), c(a.size());
    std::vector<char> scratch(bytes + 32);
    auto run = [&](const E* in, E* out) {
      const int type = precision<T>::ordered;
      return inverse ? precision<T>::inverse(type, in, out, ctx.c, scratch.data())
                     : precision<T>::forward(type, in, out, ctx.c, scratch.data());
    };
    E* aligned = at(a, 0);
    std::memcpy(aligned, x.data(), sizeof(E) * n);
    ASSERT_EQ(run(aligned, aligned), engine_ok);
    E* shifted = at(b, 1);
    std::memcpy(shifted, x.data(), sizeof(E) * n);
    ASSERT_EQ(run(shifted, shifted), engine_ok);
    E* out = at(c, 1);
    ASSERT_EQ(run(x.data() , out), engine_ok);
    EXPECT_EQ(std::memcmp(aligned, shifted, sizeof(E) * n), 0) << n << " in place";
    EXPECT_EQ(std::memcmp(aligned, out, sizeof(E) * n), 0) << n << " out of place";
    std::vector<E> result(aligned, aligned + n);
    EXPECT_LE(relative_rms(result, want), bound<T>(n)) << n << " inverse " << inverse;
  }
}

TEST(EngineShort, MisalignedLines) {
  for (int n : {256, 1024, 1000}) {
    check_misaligned<float>(n);
    check_misaligned<double>(n);
  }
}

}  // namespace
