#include "service/cpu_features.h"

#include <atomic>
#include <cstring>

#include "service/platform.h"

namespace zvx {
namespace {

std::atomic<int> g_supported{-1};
std::atomic<int> g_chosen{-1};

int detect_supported() {
  unsigned r1[4], r7[4];
  if (!platform::has_cpuid()) return 0;
  platform::cpuid(0, 0, r1);
  const unsigned max_leaf = r1[0];
  platform::cpuid(1, 0, r1);
  const unsigned ecx = r1[2];
  const bool osxsave = ecx >> 27 & 1, avx = ecx >> 28 & 1, fma = ecx >> 12 & 1;
  if (!osxsave || !avx || !fma || max_leaf < 7) return 0;
  const uint64_t xcr0 = platform::xgetbv(0);
  if ((xcr0 & 0x6) != 0x6) return 0;  // the OS saves XMM and YMM state
  platform::cpuid(7, 0, r7);
  const unsigned ebx = r7[1];
  const bool avx2 = ebx >> 5 & 1, bmi2 = ebx >> 8 & 1;
  if (!avx2 || !bmi2) return 0;
  const bool f = ebx >> 16 & 1, dq = ebx >> 17 & 1, bw = ebx >> 30 & 1, vl = ebx >> 31 & 1;
  const bool zmm_state = (xcr0 & 0xE6) == 0xE6;  // opmask, upper ZMM halves, ZMM16-31
  if (f && dq && bw && vl && zmm_state) return 2;
  return 1;
}

}  // namespace

isa cpu_isa_supported() {
  int s = g_supported.load(std::memory_order_relaxed);
  if (s < 0) {
    s = detect_supported();
    g_supported.store(s, std::memory_order_relaxed);
  }
  return static_cast<isa>(s);
}

isa cpu_isa() {
  int c = g_chosen.load(std::memory_order_relaxed);
  if (c >= 0) return static_cast<isa>(c);
  c = static_cast<int>(cpu_isa_supported());
  if (const char* want = platform::env_get("ZVX_ISA")) {
    int limit = c;
    if (strcmp(want, "portable") == 0) limit = 0;
    else if (strcmp(want, "avx2") == 0) limit = 1;
    else if (strcmp(want, "avx512") == 0) limit = 2;
    if (limit < c) c = limit;
  }
  g_chosen.store(c, std::memory_order_relaxed);
  return static_cast<isa>(c);
}

}  // namespace zvx
