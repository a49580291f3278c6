// The threads of a solve: how many, how a stage's index range is shared among them, and the
// work each thread owns. Lines of the grid are transformed one call at a time, some thousands of
// calls a stage, so a stage is only as fast as its threads are independent: nothing a thread
// writes per line may share a cache line with what another thread reads or writes.
#pragma once
#include <omp.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "common/team_gate.h"
#include "pde_poisson/tuning.h"
#include "service/service.h"

namespace zvx::poisson {

// Where a transform's integer block keeps the thread count its descriptor was committed for.
inline constexpr int kTrigThreads = 9;

// Threads asked of a solve: ipar[22] when the process allows threads and the caller is not
// already inside a parallel region. The work is taken for this many, so that a count no memory
// can serve fails as a memory failure.
inline int asked_threads(const int* ipar) {
  if (serial_policy() == 1 || omp_in_parallel() || ipar[22] < 2) return 1;
  return ipar[22];
}

// Threads a solve runs on: those asked, but no more than the transforms were committed for
// (ipar[22] at commit, kept in each transform's block). A descriptor committed for one thread has
// one scratch area, which two threads would share; one committed for fewer user threads than
// call it refuses the surplus calls.
inline int solve_threads(const int* ipar, bool two_transforms) {
  int threads = std::min(asked_threads(ipar), ipar[40 + kTrigThreads]);
  if (two_transforms) threads = std::min(threads, ipar[60 + kTrigThreads]);
  return std::max(threads, 1);
}

// The parts of a stage, a run of consecutive ones per thread: the owner takes its parts from the
// front, a thread whose run is done takes the last part of another's. Both ends of a run sit in one
// word, so taking from either end is one compare-and-swap on it; each word has a cache line of its
// own.
struct alignas(kCacheLineBytes) part_run {
  unsigned long long ends;  // first part in the low half, end in the high half
};
inline constexpr int kMaxRuns = 64;

inline long take_front(part_run& r) {
  unsigned long long v = __atomic_load_n(&r.ends, __ATOMIC_RELAXED);
  for (;;) {
    const unsigned long long lo = v & 0xffffffffu, hi = v >> 32;
    if (lo >= hi) return -1;
    if (__atomic_compare_exchange_n(&r.ends, &v, v + 1, false, __ATOMIC_RELAXED,
                                    __ATOMIC_RELAXED))
      return static_cast<long>(lo);
  }
}
inline long take_back(part_run& r) {
  unsigned long long v = __atomic_load_n(&r.ends, __ATOMIC_RELAXED);
  for (;;) {
    const unsigned long long lo = v & 0xffffffffu, hi = v >> 32;
    if (lo >= hi) return -1;
    if (__atomic_compare_exchange_n(&r.ends, &v, v - (1ull << 32), false, __ATOMIC_RELAXED,
                                    __ATOMIC_RELAXED))
      return static_cast<long>(hi - 1);
  }
}

// Parts of a stage of `count` indices on `threads` threads.
inline long parts_of(long count, int threads) {
  const long per = static_cast<long>(threads) * kPartsPerThread;
  return count < per ? count : per;
}

// Deals `parts` parts to `threads` runs of consecutive ones.
inline void deal(part_run* runs, int threads, long parts) {
  for (int t = 0; t < threads; ++t) {
    const unsigned long long lo = parts * t / threads, hi = parts * (t + 1) / threads;
    runs[t].ends = lo | hi << 32;
  }
}

// The next part for thread t: its own run from the front, then the others' from their far
// ends. A team smaller than asked leaves runs without their owner: the others take them whole.
inline long next_part(part_run* runs, int threads, int t) {
  long p = take_front(runs[t]);
  for (int k = 1; p < 0 && k < threads; ++k) p = take_back(runs[(t + k) % threads]);
  return p;
}

// Runs stage s's body(first, end, thread) over [0, counts[s]) in parts, stage after stage, all
// in one parallel region; returns the first non-zero status a part gave, and its stage in
// `failed`; later stages then do not run. Every index is done by exactly one part and a part's
// result does not depend on the thread that does it, so the result is that of one thread.
//
// Each thread starts a stage on a run of consecutive parts of its own, so that at any time the
// threads work far apart in the grid: a row of the grid is no whole number of cache lines, and
// two threads sweeping neighbouring column blocks at the same pace would pass the line at their
// border back and forth on every row. A thread that the system takes off its core still holds up
// nothing: the others take over the rest of its run from the far end.
template <class... Bodies>
int split_stages(int threads, const long (&counts)[sizeof...(Bodies)], int& failed,
                 Bodies&&... bodies) {
  constexpr int S = sizeof...(Bodies);
  const auto call = [&](int s, long first, long end, int t) {
    int st = 0, k = 0;
    ((k++ == s ? (st = bodies(first, end, t), true) : false) || ...);
    return st;
  };
  failed = -1;
  if (threads <= 1) {
    for (int s = 0; s < S; ++s) {
      const int st = call(s, 0L, counts[s], 0);
      if (st != 0) {
        failed = s;
        return st;
      }
    }
    return 0;
  }
  threads = std::min(threads, kMaxRuns);
  part_run runs[kMaxRuns];
  deal(runs, threads, parts_of(counts[0], threads));
  team_gate gate;  // between stages: spins kGateSpinMicros, then sleeps
  int status = 0;
  bool stop = false;
#pragma omp parallel num_threads(threads)
  {
    const int t = omp_get_thread_num();
    const int team = omp_get_num_threads();
    for (int s = 0; s < S; ++s) {
      const long count = counts[s], parts = parts_of(count, threads);
      int mine = 0;
      for (long p; (p = next_part(runs, threads, t)) >= 0;) {
        if (mine == 0) mine = call(s, count * p / parts, count * (p + 1) / parts, t);
      }
      if (mine != 0) {
#pragma omp critical(zvx_poisson_status)
        if (status == 0) {
          status = mine;
          failed = s;
        }
      }
      if (s + 1 == S) break;
      // The last to arrive deals the next stage and, on a failure, stops them all.
      gate_pass(gate, team, kGateSpinMicros, [&] {
        deal(runs, threads, parts_of(counts[s + 1], threads));
#pragma omp critical(zvx_poisson_status)
        stop = status != 0;
      });
      if (stop) break;
    }
  }
  return status;
}

// One stage: body(first, end, thread) over [0, count).
template <class Body> int split(int threads, long count, Body&& body) {
  const long counts[1] = {count};
  int failed = 0;
  return split_stages(threads, counts, failed, body);
}

// The work of a solve: one block per thread, each a whole number of cache lines from a
// cache-line boundary, so that the sweeps' pairs and line buffers of two threads never share a
// line. Taken from the calling thread's scratch cache: repeated solves reuse the pages instead of
// faulting in fresh ones per call.
template <class T> struct work_area {
  T* base = nullptr;
  std::size_t stride = 0;  // elements from one thread's block to the next
  T* of(int t) const { return base + stride * static_cast<std::size_t>(t); }
};

// Takes `per_thread` elements for each of `threads` threads; false when the memory cannot be had.
template <class T> bool take_work(work_area<T>& w, std::size_t per_thread, int threads) {
  constexpr std::size_t line = kCacheLineBytes / sizeof(T);
  w.stride = (per_thread + line - 1) / line * line;
  const std::size_t limit = UINT_MAX / sizeof(T);
  if (threads < 1 || w.stride > limit / static_cast<std::size_t>(threads)) return false;
  const std::size_t bytes = w.stride * static_cast<std::size_t>(threads) * sizeof(T);
  w.base = static_cast<T*>(scratch_allocate(static_cast<unsigned>(bytes), kCacheLineBytes));
  return w.base != nullptr;
}

template <class T> void give_work(work_area<T>& w) {
  if (w.base != nullptr) scratch_free(w.base);
  w.base = nullptr;
}

// The integer block of a transform (ipar from 40 or 60 on). Every transform call writes its
// status word there and reads its size and type next to it; threads sharing the caller's block
// would pass that cache line back and forth on every line. Each thread works on its own copy on
// its own stack; a failed call's status goes back to the caller's block, as if it had been the
// only call.
inline constexpr int kTrigBlock = 20;
inline constexpr int kTrigStatus = 6;
struct alignas(kCacheLineBytes) trig_block {
  int v[kTrigBlock];
  int* shared;
  explicit trig_block(int* caller) : shared(caller) { std::memcpy(v, caller, sizeof v); }
  // Called when a transform through this copy failed: its status word to the caller's block.
  void report() const {
#pragma omp critical(zvx_poisson_trig_status)
    shared[kTrigStatus] = v[kTrigStatus];
  }
};

}  // namespace zvx::poisson
