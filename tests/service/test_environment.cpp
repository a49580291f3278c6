// Behaviour that depends on the process environment. Each case runs as its own CTest entry with
// its variables set (tests/service/CMakeLists.txt), because the library reads them once.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "zvx.h"

namespace {

TEST(ThreadPolicy, Serial) { EXPECT_EQ(in_serial(), 1); }
TEST(ThreadPolicy, Parallel) { EXPECT_EQ(in_serial(), 0); }

TEST(ThreadPolicy, DecisionIsTakenOnce) {
  const int first = in_serial();
  EXPECT_EQ(set_serial(), 1);
  EXPECT_STREQ(getenv("ZVX_SERIAL"), "YES");
  EXPECT_EQ(in_serial(), first);
  EXPECT_EQ(set_parallel(), 1);
  EXPECT_STREQ(getenv("ZVX_SERIAL"), "NO");
  EXPECT_EQ(in_serial(), first);
}

TEST(ThreadPolicy, SetParallelBeforeFirstQuery) {
  EXPECT_EQ(set_parallel(), 1);
  EXPECT_EQ(in_serial(), 0);
}

TEST(ThreadPolicy, SetSerialBeforeFirstQuery) {
  EXPECT_EQ(set_serial(), 1);
  EXPECT_EQ(in_serial(), 1);
}

// With the cache disabled every request is the allocator's, alignment ignored, and freebuffers
// does nothing.
TEST(MemoryDisabled, EveryRequestGoesToTheAllocator) {
  constexpr unsigned kSize = 34u << 20;  // an allocator request whose address is not page aligned
  void* p = zvx_allocate(kSize, 4096);
  ASSERT_NE(p, nullptr);
  EXPECT_NE(reinterpret_cast<uintptr_t>(p) % 4096, 0u);
  memset(p, 3, kSize);
  zvx_deallocate(p);
  void* small = zvx_allocate(100, 128);
  ASSERT_NE(small, nullptr);
  zvx_deallocate(small);
  freebuffers();
  EXPECT_EQ(zvx_allocate(0, 32), nullptr);
}

}  // namespace

namespace {

// The registry holds 1,087 thread records. Threads beyond that are served uncached, and their
// blocks still go back to the allocator on release.
TEST(MemoryRegistry, ThreadsBeyondTheRegistryAreServedUncached) {
  for (int t = 0; t < 1087; ++t) {
    std::thread th([] {
      void* p = zvx_allocate(64, 32);
      ASSERT_NE(p, nullptr);
      zvx_deallocate(p);
    });
    th.join();
  }
  std::thread late([] {
    constexpr unsigned kSize = 34u << 20;  // an allocator request whose address is not page aligned
    void* p = zvx_allocate(kSize, 4096);
    ASSERT_NE(p, nullptr);
    EXPECT_NE(reinterpret_cast<uintptr_t>(p) % 4096, 0u);
    memset(p, 1, kSize);
    zvx_deallocate(p);
  });
  late.join();
  freebuffers();
  // The registry starts again: a new thread is cached once more.
  std::thread again([] {
    void* p = zvx_allocate(34u << 20, 4096);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 4096, 0u);
    zvx_deallocate(p);
  });
  again.join();
  freebuffers();
}

}  // namespace
