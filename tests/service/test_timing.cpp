// Processor clock and timers, checked against the time-stamp counter read by the test itself.
#include <gtest/gtest.h>
#include <x86intrin.h>

#include <chrono>
#include <cmath>

#include "zvx.h"

namespace {

TEST(Timing, ClocksAreTheTimestampCounter) {
  const unsigned long long before = __rdtsc();
  unsigned long long clocks = 0;
  getcpuclocks(&clocks);
  const unsigned long long after = __rdtsc();
  EXPECT_LE(before, clocks);
  EXPECT_LE(clocks, after);
}

TEST(Timing, SetFrequencyIsUsedWithoutMeasuring) {
  const double two = 2.0;
  setcpufrequency(&two);
  const auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(getcpufrequency(), 2.0);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(50));
  const double lo = static_cast<double>(__rdtsc()) / 2e9;
  const double s = dsecnd();
  const double hi = static_cast<double>(__rdtsc()) / 2e9;
  EXPECT_LE(lo, s);
  EXPECT_LE(s, hi);
  // Values of 0 and below, other than -1, change nothing.
  for (double ignored : {0.0, -0.5, -2.0}) {
    setcpufrequency(&ignored);
    EXPECT_EQ(getcpufrequency(), 2.0);
  }
}

TEST(Timing, SecondIsDsecndRoundedToSingle) {
  // A huge frequency makes the counter advance negligibly between the two reads.
  const double huge = 1e12;
  setcpufrequency(&huge);
  const double d = dsecnd();
  const float s = second();
  EXPECT_NEAR(s, static_cast<float>(d), std::fabs(static_cast<float>(d)) * 1e-6f);
}

TEST(Timing, ClearingMeasuresAgain) {
  const double two = 2.0, clear = -1.0;
  setcpufrequency(&two);
  setcpufrequency(&clear);
  // The test's own estimate: counter ticks over 50 ms of wall clock.
  const auto w0 = std::chrono::steady_clock::now();
  const unsigned long long c0 = __rdtsc();
  while (std::chrono::steady_clock::now() - w0 < std::chrono::milliseconds(50)) {
  }
  const unsigned long long c1 = __rdtsc();
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - w0).count();
  const double estimate_ghz = static_cast<double>(c1 - c0) / secs * 1e-9;
  const double measured = getcpufrequency();
  EXPECT_NEAR(measured, estimate_ghz, 0.1 * estimate_ghz);
  EXPECT_EQ(getcpufrequency(), measured);  // cached now
  // dsecnd divides the counter by the measured frequency.
  const double hz = measured * 1e9;
  const double lo = static_cast<double>(__rdtsc()) / hz;
  const double t = dsecnd();
  const double hi = static_cast<double>(__rdtsc()) / hz;
  EXPECT_LE(lo, t);
  EXPECT_LE(t, hi);
}

}  // namespace
