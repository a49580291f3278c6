// The trigonometric transforms this library is built on, reached through their exported entries:
// that layer keeps its stages to itself and offers no internal ones.
#pragma once
#include "zvx_trig.h"

namespace zvx::poisson {

// One precision's entries, so that the solver templates name them once.
template <class T> struct trig;
template <> struct trig<double> {
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
  free_trig_transform(h, ipar, stat);
}

}  // namespace zvx::poisson
