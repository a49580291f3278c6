// The memory hooks of the big-integer interface, the default allocator with its header in front
// of a 32-byte aligned block, and the one-slot temporary allocation.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bignum/bignum.h"
#include "service/platform.h"
#include "service/service.h"

namespace {

// A failed malloc ends the process with a message rather than a store through null.
void* checked_malloc(size_t n, size_t extra) {
  void* p = n <= SIZE_MAX - extra ? std::malloc(n + extra) : nullptr;
  if (p == nullptr) {
    static const char msg[] = "ZVX ERROR : big-integer allocation failed: out of memory\n";
    zvx::platform::console_write(msg, sizeof msg - 1);
    std::abort();
  }
  return p;
}

}  // namespace

static void* default_allocate(size_t n) {
  // 69 bytes of slack: up to 31 to reach the 32-byte boundary, then the 64-byte header area.
  unsigned char* raw = static_cast<unsigned char*>(checked_malloc(n, 69));
  uintptr_t base = reinterpret_cast<uintptr_t>(raw);
  unsigned off = static_cast<unsigned>(base % 32);
  unsigned char* user = raw - off + 64;
  user[-5] = static_cast<unsigned char>(59 - off);
  uint32_t sz = static_cast<uint32_t>(n);
  std::memcpy(user - 4, &sz, 4);
  return user;
}
ZVX_EXPORT void* __gmp_default_allocate(size_t n) { return default_allocate(n); }

static void default_free(void* p) {
  if (p == nullptr) return;
  unsigned char* user = static_cast<unsigned char*>(p);
  std::free(user - user[-5] - 5);
}
ZVX_EXPORT void __gmp_default_free(void* p, size_t) { default_free(p); }

ZVX_EXPORT void* __gmp_default_reallocate(void* p, size_t, size_t n) {
  uint32_t old = 0;
  if (p != nullptr) std::memcpy(&old, static_cast<unsigned char*>(p) - 4, 4);
  unsigned char* q = static_cast<unsigned char*>(default_allocate(n));
  size_t keep = old < n ? old : n;
  const unsigned char* src = static_cast<const unsigned char*>(p);
  for (size_t i = 0; i < keep; ++i) q[i] = src[i];
  default_free(p);
  return q;
}

namespace {
void* (*g_allocate)(size_t) = __gmp_default_allocate;
void* (*g_reallocate)(void*, size_t, size_t) = __gmp_default_reallocate;
void (*g_free)(void*, size_t) = __gmp_default_free;

// The temporary slot: one block process-wide.
void* g_tmp_block = nullptr;
size_t g_tmp_size = 0;
}  // namespace

ZVX_EXPORT void __gmp_set_memory_functions(void* (*a)(size_t), void* (*r)(void*, size_t, size_t),
                                           void (*f)(void*, size_t)) {
  g_allocate = a;
  g_reallocate = r;
  g_free = f;
}

ZVX_EXPORT void __gmp_get_memory_functions(void* (**a)(size_t), void* (**r)(void*, size_t, size_t),
                                           void (**f)(void*, size_t)) {
  if (a) *a = g_allocate;
  if (r) *r = g_reallocate;
  if (f) *f = g_free;
}

ZVX_EXPORT void* (*__gmp_allocate_func_ptr(void))(size_t) { return g_allocate; }
ZVX_EXPORT void* (*__gmp_reallocate_func_ptr(void))(void*, size_t, size_t) { return g_reallocate; }
ZVX_EXPORT void (*__gmp_free_func_ptr(void))(void*, size_t) { return g_free; }

ZVX_EXPORT void _impTmpMark(void) {
  if (g_tmp_block) default_free(g_tmp_block);
  g_tmp_block = nullptr;
}
ZVX_EXPORT void* _impTmpMalloc(size_t n) {
  g_tmp_size = n;
  g_tmp_block = default_allocate(n);
  return g_tmp_block;
}
// Freeing clears the slot as well, so that a second free or mark finds it empty instead of
// releasing the same block twice.
ZVX_EXPORT void _impTmpFree(void) {
  if (g_tmp_block) default_free(g_tmp_block);
  g_tmp_block = nullptr;
}

namespace zvx::bn {
void* allocate(size_t n) { return g_allocate(n); }
void* reallocate(void* p, size_t old_n, size_t new_n) { return g_reallocate(p, old_n, new_n); }
void release(void* p, size_t n) { g_free(p, n); }
}  // namespace zvx::bn
