// The barrier between the phases of a team of threads inside one parallel region: it spins a
// bounded time, then sleeps. The runtime's own barrier spins for milliseconds before it sleeps,
// and when a partner has been taken off its core by another process that spinning burns the very
// time the partner waits for; a sleeping thread that is woken, on the other hand, costs some
// 100 us of CPU time on a core that went idle. So each user spins for as long as its partners are
// expected to take to arrive (its own measured figure) and sleeps after that.
#pragma once
#include <atomic>
#include <chrono>

namespace zvx {

struct alignas(64) team_gate {
  std::atomic<unsigned> arrived{0};  // threads at the gate in this round
  std::atomic<unsigned> round{0};    // opened rounds; no reset is needed between them
};

// The last of `team` threads to arrive runs last() and then opens the next round; its release,
// paired with the others' acquire, publishes what every thread wrote before it arrived and what
// last() wrote. The others spin up to spin_micros, then sleep until the round opens.
template <class Last> void gate_pass(team_gate& g, int team, double spin_micros, Last&& last) {
  const unsigned round = g.round.load(std::memory_order_acquire);
  if (g.arrived.fetch_add(1, std::memory_order_acq_rel) + 1 == static_cast<unsigned>(team)) {
    last();
    g.arrived.store(0, std::memory_order_relaxed);
    g.round.store(round + 1, std::memory_order_release);
    g.round.notify_all();
    return;
  }
  using clock = std::chrono::steady_clock;
  const clock::time_point until =
      clock::now() + std::chrono::duration_cast<clock::duration>(
                         std::chrono::duration<double, std::micro>(spin_micros));
  for (int k = 1;; ++k) {
    if (g.round.load(std::memory_order_acquire) != round) return;
    __builtin_ia32_pause();
    if (k % 64 == 0 && clock::now() > until) break;
  }
  while (g.round.load(std::memory_order_acquire) == round)
    g.round.wait(round, std::memory_order_acquire);
}

inline void gate_pass(team_gate& g, int team, double spin_micros) {
  gate_pass(g, team, spin_micros, [] {});
}

}  // namespace zvx
