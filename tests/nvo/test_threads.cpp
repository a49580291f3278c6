// The vector threaders: how a call is cut into pieces, what each piece's thread is handed, when a
// call stays on the calling thread, and that threaded results equal serial ones. The decision to
// thread is taken once per process from the environment, so each group runs as its own CTest
// entry (tests/nvo/CMakeLists.txt) with OMP_NUM_THREADS and the class override set there.
#include <gtest/gtest.h>
#include <omp.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <random>
#include <vector>

#include "nvo_test_support.h"

namespace {

using set_mode_fn = unsigned (*)(unsigned);
using get_mode_fn = unsigned (*)();
using set_callback_fn = void* (*)(void*);
using get_callback_fn = void* (*)();
using set_input_fn = const void* (*)(const void*);
using vector_d = void (*)(int, const double*, double*);
using vector_s = void (*)(int, const float*, float*);

int processors_in_mask() {
  cpu_set_t set;
  CPU_ZERO(&set);
  sched_getaffinity(0, sizeof set, &set);
  return CPU_COUNT(&set);
}

// What one piece saw: its range, its thread, and the companion state its thread had.
struct piece {
  long offset;
  int count;
  long thread;
  unsigned mode;
  void* callback;
  const void* input;
};

struct recorder {
  static inline std::atomic<int> used{0};
  static inline piece pieces[8];
  static inline const void* base = nullptr;
  static inline size_t element = 0;
  static void reset(const void* b, size_t size) {
    used = 0;
    base = b;
    element = size;
  }
  static void record(int n, const void* a) {
    const int k = used++;
    if (k >= 8) return;
    auto set_input = nvo_test::companion_entry<set_input_fn>("_nvoSetInterfInputVectorPointer");
    const void* input = set_input(nullptr);
    set_input(input);
    pieces[k] = {static_cast<long>((static_cast<const char*>(a) - static_cast<const char*>(base)) / element), n,
                 static_cast<long>(syscall(SYS_gettid)),
                 nvo_test::companion_entry<get_mode_fn>("_nvoGetMode")(),
                 nvo_test::companion_entry<get_callback_fn>("_nvoGetErrorCallBack")(), input};
  }
  static void d(int n, const double* a, double*) { record(n, a); }
  static void s(int n, const float* a, float*) { record(n, a); }
};

int g_callback_marker;

// Runs the double threader on `n` elements with a recognisable mode and callback on the calling
// thread, and returns the pieces sorted by offset.
std::vector<piece> pieces_of(int n, int number, bool single = false) {
  std::vector<double> a(single ? 0 : n), r(single ? 0 : n);
  std::vector<float> as(single ? n : 0), rs(single ? n : 0);
  auto set_mode = nvo_test::companion_entry<set_mode_fn>("_nvoSetMode");
  auto set_callback = nvo_test::companion_entry<set_callback_fn>("_nvoSetErrorCallBack");
  const unsigned saved_mode = set_mode(0x51);
  void* saved_callback = set_callback(&g_callback_marker);
  if (single) {
    recorder::reset(as.data(), sizeof(float));
    _zvx_nvo_service_threader_s_1i_1o(recorder::s, n, as.data(), rs.data(), number);
  } else {
    recorder::reset(a.data(), sizeof(double));
    _zvx_nvo_service_threader_d_1i_1o(recorder::d, n, a.data(), r.data(), number);
  }
  set_mode(saved_mode);
  set_callback(saved_callback);
  std::vector<piece> out(recorder::pieces, recorder::pieces + std::min(recorder::used.load(), 8));
  std::sort(out.begin(), out.end(), [](const piece& x, const piece& y) { return x.offset < y.offset; });
  return out;
}

// ---- entries with OMP_NUM_THREADS=2 and a processor class that threads ----------------------------

TEST(Threader, TwoPiecesOnTwoThreadsWithTheCallersState) {
  if (processors_in_mask() < 2) GTEST_SKIP() << "one processor: nothing threads";
  const long self = syscall(SYS_gettid);
  struct expect { int n; int first; bool single; int number; };
  for (const expect& e : {expect{1000001, 500000, false, 110}, expect{1000003, 500004, false, 125},
                          expect{1000001, 500000, true, 120}, expect{999999, 500000, true, 115}}) {
    const auto p = pieces_of(e.n, e.number, e.single);
    ASSERT_EQ(p.size(), 2u) << e.n;
    EXPECT_EQ(p[0].offset, 0);
    EXPECT_EQ(p[0].count, e.first) << e.n;
    EXPECT_EQ(p[1].offset, e.first);
    EXPECT_EQ(p[1].count, e.n - e.first);
    EXPECT_NE(p[0].thread, p[1].thread);
    EXPECT_TRUE(p[0].thread == self || p[1].thread == self);
    for (const piece& q : p) {
      EXPECT_EQ(q.mode, 0x51u);
      EXPECT_EQ(q.callback, &g_callback_marker);
      EXPECT_EQ(q.input, static_cast<const void*>(recorder::base));
    }
  }
  // The calling thread's input pointer is cleared after the region.
  auto set_input = nvo_test::companion_entry<set_input_fn>("_nvoSetInterfInputVectorPointer");
  EXPECT_EQ(set_input(nullptr), nullptr);
}

TEST(Threader, ShortVectorsStayOnTheCallingThread) {
  const long self = syscall(SYS_gettid);
  for (int n : {1, 4, 99}) {
    const auto p = pieces_of(n, 120);
    ASSERT_EQ(p.size(), 1u);
    EXPECT_EQ(p[0].count, n);
    EXPECT_EQ(p[0].thread, self);
  }
  // Around a thousand elements a call threads only on machines where a region is cheap; when it
  // does, the pieces are 500 and 501.
  const auto p = pieces_of(1001, 110);
  if (p.size() == 1) {
    EXPECT_EQ(p[0].count, 1001);
  } else {
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p[0].count, 500);
    EXPECT_EQ(p[1].count, 501);
  }
}

TEST(Threader, FunctionsWithoutCostNeverThread) {
  const long self = syscall(SYS_gettid);
  for (int number : {100, 130, 1000}) {
    const auto p = pieces_of(1000001, number);
    ASSERT_EQ(p.size(), 1u) << number;
    EXPECT_EQ(p[0].thread, self);
  }
}

// Serial and threaded calls agree to the last bit, in both accuracy modes. The serial result is
// the companion's own entry over the whole vector.
TEST(Threader, ThreadedEqualsSerial) {
  constexpr int n = (1 << 20) + 3;
  std::mt19937_64 rng(99);
  std::uniform_real_distribution<double> u(-1e5, 1e5);
  std::vector<double> x(n), got(n), want(n);
  std::vector<float> xs(n), gots(n), wants(n);
  for (int i = 0; i < n; ++i) xs[i] = static_cast<float>(x[i] = u(rng));
  auto set_mode = nvo_test::companion_entry<set_mode_fn>("_nvoSetMode");
  auto set_input = nvo_test::companion_entry<set_input_fn>("_nvoSetInterfInputVectorPointer");
  int marker;
  struct fd { void (*wrapper)(int, const double*, double*); const char* high; const char* low; };
  struct fs { void (*wrapper)(int, const float*, float*); const char* high; const char* low; };
  for (unsigned mode : {2u, 1u}) {
    const unsigned saved = set_mode(mode);
    for (const fd& f : {fd{vdSin, "_nvodSin_HA", "_nvodSin_50"}, fd{vdCos, "_nvodCos_HA", "_nvodCos_50"}}) {
      nvo_test::companion_entry<vector_d>(mode == 2 ? f.high : f.low)(n, x.data(), want.data());
      set_input(&marker);
      f.wrapper(n, x.data(), got.data());
      // A threaded call leaves the calling thread's input pointer cleared.
      if (processors_in_mask() >= 2) EXPECT_EQ(set_input(nullptr), nullptr) << f.high;
      EXPECT_EQ(got, want) << f.high << " mode " << mode;
    }
    for (const fs& f : {fs{vsSin, "_nvosSin_HA", "_nvosSin_21"}, fs{vsCos, "_nvosCos_HA", "_nvosCos_21"}}) {
      nvo_test::companion_entry<vector_s>(mode == 2 ? f.high : f.low)(n, xs.data(), wants.data());
      f.wrapper(n, xs.data(), gots.data());
      EXPECT_EQ(gots, wants) << f.high << " mode " << mode;
    }
    const int count = n;
    vdsin(&count, x.data(), got.data());
    nvo_test::companion_entry<vector_d>(mode == 2 ? "_nvodSin_HA" : "_nvodSin_50")(n, x.data(), want.data());
    EXPECT_EQ(got, want);
    set_mode(saved);
  }
}

// The topology survey binds the thread to each processor in turn; the thread's mask is the same
// after the first request as before it.
TEST(Survey, AffinityIsRestored) {
  cpu_set_t before, after;
  CPU_ZERO(&before);
  CPU_ZERO(&after);
  ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
  std::vector<double> x(200000, 0.25), r(200000);
  vdCos(static_cast<int>(x.size()), x.data(), r.data());
  ASSERT_EQ(sched_getaffinity(0, sizeof after, &after), 0);
  EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(Survey, OneProcessorInTheMaskNeverThreads) {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  const auto p = pieces_of(1000001, 110);
  ASSERT_EQ(p.size(), 1u);
  cpu_set_t after;
  ASSERT_EQ(sched_getaffinity(0, sizeof after, &after), 0);
  EXPECT_TRUE(CPU_EQUAL(&one, &after));
}

// A wrapper keeps its first answer, even one given inside the caller's parallel region: then
// that wrapper never threads, while the others still do.
TEST(Wrapper, FirstCallInsideARegionDisablesItsThreading) {
  if (processors_in_mask() < 2) GTEST_SKIP() << "one processor: nothing threads";
  double x0 = 0.5, r0;
#pragma omp parallel num_threads(2)
  {
#pragma omp master
    vdSin(1, &x0, &r0);
  }
  auto set_input = nvo_test::companion_entry<set_input_fn>("_nvoSetInterfInputVectorPointer");
  std::vector<double> x(1000001, 0.5), r(1000001);
  int marker;
  set_input(&marker);
  vdSin(static_cast<int>(x.size()), x.data(), r.data());
  EXPECT_EQ(set_input(nullptr), &marker) << "vdSin threaded after its first call inside a region";
  set_input(&marker);
  vdCos(static_cast<int>(x.size()), x.data(), r.data());
  EXPECT_EQ(set_input(nullptr), nullptr) << "vdCos did not thread";
}

// ---- entries where nothing threads ---------------------------------------------------------------

TEST(Serial, LongVectorsStayOnTheCallingThread) {
  const long self = syscall(SYS_gettid);
  for (bool single : {false, true}) {
    const auto p = pieces_of(1000001, 120, single);
    ASSERT_EQ(p.size(), 1u);
    EXPECT_EQ(p[0].count, 1000001);
    EXPECT_EQ(p[0].thread, self);
  }
  auto set_input = nvo_test::companion_entry<set_input_fn>("_nvoSetInterfInputVectorPointer");
  std::vector<double> x(1000001, 0.5), r(1000001);
  int marker;
  set_input(&marker);
  vdSin(static_cast<int>(x.size()), x.data(), r.data());
  EXPECT_EQ(set_input(nullptr), &marker);
}

}  // namespace
