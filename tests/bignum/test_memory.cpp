// Memory hooks, the default allocator, temporary allocation, the life cycle of records, and the
// paths that end the process (run in a child by the death tests).
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <map>

#include "bignum/gmp_peer.h"

using namespace bntest;

namespace {

struct counters {
  int allocs = 0, reallocs = 0, frees = 0;
  std::map<void*, size_t> live;
  bool size_mismatch = false;
} g_count;

void* count_alloc(size_t n) {
  ++g_count.allocs;
  void* p = std::malloc(n);
  g_count.live[p] = n;
  return p;
}
void* count_realloc(void* p, size_t old, size_t n) {
  ++g_count.reallocs;
  if (g_count.live[p] != old) g_count.size_mismatch = true;
  g_count.live.erase(p);
  void* q = std::realloc(p, n);
  g_count.live[q] = n;
  return q;
}
void count_free(void* p, size_t n) {
  ++g_count.frees;
  auto it = g_count.live.find(p);
  if (it == g_count.live.end() || it->second != n) g_count.size_mismatch = true;
  if (it != g_count.live.end()) g_count.live.erase(it);
  std::free(p);
}

}  // namespace

TEST(BignumMemory, HooksSeeEveryBlockWithItsSize) {
  void* (*a0)(size_t);
  void* (*r0)(void*, size_t, size_t);
  void (*f0)(void*, size_t);
  mp_get_memory_functions(&a0, &r0, &f0);
  EXPECT_EQ(a0, &__gmp_default_allocate);
  EXPECT_EQ(__gmp_allocate_func_ptr(), &__gmp_default_allocate);
  EXPECT_EQ(__gmp_reallocate_func_ptr(), &__gmp_default_reallocate);
  EXPECT_EQ(__gmp_free_func_ptr(), &__gmp_default_free);
  g_count = counters{};
  mp_set_memory_functions(count_alloc, count_realloc, count_free);
  EXPECT_EQ(__gmp_allocate_func_ptr(), &count_alloc);
  {
    mpz_t a, b, c;
    mpz_init(a);
    EXPECT_EQ(g_count.allocs, 1);
    EXPECT_EQ(a->_mp_alloc, 8);  // init is init2 with 8 bits: at least 8 limbs
    mpz_init2(b, 1000);
    EXPECT_GE(b->_mp_alloc, 32);
    mpz_init(c);
    mpz_set_str(a, "123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF", 16);
    mpz_mul(b, a, a);
    for (int i = 0; i < 5; ++i) mpz_mul(b, b, b);  // grows past Karatsuba's local scratch
    mpz_tdiv_qr(c, a, b, a);
    char* s = mpz_get_str(nullptr, 10, b);
    void (*f)(void*, size_t);
    mp_get_memory_functions(nullptr, nullptr, &f);
    f(s, strlen(s) + 1);
    mpz_realloc2(c, 5000);
    EXPECT_GE(c->_mp_alloc, 157);
    mpz_set_str(c, "-123456789ABCDEF0", 16);
    mp_limb_t* before = c->_mp_d;
    mpz_realloc(c, 1);  // shrinking keeps the array and the low limb, with the sign
    EXPECT_EQ(c->_mp_d, before);
    EXPECT_EQ(mpz_cmp_si(c, -0x9ABCDEF0L), 0);
    mpz_set_str(c, "500000000", 16);
    mpz_realloc(c, 1);  // a zero low limb leaves 0
    EXPECT_EQ(mpz_sgn(c), 0);
    mpz_clear(a);
    mpz_clear(b);
    mpz_clear(c);
  }
  EXPECT_GT(g_count.allocs, 5);
  EXPECT_EQ(g_count.allocs, g_count.frees);
  EXPECT_TRUE(g_count.live.empty());
  EXPECT_FALSE(g_count.size_mismatch);
  mpz_t arr[3];
  mpz_array_init(arr[0], 3, 100);
  for (auto& z : arr) {
    EXPECT_GE(z->_mp_alloc, 8);
    EXPECT_EQ(mpz_sgn(z), 0);
    mpz_clear(z);
  }
  EXPECT_TRUE(g_count.live.empty());
  mp_set_memory_functions(a0, r0, f0);
  EXPECT_EQ(__gmp_allocate_func_ptr(), &__gmp_default_allocate);
}

TEST(BignumMemory, DefaultAllocatorLayout) {
  for (size_t n : {0u, 1u, 31u, 32u, 1000u}) {
    unsigned char* p = static_cast<unsigned char*>(__gmp_default_allocate(n));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
    uint32_t stored;
    memcpy(&stored, p - 4, 4);
    EXPECT_EQ(stored, n);
    EXPECT_LE(p[-5], 59);
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<unsigned char>(i);
    // Reallocate always moves, keeps the lesser size, and takes the old size from the header.
    unsigned char* q = static_cast<unsigned char*>(__gmp_default_reallocate(p, 12345, n + 7));
    for (size_t i = 0; i < n; ++i) ASSERT_EQ(q[i], static_cast<unsigned char>(i));
    memcpy(&stored, q - 4, 4);
    EXPECT_EQ(stored, n + 7);
    __gmp_default_free(q, 0);
  }
  void* r = __gmp_default_reallocate(nullptr, 999, 16);  // a null block is a fresh allocation
  ASSERT_NE(r, nullptr);
  __gmp_default_free(r, 16);
}

TEST(BignumMemory, TemporarySlotHoldsOneBlock) {
  _impTmpMark();
  void* p = _impTmpMalloc(100);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
  memset(p, 1, 100);
  _impTmpFree();
  _impTmpFree();  // the slot is empty after a free: no second release
  _impTmpMark();
  _impTmpMalloc(10);
  _impTmpMark();  // mark releases what the slot holds
}

TEST(BignumMemory, SwapAndInitSet) {
  mpz_t a, b;
  mpz_init_set_str(a, "-123456789012345678901234567890", 10);
  mpz_init_set(b, a);
  EXPECT_EQ(mpz_cmp(a, b), 0);
  mpz_set_ui(b, 5);
  mp_limb_t* da = a->_mp_d;
  mpz_swap(a, b);
  EXPECT_EQ(mpz_cmp_ui(a, 5), 0);
  EXPECT_EQ(b->_mp_d, da);
  EXPECT_EQ(mpz_cmp_d(b, mpz_get_d(b)), -1);
  mpz_set(a, b);
  mpz_set(a, a);
  EXPECT_EQ(mpz_cmp(a, b), 0);
  mpz_clear(a);
  mpz_clear(b);
}

using BignumDeathTest = ::testing::Test;

// The fault ends the process by SIGFPE; under AddressSanitizer its handler catches the signal,
// reports an FPE and exits with its error status instead.
#if defined(__SANITIZE_ADDRESS__)
#define ZVX_EXPECT_FPE(stmt) EXPECT_EXIT(stmt, [](int st) { return st != 0; }, "FPE")
#else
#define ZVX_EXPECT_FPE(stmt) EXPECT_EXIT(stmt, ::testing::KilledBySignal(SIGFPE), "")
#endif

TEST(BignumDeathTest, DivisionByZeroIsAProcessorFault) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Z n("5"), d, q;
  ZVX_EXPECT_FPE(mpz_tdiv_q(q.p(), n.p(), d.p()));
  ZVX_EXPECT_FPE(mpz_fdiv_r(q.p(), n.p(), d.p()));
  ZVX_EXPECT_FPE(mpz_mod(q.p(), n.p(), d.p()));
  ZVX_EXPECT_FPE(mpz_tdiv_ui(n.p(), 0));
  ZVX_EXPECT_FPE(mpz_set_d(q.p(), NAN));
}

TEST(BignumDeathTest, FailedDefaultAllocationEndsWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(__gmp_default_allocate(SIZE_MAX - 10), "ZVX ERROR : big-integer allocation failed: out of memory");
}
