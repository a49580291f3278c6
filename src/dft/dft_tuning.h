// The numbers of the descriptor layer: when a transform is one direct line call, when it stays
// serial, how many lines move together through a buffer. The thresholds that decide threading and
// dispatch are part of what a caller observes (which path runs, how many threads); the batch
// levels only shape cache traffic. Tests derive their edge sizes from here.
#pragma once

namespace zvx::dft::tuning {

// A single unit-stride line below these lengths is called straight from the compute entry, with
// the descriptor's workspace: above them a line is long enough that the frame's cost is noise.
inline constexpr int kDirectLengthSingle = 1024;
inline constexpr int kDirectLengthDouble = 512;
// A single unit-stride real line in CCS layout is called straight from the compute entry up to
// these lengths (the other packed layouts at any length).
inline constexpr int kDirectRealCcsSingle = 8192;
inline constexpr int kDirectRealCcsDouble = 4096;
// Real lines up to this length with a scale of 1 count as short: the powers of two among them
// up to the engine's real straight-line limit run the straight-line kernels instead of the
// wrapper and the engine.
inline constexpr int kRealShortLength = 128;

// The fast flag a set operation with a vector leaves behind asks for a length below this.
inline constexpr int kSetVectorDirectLength = 2048;

// Rank 2 with one transform and fewer elements than this runs serially through the 2-D routine:
// a fork costs more than such a transform.
inline constexpr long kTwoDDirectElements = 2048;
// Rank 3 and up with one transform stays serial below this many elements.
inline constexpr long kHighRankSerialElements = 32000;
// A rank-1 power-of-two line longer than this runs in the large engine when scrambled (and in the
// threaded hybrid when ordered, double precision).
inline constexpr int kLargeLengthSingle = 32768;
inline constexpr int kLargeLengthDouble = 8192;

// The large engine's blocking. A leaf block is finished inside the first-level cache (48 KiB):
// 2^10 complex doubles or 2^11 complex floats, 16 KiB, leaving room for the stage tables. A group
// is a block that stays in the second-level cache (1 MiB a core) while the column pass over it
// and its leaves run: 2^15 doubles or 2^16 floats, 512 KiB, half of it. Measured with scrambled
// lines, least thread CPU time, on a loaded machine (figures move by about 5 per cent): in double,
// leaves of 2^9, 2^10, 2^11 were within that noise of each other at 2^17, 2^20 and 2^22; groups
// of 2^15 took 23.4 ms at 2^22 against 24.3 ms with 2^14 and 26.8 ms with 2^13 (fewer rows in
// the pass above the groups, so longer row pieces per chunk, and a third of the twiddles), 2^16
// was no faster at 2^20. In single, groups of 2^16 took 0.45 ms at 2^18 and 10.8 ms at 2^22,
// against 0.59 ms and 11.3 ms with 2^15 and 0.49 ms and 11.6 ms with 2^17.
inline constexpr int kLargeLeafLogDouble = 10;
inline constexpr int kLargeLeafLogSingle = 11;
inline constexpr int kLargeGroupLogDouble = 15;
inline constexpr int kLargeGroupLogSingle = 16;
// A column pass takes at most this many levels at once (256 rows); its buffer holds
// kLargeColumnBuffer complex values (64 KiB in double: rows times chunk columns), so that a pass
// over 256 rows still moves 16 neighbouring columns, 256 bytes, from each row.
inline constexpr int kLargeMaxColumnLevels = 8;
inline constexpr long kLargeColumnBuffer = 4096;
// On lines of more than kLargeColumnAheadBytes, a column pass requests, while it gathers one
// chunk, the rows of the chunk kLargeColumnAhead chunks on (into the second-level cache, clear of
// the first-level cache where the buffer works): such a line comes from the last-level cache or
// memory in every pass, also into the groups, and its rows are too many streams, a block apart,
// for the processor's own prefetchers. Least and median of 60 calls, scrambled, the library
// copies alternating in one process: double 2^20 forward 4.83 ms against 5.10 ms without, 2^21
// 9.67 against 10.28, 2^22 21.7 against 22.3; single 2^21 4.51 against 4.82, 2^22 9.93 against
// 10.64; two threads at 2^20 ordered, loaded minutes, 3-5 per cent. Lines of 2 to 8 MiB, which
// the caches hold, lost 2-5 per cent with the requests (double 2^18 0.95 ms against 0.91), so
// they go without; one chunk ahead, or into the first-level cache, measured within 2 per cent.
inline constexpr long kLargeColumnAhead = 2;
inline constexpr long kLargeColumnAheadBytes = 8L << 20;
// The ordering step swaps tiles of 2^5 x 2^5 elements (16 KiB of doubles), rows of 32 neighbours,
// each tile read and written once while it sits in the first-level cache. Its store goes through
// registers, 4 x 4 (double, AVX-512) blocks transposed, the scale on the way. Measured worse or no
// better at 2^20 in double (least and median thread CPU over 200 to 300 calls, loaded machine):
// streaming stores for the tiles (the ordering 1.56-1.60 ms against 1.15-1.21 ms: the line is
// read again from the caches by the next pass or call), software prefetch of the rows 2 to 8
// ahead in the tile loads (within the 5 per cent noise).
inline constexpr int kLargeReverseBits = 5;
// A threaded line hands each phase out in pieces, this many a thread: small enough that a thread
// which wakes late or is held up leaves its share to the others instead of making them wait at
// the barrier, large enough that a piece moves neighbouring chunks (2^20 in double, two threads,
// first pass: 256 chunks of 64 KiB, pieces of 16, 1 MiB). On the loaded two-core machine 1, 8
// and 32 pieces a thread gave two-thread figures within the run-to-run spread of each other
// (1.2x to 1.6x T1 over the larger thread's CPU time at 2^20 with 10 to 15 runnable tasks).
// Pieces that shrink with what is left of the phase (down to one item) left the larger thread's
// CPU time where it was (medians 4.19 and 4.23 ms against 4.14 and 4.12 ms with these fixed
// pieces, the two kinds of call alternating in one process).
inline constexpr long kLargePiecesPerThread = 8;
// A thread waiting at the barrier between phases of a threaded line spins this long (measured
// as 256 polls with a pause, about 48 ns each here: a tenth of a piece) and then sleeps until the
// last thread opens the next round. The runtime's barrier spins for milliseconds, which burns
// the time the partner waits for a core when it has been taken off its own: at 2^20, ordered,
// double, with 7 to 12 runnable tasks on the two cores, T1 over the larger thread's CPU time went
// from 1.27x-1.48x (sum over T1 1.29-1.34) to 1.59x-1.96x (sum over T1 1.01-1.11), three runs each.
inline constexpr double kLargeSpinMicros = 12;

// Column walks (the columns of a 2-D transform, the higher dimensions of rank 3 and up, and
// transforms interleaved at distance 1) move 2^level neighbouring lines through a buffer, so that
// every cache line fetched down a column serves several lines. Sixteen lines while the buffer
// holds at most 32 KiB, else eight, else (buffer above 1 MiB) four. Measured against FFTW in the
// same run, least of 100 single transforms: 64^3 took 1.15 times FFTW's time in double and 1.6 in
// single with 16 lines, against 1.4 and 2.2 with 8 lines and 1.25 and 2.15 with 32; the columns
// of 512 x 512 took 1.0 to 1.1 times in both precisions with 8 lines, against 1.2 (double) and
// 1.7 (single) with 16, and 1.35 (double) with 4. Machine: x86-64 with AVX-512, 48 KiB
// first-level and 1 MiB second-level data caches.
inline constexpr int kBatchLevelWide = 4;
inline constexpr int kBatchLevelNarrow = 3;
inline constexpr long kBatchBufferBytes = 32 * 1024;
inline constexpr long kBatchBufferLargest = 1024 * 1024;

// Column walks (neighbouring lines one element apart) whose record has grouped multi-line passes
// in the engine go through its multi-line entry. Rows (unit element stride) stay with the line
// slot: moving rows of 64 into the group buffer and back, element by element, cost more than the
// grouped passes saved (64^3 in single precision 0.62 ms against 0.57 ms, least of 2000).

// Extra bytes of the workspace of each thread beyond what the engine asks for: room to align the
// scratch up to 32 bytes.
inline constexpr int kWorkspacePad = 64;

// User-thread mode: each thread's workspace block and each busy flag take whole 64-byte cache
// lines. A caller transforming short lines on several threads takes and gives back a flag per
// line; flags or scratch sharing a line would move that line between the cores on every call.
inline constexpr int kUserLineBytes = 64;

}  // namespace zvx::dft::tuning
