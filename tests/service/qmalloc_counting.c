/* A replacement allocator of the shape the memory manager looks for: four variables, each holding
 * a function pointer. It counts its calls so that tests can see which allocator served a request
 * and that the cache's fast path makes none. Built with QMALLOC_PARTIAL, it lacks q_realloc_dll,
 * which makes the whole replacement void. */
#include <stdatomic.h>
#include <stdlib.h>

static atomic_long malloc_calls, free_calls;

static void* counting_malloc(size_t n) {
  atomic_fetch_add(&malloc_calls, 1);
  return malloc(n);
}
static void* counting_calloc(size_t n, size_t m) { return calloc(n, m); }
static void* counting_realloc(void* p, size_t n) { return realloc(p, n); }
static void counting_free(void* p) {
  atomic_fetch_add(&free_calls, 1);
  free(p);
}

__attribute__((visibility("default"))) void* (*q_malloc_dll)(size_t) = counting_malloc;
__attribute__((visibility("default"))) void* (*q_calloc_dll)(size_t, size_t) = counting_calloc;
#ifndef QMALLOC_PARTIAL
__attribute__((visibility("default"))) void* (*q_realloc_dll)(void*, size_t) = counting_realloc;
#endif
__attribute__((visibility("default"))) void (*q_free_dll)(void*) = counting_free;

__attribute__((visibility("default"))) void qmalloc_counts(long* mallocs, long* frees) {
  *mallocs = atomic_load(&malloc_calls);
  *frees = atomic_load(&free_calls);
}
