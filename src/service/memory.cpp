// Scratch memory: a per-thread cache of at most five blocks in front of a general allocator.
// A block given back stays with its thread, so a kernel that asks again for the same size and
// alignment gets it back with no lock and no heap call: a thread-local read and a scan of five
// sizes.
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "service/platform.h"
#include "service/service.h"

namespace {

constexpr int kSlots = 5;
// Requests above 40 MiB are too rare to be worth holding: they go straight to the allocator.
constexpr uint32_t kLargestCached = 41943040u;
// Alignments below this are no alignment at all.
constexpr int kSmallestAlignment = 8;
constexpr int64_t kDeadOwner = -13;
// The registry is a table of 1,088 words whose index 0 stays unused.
constexpr int kRegistryWords = 1088;

struct thread_buffer_record {
  void* base[kSlots];         // what the allocator returned, or null
  void* aligned[kSlots];      // what the caller was handed
  uint32_t requested[kSlots]; // size asked for when the block was made
  uint32_t block_size[kSlots];// requested plus the alignment
  int32_t in_use[kSlots];
  int64_t owner;              // thread id; kDeadOwner once the record is freed
  int64_t slot_count;         // slots made so far; they fill upward and never empty one by one
  int64_t total_bytes;        // running statistic, read by nobody
};

struct allocator_table {
  void* (*malloc_fn)(size_t);
  void* (*calloc_fn)(size_t, size_t);
  void* (*realloc_fn)(void*, size_t);
  void (*free_fn)(void*);
};

allocator_table g_allocator;                 // empty until the first zvx_allocate
std::atomic<bool> g_allocator_ready{false};
std::atomic<int> g_options{-1};              // 1 cache disabled, 0 enabled
std::atomic<int> g_options_read{-1};
thread_buffer_record* g_registry[kRegistryWords];
long g_registry_count = 0;
std::atomic<int> g_spin_lock{0};
long g_tls_index = -1;
// The index word keeps its value after freebuffers gives the index back; this flag says whether
// it still names a live key, so that the next record re-creates one instead of using a dead key.
std::atomic<bool> g_tls_live{false};
// Each thread keeps the record it last read through the index, tagged with the generation of the
// index, so the fast path needs no library call; freebuffers starts a new generation.
std::atomic<unsigned long> g_tls_generation{1};
struct record_shadow {
  thread_buffer_record* record;
  unsigned long generation;
};
__thread record_shadow t_shadow __attribute__((tls_model("initial-exec"))) = {nullptr, 0};

void lock() {
  int expected = 0;
  while (!g_spin_lock.compare_exchange_weak(expected, 1, std::memory_order_acquire)) expected = 0;
}
void unlock() { g_spin_lock.store(0, std::memory_order_release); }

void read_options_locked() {
  if (g_options_read.load(std::memory_order_relaxed) == 1) return;
  g_options_read.store(1, std::memory_order_relaxed);
  int disabled = 0;
  if (zvx::platform::env_get("ZVX_DISABLE_FAST_MM") != nullptr) disabled = 1;
  else if (zvx::platform::env_get("ZVX_MM_DISABLE") != nullptr) disabled = 1;
  g_options.store(disabled, std::memory_order_release);
}

// A replacement allocator is taken whole or not at all. The library that offers it is closed
// again at once: the process must keep it loaded by itself for the pointers to stay valid.
void choose_allocator_locked() {
  if (!g_allocator_ready.load(std::memory_order_relaxed)) {
    allocator_table table{malloc, calloc, realloc, free};
    if (void* lib = zvx::platform::library_open("libqmalloc.dll")) {
      void* slots[4] = {zvx::platform::library_symbol(lib, "q_malloc_dll"),
                        zvx::platform::library_symbol(lib, "q_calloc_dll"),
                        zvx::platform::library_symbol(lib, "q_realloc_dll"),
                        zvx::platform::library_symbol(lib, "q_free_dll")};
      if (slots[0] && slots[1] && slots[2] && slots[3]) {
        allocator_table replacement{*static_cast<void* (**)(size_t)>(slots[0]),
                                    *static_cast<void* (**)(size_t, size_t)>(slots[1]),
                                    *static_cast<void* (**)(void*, size_t)>(slots[2]),
                                    *static_cast<void (**)(void*)>(slots[3])};
        if (replacement.malloc_fn && replacement.calloc_fn && replacement.realloc_fn &&
            replacement.free_fn)
          table = replacement;
      }
      zvx::platform::library_close(lib);
    }
    g_allocator = table;
    g_allocator_ready.store(true, std::memory_order_release);
  }
}

// Options and allocator, found at the first call of any of the three entries. The fast path
// then reads one word: 1 with the cache on, 2 with it off.
std::atomic<int> g_manager_state{0};

int start_manager() {
  lock();
  read_options_locked();
  choose_allocator_locked();
  const int state = g_options.load(std::memory_order_relaxed) == 1 ? 2 : 1;
  g_manager_state.store(state, std::memory_order_release);
  unlock();
  return state;
}

inline bool cache_disabled() {
  int state = g_manager_state.load(std::memory_order_acquire);
  if (state == 0) state = start_manager();
  return state == 2;
}

inline void* heap_alloc(size_t n) { return g_allocator.malloc_fn(n); }
inline void heap_free(void* p) { g_allocator.free_fn(p); }

inline thread_buffer_record* current_record() {
  const unsigned long generation = g_tls_generation.load(std::memory_order_acquire);
  if (t_shadow.generation == generation) return t_shadow.record;
  thread_buffer_record* rec = nullptr;
  if (g_tls_live.load(std::memory_order_acquire))
    rec = static_cast<thread_buffer_record*>(zvx::platform::tls_get(g_tls_index));
  t_shadow = {rec, generation};
  return rec;
}

// Makes and registers the calling thread's record. Null when the registry is full or memory or
// a thread-local key cannot be had: the caller then serves the request uncached.
thread_buffer_record* new_record(int64_t owner) {
  auto* rec = static_cast<thread_buffer_record*>(heap_alloc(sizeof(thread_buffer_record)));
  if (rec == nullptr) return nullptr;
  *rec = thread_buffer_record{};
  rec->owner = owner;
  lock();
  bool ok = g_registry_count + 1 < kRegistryWords;
  if (ok && !g_tls_live.load(std::memory_order_relaxed)) {
    g_tls_index = zvx::platform::tls_alloc();
    ok = g_tls_index >= 0;
    g_tls_live.store(ok, std::memory_order_release);
  }
  if (ok) ok = zvx::platform::tls_set(g_tls_index, rec);
  if (ok) g_registry[++g_registry_count] = rec;
  const unsigned long generation = g_tls_generation.load(std::memory_order_relaxed);
  unlock();
  if (ok) t_shadow = {rec, generation};
  if (!ok) {
    heap_free(rec);
    return nullptr;
  }
  return rec;
}

// Whether `ptr` is a block handed out from some thread's cache. Such a block released on another
// thread is left with its owner (freebuffers collects it); anything else is the allocator's.
bool is_cached_block(const void* ptr) {
  bool found = false;
  lock();
  for (long r = 1; r <= g_registry_count && !found; ++r)
    for (int64_t s = 0; s < g_registry[r]->slot_count; ++s)
      if (g_registry[r]->aligned[s] == ptr && g_registry[r]->base[s] != nullptr) found = true;
  unlock();
  return found;
}

}  // namespace

namespace zvx {

void memory_attach() {
  g_tls_index = platform::tls_alloc();
  g_tls_live.store(g_tls_index >= 0, std::memory_order_release);
}

void memory_detach() {
  if (g_tls_index != -1 && g_tls_live.load(std::memory_order_acquire)) {
    platform::tls_free(g_tls_index);
    g_tls_live.store(false, std::memory_order_release);
    g_tls_generation.fetch_add(1, std::memory_order_acq_rel);
  }
}

}  // namespace zvx

namespace {

// A block the cache does not hold, for the library's own kernels: they load their scratch with
// aligned vector moves, so the alignment is kept here too (the exported entry, by its contract,
// ignores it for such blocks). The allocator's base stands in the word before the block.
void* aligned_heap_block(size_t size, int alignment) {
  const size_t align = alignment > 16 ? static_cast<size_t>(alignment) : 16;
  char* base = static_cast<char*>(heap_alloc(size + align + sizeof(void*)));
  if (base == nullptr) return nullptr;
  const uintptr_t at =
      (reinterpret_cast<uintptr_t>(base) + sizeof(void*) + align - 1) & ~uintptr_t(align - 1);
  reinterpret_cast<void**>(at)[-1] = base;
  return reinterpret_cast<void*>(at);
}
void free_heap_block(void* ptr, bool keep_alignment) {
  heap_free(keep_alignment ? reinterpret_cast<void**>(ptr)[-1] : ptr);
}

// The cache of up to five blocks a thread. `keep_alignment`: the blocks it cannot hold keep the
// alignment as well (the library's scratch) rather than coming straight from the allocator.
void* allocate_block(unsigned int size, int alignment, bool keep_alignment) {
  auto uncached = [&]() {
    return keep_alignment ? aligned_heap_block(size, alignment) : heap_alloc(size);
  };
  if (size == 0) return nullptr;
  if (cache_disabled() || size > kLargestCached) return uncached();

  uint32_t align = 0, mask = 0;
  if (alignment >= kSmallestAlignment) {
    align = static_cast<uint32_t>(alignment);
    mask = align - 1;
  }
  const uint32_t block_size = size + align;
  const int64_t me = zvx::platform::thread_id();
  thread_buffer_record* rec = current_record();
  if (rec == nullptr) {
    rec = new_record(me);
    if (rec == nullptr) return uncached();
  } else if (rec->owner != me) {
    return uncached();
  }

  int slot = -1, first_larger = -1, first_smaller = -1;
  for (int s = 0; s < rec->slot_count; ++s) {
    if (rec->in_use[s]) continue;
    if (rec->block_size[s] == block_size) {
      slot = s;
      break;
    }
    if (rec->block_size[s] > block_size) {
      if (first_larger < 0) first_larger = s;
    } else if (first_smaller < 0) {
      first_smaller = s;
    }
  }

  if (slot < 0) {
    if (rec->slot_count < kSlots) {
      // A new slot while there is room, even when a larger free block exists.
      void* base = heap_alloc(block_size);
      if (base == nullptr) return nullptr;
      slot = static_cast<int>(rec->slot_count++);
      rec->base[slot] = base;
      rec->requested[slot] = size;
      rec->block_size[slot] = block_size;
      rec->total_bytes += block_size;
    } else if (first_larger >= 0) {
      slot = first_larger;  // reused as it is, sizes unchanged
    } else if (first_smaller >= 0) {
      slot = first_smaller;
      if (rec->base[slot] != nullptr) heap_free(rec->base[slot]);
      rec->total_bytes -= rec->requested[slot];
      void* base = heap_alloc(block_size);
      rec->base[slot] = base;
      if (base == nullptr) {
        // Leave an empty free slot behind, ready to be replaced again.
        rec->requested[slot] = 0;
        rec->block_size[slot] = 0;
        return nullptr;
      }
      rec->requested[slot] = size;
      rec->block_size[slot] = block_size;
      rec->total_bytes += block_size;
    } else {
      return uncached();  // all five in use
    }
  }

  rec->in_use[slot] = 1;
  const uintptr_t base = reinterpret_cast<uintptr_t>(rec->base[slot]);
  uintptr_t aligned = base - (base & mask);
  if (aligned != base) aligned += align;
  rec->aligned[slot] = reinterpret_cast<void*>(aligned);
  return rec->aligned[slot];
}

void release_block(void* ptr, bool keep_alignment) {
  if (ptr == nullptr) return;
  if (cache_disabled()) {
    free_heap_block(ptr, keep_alignment);
    return;
  }
  if (thread_buffer_record* rec = current_record()) {
    for (int64_t s = 0; s < rec->slot_count; ++s) {
      if (rec->aligned[s] == ptr && rec->in_use[s]) {
        rec->in_use[s] = 0;
        return;
      }
    }
  }
  // Not one of this thread's cached blocks: an uncached block goes back to the allocator. A
  // block of another thread's cache released here stays with that thread until freebuffers.
  if (!is_cached_block(ptr)) free_heap_block(ptr, keep_alignment);
}

}  // namespace

void* zvx::scratch_allocate(unsigned int size, int alignment) {
  return allocate_block(size, alignment, true);
}
void zvx::scratch_free(void* ptr) { release_block(ptr, true); }

ZVX_EXPORT void* zvx_allocate(unsigned int size, int alignment) {
  return allocate_block(size, alignment, false);
}
ZVX_EXPORT void zvx_deallocate(void* ptr) { release_block(ptr, false); }

ZVX_EXPORT void freebuffers(void) {
  if (cache_disabled()) return;
  lock();
  for (long r = 1; r <= g_registry_count; ++r) {
    thread_buffer_record* rec = g_registry[r];
    for (int64_t s = 0; s < rec->slot_count; ++s) {
      if (rec->base[s] != nullptr) heap_free(rec->base[s]);  // blocks still held go too
      rec->base[s] = nullptr;
      rec->requested[s] = 0;
      rec->in_use[s] = 0;
    }
    rec->owner = kDeadOwner;
    rec->slot_count = 0;
    rec->total_bytes = 0;
    heap_free(rec);
    g_registry[r] = nullptr;
  }
  g_registry_count = 0;
  if (g_tls_index != -1 && g_tls_live.load(std::memory_order_relaxed)) {
    zvx::platform::tls_free(g_tls_index);
    g_tls_live.store(false, std::memory_order_release);
  }
  g_tls_generation.fetch_add(1, std::memory_order_acq_rel);
  unlock();
}
