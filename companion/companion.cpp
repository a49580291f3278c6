// The companion file of vector math and random bits. The library loads one such file per
// processor class at run time and binds its entries by name; each file is this source built with
// its class in NVO_CPU_CLASS, which dll_cpu_version answers so that the library can refuse a file
// made for a newer processor. The file exports the bound names and nothing else.
//
// Per-thread state: the accuracy mode, the status of the last bad argument, the error callback
// and the start of the caller's whole input vector. A thread that the library's threaders start
// begins with the defaults, which is why the threaders hand the mode and callback on.
#include <cpuid.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kernels.h"
#include "nvo/companion_abi.h"

#ifndef NVO_CPU_CLASS
#error "NVO_CPU_CLASS names the processor class this file is built for"
#endif

#define NVO_ENTRY extern "C" __attribute__((visibility("default")))

namespace abi = zvx::nvo_abi;

namespace {

thread_local unsigned t_mode = abi::kModeHighAccuracy;
thread_local int t_status = 0;
thread_local void* t_callback = nullptr;
thread_local const void* t_input = nullptr;

uint64_t read_xcr0() {
  unsigned lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (static_cast<uint64_t>(hi) << 32) | lo;
}

// Widest vector set that both the processor and the operating system's saved state allow, lowered
// by ZVX_ISA ("portable", "avx2") the same way the library lowers its own choice.
const nvo::kernel_table* choose_kernels() {
  unsigned a, b, c, d;
  int level = 0;
  if (__get_cpuid_max(0, nullptr) >= 7) {
    __cpuid_count(1, 0, a, b, c, d);
    const bool osxsave = c >> 27 & 1, fma = c >> 12 & 1, avx = c >> 28 & 1;
    if (osxsave && avx) {
      const uint64_t xcr0 = read_xcr0();
      __cpuid_count(7, 0, a, b, c, d);
      const bool avx2 = b >> 5 & 1, avx512f = b >> 16 & 1;
      if ((xcr0 & 0x6) == 0x6 && avx2 && fma) level = 1;
      if (level == 1 && (xcr0 & 0xE6) == 0xE6 && avx512f) level = 2;
    }
  }
  if (const char* limit = getenv("ZVX_ISA")) {
    if (strcmp(limit, "portable") == 0) level = 0;
    else if (strcmp(limit, "avx2") == 0 && level > 1) level = 1;
  }
  switch (level) {
    case 2: return &nvo::isa_avx512::table;
    case 1: return &nvo::isa_avx2::table;
    default: return &nvo::isa_sse2::table;
  }
}

const nvo::kernel_table& kernels() {
  static const nvo::kernel_table* const chosen = choose_kernels();
  return *chosen;
}

// PCG with 64-bit state and a 32-bit output (xorshift, then a rotation by the top bits): every
// output bit is uniform, the low ones included, which plain linear congruential words are not.
constexpr uint64_t kMultiplier = 6364136223846793005ull;

inline unsigned next_word(abi::stream_record* s) {
  const uint64_t old = s->state;
  s->state = old * kMultiplier + s->increment;
  const uint32_t shifted = static_cast<uint32_t>(((old >> 18) ^ old) >> 27);
  const unsigned rotation = static_cast<unsigned>(old >> 59);
  return (shifted >> rotation) | (shifted << ((32 - rotation) & 31));
}

inline uint64_t mix64(uint64_t z) {
  z += 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

}  // namespace

NVO_ENTRY int dll_cpu_version(void) { return NVO_CPU_CLASS; }

// A test build leaves one entry out to show how the library reports a name it cannot bind.
#ifndef NVO_OMIT_DCOS_HA
NVO_ENTRY void _nvodCos_HA(int n, const double* a, double* r) { kernels().d[nvo::cos_high](n, a, r); }
#endif
NVO_ENTRY void _nvodCos_50(int n, const double* a, double* r) { kernels().d[nvo::cos_low](n, a, r); }
NVO_ENTRY void _nvodSin_HA(int n, const double* a, double* r) { kernels().d[nvo::sin_high](n, a, r); }
NVO_ENTRY void _nvodSin_50(int n, const double* a, double* r) { kernels().d[nvo::sin_low](n, a, r); }
NVO_ENTRY void _nvosCos_HA(int n, const float* a, float* r) { kernels().s[nvo::cos_high](n, a, r); }
NVO_ENTRY void _nvosCos_21(int n, const float* a, float* r) { kernels().s[nvo::cos_low](n, a, r); }
NVO_ENTRY void _nvosSin_HA(int n, const float* a, float* r) { kernels().s[nvo::sin_high](n, a, r); }
NVO_ENTRY void _nvosSin_21(int n, const float* a, float* r) { kernels().s[nvo::sin_low](n, a, r); }

// The setters return the previous value, so a caller can save and restore.
NVO_ENTRY unsigned _nvoGetMode(void) { return t_mode; }
NVO_ENTRY unsigned _nvoSetMode(unsigned mode) {
  const unsigned old = t_mode;
  t_mode = mode;
  return old;
}
NVO_ENTRY int _nvoSetErrStatus(int status) {
  const int old = t_status;
  t_status = status;
  return old;
}
NVO_ENTRY void* _nvoGetErrorCallBack(void) { return t_callback; }
NVO_ENTRY void* _nvoSetErrorCallBack(void* callback) {
  void* old = t_callback;
  t_callback = callback;
  return old;
}
NVO_ENTRY const void* _nvoSetInterfInputVectorPointer(const void* input) {
  const void* old = t_input;
  t_input = input;
  return old;
}

NVO_ENTRY int __sgxNewStreamEx(void** stream, int brng, int nseeds, const unsigned* seeds) {
  if (stream == nullptr || nseeds < 0 || (nseeds > 0 && seeds == nullptr)) return abi::kStatusBadArgument;
  if (brng != abi::kBrngUniformBits) return abi::kStatusBadBrng;
  auto* s = static_cast<abi::stream_record*>(malloc(sizeof(abi::stream_record)));
  if (s == nullptr) return abi::kStatusNoMemory;
  // Every seed word moves the whole state; the stream selector comes from the same words.
  uint64_t h = 0x5EED5EED5EED5EEDull;
  for (int i = 0; i < nseeds; ++i) h = mix64(h ^ seeds[i]);
  s->brng = brng;
  s->valid = 1;
  memset(s->reserved, 0, sizeof s->reserved);
  s->state = 0;
  s->increment = (mix64(h ^ 0xA5A5A5A5ull) << 1) | 1;
  next_word(s);
  s->state += mix64(h);
  next_word(s);
  *stream = s;
  return abi::kStatusOk;
}

NVO_ENTRY int __sgxDeleteStream(void** stream) {
  if (stream == nullptr || *stream == nullptr) return abi::kStatusNullStream;
  auto* s = static_cast<abi::stream_record*>(*stream);
  s->valid = 0;
  free(s);
  *stream = nullptr;
  return abi::kStatusOk;
}

NVO_ENTRY int _sgxiRngUniformBits(int method, void* stream, int n, unsigned* r) {
  if (stream == nullptr) return abi::kStatusNullStream;
  auto* s = static_cast<abi::stream_record*>(stream);
  if (s->valid != 1) return abi::kStatusBadStream;
  if (method != 0 || n < 0 || (n > 0 && r == nullptr)) return abi::kStatusBadArgument;
  for (int i = 0; i < n; ++i) r[i] = next_word(s);
  return abi::kStatusOk;
}
