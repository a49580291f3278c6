// The descriptor layer has no internal entries for these calls yet, so they go through its
// exported names; this file is the one place to switch them over.
#include "trig_transforms/trig_dft.h"

namespace zvx::trig {

int dft_create_real(DFTI_DESCRIPTOR_HANDLE* handle, bool single, int n) {
  const int precision = single ? DFTI_SINGLE : DFTI_DOUBLE;
  const int domain = DFTI_REAL;
  const int dimension = 1;
  return dfti_create_descriptor_highd(handle, &precision, &domain, &dimension, &n);
}

int dft_set(DFTI_DESCRIPTOR_HANDLE* handle, int parameter, int value) {
  return dfti_set_value_intval(handle, &parameter, &value);
}

int dft_commit(DFTI_DESCRIPTOR_HANDLE* handle) { return dfti_commit_descriptor_external(handle); }
int dft_free(DFTI_DESCRIPTOR_HANDLE* handle) { return dfti_free_descriptor_external(handle); }

int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, double* f) {
  return dfti_compute_forward_d(handle, f);
}
int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, float* f) {
  return dfti_compute_forward_s(handle, f);
}
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, double* f) {
  return dfti_compute_backward_d(handle, f);
}
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, float* f) {
  return dfti_compute_backward_s(handle, f);
}

void dft_message(int status, char (&text)[DFTI_MESSAGE_BYTES + 1]) {
  const int length = DFTI_MESSAGE_BYTES;
  dfti_error_message_external(text, &length, &status);
  text[DFTI_MESSAGE_BYTES] = '\0';
}

}  // namespace zvx::trig
