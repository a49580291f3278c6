// The line engine's table of kernels for one instruction set, filled from its vector types for
// single and double precision. Included after the vector types by each vector kernel file.
#pragma once
#include <type_traits>

#include "dft/engine_passes.h"
#include "dft/engine_real_passes.h"
#include "dft/engine_real_short.h"

namespace zvx::dft::engine_detail {

template <class V>
void pass_for(const engine_pass& pass, const typename V::real* x, typename V::real* y,
              int inverse) {
  run_pass<V>(pass, x, y, inverse);
}
template <class V>
void multiply_for(const typename V::real* a, const typename V::real* b, typename V::real* y,
                  long n) {
  multiply<V>(a, b, y, n);
}
template <class V>
void real_forward_for(typename V::real* z, const typename V::real* x, const typename V::real* h,
                      long n) {
  real_forward<V>(z, x, h, n);
}
template <class V>
void real_inverse_for(typename V::real* z, const typename V::real* x, const typename V::real* h,
                      long n) {
  real_inverse<V>(z, x, h, n);
}

// Lines too short for W vectors of W elements go to the kernels of a narrower instruction set.
template <class V, const engine_kernels& (*Narrower)()>
void short_for(const typename V::real* x, typename V::real* y, int n, int inverse) {
  if (short_line_serves<V>(n)) run_short_line<V>(x, y, n, inverse);
  else if constexpr (std::is_same_v<typename V::real, float>)
    Narrower().short_single(x, y, n, inverse);
  else
    Narrower().short_double(x, y, n, inverse);
}

template <class V, const engine_kernels& (*Narrower)()>
void real_short_forward_for(const typename V::real* x, typename V::real* y,
                            const typename V::real* h, int n) {
  if (short_line_serves<V>(n)) run_real_short_forward<V>(x, y, h, n);
  else if constexpr (std::is_same_v<typename V::real, float>)
    Narrower().real_short_forward_single(x, y, h, n);
  else
    Narrower().real_short_forward_double(x, y, h, n);
}
template <class V, const engine_kernels& (*Narrower)()>
void real_short_inverse_for(const typename V::real* x, typename V::real* y,
                            const typename V::real* h, int n, typename V::real r0,
                            typename V::real rn) {
  if (short_line_serves<V>(n)) run_real_short_inverse<V>(x, y, h, n, r0, rn);
  else if constexpr (std::is_same_v<typename V::real, float>)
    Narrower().real_short_inverse_single(x, y, h, n, r0, rn);
  else
    Narrower().real_short_inverse_double(x, y, h, n, r0, rn);
}

template <class VS, class VD, const engine_kernels& (*Narrower)()>
constexpr engine_kernels kernels_for() {
  return {VS::W, VD::W, pass_for<VS>, pass_for<VD>,
          multiply_for<VS>, multiply_for<VD>,
          real_forward_for<VS>, real_forward_for<VD>,
          real_inverse_for<VS>, real_inverse_for<VD>,
          short_for<VS, Narrower>, short_for<VD, Narrower>,
          real_short_forward_for<VS, Narrower>, real_short_forward_for<VD, Narrower>,
          real_short_inverse_for<VS, Narrower>, real_short_inverse_for<VD, Narrower>};
}

}  // namespace zvx::dft::engine_detail
