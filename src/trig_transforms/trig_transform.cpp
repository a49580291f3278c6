// The entries of the trigonometric transforms: init, commit, forward, backward, free. The whole
// state is the caller's ipar, dpar and descriptor handle; ipar[6] carries the status between
// calls and blocks every routine but init once it is not 0.
#include <cmath>

#include "service/service.h"
#include "trig_transforms/trig_api.h"
#include "trig_transforms/trig_dft.h"
#include "trig_transforms/trig_messages.h"
#include "trig_transforms/trig_passes.h"
#include "zvx_trig.h"

namespace zvx::trig {
namespace {

constexpr int kN = 0, kType = 5, kStatus = 6, kBuild = 7, kThreads = 9;

template <class R> constexpr R kToleranceFactor = R(1e-12);
template <> constexpr float kToleranceFactor<float> = 1e-5f;

template <class R>
R default_tolerance(int n) {
  return R(n) * kToleranceFactor<R>;
}

template <class R>
void finish(int* ipar, int* stat, int status) {
  ipar[kStatus] = status;
  *stat = status;
}

template <class R>
void dft_failure(int status, const int* ipar, const R* dpar) {
  char text[DFTI_MESSAGE_BYTES + 1];
  dft_message(status, text);
  send_message<R>(msg_dft_failure, ipar, dpar, text);
}

// The boundary test of sine and staggered cosine: the tolerance itself, then the end values.
template <class R>
void check_tolerance(const R* f, int* ipar, R* dpar, bool first_too, bool& hit, bool& defaulted) {
  const int n = ipar[kN];
  if (!(dpar[0] >= R(0))) {
    const value_text t = format_value(static_cast<double>(default_tolerance<R>(n)));
    send_message<R>(msg_tolerance_default, ipar, dpar, t.s);
    dpar[0] = default_tolerance<R>(n);
    defaulted = true;
  }
  if (first_too && std::fabs(f[0]) > dpar[0]) {
    send_message<R>(msg_first_value, ipar, dpar, format_value(std::fabs(f[0])).s);
    hit = true;
  }
  if (std::fabs(f[n]) > dpar[0]) {
    send_message<R>(first_too ? msg_last_value_sine : msg_last_value_staggered, ipar, dpar,
                    format_value(std::fabs(f[n])).s);
    hit = true;
  }
}

}  // namespace

template <class R>
void commit(const R* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, R* dpar, int* stat) {
  bool hit = false, defaulted = false;
  if (ipar[kStatus] != 0) {
    send_message<R>(msg_not_initialised, ipar, dpar, nullptr);
    return finish<R>(ipar, stat, ZVX_TT_BLOCKED);
  }
  const int n = ipar[kN];
  if (n < 1) {
    send_message<R>(msg_size_not_positive, ipar, dpar, nullptr);
    return finish<R>(ipar, stat, ZVX_TT_BAD_PARAMETER);
  }
  if (n % 2 != 0) {
    send_message<R>(msg_size_odd, ipar, dpar, nullptr);
    return finish<R>(ipar, stat, ZVX_TT_BAD_PARAMETER);
  }
  const bool build = ipar[kBuild] != 0;
  switch (ipar[kType]) {
    case ZVX_TT_SINE:
      check_tolerance(f, ipar, dpar, true, hit, defaulted);
      if (build) fill_sine_table(dpar, n);
      break;
    case ZVX_TT_COSINE:
      if (build && n >= 4) fill_cosine_table(dpar, n);
      break;
    case ZVX_TT_STAGGERED_COSINE:
      check_tolerance(f, ipar, dpar, false, hit, defaulted);
      if (build) fill_staggered_tables(dpar, n);
      break;
    default:
      send_message<R>(msg_bad_type, ipar, dpar, nullptr);
      return finish<R>(ipar, stat, ZVX_TT_BAD_PARAMETER);
  }
  if (ipar[kThreads] < 0) {
    const value_text one{"1"};
    send_message<R>(msg_threads_default, ipar, dpar, one.s);
    ipar[kThreads] = 1;
    defaulted = true;
  }
  if (build) {
    // A descriptor already created stays in the handle when a later step fails.
    int status = dft_create_real(handle, sizeof(R) == sizeof(float), n);
    if (status == DFTI_NO_ERROR) status = dft_set(handle, DFTI_PACKED_FORMAT, DFTI_PERM_FORMAT);
    if (status == DFTI_NO_ERROR && ipar[kThreads] > 1)
      status = dft_set(handle, DFTI_NUMBER_OF_USER_THREADS, ipar[kThreads]);
    if (status == DFTI_NO_ERROR) status = dft_commit(handle);
    if (status != DFTI_NO_ERROR) {
      dft_failure(status, ipar, dpar);
      return finish<R>(ipar, stat, ZVX_TT_DFT_ERROR);
    }
  }
  finish<R>(ipar, stat, (hit ? 1 : 0) + (defaulted ? 10 : 0));
}

namespace {

// The pass of one type and direction around its DFT; returns the status of the pass.
template <class R>
int run_pass(R* f, DFTI_DESCRIPTOR_HANDLE* handle, const int* ipar, const R* dpar, bool forward) {
  const int n = ipar[kN];
  const R* t = dpar + 2;
  int status = DFTI_NO_ERROR;
  switch (ipar[kType]) {
    case ZVX_TT_SINE:
      sine_pre(f, n, t);
      status = dft_forward(handle, f);
      if (status == DFTI_NO_ERROR) sine_post(f, n);
      break;
    case ZVX_TT_COSINE: {
      const R s = cosine_pre(f, n, t);
      status = dft_forward(handle, f);
      if (status == DFTI_NO_ERROR) cosine_post(f, n, s);
      break;
    }
    default:  // staggered cosine; the type was checked by the caller
      if (forward) {
        staggered_forward_pre(f, n, t);
        status = dft_backward(handle, f);
        if (status != DFTI_NO_ERROR) break;
        if (!staggered_forward_post(f, n, t)) {
          send_message<R>(msg_division_by_zero, ipar, dpar, nullptr);
          return ZVX_TT_DIVISION_BY_ZERO;
        }
      } else {
        staggered_backward_pre(f, n, t);
        status = dft_forward(handle, f);
        if (status == DFTI_NO_ERROR) staggered_backward_post(f, n, t);
      }
      break;
  }
  if (status != DFTI_NO_ERROR) {
    dft_failure(status, ipar, dpar);
    return ZVX_TT_DFT_ERROR;
  }
  return ZVX_TT_OK;
}

}  // namespace

template <class R>
void transform(R* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, R* dpar, int* stat,
               bool forward) {
  if (ipar[kStatus] != 0) {
    send_message<R>(msg_blocked, ipar, dpar, nullptr);
    return finish<R>(ipar, stat, ZVX_TT_BLOCKED);
  }
  const int type = ipar[kType];
  if (type != ZVX_TT_SINE && type != ZVX_TT_COSINE && type != ZVX_TT_STAGGERED_COSINE) {
    send_message<R>(msg_bad_type, ipar, dpar, nullptr);
    return finish<R>(ipar, stat, ZVX_TT_BAD_PARAMETER);
  }
  const int status = run_pass(f, handle, ipar, dpar, forward);
  if (status != ZVX_TT_OK) return finish<R>(ipar, stat, status);
  if (forward) {
    const int n = ipar[kN];
    if (n == 0) {
      send_message<R>(msg_size_zero, ipar, dpar, nullptr);
      return finish<R>(ipar, stat, ZVX_TT_BLOCKED);
    }
    const R c = R(2) / R(n);
    if (type == ZVX_TT_SINE)
      scale(f, 1, n - 1, c);
    else
      scale(f, 0, n, c);
  }
  finish<R>(ipar, stat, ZVX_TT_OK);
}

template <class R>
void init(const int* n, const int* tt_type, int* ipar, R* dpar, int* stat) {
  ipar[kN] = *n;
  ipar[1] = 1;
  ipar[2] = 1;
  ipar[kType] = *tt_type;
  ipar[kStatus] = 0;
  ipar[kBuild] = 1;
  ipar[8] = 1;
  ipar[kThreads] = 1;
  dpar[0] = default_tolerance<R>(*n);
  *stat = 0;
}

void release(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat) {
  ipar[kStatus] = ZVX_TT_FREEING;
  *stat = ZVX_TT_FREEING;
  const int status = dft_free(handle);
  if (status != DFTI_NO_ERROR) {
    // The message holds no floating value, so the double form serves both precisions.
    const double unused = 0;
    dft_failure<double>(status, ipar, &unused);
    ipar[kStatus] = ZVX_TT_DFT_ERROR;
    *stat = ZVX_TT_DFT_ERROR;
    return;
  }
  ipar[kStatus] = 0;
  *stat = 0;
}

template void init<float>(const int*, const int*, int*, float*, int*);
template void init<double>(const int*, const int*, int*, double*, int*);
template void commit<float>(const float*, DFTI_DESCRIPTOR_HANDLE*, int*, float*, int*);
template void commit<double>(const double*, DFTI_DESCRIPTOR_HANDLE*, int*, double*, int*);
template void transform<float>(float*, DFTI_DESCRIPTOR_HANDLE*, int*, float*, int*, bool);
template void transform<double>(double*, DFTI_DESCRIPTOR_HANDLE*, int*, double*, int*, bool);

}  // namespace zvx::trig

namespace tt = zvx::trig;

ZVX_EXPORT void d_init_trig_transform(const int* n, const int* tt_type, int* ipar, double* dpar,
                                      int* stat) {
  tt::init(n, tt_type, ipar, dpar, stat);
}
ZVX_EXPORT void s_init_trig_transform(const int* n, const int* tt_type, int* ipar, float* spar,
                                      int* stat) {
  tt::init(n, tt_type, ipar, spar, stat);
}
ZVX_EXPORT void d_commit_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                        double* dpar, int* stat) {
  tt::commit<double>(f, handle, ipar, dpar, stat);
}
ZVX_EXPORT void s_commit_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                        float* spar, int* stat) {
  tt::commit<float>(f, handle, ipar, spar, stat);
}
ZVX_EXPORT void d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                         double* dpar, int* stat) {
  tt::transform(f, handle, ipar, dpar, stat, true);
}
ZVX_EXPORT void s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                         float* spar, int* stat) {
  tt::transform(f, handle, ipar, spar, stat, true);
}
ZVX_EXPORT void d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                          double* dpar, int* stat) {
  tt::transform(f, handle, ipar, dpar, stat, false);
}
ZVX_EXPORT void s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                          float* spar, int* stat) {
  tt::transform(f, handle, ipar, spar, stat, false);
}
ZVX_EXPORT void free_trig_transform(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat) {
  tt::release(handle, ipar, stat);
}

// The second spelling of each entry: the same routine, reached without the exported name.
ZVX_EXPORT void _d_init_trig_transform(const int* n, const int* tt_type, int* ipar, double* dpar,
                                       int* stat) {
  tt::init(n, tt_type, ipar, dpar, stat);
}
ZVX_EXPORT void _s_init_trig_transform(const int* n, const int* tt_type, int* ipar, float* spar,
                                       int* stat) {
  tt::init(n, tt_type, ipar, spar, stat);
}
ZVX_EXPORT void _d_commit_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                         double* dpar, int* stat) {
  tt::commit<double>(f, handle, ipar, dpar, stat);
}
ZVX_EXPORT void _s_commit_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                         float* spar, int* stat) {
  tt::commit<float>(f, handle, ipar, spar, stat);
}
ZVX_EXPORT void _d_forward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                          double* dpar, int* stat) {
  tt::transform(f, handle, ipar, dpar, stat, true);
}
ZVX_EXPORT void _s_forward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                          float* spar, int* stat) {
  tt::transform(f, handle, ipar, spar, stat, true);
}
ZVX_EXPORT void _d_backward_trig_transform(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                           double* dpar, int* stat) {
  tt::transform(f, handle, ipar, dpar, stat, false);
}
ZVX_EXPORT void _s_backward_trig_transform(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                           float* spar, int* stat) {
  tt::transform(f, handle, ipar, spar, stat, false);
}
ZVX_EXPORT void _free_trig_transform(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat) {
  tt::release(handle, ipar, stat);
}
