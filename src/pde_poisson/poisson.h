// Internal interface of the Poisson library: the stages behind the exported entries, written once
// for float and double.
#pragma once
#include <cstddef>

#include "zvx_dft.h"

namespace zvx::poisson {

// Status values shared by every stage.
enum : int {
  kOk = 0,
  kWarned = 1,
  kDivisionByZero = -2,
  kNoMemory = -3,
  kBadParameter = -100,
  kPivotZero = -200,
  kTrigFailure = -1000,
  kWrongState = -10000,
  kRunning = -99999,
};

// Sends message `number` when its channel (ipar[1] for 0 to 32, ipar[2] for the others) is on.
template <class T> void message(int number, const int* ipar, const T* dpar);

// The default tolerance of dpar[4].
template <class T> constexpr T default_tolerance() {
  if constexpr (sizeof(T) == sizeof(float)) {
    return 1e-4f;
  } else {
    return 1e-10;
  }
}

// sin(x) through the library's vector sine, one value at a time.
double sine(double x);
float sine(float x);

// Writes `status` to both places a stage reports it.
inline void set_status(int* stat, int* ipar, int status) {
  *stat = status;
  ipar[0] = status;
}

template <class T>
void init_2d(T ax, T bx, T ay, T by, int nx, int ny, const char* bc, T q, int* ipar, T* dpar,
             int* stat);
template <class T>
void init_3d(T ax, T bx, T ay, T by, T az, T bz, int nx, int ny, int nz, const char* bc, T q,
             int* ipar, T* dpar, int* stat);
template <class T>
void init_sph(bool periodic, T ap, T bp, T at, T bt, int np, int nt, T q, int* ipar, T* dpar,
              int* stat);

template <class T>
void commit_2d(T* f, const T* bd_ax, const T* bd_bx, const T* bd_ay, const T* bd_by,
               DFTI_DESCRIPTOR_HANDLE* xh, int* ipar, T* dpar, int* stat);
template <class T>
void commit_3d(T* f, const T* const* bd, DFTI_DESCRIPTOR_HANDLE* xh, DFTI_DESCRIPTOR_HANDLE* yh,
               int* ipar, T* dpar, int* stat);
template <class T>
void commit_sph(bool periodic, T* f, DFTI_DESCRIPTOR_HANDLE* h1, DFTI_DESCRIPTOR_HANDLE* h2,
                int* ipar, T* dpar, int* stat);

template <class T>
void solve_2d(T* f, const T* bd_ax, const T* bd_bx, const T* bd_ay, const T* bd_by,
              DFTI_DESCRIPTOR_HANDLE* xh, int* ipar, const T* dpar, int* stat);
template <class T>
void solve_3d(T* f, const T* const* bd, DFTI_DESCRIPTOR_HANDLE* xh, DFTI_DESCRIPTOR_HANDLE* yh,
              int* ipar, const T* dpar, int* stat);
template <class T>
void solve_sph(bool periodic, T* f, DFTI_DESCRIPTOR_HANDLE* h1, DFTI_DESCRIPTOR_HANDLE* h2,
               int* ipar, const T* dpar, int* stat);

// Releases one or two transforms; `second` is null for one. Messages: one_msg when there is one
// handle, two_msg when there are two.
void free_handles(DFTI_DESCRIPTOR_HANDLE* first, DFTI_DESCRIPTOR_HANDLE* second, int* ipar,
                  int* stat, int one_msg, int two_msg);

}  // namespace zvx::poisson
