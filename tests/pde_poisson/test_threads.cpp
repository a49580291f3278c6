// The sharing of a stage among threads: every index done exactly once whatever the count and
// the team, the same parts on every run, a failing part's status returned, no thread's stall
// holding up the others; stages one after another in one team, a failure ending the solve.
// Run in an entry of its own with OMP_NUM_THREADS=2.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "pde_poisson/threads.h"
#include "pde_poisson/tuning.h"

namespace {

namespace pp = zvx::poisson;

struct record {
  std::vector<std::atomic<int>> hits;
  std::mutex m;
  std::vector<std::pair<long, long>> parts;
  explicit record(long count) : hits(static_cast<size_t>(count)) {}
};

// Runs split and records every part it hands out; returns its status.
int run_split(int threads, long count, record& r) {
  return pp::split(threads, count, [&](long first, long end, int t) {
    // One thread takes the whole range in one call, even an empty one.
    if (threads > 1 || count > 0) EXPECT_LT(first, end);
    if (first == end) return 0;
    EXPECT_GE(t, 0);
    EXPECT_LT(t, threads);
    for (long i = first; i < end; ++i) r.hits[static_cast<size_t>(i)]++;
    std::lock_guard<std::mutex> g(r.m);
    r.parts.emplace_back(first, end);
    return 0;
  });
}

void expect_once(record& r, long count, const char* what) {
  for (long i = 0; i < count; ++i) ASSERT_EQ(r.hits[static_cast<size_t>(i)].load(), 1) << what << " index " << i;
  std::sort(r.parts.begin(), r.parts.end());
}

// Counts below, at and above the parts of a stage, thread counts up to and beyond the runs one
// stage keeps.
TEST(SplitThreads, EveryIndexOnceAndTheSamePartsEveryRun) {
  const long per2 = 2L * pp::kPartsPerThread;
  for (int threads : {1, 2, 3, 7, pp::kMaxRuns, pp::kMaxRuns + 5}) {
    for (long count : {0L, 1L, 2L, 5L, per2 - 1, per2, per2 + 1, 1025L, 4099L}) {
      record a(count), b(count);
      EXPECT_EQ(run_split(threads, count, a), 0);
      EXPECT_EQ(run_split(threads, count, b), 0);
      expect_once(a, count, "first run");
      expect_once(b, count, "second run");
      EXPECT_EQ(a.parts, b.parts) << threads << " threads, count " << count;
      // Some parallelism is left for every thread asked, up to the parts of a thread.
      const long want = std::min<long>(count, std::min(threads, pp::kMaxRuns) * 1L *
                                                  (threads > 1 ? pp::kPartsPerThread : 1));
      EXPECT_EQ(static_cast<long>(a.parts.size()), threads > 1 ? want : (count > 0 ? 1 : 0))
          << threads << " threads, count " << count;
    }
  }
}

// Inside a parallel region with nesting off, a stage asked for 3 threads gets a team of one:
// that thread does every run.
TEST(SplitThreads, SmallerTeamThanAsked) {
  const int levels = omp_get_max_active_levels();
  omp_set_max_active_levels(1);
  bool ok[2] = {false, false};
#pragma omp parallel num_threads(2)
  {
    record r(1000);
    const int s = run_split(3, 1000, r);
    bool all = s == 0;
    for (auto& h : r.hits) all = all && h.load() == 1;
    ok[omp_get_thread_num()] = all;
  }
  omp_set_max_active_levels(levels);
  EXPECT_TRUE(ok[0]);
  if (omp_get_max_threads() > 1) EXPECT_TRUE(ok[1]);
}

// A part that fails stops its thread; the status comes back whichever thread ran it.
TEST(SplitThreads, FailingPartStatusReturned) {
  for (int threads : {1, 2, 3}) {
    for (long bad : {0L, 17L, 999L}) {
      const int s = pp::split(threads, 1000, [&](long first, long end, int) {
        return first <= bad && bad < end ? -7 : 0;
      });
      EXPECT_EQ(s, -7) << threads << " threads, failing index " << bad;
    }
  }
}

// The owner of the first run stalls in its first part until every other part is done: the
// others must take over the rest of its run. Without that the stage would wait out the bound.
TEST(SplitThreads, StalledThreadsRunTakenOver) {
  if (omp_get_max_threads() < 2 || omp_in_parallel()) GTEST_SKIP() << "needs two threads";
  const long count = 4L * pp::kPartsPerThread;
  std::atomic<long> done{0};
  bool others_first = false;
  const int s = pp::split(2, count, [&](long first, long end, int) {
    if (first == 0) {
      const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
      while (done.load() < count - (end - first) && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
      others_first = done.load() == count - (end - first);
    }
    done += end - first;
    return 0;
  });
  EXPECT_EQ(s, 0);
  EXPECT_EQ(done.load(), count);
  EXPECT_TRUE(others_first);
}

// Stages one after another: no part of a stage starts before every part of the one before it
// has ended, whichever thread ran them, and each index of each stage is done once.
TEST(SplitThreads, StagesInOrder) {
  for (int threads : {1, 2, 3}) {
    const long counts[3] = {1025, 65, 7};
    std::atomic<long> done[3] = {0, 0, 0};
    std::atomic<bool> early{false};
    std::vector<std::atomic<int>> hits(3 * 1025);
    const auto body = [&](int s) {
      return [&, s](long first, long end, int) {
        for (int r = 0; r < s; ++r)
          if (done[r].load() != counts[r]) early = true;
        for (long i = first; i < end; ++i) hits[static_cast<size_t>(s * 1025 + i)]++;
        done[s] += end - first;
        return 0;
      };
    };
    int failed = 0;
    EXPECT_EQ(pp::split_stages(threads, counts, failed, body(0), body(1), body(2)), 0);
    EXPECT_EQ(failed, -1);
    EXPECT_FALSE(early.load()) << threads << " threads";
    for (int s = 0; s < 3; ++s)
      for (long i = 0; i < counts[s]; ++i)
        ASSERT_EQ(hits[static_cast<size_t>(s * 1025 + i)].load(), 1) << "stage " << s << " index " << i;
  }
}

// A failing part ends the solve after its stage: its status and stage come back, no later stage
// runs.
TEST(SplitThreads, FailureStopsLaterStages) {
  for (int threads : {1, 2, 3}) {
    for (int bad_stage : {0, 1, 2}) {
      const long counts[3] = {300, 40, 300};
      std::atomic<int> ran[3] = {0, 0, 0};
      const auto body = [&](int s) {
        return [&, s](long first, long end, int) {
          ran[s]++;
          return s == bad_stage && first <= 5 && 5 < end ? 3 + s : 0;
        };
      };
      int failed = 0;
      const int st = pp::split_stages(threads, counts, failed, body(0), body(1), body(2));
      EXPECT_EQ(st, 3 + bad_stage) << threads << " threads";
      EXPECT_EQ(failed, bad_stage) << threads << " threads";
      for (int s = bad_stage + 1; s < 3; ++s) EXPECT_EQ(ran[s].load(), 0) << "stage " << s;
    }
  }
}

}  // namespace
