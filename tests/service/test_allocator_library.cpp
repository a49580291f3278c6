// The optional allocator library: taken whole or not at all, and never called on the fast path.
// The test keeps the library loaded itself, as the manager requires; LD_LIBRARY_PATH (set by
// the CTest entry) leads both the test and the manager to the same file.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "zvx.h"

namespace {

using counts_fn = void (*)(long*, long*);

counts_fn load_counters() {
  void* lib = dlopen("libqmalloc.so", RTLD_NOW | RTLD_LOCAL);
  if (lib == nullptr) return nullptr;
  return reinterpret_cast<counts_fn>(dlsym(lib, "qmalloc_counts"));
}

TEST(AllocatorLibrary, ReplacementServesTheCacheAndTheFastPathCallsNothing) {
  counts_fn counts = load_counters();
  ASSERT_NE(counts, nullptr);
  long m0, f0, m1, f1, m2, f2;
  counts(&m0, &f0);
  void* p = zvx_allocate(131072, 128);
  ASSERT_NE(p, nullptr);
  zvx_deallocate(p);
  counts(&m1, &f1);
  EXPECT_EQ(m1 - m0, 2);  // the thread's record and the block
  for (int i = 0; i < 10000; ++i) {
    void* q = zvx_allocate(131072, 128);
    ASSERT_EQ(q, p);
    zvx_deallocate(q);
  }
  counts(&m2, &f2);
  EXPECT_EQ(m2, m1);
  EXPECT_EQ(f2, f1);
  // Uncached requests go to the replacement as well.
  void* big = zvx_allocate(41943041u, 128);
  zvx_deallocate(big);
  long m3, f3;
  counts(&m3, &f3);
  EXPECT_EQ(m3 - m2, 1);
  EXPECT_EQ(f3 - f2, 1);
  freebuffers();
  long m4, f4;
  counts(&m4, &f4);
  EXPECT_EQ(f4 - f3, 2);  // the block and the record
}

TEST(AllocatorLibrary, IncompleteReplacementIsNotUsed) {
  counts_fn counts = load_counters();
  ASSERT_NE(counts, nullptr);
  void* p = zvx_allocate(4096, 32);
  ASSERT_NE(p, nullptr);
  zvx_deallocate(p);
  freebuffers();
  long m, f;
  counts(&m, &f);
  EXPECT_EQ(m, 0);
  EXPECT_EQ(f, 0);
}

}  // namespace
