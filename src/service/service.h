// Internal services shared by every subsystem of the library.
#pragma once
#include <atomic>
#include <cstdint>

#include "zvx_service.h"

// Every exported entry point is written `ZVX_EXPORT ... name(...)` and listed in zvx_c3.map.
#define ZVX_EXPORT extern "C" ZVX_API

// The library's one error reporter: calls the hook when one is set, else default_xerbla.
// String length by value behind the other arguments.
extern "C" void xerbla(const char* name, const int* info, int name_len);

namespace zvx {

// Load and unload of the library, and the memory manager's share of them.
void memory_attach();
void memory_detach();

// The process's thread policy, as in_serial reports it: 1 serial, 0 threads allowed. Decided at
// the first query; later queries are one load in the caller, which the small products notice.
extern std::atomic<int> serial_decision;  // -1 until decided
int decide_serial_policy();
inline int serial_policy() {
  const int decision = serial_decision.load(std::memory_order_relaxed);
  return decision != -1 ? decision : decide_serial_policy();
}

// The scratch memory of the library's kernels: the cache behind zvx_allocate and zvx_deallocate,
// with the alignment kept for every block, also those the cache does not hold (over 40 MiB, the
// cache disabled), for which the exported entry ignores it. A block must be released on the
// thread that took it, with scratch_free.
void* scratch_allocate(unsigned int size, int alignment);
void scratch_free(void* ptr);

// Writes text to the error console (one write for the piece).
void console_piece(const char* text);

// The version line padded with blanks to `length` bytes, or cut to it (zvxgetversionstring).
void version_string(char* buffer, int length);

// Instruction-set level of the processor (0 none, 1 SSE, 2 SSE2, 3 SSE3, 4 SSSE3), cached.
int instruction_set_level();
// Cache class from the processor's descriptor bytes, -1 when none is known. Cached.
int cache_class();

}  // namespace zvx
