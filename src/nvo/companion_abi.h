// What the library and its companion file agree on: the layout of a random-bit stream record, the
// status words, the accuracy modes and the signatures of the bound entries. Both sides include
// this header; nothing in it is exported.
#pragma once
#include <cstdint>

namespace zvx::nvo_abi {

// Accuracy mode: the low four bits of the mode word. Every mode other than high accuracy selects
// the faster entries (3.5 ulp and below).
constexpr unsigned kModeMask = 0xF;
constexpr unsigned kModeHighAccuracy = 2;
constexpr unsigned kModeLowAccuracy = 1;

// The one basic generator of the companion: 32 uniformly random bits per word.
constexpr int kBrngUniformBits = 0x100000;

// Status words of the stream entries.
constexpr int kStatusOk = 0;
constexpr int kStatusBadArgument = -3;
constexpr int kStatusNullStream = -5;
constexpr int kStatusBadBrng = -1000;
constexpr int kStatusNoMemory = -1001;
constexpr int kStatusBadStream = -1006;

// A stream record. The library checks byte 4 (`valid`) before it hands a stream on, so that
// byte stays where it is; the rest belongs to the companion.
struct stream_record {
  int32_t brng;
  uint8_t valid;  // 1 while the stream lives
  uint8_t reserved[3];
  uint64_t state;      // generator state
  uint64_t increment;  // odd stream selector
};
static_assert(__builtin_offsetof(stream_record, valid) == 4, "the validity byte is byte 4");

using vector_d = void (*)(int n, const double* a, double* r);
using vector_s = void (*)(int n, const float* a, float* r);
using cpu_version_fn = int (*)();
using get_mode_fn = unsigned (*)();
using set_mode_fn = unsigned (*)(unsigned mode);
using set_status_fn = int (*)(int status);
using get_callback_fn = void* (*)();
using set_callback_fn = void* (*)(void* callback);
using set_input_fn = const void* (*)(const void* input);
using new_stream_fn = int (*)(void** stream, int brng, int nseeds, const unsigned* seeds);
using delete_stream_fn = int (*)(void** stream);
using uniform_bits_fn = int (*)(int method, void* stream, int n, unsigned* r);

}  // namespace zvx::nvo_abi
