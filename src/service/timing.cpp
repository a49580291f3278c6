// What the library knows of the processor under it: its instruction-set level, its cache class,
// the frequency of its time-stamp counter, and the two wall-clock timers built on that counter.
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "service/platform.h"
#include "service/service.h"

namespace {

std::atomic<int> g_isa_level{-1};
std::atomic<int> g_cache_class{-2};  // -2 not yet read; -1 read, no class known
std::atomic<double> g_frequency_hz{-1.0};
std::atomic<int> g_frequency_known{0};

// The name of the environment variable that overrides the instruction-set level is stored
// scrambled: byte i is combined by XOR with (2*i mod 5) + 1.
constexpr char kLevelVariable[] = "ZVX_CPU_LEVEL";
constexpr unsigned char scramble_key(size_t i) { return static_cast<unsigned char>((2 * i) % 5 + 1); }
template <size_t N>
constexpr std::array<unsigned char, N> scramble(const char (&text)[N]) {
  std::array<unsigned char, N> out{};
  for (size_t i = 0; i + 1 < N; ++i) out[i] = static_cast<unsigned char>(text[i]) ^ scramble_key(i);
  return out;
}
constexpr auto kLevelVariableScrambled = scramble(kLevelVariable);

int detect_level() {
  char name[sizeof kLevelVariable];
  for (size_t i = 0; i + 1 < sizeof name; ++i)
    name[i] = static_cast<char>(kLevelVariableScrambled[i] ^ scramble_key(i));
  name[sizeof name - 1] = '\0';
  if (const char* value = zvx::platform::env_get(name)) {
    const int v = atoi(value);
    if (v >= 1 && v <= 4) return v;
    if (v == 0 && strcmp(value, "0") == 0) return 0;
  }
  if (!zvx::platform::has_cpuid()) return 0;
  unsigned r[4];
  zvx::platform::cpuid(1, 0, r);
  const unsigned ecx = r[2], edx = r[3];
  if (ecx >> 9 & 1) return 4;
  if (ecx & 1) return 3;
  if (edx >> 26 & 1) return 2;
  if (edx >> 25 & 1) return 1;
  return 0;
}

int class_of_descriptor(unsigned byte) {
  switch (byte) {
    case 0x40: return 0;
    case 0x41: case 0x79: return 1;
    case 0x42: case 0x7A: case 0x82: return 2;
    case 0x43: case 0x7B: return 3;
    case 0x44: case 0x7C: case 0x84: return 4;
    case 0x45: case 0x85: return 5;
    default: return -1;
  }
}

double measure_by_clock() {
  const long per_second = zvx::platform::clock_ticks_per_second();
  const long wanted = per_second / 10;  // a tenth of a second of processor time
  const uint64_t t0 = zvx::platform::timestamp_counter();
  const long c0 = zvx::platform::clock_ticks();
  long c1 = c0;
  while (c1 - c0 < wanted) c1 = zvx::platform::clock_ticks();
  const uint64_t t1 = zvx::platform::timestamp_counter();
  return static_cast<double>(t1 - t0) * static_cast<double>(per_second) / static_cast<double>(c1 - c0);
}

double measure_by_performance_counter() {
  uint64_t n0, n1;
  if (!zvx::platform::monotonic_ns(&n0)) return -1.0;
  const uint64_t t0 = zvx::platform::timestamp_counter();
  zvx::platform::sleep_ms(100);
  if (!zvx::platform::monotonic_ns(&n1)) return -1.0;
  const uint64_t t1 = zvx::platform::timestamp_counter();
  if (n1 <= n0) return -1.0;
  return static_cast<double>(t1 - t0) / (static_cast<double>(n1 - n0) * 1e-9);
}

}  // namespace

namespace zvx {

int instruction_set_level() {
  int level = g_isa_level.load(std::memory_order_relaxed);
  if (level == -1) {
    level = detect_level();
    g_isa_level.store(level, std::memory_order_relaxed);
  }
  return level;
}

int cache_class() {
  int cls = g_cache_class.load(std::memory_order_relaxed);
  if (cls != -2) return cls;
  cls = -1;
  unsigned r[4];
  platform::cpuid(0, 0, r);
  if (r[0] >= 2) {
    platform::cpuid(2, 0, r);
    for (int reg = 0; reg < 4 && cls < 0; ++reg) {
      if (r[reg] >> 31) continue;  // a register with its top bit set holds no descriptors
      for (int b = reg == 0 ? 1 : 0; b < 4 && cls < 0; ++b) cls = class_of_descriptor(r[reg] >> (8 * b) & 0xFF);
    }
  }
  g_cache_class.store(cls, std::memory_order_relaxed);
  return cls;
}

}  // namespace zvx

ZVX_EXPORT void getcpuclocks(unsigned long long* clocks) { *clocks = zvx::platform::timestamp_counter(); }

ZVX_EXPORT double getcpufrequency(void) {
  if (g_frequency_known.load(std::memory_order_acquire))
    return g_frequency_hz.load(std::memory_order_relaxed) * 1e-9;
  const double f_pc = measure_by_performance_counter();
  double hz;
  if (f_pc == -1.0) {
    hz = measure_by_clock();
  } else {
    const int level = zvx::instruction_set_level();
    const double f_clk = measure_by_clock();
    hz = f_pc;
    if (f_pc < f_clk && (f_clk - f_pc) / f_pc > 0.1) hz = f_clk;
    else if (level < 2 && f_pc >= f_clk && (f_pc - f_clk) / f_pc > 0.1) hz = f_clk;
  }
  g_frequency_hz.store(hz, std::memory_order_relaxed);
  g_frequency_known.store(1, std::memory_order_release);
  return hz * 1e-9;
}

ZVX_EXPORT void setcpufrequency(const double* ghz) {
  const double v = *ghz;
  if (v == -1.0) {
    g_frequency_known.store(0, std::memory_order_release);
    g_frequency_hz.store(-1.0, std::memory_order_relaxed);
  } else if (v > 0.0) {
    g_frequency_hz.store(v * 1e9, std::memory_order_relaxed);
    g_frequency_known.store(1, std::memory_order_release);
  }
}

ZVX_EXPORT double dsecnd(void) {
  getcpufrequency();
  const uint64_t ticks = zvx::platform::timestamp_counter();
  return static_cast<double>(ticks) / g_frequency_hz.load(std::memory_order_relaxed);
}

ZVX_EXPORT float second(void) { return static_cast<float>(dsecnd()); }
