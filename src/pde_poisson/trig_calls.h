// The trigonometric transforms this library is built on, through their internal stages, with the
// arguments the solvers have by value.
#pragma once
#include "trig_transforms/trig_api.h"

namespace zvx::poisson {

// One precision's entries, so that the solver templates name them once.
template <class T>
struct trig {
  static void init(int n, int type, int* ipar, T* dpar, int* stat) {
    zvx::trig::init<T>(&n, &type, ipar, dpar, stat);
  }
  static void commit(T* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, T* dpar, int* stat) {
    zvx::trig::commit<T>(f, h, ipar, dpar, stat);
  }
  static void forward(T* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, T* dpar, int* stat) {
    zvx::trig::transform<T>(f, h, ipar, dpar, stat, true);
  }
  static void backward(T* f, DFTI_DESCRIPTOR_HANDLE* h, int* ipar, T* dpar, int* stat) {
    zvx::trig::transform<T>(f, h, ipar, dpar, stat, false);
  }
};

inline void trig_free(DFTI_DESCRIPTOR_HANDLE* h, int* ipar, int* stat) {
  zvx::trig::release(h, ipar, stat);
}

}  // namespace zvx::poisson
