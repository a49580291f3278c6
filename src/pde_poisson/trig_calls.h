// The trigonometric transforms this library is built on, reached through their exported entries:
// that layer offers no internal ones. The references are weak so that a build without the
// transforms still links; every caller tests the entry before using it and reports the transform
// stage as failed when it is absent.
#pragma once
#include "zvx_dft.h"

extern "C" {
#define ZVX_TRIG_WEAK __attribute__((weak))
ZVX_TRIG_WEAK void d_init_trig_transform(int* n, int* tt_type, int* ipar, double* dpar, int* stat);
ZVX_TRIG_WEAK void s_init_trig_transform(int* n, int* tt_type, int* ipar, float* spar, int* stat);
ZVX_TRIG_WEAK void d_commit_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                           double* dpar, int* stat);
ZVX_TRIG_WEAK void s_commit_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                           float* spar, int* stat);
ZVX_TRIG_WEAK void d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                            double* dpar, int* stat);
ZVX_TRIG_WEAK void s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                            float* spar, int* stat);
ZVX_TRIG_WEAK void d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                             double* dpar, int* stat);
ZVX_TRIG_WEAK void s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                             float* spar, int* stat);
ZVX_TRIG_WEAK void free_trig_transform(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat);
#undef ZVX_TRIG_WEAK
}

namespace zvx::poisson {

// One precision's entries, so that the solver templates name them once.
template <class T> struct trig;
template <> struct trig<double> {
  static bool present() {
    return d_init_trig_transform && d_commit_trig_transform && d_forward_trig_transform &&
           d_backward_trig_transform && free_trig_transform;
  }
  static void init(int n, int type, int* ipar, double* dpar, int* stat) {
    d_init_trig_transform(&n, &type, ipar, dpar, stat);
  }
  static void commit(double* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, double* dpar, int* stat) {
    d_commit_trig_transform(f, h, ipar, dpar, stat);
  }
  static void forward(double* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, double* dpar, int* stat) {
    d_forward_trig_transform(f, h, ipar, dpar, stat);
  }
  static void backward(double* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, double* dpar, int* stat) {
    d_backward_trig_transform(f, h, ipar, dpar, stat);
  }
};
template <> struct trig<float> {
  static bool present() {
    return s_init_trig_transform && s_commit_trig_transform && s_forward_trig_transform &&
           s_backward_trig_transform && free_trig_transform;
  }
  static void init(int n, int type, int* ipar, float* dpar, int* stat) {
    s_init_trig_transform(&n, &type, ipar, dpar, stat);
  }
  static void commit(float* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, float* dpar, int* stat) {
    s_commit_trig_transform(f, h, ipar, dpar, stat);
  }
  static void forward(float* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, float* dpar, int* stat) {
    s_forward_trig_transform(f, h, ipar, dpar, stat);
  }
  static void backward(float* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, float* dpar, int* stat) {
    s_backward_trig_transform(f, h, ipar, dpar, stat);
  }
};

inline void trig_free(DFTI_DESCRIPTOR_HANDLE* h, int* ipar, int* stat) {
  if (free_trig_transform) {
    free_trig_transform(h, ipar, stat);
  } else {
    *stat = -1000;
  }
}

}  // namespace zvx::poisson
