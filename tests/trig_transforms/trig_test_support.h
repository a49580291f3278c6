// What the tests of the public entries share: a transform's caller-owned state, the expected
// frame of every message, and capture of the console.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zvx.h"

namespace trig_test {

inline const std::string kRule =
    "\n------------------------------------------------------------------------------\n";
inline std::string error_text(const std::string& body) {
  return kRule + "ZVX TRIG TRANSFORMS ERROR: " + body;
}
inline std::string warning_text(const std::string& body) {
  return kRule + "ZVX TRIG TRANSFORMS WARNING: " + body;
}

// The text the DFT layer gives for a status, as the messages insert it (40 bytes).
inline std::string dft_text(int status) {
  char buffer[DFTI_MESSAGE_BYTES + 1] = {};
  const int length = DFTI_MESSAGE_BYTES;
  dfti_error_message_external(buffer, &length, &status);
  return std::string(buffer, DFTI_MESSAGE_BYTES);
}

// ipar, dpar and handle of one transform in precision R. Entries the layer must not touch start
// at sentinels.
template <class R>
struct state {
  int ipar[16];
  std::vector<R> dpar;
  DFTI_DESCRIPTOR_HANDLE handle = nullptr;
  int stat = 12345;
  state(int n, int type) : dpar(3 * (n > 0 ? n : 2) / 2 + 8, R(-7)) {
    for (int& v : ipar) v = -77;
    if constexpr (sizeof(R) == sizeof(double))
      d_init_trig_transform(&n, &type, ipar, dpar.data(), &stat);
    else
      s_init_trig_transform(&n, &type, ipar, dpar.data(), &stat);
  }
  void commit(R* f) {
    if constexpr (sizeof(R) == sizeof(double))
      d_commit_trig_transform(f, &handle, ipar, dpar.data(), &stat);
    else
      s_commit_trig_transform(f, &handle, ipar, dpar.data(), &stat);
  }
  void forward(R* f) {
    if constexpr (sizeof(R) == sizeof(double))
      d_forward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
    else
      s_forward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
  }
  void backward(R* f) {
    if constexpr (sizeof(R) == sizeof(double))
      d_backward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
    else
      s_backward_trig_transform(f, &handle, ipar, dpar.data(), &stat);
  }
  void release() {
    if (handle != nullptr) free_trig_transform(&handle, ipar, &stat);
  }
};

// Console output of fn (the messages go through printf).
template <class F>
std::string console_of(F fn) {
  fflush(stdout);
  testing::internal::CaptureStdout();
  fn();
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

}  // namespace trig_test
