// The scratch cache, observed through the addresses and alignments zvx_allocate returns. Each
// case runs on a fresh thread, which starts with no record and five empty slots.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>

#include "zvx.h"

namespace {

template <class F>
void on_fresh_thread(F f) {
  std::thread t(f);
  t.join();
}

bool aligned_to(const void* p, uintptr_t a) { return reinterpret_cast<uintptr_t>(p) % a == 0; }

TEST(Memory, ZeroSizeIsNull) {
  on_fresh_thread([] { EXPECT_EQ(zvx_allocate(0, 32), nullptr); });
  zvx_deallocate(nullptr);
}

TEST(Memory, RepeatedRequestReturnsTheSameAlignedBlock) {
  on_fresh_thread([] {
    for (int align : {8, 32, 64, 128, 4096}) {
      void* p = zvx_allocate(131072, align);
      ASSERT_NE(p, nullptr);
      EXPECT_TRUE(aligned_to(p, static_cast<uintptr_t>(align)));
      memset(p, 0xA5, 131072);  // the whole block is usable
      zvx_deallocate(p);
      void* q = zvx_allocate(131072, align);
      EXPECT_EQ(p, q);
      zvx_deallocate(q);
    }
  });
}

TEST(Memory, AlignmentIsPartOfTheBlockSize) {
  on_fresh_thread([] {
    void* p = zvx_allocate(1000, 32);
    zvx_deallocate(p);
    void* q = zvx_allocate(1000, 64);  // block 1064 is not block 1032: a new slot
    EXPECT_NE(p, q);
    EXPECT_TRUE(aligned_to(q, 64));
    zvx_deallocate(q);
    EXPECT_EQ(zvx_allocate(1000, 32), p);
    EXPECT_EQ(zvx_allocate(1000, 64), q);
    zvx_deallocate(p);
    zvx_deallocate(q);
  });
}

TEST(Memory, SmallAlignmentMeansNone) {
  on_fresh_thread([] {
    void* p = zvx_allocate(100, 4);
    zvx_deallocate(p);
    EXPECT_EQ(zvx_allocate(100, 0), p);  // both are block 100
    void* q = zvx_allocate(100, 8);      // block 108
    EXPECT_NE(q, p);
    zvx_deallocate(q);
    zvx_deallocate(p);
  });
}

TEST(Memory, LargestCachedRequest) {
  on_fresh_thread([] {
    const unsigned largest = 41943040u;
    void* p = zvx_allocate(largest, 4096);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned_to(p, 4096));
    zvx_deallocate(p);
    EXPECT_EQ(zvx_allocate(largest, 4096), p);
    zvx_deallocate(p);
    // One byte more bypasses the cache and ignores the alignment: the allocator's own large-block
    // address is a page plus its header.
    void* big = zvx_allocate(largest + 1, 4096);
    ASSERT_NE(big, nullptr);
    EXPECT_FALSE(aligned_to(big, 4096));
    zvx_deallocate(big);
  });
}

TEST(Memory, NewSlotWhileRoomEvenIfLargerFree) {
  on_fresh_thread([] {
    void* a = zvx_allocate(1000, 0);
    void* b = zvx_allocate(2000, 0);
    void* c = zvx_allocate(3000, 0);
    zvx_deallocate(a);
    zvx_deallocate(b);
    zvx_deallocate(c);
    void* d = zvx_allocate(500, 0);
    EXPECT_NE(d, a);
    EXPECT_NE(d, b);
    EXPECT_NE(d, c);
    zvx_deallocate(d);
  });
}

TEST(Memory, FirstLargerFreeSlotIsReusedWhenFull) {
  on_fresh_thread([] {
    void* p[5];
    for (int i = 0; i < 5; ++i) p[i] = zvx_allocate(1000u * (i + 1), 0);
    for (int i = 0; i < 5; ++i) zvx_deallocate(p[i]);
    EXPECT_EQ(zvx_allocate(1500, 0), p[1]);  // 2000 is the first free one that is larger
    EXPECT_EQ(zvx_allocate(1500, 0), p[2]);  // 2000 is now in use
    zvx_deallocate(p[1]);
    zvx_deallocate(p[2]);
  });
}

TEST(Memory, LowestSmallerSlotIsReplacedWhenAllSmaller) {
  on_fresh_thread([] {
    void* p[5];
    for (int i = 0; i < 5; ++i) p[i] = zvx_allocate(100u * (i + 1), 128);
    for (int i = 0; i < 5; ++i) zvx_deallocate(p[i]);
    void* big = zvx_allocate(100000, 128);
    EXPECT_TRUE(aligned_to(big, 128));
    zvx_deallocate(big);
    // Slot 0 now holds the large block: a request of 100 finds it as the first larger slot.
    EXPECT_EQ(zvx_allocate(100, 128), big);
    EXPECT_EQ(zvx_allocate(200, 128), p[1]);
    zvx_deallocate(big);
    zvx_deallocate(p[1]);
  });
}

TEST(Memory, SixthRequestWhileFiveHeldComesFromTheAllocator) {
  on_fresh_thread([] {
    // Above the allocator's largest heap request, so its address is a page plus its header.
    constexpr unsigned kSize = 34u << 20;
    void* p[5];
    for (int i = 0; i < 5; ++i) {
      p[i] = zvx_allocate(kSize, 4096);
      EXPECT_TRUE(aligned_to(p[i], 4096));
    }
    void* sixth = zvx_allocate(kSize, 4096);
    ASSERT_NE(sixth, nullptr);
    EXPECT_FALSE(aligned_to(sixth, 4096));  // uncached: the alignment is not honoured
    memset(sixth, 1, kSize);
    zvx_deallocate(sixth);  // not found in the slots: back to the allocator
    for (int i = 0; i < 5; ++i) zvx_deallocate(p[i]);
  });
}

TEST(Memory, LargeBlockOnThreadWithoutRecordIsReleased) {
  // A thread whose only request is uncached has no record; its release still frees the block
  // (the sanitizer run would report the leak otherwise).
  on_fresh_thread([] {
    void* big = zvx_allocate(50u << 20, 128);
    ASSERT_NE(big, nullptr);
    zvx_deallocate(big);
  });
}

TEST(Memory, BlockReleasedOnAnotherThreadStaysWithItsOwner) {
  void* p = nullptr;
  on_fresh_thread([&] {
    p = zvx_allocate(4096, 64);
    on_fresh_thread([&] {
      void* own = zvx_allocate(64, 64);  // this thread has a record of its own
      zvx_deallocate(p);                 // not its block: left alone, not passed to free
      zvx_deallocate(own);
    });
    // Still marked in use with its owner: the same request gets a new block.
    void* q = zvx_allocate(4096, 64);
    EXPECT_NE(q, p);
    zvx_deallocate(q);
    zvx_deallocate(p);
    EXPECT_EQ(zvx_allocate(4096, 64), p);
    zvx_deallocate(p);
  });
}

TEST(Memory, FreebuffersReleasesEverythingAndTheCacheStartsAgain) {
  on_fresh_thread([] {
    void* p = zvx_allocate(5000, 32);
    zvx_deallocate(p);
  });
  std::thread t([] {
    void* p = zvx_allocate(7000, 32);
    zvx_deallocate(p);
    freebuffers();
    void* q = zvx_allocate(7000, 32);
    ASSERT_NE(q, nullptr);
    EXPECT_TRUE(aligned_to(q, 32));
    zvx_deallocate(q);
    EXPECT_EQ(zvx_allocate(7000, 32), q);  // cached again under a new record
    zvx_deallocate(q);
  });
  t.join();
  freebuffers();
  freebuffers();  // nothing left: a second call is harmless
  on_fresh_thread([] {
    void* p = zvx_allocate(9000, 128);
    zvx_deallocate(p);
    EXPECT_EQ(zvx_allocate(9000, 128), p);
    zvx_deallocate(p);
  });
}

TEST(Memory, ManyThreadsEachKeepTheirOwnBlocks) {
  constexpr int kThreads = 8;
  std::thread threads[kThreads];
  for (int t = 0; t < kThreads; ++t) {
    threads[t] = std::thread([t] {
      for (int round = 0; round < 200; ++round) {
        auto* p = static_cast<unsigned char*>(zvx_allocate(1024u * (round % 7 + 1), 128));
        ASSERT_NE(p, nullptr);
        memset(p, t, 1024u * (round % 7 + 1));
        zvx_deallocate(p);
      }
    });
  }
  for (auto& th : threads) th.join();
}

}  // namespace
