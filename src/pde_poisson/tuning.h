// Tuning numbers of the Poisson solvers.
#pragma once

namespace zvx::poisson {

// Columns solved together in the tridiagonal stage. The sweep walks the grid along the last axis
// with a stride of a whole row (plane); 16 adjacent columns use two full 64-byte cache lines of
// doubles per row instead of one value per line, and the recurrences of the 16 run side by side
// in vector registers. The pairs of the sweep, 2 x 16 x (rows) values, stay in the 1 MiB L2 up to
// some thousands of rows.
inline constexpr int kColumnBlock = 16;

// Parts per thread of a threaded stage. Each thread starts on a run of this many consecutive
// parts; one that the system takes off its core leaves the rest of its run to the others, which
// take it part by part from the far end, so the stage waits for at most one part of it. The
// parts cost nothing measurable: the two threads' CPU time together stayed at 5.0 ms for the
// 1023^2 solve and 23 to 25 ms for 127^3, as with halves (least of 15 to 30 calls, loaded
// machine).
inline constexpr int kPartsPerThread = 16;

// How long a thread that ended a stage spins for the others before it sleeps. With each thread
// on a run of its own the threads end a stage within about one part of each other, some 60 us
// in the rows of the 1023^2 solve. Sleeping at once cost a wake-up of some 100 us of CPU time per
// thread and stage, a tenth of that solve on two threads.
inline constexpr double kGateSpinMicros = 100;

// The cache line: the unit in which the threads' work blocks are laid out and aligned.
inline constexpr int kCacheLineBytes = 64;

// Lines along an axis other than the first (the y lines of the 3-D solve) stand one element
// apart: a lone line would read a whole cache line per value and use one value of it. They are
// gathered and scattered a cache line of neighbours at a time (8 doubles, 16 floats). With the
// plane in L2 the gain is modest: the 127^3 double solve took 22.1 to 22.4 ms of thread CPU
// against 23.8 to 24.3 ms line by line (least of 15 calls, alternating runs, loaded machine).
template <class T> inline constexpr int kLineBatch = kCacheLineBytes / static_cast<int>(sizeof(T));

}  // namespace zvx::poisson
