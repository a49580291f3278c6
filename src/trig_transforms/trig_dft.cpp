// The descriptor layer's internal entries, with the arguments this layer has by value.
#include "trig_transforms/trig_dft.h"

#include "dft/dft_api.h"

namespace zvx::trig {

int dft_create_real(DFTI_DESCRIPTOR_HANDLE* handle, bool single, int n) {
  const int precision = single ? DFTI_SINGLE : DFTI_DOUBLE;
  const int domain = DFTI_REAL;
  const int dimension = 1;
  return dft::create_descriptor_highd(handle, &precision, &domain, &dimension, &n);
}

int dft_set(DFTI_DESCRIPTOR_HANDLE* handle, int parameter, int value) {
  return dft::set_value_intval(handle, &parameter, &value);
}

int dft_commit(DFTI_DESCRIPTOR_HANDLE* handle) { return dft::commit_descriptor(handle); }
int dft_free(DFTI_DESCRIPTOR_HANDLE* handle) { return dft::free_descriptor(handle); }

int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, double* f) {
  return dft::compute_forward_d(handle, f);
}
int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, float* f) {
  return dft::compute_forward_s(handle, f);
}
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, double* f) {
  return dft::compute_backward_d(handle, f);
}
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, float* f) {
  return dft::compute_backward_s(handle, f);
}

void dft_message(int status, char (&text)[DFTI_MESSAGE_BYTES + 1]) {
  const int length = DFTI_MESSAGE_BYTES;
  dft::error_message(text, &length, &status);
  text[DFTI_MESSAGE_BYTES] = '\0';
}

}  // namespace zvx::trig
