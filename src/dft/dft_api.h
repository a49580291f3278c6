// The descriptor layer's entries as the library's other subsystems call them (the trigonometric
// transforms, and through them the Poisson solvers, the big-integer products): the functions the
// exported dfti_* names forward to, with the same arguments and statuses.
#pragma once
#include "zvx_dft.h"

namespace zvx::dft {

int create_descriptor_highd(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                            const int* domain, const int* dimension, const int* lengths);
int free_descriptor(DFTI_DESCRIPTOR_HANDLE* handle);
int set_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter, const int* value);
int commit_descriptor(DFTI_DESCRIPTOR_HANDLE* handle);
int compute_forward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
int compute_backward_s(DFTI_DESCRIPTOR_HANDLE* handle, float* data);
int compute_forward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
int compute_backward_d(DFTI_DESCRIPTOR_HANDLE* handle, double* data);
int error_message(char* buffer, const int* length, const int* status);

}  // namespace zvx::dft
