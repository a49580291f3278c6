// The one decision behind all threaded work: run the kernels serially or not. Taken once per
// process, at the first query; by default, with neither variable set, the library is serial.
#include <atomic>
#include <cstring>

#include "service/platform.h"
#include "service/service.h"

namespace {
// -1 undecided, 1 serial, 0 parallel.
std::atomic<int> g_serial_decision{-1};
}  // namespace

// The library's own frames ask here rather than through the exported name, which a call from
// inside the library would reach through the procedure linkage table on every call.
int zvx::serial_policy() {
  int decision = g_serial_decision.load(std::memory_order_relaxed);
  if (decision != -1) return decision;
  const bool omp_present = zvx::platform::env_get("OMP_NUM_THREADS") != nullptr;
  const char* serial = zvx::platform::env_get("ZVX_SERIAL");
  if (serial != nullptr)
    decision = (strcmp(serial, "YES") == 0 || strcmp(serial, "yes") == 0) ? 1 : 0;
  else
    decision = omp_present ? 0 : 1;
  g_serial_decision.store(decision, std::memory_order_relaxed);
  return decision;
}

ZVX_EXPORT int in_serial(void) { return zvx::serial_policy(); }

// The setters change the environment only: after the first in_serial they have no effect.
ZVX_EXPORT int set_serial(void) { return zvx::platform::env_set("ZVX_SERIAL", "YES"); }
ZVX_EXPORT int set_parallel(void) { return zvx::platform::env_set("ZVX_SERIAL", "NO"); }
