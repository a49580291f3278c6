// Address translations requested ahead of a walk over a large operand.
//
// On a processor whose kernel entries flush the translation buffer (page-table isolation
// without process-context identifiers, as in many virtual machines), every system call or
// interrupt leaves the next walk to find the translation of each 4 KiB page anew, one demand miss
// at a time: a 4 MB matrix read from the last-level cache took 1.3-2 times as long right after a
// system call. A request for one line of every page, issued before the walk, lets the page walks
// overlap each other instead; with the translations present the requests cost one instruction a
// page.
#pragma once
#include <cstdint>

namespace zvx {

inline constexpr long page_bytes = 4096;

// One request (into the second-level cache) for a line of every page of [p, p + bytes).
inline void request_pages(const void* p, long bytes) {
  if (bytes <= 0) return;
  const uintptr_t first = reinterpret_cast<uintptr_t>(p) & ~static_cast<uintptr_t>(page_bytes - 1);
  const uintptr_t end = reinterpret_cast<uintptr_t>(p) + static_cast<uintptr_t>(bytes);
  for (uintptr_t at = first; at < end; at += page_bytes) __builtin_prefetch(reinterpret_cast<const void*>(at), 0, 1);
}

}  // namespace zvx
