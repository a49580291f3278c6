// The stages of a trigonometric transform as the library's other subsystems call them (the Poisson
// solvers): the functions the exported ?_init/commit/forward/backward_trig_transform and
// free_trig_transform forward to, with the same arguments, statuses and messages.
#pragma once
#include "zvx_dft.h"

namespace zvx::trig {

template <class R>
void init(const int* n, const int* tt_type, int* ipar, R* dpar, int* stat);
template <class R>
void commit(const R* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, R* dpar, int* stat);
// Forward or backward, in place on f.
template <class R>
void transform(R* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, R* dpar, int* stat, bool forward);
void release(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat);

}  // namespace zvx::trig
