// The one decision behind all threaded work: run the kernels serially or not. Taken once per
// process, at the first query; by default, with neither variable set, the library is serial.
#include <atomic>
#include <cstring>

#include "service/platform.h"
#include "service/service.h"

// The library's own frames ask through zvx::serial_policy rather than through the exported
// name, which a call from inside the library would reach through the procedure linkage table.
std::atomic<int> zvx::serial_decision{-1};

int zvx::decide_serial_policy() {
  int decision = serial_decision.load(std::memory_order_relaxed);
  if (decision != -1) return decision;
  const bool omp_present = zvx::platform::env_get("OMP_NUM_THREADS") != nullptr;
  const char* serial = zvx::platform::env_get("ZVX_SERIAL");
  if (serial != nullptr)
    decision = (strcmp(serial, "YES") == 0 || strcmp(serial, "yes") == 0) ? 1 : 0;
  else
    decision = omp_present ? 0 : 1;
  serial_decision.store(decision, std::memory_order_relaxed);
  return decision;
}

ZVX_EXPORT int in_serial(void) { return zvx::serial_policy(); }

// The setters change the environment only: after the first in_serial they have no effect.
ZVX_EXPORT int set_serial(void) { return zvx::platform::env_set("ZVX_SERIAL", "YES"); }
ZVX_EXPORT int set_parallel(void) { return zvx::platform::env_set("ZVX_SERIAL", "NO"); }
