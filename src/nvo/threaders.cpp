// The vector threaders: one call of a companion loop split over OpenMP threads, and the decision
// from which length that pays. The decision weighs the cost of opening a region on this machine
// (from a survey of its topology, done once) against the work per element of the function (from a
// table per processor class).
#include <omp.h>

#include <atomic>
#include <climits>

#include "nvo/nvo_internal.h"
#include "service/platform.h"
#include "service/service.h"
#include "zvx_nvo.h"

namespace {

// Work per element of each companion function, five entries per function number (one per
// processor class, 0 to 4), numbers from 110 in steps of 5: 110 cosine, 115 its faster form, 120
// sine, 125 its faster form. Class 0 is 0.0 throughout: nothing threads there.
constexpr int kFirstFunction = 110;
constexpr int kTableLength = 20;
constexpr double kCostDouble[kTableLength] = {
    0.0, 53.04, 50.41, 38.43, 24.15,  // 110
    0.0, 52.86, 49.77, 38.74, 23.85,  // 115
    0.0, 52.02, 45.74, 37.88, 22.84,  // 120
    0.0, 51.93, 43.31, 37.93, 22.73,  // 125
};
// An element of the single-precision loops costs this share of a double one: they run twice as
// many lanes per vector with fewer terms. Measured with arguments within a few periods (the
// tables of the transforms), 0.43 with AVX-512 and 0.45 with AVX2; beyond |x| = 125 the float
// loops switch to a longer reduction and cost about as much as the double ones, which only makes
// a threaded float call pay off earlier than this share says.
constexpr double kSingleShare = 0.45;
struct cost_table {
  double cost[kTableLength];
};
constexpr cost_table scaled(const double (&row)[kTableLength], double share) {
  cost_table t{};
  for (int i = 0; i < kTableLength; ++i) t.cost[i] = row[i] * share;
  return t;
}
constexpr cost_table kCostSingle = scaled(kCostDouble, kSingleShare);

// Result of the topology survey. fork_cost -1 means nothing threads.
struct topology {
  int cls;  // processor class of the binding
  int logical, cores, packages;
  float fork_cost;
  int thread_kind;  // which count gives real parallelism; kept for inspection only
};

// Smallest number of the form 2^k - 1 that is not below v (0 for v = 0).
int all_ones_at_least(int v) {
  int m = 0;
  while (m < v) m = m * 2 + 1;
  return m;
}

// Visits each processor of the thread's affinity mask by binding the thread to it alone, reads
// that processor's APIC number and package counts with cpuid, and counts packages, cores and
// logical processors from the changes of the package and core parts of the APIC numbers. The
// thread's mask is restored after each processor, on every path.
void survey_processors(topology* t) {
  zvx::platform::affinity_mask saved;
  if (!zvx::platform::affinity_get(&saved)) return;
  bool have_last = false;
  int last_package = 0, last_core = 0;
  for (int word = 0; word < 16; ++word) {
    for (int bit = 0; bit < 64; ++bit) {
      if (!(saved.bits[word] >> bit & 1)) continue;
      zvx::platform::affinity_mask one{};
      one.bits[word] = 1ull << bit;
      if (zvx::platform::affinity_set(&one)) zvx::platform::sleep_ms(0);

      unsigned r[4];
      zvx::platform::cpuid(0, 0, r);
      const unsigned highest = r[0];
      if (highest < 1) {
        t->fork_cost = -1.0f;
        t->thread_kind = 1;
        if (zvx::platform::affinity_set(&saved)) zvx::platform::sleep_ms(0);
        return;
      }
      zvx::platform::cpuid(1, 0, r);
      const bool htt = r[3] >> 28 & 1;
      const int logical_per_package = static_cast<int>(r[1] >> 16 & 0xFF);
      const int apic = static_cast<int8_t>(r[1] >> 24);
      int cores_per_package = 1;
      if (highest >= 4) {
        zvx::platform::cpuid(4, 0, r);
        cores_per_package = (static_cast<int32_t>(r[0]) >> 26) + 1;
      }
      if (zvx::platform::affinity_set(&saved)) zvx::platform::sleep_ms(0);

      const int smt_mask = all_ones_at_least(logical_per_package / 2);
      int core_mask = 0;
      if (cores_per_package > 1) {
        core_mask = all_ones_at_least(cores_per_package / 2);
        while (core_mask < (core_mask ^ smt_mask)) core_mask *= 2;
      }
      const int package_id = apic & ~smt_mask;
      const int core_id = apic & (~smt_mask | core_mask);
      if (htt && have_last && package_id == last_package) {
        ++t->logical;
        if (core_id != last_core) {
          ++t->cores;
          last_core = core_id;
        }
      } else {
        ++t->packages;
        ++t->cores;
        ++t->logical;
        last_package = package_id;
        last_core = core_id;
        have_last = true;
      }
    }
  }
}

topology run_survey() {
  topology t{zvx::nvo::processor_class(), 0, 0, 0, -1.0f, 1};
  // Threading of vector functions is asked for through the environment: without OMP_NUM_THREADS,
  // or with ZVX_SERIAL beginning with Y, the machine counts as serial.
  const char* serial = zvx::platform::env_get("ZVX_SERIAL");
  const char* threads = zvx::platform::env_get("OMP_NUM_THREADS");
  if ((serial != nullptr && (serial[0] == 'Y' || serial[0] == 'y')) || threads == nullptr) return t;

  survey_processors(&t);
  // A mask that cannot be read, or a processor without cpuid leaf 1, leaves the counts at 0.
  const int L = t.logical, C = t.cores, P = t.packages;
  if (L <= 1 || C < 1 || P < 1) {
    t.fork_cost = -1.0f;
    return t;
  }
  // Shares of the machine's parallelism that come from packages (p), from cores within a package
  // (c) and from logical processors within a core (t): a region across packages is cheap to
  // fill, one whose second thread shares a core gains little and so needs the most work.
  const double p = static_cast<double>((P - 1) * (L / P)) / (L - 1);
  const double c = static_cast<double>(((C / P) - 1) * (L / C)) / (L - 1);
  const double s = static_cast<double>((L / C) - 1) / (L - 1);
  t.fork_cost = static_cast<float>(60000.0 * c + (500000.0 * s + 9000.0 * p));
  t.thread_kind = p != 0.0 ? P : (c != 0.0 ? C : L);
  return t;
}

const topology& machine() {
  static const topology t = run_survey();
  return t;
}

double cost_of(char precision, int function, int cls) {
  const int index = function - kFirstFunction + cls;
  if (function < kFirstFunction || index < 0 || index >= kTableLength) return 0.0;
  return precision == 'd' ? kCostDouble[index] : kCostSingle.cost[index];
}

// Length from which this call forks, without the floor of 100: the threaders use the number of
// the accuracy form actually called.
long long call_limit(char precision, int number) {
  const topology& m = machine();
  const double cost = cost_of(precision, number, m.cls);
  if (m.fork_cost < 0.0f || cost == 0.0) return LLONG_MAX;
  return static_cast<long long>((1.0 / cost) * static_cast<double>(m.fork_cost));
}

template <class T, class F>
void thread_vector(F function, int n, const T* a, T* r, int number, char precision) {
  int nthreads = omp_get_max_threads();
  const long long limit = call_limit(precision, number);
  // A forked call never uses more than two threads.
  if (limit <= n && nthreads > 2) nthreads = 2;
  if (n < limit || nthreads <= 1) {
    function(n, a, r);
    return;
  }
  // Threads of the region start with the companion's defaults: hand the caller's mode and error
  // callback on, and the start of the whole input, so that errors are reported by index.
  void* const callback = zvx::nvo::get_error_callback();
  const unsigned mode = zvx::nvo::get_mode();
  // Pieces start on multiples of 4 elements, so that every piece but the last one is a whole
  // number of vectors for the companion's loops.
  const int chunk = ((n / nthreads) + 3) & ~3;
#pragma omp parallel for num_threads(nthreads) schedule(static)
  for (int i = 0; i < nthreads; ++i) {
    zvx::nvo::set_error_callback(callback);
    zvx::nvo::set_mode(mode);
    zvx::nvo::set_input_vector(a);
    const long long start = static_cast<long long>(i) * chunk;
    if (start >= n) continue;
    const long long count = i == nthreads - 1 ? n - start : (start + chunk <= n ? chunk : n - start);
    function(static_cast<int>(count), a + start, r + start);
  }
  zvx::nvo::set_input_vector(nullptr);
}

}  // namespace

namespace zvx::nvo {

int thread_threshold(char precision, int function) {
  const topology& m = machine();
  if (m.fork_cost == -1.0f || omp_in_parallel()) return INT_MAX;
  const double cost = cost_of(precision, function, m.cls);
  if (cost == 0.0) return INT_MAX;
  double v = static_cast<double>(m.fork_cost) / cost;
  if (!(v > 100.0)) v = 100.0;
  return v >= static_cast<double>(INT_MAX) ? INT_MAX : static_cast<int>(v);
}

}  // namespace zvx::nvo

ZVX_EXPORT void _zvx_nvo_service_threader_d_1i_1o(zvx_nvo_vector_d function, int n, const double* a,
                                                  double* r, int number) {
  thread_vector<double>(function, n, a, r, number, 'd');
}

ZVX_EXPORT void _zvx_nvo_service_threader_s_1i_1o(zvx_nvo_vector_s function, int n, const float* a,
                                                  float* r, int number) {
  thread_vector<float>(function, n, a, r, number, 's');
}
