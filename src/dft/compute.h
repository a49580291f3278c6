// The compute frames of the complex families, shared by the entries and the threaded functions.
#pragma once
#include <omp.h>

#include "dft/dft_tuning.h"
#include "dft/multi_dim.h"

namespace zvx::dft {

// What one compute call works on, after the offsets: `in` and `out` are the same array in place,
// whose strides and distance are then the input ones.
template <class E>
struct call {
  const DftiDimensionRecord* first;
  bool forward;
  bool in_place;
  const E* in;
  E* out;
  long input_distance() const { return first->input_distance; }
  long output_distance() const { return in_place ? first->input_distance : first->output_distance; }
  long output_stride() const { return in_place ? first->input_stride : first->output_stride; }
};

// Serial frame: `count` transforms from transform `start` on, with the scratch given.
template <class E>
int serial_frame(const call<E>& c, long start, long count, void* scratch);

// The threaded function after the checks and offsets (the user-thread path included).
template <class E>
int parallel_frame(const call<E>& c);

// Checks of a compute call; 0 when it may run.
template <class E>
int check_call(DFTI_DESCRIPTOR_HANDLE* handle, const void* in, const void* out);
// The call on the data after the offsets.
template <class E>
call<E> make_call(const DftiDimensionRecord* first, bool forward, const E* in, E* out,
                  bool in_place);

// Scratch of iteration i of a region, or of user thread i.
inline void* scratch_of(const DftiDimensionRecord* first, long i) {
  return static_cast<char*>(first->workspace) + i * first->workspace_size;
}

// The one form of every parallel region of the complex and real families: body(i, scratch_i) for
// i in [0, iterations), statically scheduled over `threads` threads, iteration i with the i-th
// block of the workspace; the first nonzero status is kept under the subsystem's critical section.
template <class F>
int region(const DftiDimensionRecord* first, int threads, long iterations, F body) {
  int status = DFTI_NO_ERROR;
#pragma omp parallel for schedule(static) num_threads(threads)
  for (long i = 0; i < iterations; ++i) {
    const int s = body(i, scratch_of(first, i));
#pragma omp critical(zvx_dft)
    if (status == DFTI_NO_ERROR) status = s;
  }
  return status;
}

inline long ceil_div(long a, long b) { return (a + b - 1) / b; }

// User-thread mode: a call takes a free busy flag, whose index selects its scratch block, and
// gives it back when done; -1 when every flag is taken (the caller reports status 8). The flags
// are taken by compare-and-swap rather than under a lock, each flag on a cache line of its own,
// and the search starts at the caller's OpenMP thread number: threads of one team that transform
// short lines one after another then each keep to their own flag and scratch, and no line moves
// between cores per call.
inline int32_t* user_flag(const DftiDimensionRecord* first, long i) {
  return first->user_thread_flags + i * (tuning::kUserLineBytes / sizeof(int32_t));
}
inline long take_user_slot(const DftiDimensionRecord* first) {
  const long count = first->number_of_user_threads;
  const long start = omp_get_thread_num() % count;
  for (long k = 0; k < count; ++k) {
    const long i = start + k < count ? start + k : start + k - count;
    int32_t expected = 0;
    if (__atomic_compare_exchange_n(user_flag(first, i), &expected, 1, false, __ATOMIC_ACQUIRE,
                                    __ATOMIC_RELAXED))
      return i;
  }
  return -1;
}
inline void give_user_slot(const DftiDimensionRecord* first, long slot) {
  __atomic_store_n(user_flag(first, slot), 0, __ATOMIC_RELEASE);
}

}  // namespace zvx::dft
