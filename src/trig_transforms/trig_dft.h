// Every call this layer makes into the DFT descriptor layer stands here: one real descriptor of
// length n per transform, created, configured, committed, run in place forward or backward in
// the PERM packing, and freed. The status of each call is the descriptor layer's own.
#pragma once
#include "zvx_dft.h"

namespace zvx::trig {

// Creates a one-dimensional real descriptor of length n into *handle, in single or double.
int dft_create_real(DFTI_DESCRIPTOR_HANDLE* handle, bool single, int n);
int dft_set(DFTI_DESCRIPTOR_HANDLE* handle, int parameter, int value);
int dft_commit(DFTI_DESCRIPTOR_HANDLE* handle);
int dft_free(DFTI_DESCRIPTOR_HANDLE* handle);
// In-place real transforms of f[0..n-1].
int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, double* f);
int dft_forward(DFTI_DESCRIPTOR_HANDLE* handle, float* f);
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, double* f);
int dft_backward(DFTI_DESCRIPTOR_HANDLE* handle, float* f);
// The text of a status: 40 bytes, blank padded, then a terminator.
void dft_message(int status, char (&text)[DFTI_MESSAGE_BYTES + 1]);

}  // namespace zvx::trig
