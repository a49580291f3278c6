// Trigonometric transforms by their defining sums in long double, for test programs built while
// the library carries no transforms of its own: the solvers' weak references then bind to these.
// Only the behaviour the solvers rely on is here: the parameter words, the three transform types
// in both directions with the forward factor 2/n, statuses of success and the refusal of a
// blocked block.
#include <cmath>

#include "zvx_dft.h"

namespace {

template <class T> void init(int n, int type, int* ipar, T* dpar, int* stat) {
  ipar[0] = n;
  ipar[1] = 1;
  ipar[2] = 1;
  ipar[5] = type;
  ipar[6] = 0;
  ipar[7] = 1;
  ipar[8] = 1;
  ipar[9] = 1;
  dpar[0] = static_cast<T>(n) * static_cast<T>(sizeof(T) == 4 ? 1e-5 : 1e-12);
  *stat = 0;
}

template <class T> void commit(int* ipar, int* stat) {
  const int n = ipar[0];
  if (ipar[6] != 0) {
    *stat = ipar[6] = -10000;
  } else if (n < 1 || n % 2 != 0 || ipar[5] < 0 || ipar[5] > 2) {
    *stat = ipar[6] = -100;
  } else {
    *stat = ipar[6] = 0;
  }
}

template <class T> void transform(T* f, int* ipar, int* stat, bool forward) {
  if (ipar[6] != 0) {
    *stat = ipar[6] = -10000;
    return;
  }
  const int n = ipar[0];
  const int type = ipar[5];
  const long double pi = 3.141592653589793238462643383279503L;
  long double out[4096 + 1];
  if (n > 4096) {
    *stat = ipar[6] = -100;
    return;
  }
  const long double scale = forward ? 2.0L / n : 1.0L;
  // cos and sin of m pi / (2n), m = 0 .. 4n-1: every angle below is such a multiple.
  static thread_local long double c[4 * 4096], s[4 * 4096];
  static thread_local int table_n = 0;
  if (table_n != n) {
    for (int m = 0; m < 4 * n; ++m) {
      c[m] = std::cos(pi * m / (2 * n));
      s[m] = std::sin(pi * m / (2 * n));
    }
    table_n = n;
  }
  const long long period = 4LL * n;
  for (int k = 0; k <= n; ++k) out[k] = f[k];
  if (type == 0) {
    for (int k = 1; k < n; ++k) {
      long double sum = 0;
      for (int j = 1; j < n; ++j) sum += f[j] * s[(2LL * j * k) % period];
      out[k] = scale * sum;
    }
    out[0] = 0;
  } else if (type == 1) {
    for (int k = 0; k <= n; ++k) {
      long double sum = 0.5L * f[0] + ((k % 2) ? -0.5L : 0.5L) * f[n];
      for (int j = 1; j < n; ++j) sum += f[j] * c[(2LL * j * k) % period];
      out[k] = scale * sum;
    }
  } else if (forward) {
    for (int k = 0; k < n; ++k) {
      long double sum = 0.5L * f[0];
      for (int j = 1; j < n; ++j) sum += f[j] * c[(1LL * j * (2 * k + 1)) % period];
      out[k] = scale * sum;
    }
    out[n] = scale * f[n];
  } else {
    for (int k = 0; k < n; ++k) {
      long double sum = 0;
      for (int j = 0; j < n; ++j) sum += f[j] * c[(1LL * k * (2 * j + 1)) % period];
      out[k] = sum;
    }
  }
  for (int k = 0; k <= n; ++k) f[k] = static_cast<T>(out[k]);
  *stat = 0;
}

}  // namespace

extern "C" {
__attribute__((visibility("default"))) void d_init_trig_transform(int* n, int* t, int* ipar,
                                                                  double* dpar, int* stat) {
  init(*n, *t, ipar, dpar, stat);
}
__attribute__((visibility("default"))) void s_init_trig_transform(int* n, int* t, int* ipar,
                                                                  float* dpar, int* stat) {
  init(*n, *t, ipar, dpar, stat);
}
__attribute__((visibility("default"))) void d_commit_trig_transform(double*, DFTI_DESCRIPTOR_HANDLE*,
                                                                    int* ipar, double*, int* stat) {
  commit<double>(ipar, stat);
}
__attribute__((visibility("default"))) void s_commit_trig_transform(float*, DFTI_DESCRIPTOR_HANDLE*,
                                                                    int* ipar, float*, int* stat) {
  commit<float>(ipar, stat);
}
__attribute__((visibility("default"))) void d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE*,
                                                                     int* ipar, double*, int* stat) {
  transform(f, ipar, stat, true);
}
__attribute__((visibility("default"))) void s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE*,
                                                                     int* ipar, float*, int* stat) {
  transform(f, ipar, stat, true);
}
__attribute__((visibility("default"))) void d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE*,
                                                                      int* ipar, double*, int* stat) {
  transform(f, ipar, stat, false);
}
__attribute__((visibility("default"))) void s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE*,
                                                                      int* ipar, float*, int* stat) {
  transform(f, ipar, stat, false);
}
__attribute__((visibility("default"))) void free_trig_transform(DFTI_DESCRIPTOR_HANDLE*, int* ipar,
                                                                int* stat) {
  *stat = ipar[6] = 0;
}
}
