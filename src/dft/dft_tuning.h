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

// Rows of a threaded rank-2 transform run in place on the data up to this many elements; larger
// arrays send each row through a private buffer.
inline constexpr long kRowsInPlaceElements = 524288;

// Interleaved lines (distance 1): 2^level lines are gathered into one buffer so that each cache
// line fetched along a column serves 2^level lines. A line of 16-byte elements at level 3 fills
// two 64-byte cache lines per element row; level 2 is kept for short lines and few transforms,
// where the whole buffer stays in the first-level cache either way.
inline constexpr int kInterleavedCountLimitDouble = 16384;
inline constexpr int kShortLineLength = 32;
inline constexpr int kInterleavedCountSmallSingle = 64;
inline constexpr int kInterleavedCountLimitSingle = 32768;

// Extra bytes of the workspace of each thread beyond what the engine asks for: room to align the
// scratch up to 32 bytes.
inline constexpr int kWorkspacePad = 64;

}  // namespace zvx::dft::tuning
